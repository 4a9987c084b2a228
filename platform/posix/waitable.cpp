#include "platform/posix/waitable.h"

#include "platform/posix/last_error.h"

#include <algorithm>
#include <chrono>

namespace qv::platform {

namespace {

std::mutex& state_lock() {
  static std::mutex lock;
  return lock;
}

class Event final : public Waitable {
public:
  Event(bool manual_reset, bool signalled) : Waitable(manual_reset, signalled) {}
};

} // namespace

void Waitable::signal() {
  const std::lock_guard guard(state_lock());
  signalled_ = true;
  for (std::condition_variable* waiter : waiters_)
    waiter->notify_one();
}

void Waitable::reset() {
  const std::lock_guard guard(state_lock());
  signalled_ = false;
}

DWORD wait_for(const std::vector<Waitable*>& objects, bool all, DWORD milliseconds) {
  std::unique_lock guard(state_lock());
  DWORD answer = WAIT_TIMEOUT;
  const auto satisfied = [&] {
    const auto is_set = [](const Waitable* object) { return object->is_signalled(); };
    if (all) {
      if (!std::all_of(objects.begin(), objects.end(), is_set)) return false;
      for (Waitable* object : objects)
        object->consume();
      answer = WAIT_OBJECT_0;
      return true;
    }
    const auto first = std::find_if(objects.begin(), objects.end(), is_set);
    if (first == objects.end()) return false;
    (*first)->consume();
    answer = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
    return true;
  };
  if (satisfied() || milliseconds == 0) return answer;

  std::condition_variable wake;
  for (Waitable* object : objects)
    object->waiters_.push_back(&wake);
  if (milliseconds == INFINITE) {
    wake.wait(guard, satisfied);
  } else {
    wake.wait_for(guard, std::chrono::milliseconds(milliseconds), satisfied);
  }
  for (Waitable* object : objects)
    std::erase(object->waiters_, &wake);
  return answer;
}

} // namespace qv::platform

using qv::platform::Event;
using qv::platform::fail_with;
using qv::platform::KernelObject;
using qv::platform::object_of;
using qv::platform::or_out_of_memory;
using qv::platform::Waitable;

HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initialState, const WCHAR* name) {
  return or_out_of_memory(HANDLE{nullptr}, [&]() -> HANDLE {
    if (name != nullptr) {
      SetLastError(ERROR_NOT_SUPPORTED);
      return nullptr;
    }
    return (new Event(manualReset != 0, initialState != 0))->handle();
  });
}

BOOL SetEvent(HANDLE event) {
  auto* object = object_of<Event>(event);
  if (object == nullptr) return FALSE;
  object->signal();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  auto* object = object_of<Event>(event);
  if (object == nullptr) return FALSE;
  object->reset();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD milliseconds) {
  return or_out_of_memory(DWORD{WAIT_FAILED}, [&] {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || objects == nullptr) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return WAIT_FAILED;
    }
    std::vector<Waitable*> waited;
    waited.reserve(count);
    for (DWORD i = 0; i < count; ++i) {
      auto* object = object_of<Waitable>(objects[i]);
      if (object == nullptr) return WAIT_FAILED;
      if (std::find(waited.begin(), waited.end(), object) != waited.end()) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
      }
      waited.push_back(object);
    }
    // An object closed by another thread lives until the wait is over.
    for (Waitable* object : waited)
      object->retain();
    const DWORD answer = qv::platform::wait_for(waited, waitAll != 0, milliseconds);
    for (Waitable* object : waited)
      object->release();
    return answer;
  });
}

BOOL CloseHandle(HANDLE handle) {
  auto* object = object_of<KernelObject>(handle);
  if (object == nullptr) return FALSE;
  object->release();
  return TRUE;
}
