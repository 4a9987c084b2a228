// A change and the file that it is made to: how far it has come, and making it.
#include "qv/undo.h"

#include <algorithm>

namespace qv::undo {

namespace {

bool move_to(HANDLE file, uint64_t position) {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(position);
  return SetFilePointerEx(file, to, nullptr, FILE_BEGIN);
}

/// Reads `bytes.size()` bytes, or fewer where the file ends.
bool read_at(HANDLE file, uint64_t offset, std::string& bytes) {
  DWORD done = 0;
  const auto count = static_cast<DWORD>(bytes.size());
  if (!move_to(file, offset) || !ReadFile(file, bytes.data(), count, &done, nullptr)) return false;
  bytes.resize(done);
  return true;
}

/// Whether a write that was broken off can have left these bytes: each is old or new. Behind the old ones there may be
/// anything.
bool is_between(const std::string& bytes, const Replacement& piece) {
  for (size_t k = 0; k < std::min(bytes.size(), piece.old_bytes.size()); ++k)
    if (bytes[k] != piece.old_bytes[k] && (k >= piece.new_bytes.size() || bytes[k] != piece.new_bytes[k])) return false;
  return true;
}

class Examination {
public:
  Examination(HANDLE file, const FileChange& change, uint64_t length) : file_(file) {
    is_old_ = length == change.old_length;
    is_new_ = length == change.new_length;
    is_mixed_ = change.is_in_place() && length >= std::min(change.old_length, change.new_length) &&
                length <= std::max(change.old_length, change.new_length);
  }

  /// False when reading failed.
  bool look_at(const Replacement& piece) {
    const size_t longest = std::max(piece.old_bytes.size(), piece.new_bytes.size());
    std::string here(longest, '\0');
    if (!read_at(file_, piece.offset, here)) return false;
    is_old_ = is_old_ && here.starts_with(piece.old_bytes);
    is_mixed_ = is_mixed_ && is_between(here, piece);
    if (is_new_ && moved_ != 0) {
      here.assign(piece.new_bytes.size(), '\0');
      if (!read_at(file_, piece.offset + moved_, here)) return false;
    }
    is_new_ = is_new_ && here.starts_with(piece.new_bytes);
    moved_ += piece.new_bytes.size() - piece.old_bytes.size();
    return true;
  }

  Holds result() const {
    if (is_new_) return Holds::kNew;
    return is_old_ ? Holds::kOld : is_mixed_ ? Holds::kMixed : Holds::kForeign;
  }

private:
  HANDLE file_;
  bool is_old_ = false;
  bool is_new_ = false;
  bool is_mixed_ = false;
  uint64_t moved_ = 0; // modulo 2^64
};

} // namespace

DWORD examine(HANDLE file, const FileChange& change, Holds& holds) {
  LARGE_INTEGER length;
  if (!GetFileSizeEx(file, &length)) return GetLastError();
  Examination examination(file, change, static_cast<uint64_t>(length.QuadPart));
  for (const Replacement& piece : change.replacements)
    if (!examination.look_at(piece)) return GetLastError();
  holds = examination.result();
  return ERROR_SUCCESS;
}

DWORD write_pieces(HANDLE file, const FileChange& change) {
  for (const Replacement& piece : change.replacements) {
    DWORD done = 0;
    const auto bytes = static_cast<DWORD>(piece.new_bytes.size());
    if (!move_to(file, piece.offset) || !WriteFile(file, piece.new_bytes.data(), bytes, &done, nullptr))
      return GetLastError();
    if (done != bytes) return ERROR_DISK_FULL;
  }
  LARGE_INTEGER length;
  if (!GetFileSizeEx(file, &length)) return GetLastError();
  const bool ends = static_cast<uint64_t>(length.QuadPart) == change.new_length ||
                    (move_to(file, change.new_length) && SetEndOfFile(file));
  return ends ? ERROR_SUCCESS : GetLastError();
}

} // namespace qv::undo
