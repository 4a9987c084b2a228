// Critical sections: the public record holds only a pointer to the lock, so that a list may move its bytes.
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include "qv/win32.h"

#include <immintrin.h>
#include <mutex>
#include <new>

namespace {

/// A thread that finds a section taken looks at it so many times before it goes to sleep, and keeps away in between for
/// so many pauses: some 1 us, in which the owner enters and leaves dozens of times. Sleeping costs more than that, and
/// looking all the time takes the lock's cache line from the owner. (Measured by bench_kernel's hand-over.)
constexpr int kLooks = 10;
constexpr int kPauses = 64;

std::recursive_mutex& lock_of(CRITICAL_SECTION* section) { return *static_cast<std::recursive_mutex*>(section->lock); }

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
  *section = {.lock = new std::recursive_mutex, .reserved = {}};
}

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD) {
  *section = {};
  if (!qv::platform::allocation_fails()) section->lock = new (std::nothrow) std::recursive_mutex;
  return section->lock ? TRUE : qv::platform::fail_with(ERROR_NOT_ENOUGH_MEMORY);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
  std::recursive_mutex& lock = lock_of(section);
  for (int looks = 0; looks < kLooks; ++looks) {
    if (lock.try_lock()) return;
    for (int i = 0; i < kPauses; ++i)
      _mm_pause();
  }
  lock.lock();
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) { return lock_of(section).try_lock() ? TRUE : FALSE; }

void LeaveCriticalSection(CRITICAL_SECTION* section) { lock_of(section).unlock(); }

void DeleteCriticalSection(CRITICAL_SECTION* section) {
  delete static_cast<std::recursive_mutex*>(section->lock);
  section->lock = nullptr;
}
