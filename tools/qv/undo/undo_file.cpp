#include "tools/qv/undo/undo_file.h"

#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/text.h"

#include <filesystem>

namespace qv::tool {

namespace fs = std::filesystem;

UndoFile::UndoFile(const LockedInput& input) : input_(input), name_(utf8(input.path()) + ".qv-undo") {}

bool UndoFile::exists() const {
  std::error_code error;
  return fs::exists(fs::symlink_status(path_from(name_), error)); // a link is no undo file, but in its way
}

void UndoFile::create(const FileChange& change, UndoState state) const try {
  if (undo::size_in_bytes(change) > undo::kMaxBytes) throw Failure(name_, "so large a change has no undo file");
  const std::string bytes = undo::to_bytes({state, change});
  OutputFile file(name_, OutputFile::Attributes::kPrivate);
  file.append(bytes.data(), static_cast<DWORD>(bytes.size()));
  file.commit(bytes.size());
  const FileDescriptor written(path_from(name_));
  if (written.is_open()) written.take_owner_of(input_.path());
} catch (const Failure& failure) {
  DeleteFileW(path_from(name_).c_str()); // where only its folder could not be synced
  throw NoUndoFile(failure);
}

UndoRecord UndoFile::read() const {
  if (!is_trusted(path_from(name_), input_.path()))
    throw Failure(name_, "another user can have written it: it is not used");
  const OpenFile file = open_existing(name_, GENERIC_READ);
  const uint64_t size = size_of(file);
  if (size > undo::kMaxBytes) throw Failure(name_, "is too long for an undo file");
  std::string bytes(static_cast<size_t>(size), '\0');
  DWORD done = 0;
  if (!ReadFile(file, bytes.data(), static_cast<DWORD>(size), &done, nullptr) || done != size)
    throw Failure(name_, "cannot be read: " + system_error_text(GetLastError()));
  UndoRecord record;
  switch (undo::read_record(bytes, record)) {
  case undo::Trouble::kNone: break;
  case undo::Trouble::kNoRecord: throw Failure(name_, "is no undo file");
  case undo::Trouble::kOtherVersion: throw Failure(name_, "is an undo file of another version of qv");
  case undo::Trouble::kDamaged: throw Failure(name_, "is a damaged undo file");
  }
  if (record.is_of_update())
    throw Failure(name_, "is of an update that was broken off: qv tag --recover finishes it or takes it back");
  return record;
}

void UndoFile::set_state(UndoState state) const {
  OpenFile file = open_existing(name_, GENERIC_READ | GENERIC_WRITE);
  const std::string bytes = undo::state_bytes(state);
  DWORD done = 0;
  if (!move_to(file, undo::kStateAt) ||
      !WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr) || !FlushFileBuffers(file) ||
      !file.close())
    throw Failure(name_, "cannot be rewritten: " + system_error_text(GetLastError()));
}

void UndoFile::remove() const {
  if (!DeleteFileW(path_from(name_).c_str()))
    throw Failure(name_, "cannot be removed: " + system_error_text(GetLastError()));
}

} // namespace qv::tool
