// A window of a file read ahead, for handles that only read and whose share mode excludes writers: walking the chunks
// of a file then costs a few large reads instead of a small read and a seek per header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sys/types.h>

namespace qv::platform {

class ReadAhead {
public:
  /// Reads up to `bytes` bytes at `position` like pread: fewer only at the end of the file, -1 with errno on failure.
  ssize_t read(int descriptor, void* buffer, size_t bytes, int64_t position);

private:
  // A window grows from small to large while reads go on shortly behind it, so that a look at one header far into a
  // file does not cost a large read.
  static constexpr size_t kSmallest = 4096;
  static constexpr size_t kLargest = 65536;

  size_t copy_out(void* buffer, size_t bytes, int64_t position) const;
  ssize_t fill(int descriptor, int64_t position);

  std::unique_ptr<unsigned char[]> window_;
  int64_t start_ = 0;
  size_t length_ = 0;
  size_t next_size_ = kSmallest;
};

/// pread until `bytes` bytes are there or the file ends.
ssize_t read_fully(int descriptor, void* buffer, size_t bytes, int64_t position);

} // namespace qv::platform
