#include "platform/posix/seams.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace qv::platform {

namespace {

/// Counts calls down to the one that fails.
class Countdown {
public:
  void set(int nth) {
    calls_.store(0, std::memory_order_relaxed);
    nth_.store(nth, std::memory_order_relaxed);
  }
  bool hit() {
    const int nth = nth_.load(std::memory_order_relaxed);
    if (nth == 0) return false;
    return calls_.fetch_add(1, std::memory_order_relaxed) + 1 == nth;
  }
  int calls() const { return calls_.load(std::memory_order_relaxed); }

private:
  std::atomic<int> nth_{0};
  std::atomic<int> calls_{0};
};

Countdown allocations;
Countdown inputs_and_outputs;
std::atomic<int64_t> stopped_clock{-1};
std::atomic<const FileCalls*> replaced_file_calls{nullptr};

} // namespace

void fail_allocation(int nth) { allocations.set(nth); }
void fail_io(int nth) { inputs_and_outputs.set(nth); }
int io_calls() { return inputs_and_outputs.calls(); }
void set_clock(int64_t nanoseconds) { stopped_clock.store(nanoseconds, std::memory_order_relaxed); }

const FileCalls kSystemFileCalls = {
    .read = pread,
    .write = pwrite,
    .sync = fsync,
    .close = close,
    .open = [](const char* path, int flags, unsigned mode) { return open(path, flags, mode); },
    .cut = ftruncate,
    .rename = [](const char* from, const char* to,
                 unsigned flags) { return renameat2(AT_FDCWD, from, AT_FDCWD, to, flags); },
    .remove = unlink};
void set_file_calls(const FileCalls* calls) { replaced_file_calls.store(calls, std::memory_order_relaxed); }

bool allocation_fails() { return allocations.hit(); }
bool io_fails() { return inputs_and_outputs.hit(); }

const FileCalls& file_calls() {
  const FileCalls* replaced = replaced_file_calls.load(std::memory_order_relaxed);
  return replaced ? *replaced : kSystemFileCalls;
}

int64_t clock_nanoseconds() {
  const int64_t stopped = stopped_clock.load(std::memory_order_relaxed);
  if (stopped >= 0) return stopped;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

} // namespace qv::platform
