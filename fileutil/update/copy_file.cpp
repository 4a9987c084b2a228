#include "fileutil/update/copy_file.h"

#include "qv/result.h"
#include "qv/undo.h"

#include <algorithm>
#include <memory>

namespace fileutil {

namespace {

/// Larger ones gain little; a few are enough to keep the work in the cache and the calls few.
constexpr size_t kBlockBytes = 1 << 21;

/// Bytes that nobody has to clear first.
struct Block {
  std::unique_ptr<char[]> bytes = std::make_unique_for_overwrite<char[]>(kBlockBytes);
  size_t used = 0;
};

/// The new file, written from front to back in whole blocks.
class CopyWriter {
public:
  CopyWriter(const OpenFile& from, const OpenFile& to) : from_(from), to_(to) {}

  HRESULT add(const Segment& segment) {
    for (uint64_t done = 0; done < segment.length;) {
      const auto part = static_cast<size_t>(std::min<uint64_t>(segment.length - done, kBlockBytes - block_.used));
      char* const to = block_.bytes.get() + block_.used;
      if (!segment.bytes.empty())
        std::copy_n(segment.bytes.data() + done, part, to);
      else if (!from_.readAt(segment.source + done, to, part))
        return GetLastError() == ERROR_HANDLE_EOF ? QVERR_UNDO_STALE : QVERR_RIFF_READ;
      done += part;
      block_.used += part;
      if (block_.used == kBlockBytes && !write()) return lastResult();
    }
    return S_OK;
  }

  bool write() {
    if (!to_.writeAt(position_, block_.bytes.get(), block_.used)) return false;
    sum_.add(block_.bytes.get(), block_.used);
    position_ += block_.used;
    block_.used = 0;
    return true;
  }

  uint64_t sum() const { return sum_.value(); }

private:
  const OpenFile& from_;
  const OpenFile& to_;
  Block block_;
  uint64_t position_ = 0;
  qv::undo::CheckSum sum_;
};

} // namespace

qv::WString backupOf(const qv::WString& path) { return path + QV_TEXT(".bak"); }

qv::WString partialOf(const qv::WString& path, uint64_t token) {
  qv::WString name = path.substr(0, path.find_last_of(QV_TEXT("/\\")) + 1) + QV_TEXT(".qv-");
  for (int digit = 15; digit >= 0; --digit)
    name += QV_TEXT("0123456789abcdef")[token >> (4 * digit) & 15];
  return name + QV_TEXT(".tmp");
}

HRESULT lookFor(const qv::WString& path) {
  if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return S_OK;
  return GetLastError() == ERROR_FILE_NOT_FOUND ? S_FALSE : lastResult();
}

HRESULT writeCopy(const OpenFile& from, const UpdatePlan& plan, const qv::WString& path, bool flush, uint64_t& sum) {
  OpenFile to(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_NORMAL, from));
  if (!to.isOpen()) return lastResult();
  CopyWriter writer(from, to);
  for (const Segment& segment : plan.segments) {
    const HRESULT result = writer.add(segment);
    if (result != S_OK) return result;
  }
  if (!writer.write() || (flush && !FlushFileBuffers(to)) || !to.close()) return lastResult();
  sum = writer.sum();
  return S_OK;
}

OpenFile openCopy(const qv::WString& path, const OpenFile& kin) {
  return OpenFile(CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, kin));
}

bool hasSum(const OpenFile& file, uint64_t length, uint64_t sum) {
  uint64_t found = 0;
  if (!file.getLength(found) || found != length) return false;
  const Block block;
  qv::undo::CheckSum sums;
  for (uint64_t at = 0; at < length; at += kBlockBytes) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(length - at, kBlockBytes));
    if (!file.readAt(at, block.bytes.get(), part)) return false;
    sums.add(block.bytes.get(), part);
  }
  return sums.value() == sum;
}

bool copyRange(const OpenFile& from, const OpenFile& to, uint64_t begin, uint64_t end) {
  const Block block;
  for (uint64_t at = begin; at < end; at += kBlockBytes) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(end - at, kBlockBytes));
    if (!from.readAt(at, block.bytes.get(), part) || !to.writeAt(at, block.bytes.get(), part)) return false;
  }
  return true;
}

} // namespace fileutil
