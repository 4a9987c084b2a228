// A window of a file read ahead, for handles that only read and whose share mode excludes writers: walking the chunks
// of a file then costs a few large reads instead of a small read and a seek per header.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sys/types.h>

namespace qv::platform {

class ReadAhead {
public:
  /// Reads up to `bytes` bytes at `position` like pread: fewer only at the end of the file, -1 with errno on failure.
  ssize_t read(int descriptor, void* buffer, size_t bytes, int64_t position) {
    const size_t ready = copy_out(buffer, bytes, position);
    return ready == bytes ? static_cast<ssize_t>(ready) : read_behind(descriptor, buffer, bytes, position, ready);
  }

private:
  // A window grows from small to large while reads go on shortly behind it, so that a look at one header far into a
  // file does not cost a large read.
  static constexpr size_t kMinBytes = 4096;
  static constexpr size_t kMaxBytes = 65536;

  size_t copy_out(void* buffer, size_t bytes, int64_t position) const {
    if (position < start_ || position >= start_ + static_cast<int64_t>(length_)) return 0;
    const auto offset = static_cast<size_t>(position - start_);
    const size_t count = std::min(bytes, length_ - offset);
    std::memcpy(buffer, window_.get() + offset, count);
    return count;
  }
  /// Reads what the window did not hold: the bytes behind the first `ready`, which are in the buffer already.
  ssize_t read_behind(int descriptor, void* buffer, size_t bytes, int64_t position, size_t ready);
  ssize_t fill(int descriptor, int64_t position);
  /// A block of some size far behind the window: a reader with a buffer of its own jumps through the file, and nothing
  /// is read ahead for it.
  bool is_sample(size_t wanted, int64_t from) const;

  // The window holds bytes [start_, start_ + length_) of the file.
  std::unique_ptr<unsigned char[]> window_;
  int64_t start_ = 0;
  size_t length_ = 0;
  size_t next_size_ = kMinBytes;
};

/// Reads with pread until `bytes` bytes are there or the file ends; -1 with errno when a call fails.
ssize_t read_fully(int descriptor, void* buffer, size_t bytes, int64_t position);

} // namespace qv::platform
