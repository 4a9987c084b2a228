#include "fileutil/update/change_in_place.h"

#include "fileutil/update/sidecar.h"

#include "qv/result.h"

#include <algorithm>
#include <new>

namespace fileutil {

using qv::undo::FileChange;
using qv::undo::Replacement;

namespace {

constexpr size_t kBlockBytes = 1 << 16;
/// So many equal bytes end a range that differs: about what another range costs in the undo file.
constexpr size_t kGapBytes = 64;

/// Gathers the pieces of a change from front to back.
class Differences {
public:
  explicit Differences(FileChange& change) : change_(change) {}

  /// Bytes that the file holds and those that it is to hold from there on.
  void compare(uint64_t position, const char* old_bytes, const char* new_bytes, size_t count) {
    size_t at = 0;
    for (;;) {
      at = static_cast<size_t>(std::mismatch(old_bytes + at, old_bytes + count, new_bytes + at).first - old_bytes);
      if (at == count) return;
      const size_t end = endOfRange(old_bytes, new_bytes, at, count);
      add(position + at, {old_bytes + at, end - at}, {new_bytes + at, end - at});
      at = end;
    }
  }

  void add(uint64_t position, std::string_view old_bytes, std::string_view new_bytes) {
    std::vector<Replacement>& pieces = change_.replacements;
    if (pieces.empty() || pieces.back().offset + pieces.back().old_bytes.size() != position)
      pieces.push_back({position, {}, {}});
    pieces.back().old_bytes += old_bytes;
    pieces.back().new_bytes += new_bytes;
  }

private:
  static size_t endOfRange(const char* old_bytes, const char* new_bytes, size_t at, size_t count) {
    size_t end = at + 1;
    for (at = end; at < count && at - end < kGapBytes; ++at)
      if (old_bytes[at] != new_bytes[at]) end = at + 1;
    return end;
  }

  FileChange& change_;
};

/// Reads part of the file into a block.
bool read(const OpenFile& file, uint64_t position, std::string& block, uint64_t count) {
  block.resize(static_cast<size_t>(std::min<uint64_t>(count, kBlockBytes)));
  return file.readAt(position, block.data(), block.size());
}

/// Compares bytes that are planned for a place with those of the file; what lies behind its end is appended.
bool compareSegment(const OpenFile& file, uint64_t at, const Segment& segment, uint64_t old_length,
                    Differences& differences) {
  const auto* bytes = reinterpret_cast<const char*>(segment.bytes.data());
  const uint64_t inside = at < old_length ? std::min(segment.length, old_length - at) : 0;
  std::string block;
  for (uint64_t done = 0; done < inside; done += block.size()) {
    if (!read(file, at + done, block, inside - done)) return false;
    differences.compare(at + done, block.data(), bytes + done, block.size());
  }
  if (inside < segment.length)
    differences.add(old_length, {}, {bytes + inside, static_cast<size_t>(segment.length - inside)});
  return true;
}

/// What is cut off is saved too.
bool addCutEnd(const OpenFile& file, const UpdatePlan& plan, Differences& differences) {
  std::string block;
  for (uint64_t at = plan.newLength; at < plan.oldLength; at += block.size()) {
    if (!read(file, at, block, plan.oldLength - at)) return false;
    differences.add(at, block, {});
  }
  return true;
}

/// After writing has failed.
HRESULT takeBack(const HeldFile& held, Sidecar& sidecar, const FileChange& change, bool flush, DWORD error) try {
  const bool is_back = qv::undo::write_pieces(held.file(), change.reversed()) == ERROR_SUCCESS &&
                       (!flush || FlushFileBuffers(held.file()));
  if (!is_back) return QVERR_MP4_HALF_WRITTEN;
  sidecar.remove();
  return HRESULT_FROM_WIN32(error);
} catch (const std::bad_alloc&) {
  return QVERR_MP4_HALF_WRITTEN;
}

} // namespace

HRESULT findDifferences(const OpenFile& file, const UpdatePlan& plan, FileChange& change) {
  change = {plan.oldLength, plan.newLength, {}};
  if (plan.oldLength > plan.newLength && plan.oldLength - plan.newLength > qv::undo::kMaxBytes) return S_FALSE;
  Differences differences(change);
  uint64_t at = 0;
  for (const Segment& segment : plan.segments) {
    if (!segment.bytes.empty() && !compareSegment(file, at, segment, plan.oldLength, differences))
      return QVERR_RIFF_READ;
    at += segment.length;
  }
  if (!addCutEnd(file, plan, differences)) return QVERR_RIFF_READ;
  return qv::undo::size_in_bytes(change) > qv::undo::kMaxBytes ? S_FALSE : S_OK;
}

HRESULT changeInPlace(const HeldFile& held, const FileChange& change, bool flush) {
  if (change.replacements.empty()) return S_OK;
  Sidecar sidecar(held);
  const HRESULT saved = sidecar.create({qv::undo::State::kPassing, change}, flush);
  if (saved != S_OK) return saved;
  const DWORD error = qv::undo::write_pieces(held.file(), change);
  if (error != ERROR_SUCCESS) return takeBack(held, sidecar, change, flush, error);
  if (flush && !FlushFileBuffers(held.file())) return QVERR_MP4_HALF_WRITTEN;
  return sidecar.remove() ? S_OK : S_FALSE;
}

} // namespace fileutil
