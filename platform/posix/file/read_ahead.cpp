#include "platform/posix/file/read_ahead.h"

#include "platform/posix/seams.h"

#include <algorithm>
#include <cerrno>

namespace qv::platform {

namespace {

ssize_t read_once(int descriptor, void* buffer, size_t bytes, int64_t position) {
  ssize_t got = -1;
  do {
    got = file_calls().read(descriptor, buffer, bytes, position);
  } while (got < 0 && errno == EINTR);
  return got;
}

} // namespace

ssize_t read_fully(int descriptor, void* buffer, size_t bytes, int64_t position) {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got =
        read_once(descriptor, static_cast<char*>(buffer) + done, bytes - done, position + static_cast<int64_t>(done));
    if (got < 0) return -1;
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

ssize_t ReadAhead::fill(int descriptor, int64_t position) {
  // A read that passes over a little, as a walk over small chunks does, counts as going on.
  const int64_t passed_over = position - (start_ + static_cast<int64_t>(length_));
  const bool goes_on = passed_over >= 0 && passed_over < static_cast<int64_t>(kMaxBytes);
  if (!goes_on) next_size_ = kMinBytes;
  if (!window_) window_ = std::make_unique_for_overwrite<unsigned char[]>(kMaxBytes);
  // One call is enough: a window that is cut short, by the end of the file say, is simply a short one.
  const ssize_t got = read_once(descriptor, window_.get(), next_size_, position);
  start_ = position;
  length_ = got > 0 ? static_cast<size_t>(got) : 0;
  next_size_ = std::min(next_size_ * 4, kMaxBytes);
  return got;
}

bool ReadAhead::is_sample(size_t wanted, int64_t from) const {
  constexpr size_t kLeastBytes = 1024;
  return wanted >= kLeastBytes && from >= start_ + static_cast<int64_t>(length_ + kMinBytes);
}

ssize_t ReadAhead::read_behind(int descriptor, void* buffer, size_t bytes, int64_t position, size_t ready) {
  char* const rest = static_cast<char*>(buffer) + ready;
  const size_t wanted = bytes - ready;
  const int64_t from = position + static_cast<int64_t>(ready);
  if (wanted < kMinBytes && !is_sample(wanted, from)) {
    if (fill(descriptor, from) < 0) return -1;
    if (copy_out(rest, wanted, from) == wanted) return static_cast<ssize_t>(bytes);
  }
  const ssize_t got = read_fully(descriptor, rest, wanted, from);
  return got < 0 ? -1 : static_cast<ssize_t>(ready) + got;
}

} // namespace qv::platform
