// An open file: a handle keeps its own 64-bit position and reads and writes at it, so that moving the position costs no
// system call.
#pragma once

#include "platform/posix/file/read_ahead.h"
#include "platform/posix/handle.h"

namespace qv::platform {

class File final : public KernelObject {
public:
  File(int descriptor, DWORD access, bool read_ahead)
      : descriptor_(descriptor), access_(access), reads_ahead_(read_ahead) {}

  BOOL close_handle() override;

  int descriptor() const { return descriptor_; }
  bool readable() const { return (access_ & GENERIC_READ) != 0; }
  bool writable() const { return (access_ & GENERIC_WRITE) != 0; }

  ssize_t read(void* buffer, size_t bytes) {
    const ssize_t got = reads_ahead_ ? window_.read(descriptor_, buffer, bytes, position)
                                     : read_fully(descriptor_, buffer, bytes, position);
    if (got > 0) position += got;
    return got;
  }

  /// The number of bytes written before the first failure; `bytes` on success.
  size_t write(const void* buffer, size_t bytes);

  int64_t position = 0;

private:
  const int descriptor_;
  const DWORD access_;
  const bool reads_ahead_;
  ReadAhead window_;
};

} // namespace qv::platform
