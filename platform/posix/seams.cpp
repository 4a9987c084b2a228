#include "platform/posix/seams.h"

#include <atomic>
#include <ctime>

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

} // namespace

void fail_allocation(int nth) { allocations.set(nth); }
void fail_io(int nth) { inputs_and_outputs.set(nth); }
int io_calls() { return inputs_and_outputs.calls(); }
void set_clock(int64_t nanoseconds) { stopped_clock.store(nanoseconds, std::memory_order_relaxed); }

bool allocation_fails() { return allocations.hit(); }
bool io_fails() { return inputs_and_outputs.hit(); }

int64_t clock_nanoseconds() {
  const int64_t stopped = stopped_clock.load(std::memory_order_relaxed);
  if (stopped >= 0) return stopped;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

} // namespace qv::platform
