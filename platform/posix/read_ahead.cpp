#include "platform/posix/read_ahead.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace qv::platform {

ssize_t read_fully(int descriptor, void* buffer, size_t bytes, int64_t position) {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got = pread(descriptor, static_cast<char*>(buffer) + done, bytes - done, position + done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return done > 0 ? static_cast<ssize_t>(done) : -1;
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

size_t ReadAhead::copy_out(void* buffer, size_t bytes, int64_t position) const {
  if (position < start_ || position >= start_ + static_cast<int64_t>(length_)) return 0;
  const auto offset = static_cast<size_t>(position - start_);
  const size_t count = std::min(bytes, length_ - offset);
  std::memcpy(buffer, window_.get() + offset, count);
  return count;
}

ssize_t ReadAhead::fill(int descriptor, int64_t position) {
  // Passing over a little, as a walk over small chunks does, is going on.
  const int64_t passed_over = position - (start_ + static_cast<int64_t>(length_));
  const bool goes_on = passed_over >= 0 && passed_over < static_cast<int64_t>(kLargest);
  if (!goes_on) next_size_ = kSmallest;
  if (!window_) window_ = std::make_unique_for_overwrite<unsigned char[]>(kLargest);
  const ssize_t got = read_fully(descriptor, window_.get(), next_size_, position);
  start_ = position;
  length_ = got > 0 ? static_cast<size_t>(got) : 0;
  next_size_ = std::min(next_size_ * 4, kLargest);
  return got;
}

ssize_t ReadAhead::read(int descriptor, void* buffer, size_t bytes, int64_t position) {
  const size_t ready = copy_out(buffer, bytes, position);
  if (ready == bytes) return static_cast<ssize_t>(ready);
  char* const rest = static_cast<char*>(buffer) + ready;
  const size_t wanted = bytes - ready;
  const int64_t from = position + static_cast<int64_t>(ready);
  if (wanted >= kSmallest) {
    const ssize_t got = read_fully(descriptor, rest, wanted, from);
    return got < 0 && ready == 0 ? -1 : static_cast<ssize_t>(ready) + std::max<ssize_t>(got, 0);
  }
  if (fill(descriptor, from) < 0 && ready == 0) return -1;
  return static_cast<ssize_t>(ready + copy_out(rest, wanted, from));
}

} // namespace qv::platform
