#include "platform/posix/last_error.h"
#include "platform/posix/thread/waitable.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <new>
#include <thread>

namespace qv::platform {

namespace {

std::atomic<DWORD> next_thread_id{1};

DWORD draw_thread_id() { return next_thread_id.fetch_add(1, std::memory_order_relaxed); }

/// The calling thread's id: drawn on first use, or by CreateThread for the thread that it starts.
DWORD& current_thread_id() {
  thread_local DWORD id = 0;
  return id;
}

/// A thread as an object to wait for: signalled when it has ended.
class Thread final : public Waitable {
public:
  Thread() : Waitable(true, false) {}

  void run(LPTHREAD_START_ROUTINE start, void* argument) {
    exit_code_.store(start(argument));
    signal();
  }
  DWORD exit_code() const { return exit_code_.load(); }

private:
  std::atomic<DWORD> exit_code_{STILL_ACTIVE};
};

} // namespace

} // namespace qv::platform

using qv::platform::Thread;

HANDLE CreateThread(SECURITY_ATTRIBUTES*, SIZE_T stackBytes, LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
                    DWORD* threadId) {
  if (stackBytes != 0 || flags != 0 || !start) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  auto* thread = new (std::nothrow) Thread;
  if (!thread) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  const DWORD id = qv::platform::draw_thread_id();
  try {
    thread->retain(); // the running thread's own reference
    std::thread([thread, start, argument, id] {
      qv::platform::current_thread_id() = id;
      thread->run(start, argument);
      thread->release();
    }).detach();
  } catch (const std::exception&) {
    thread->release();
    thread->release();
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  if (threadId) *threadId = id;
  return thread->handle();
}

BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode) {
  const auto* object = qv::platform::object_of<Thread>(thread);
  if (!object) return FALSE;
  *exitCode = object->exit_code();
  return TRUE;
}

DWORD GetCurrentThreadId() {
  DWORD& id = qv::platform::current_thread_id();
  if (id == 0) id = qv::platform::draw_thread_id();
  return id;
}

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0)
    std::this_thread::yield();
  else if (milliseconds == INFINITE)
    for (;;)
      std::this_thread::sleep_for(std::chrono::hours(1));
  else
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
