// Critical sections: the public record holds only a pointer to the lock, so that a list may move its bytes.
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"
#include "qv/win32.h"

#include <mutex>
#include <new>

namespace {
std::recursive_mutex& lock_of(CRITICAL_SECTION* section) { return *static_cast<std::recursive_mutex*>(section->lock); }
} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
  *section = {.lock = new std::recursive_mutex, .reserved = {}};
}

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD) {
  *section = {};
  if (!qv::platform::allocation_fails()) section->lock = new (std::nothrow) std::recursive_mutex;
  return section->lock != nullptr ? TRUE : qv::platform::fail_with(ERROR_NOT_ENOUGH_MEMORY);
}

void EnterCriticalSection(CRITICAL_SECTION* section) { lock_of(section).lock(); }

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) { return lock_of(section).try_lock() ? TRUE : FALSE; }

void LeaveCriticalSection(CRITICAL_SECTION* section) { lock_of(section).unlock(); }

void DeleteCriticalSection(CRITICAL_SECTION* section) {
  delete static_cast<std::recursive_mutex*>(section->lock);
  section->lock = nullptr;
}
