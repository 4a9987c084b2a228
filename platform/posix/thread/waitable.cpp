// Events, waiting, and closing a handle.
#include "platform/posix/thread/waitable.h"

#include "platform/posix/last_error.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>

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

/// The wait of one thread. Everything but the waiting itself happens under the lock.
struct Wait {
  std::span<Waitable* const> objects;
  bool all;
  bool over = false;
  DWORD result = WAIT_TIMEOUT;
  std::condition_variable wake;

  void end(DWORD with) {
    result = with;
    over = true;
  }
  static void consume(Waitable* object) {
    if (!object->manual_reset_) object->signalled_.store(false);
  }
  void end_if_satisfied() {
    const auto is_set = [](const Waitable* object) { return object->signalled_.load(); };
    if (all) {
      if (!std::all_of(objects.begin(), objects.end(), is_set)) return;
      std::for_each(objects.begin(), objects.end(), consume);
      return end(WAIT_OBJECT_0);
    }
    const auto first = std::find_if(objects.begin(), objects.end(), is_set);
    if (first == objects.end()) return;
    consume(*first);
    end(WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin()));
  }
  /// `object` was signalled just now; it may have been reset since, which does not take the signal back.
  void end_by(Waitable* object) {
    if (all || !object->manual_reset_) return end_if_satisfied();
    const auto signalled = std::find(objects.begin(), objects.end(), object);
    end(WAIT_OBJECT_0 + static_cast<DWORD>(signalled - objects.begin()));
  }

  void announce() {
    for (Waitable* object : objects)
      object->waits_.reserve(object->waits_.size() + 1); // all memory before the first change
    for (Waitable* object : objects) {
      object->waits_.push_back(this);
      object->waits_going_on_.fetch_add(1);
    }
  }
  void withdraw() {
    for (Waitable* object : objects) {
      std::erase(object->waits_, this);
      object->waits_going_on_.fetch_sub(1);
    }
  }
};

void Waitable::signal() {
  signalled_.store(true);
  if (waits_going_on_.load() == 0) return;
  const std::lock_guard guard(state_lock());
  for (Wait* wait : waits_) {
    if (wait->over) continue;
    wait->end_by(this);
    if (wait->over) wait->wake.notify_one();
  }
}

DWORD wait_for(std::span<Waitable* const> objects, bool all, DWORD milliseconds) {
  // A manual-reset object is not changed by a wait: no lock is needed to see that it is signalled.
  if (objects.size() == 1 && objects[0]->manual_reset_ && objects[0]->signalled_.load()) return WAIT_OBJECT_0;
  Wait wait{.objects = objects, .all = all, .wake = {}};
  std::unique_lock guard(state_lock());
  wait.announce();
  wait.end_if_satisfied();
  const auto over = [&] { return wait.over; };
  if (milliseconds == INFINITE)
    wait.wake.wait(guard, over);
  else if (milliseconds != 0)
    wait.wake.wait_for(guard, std::chrono::milliseconds(milliseconds), over);
  wait.withdraw();
  return wait.result;
}

namespace {

/// The objects behind handles, kept alive: one that another thread closes lives until the wait is over.
class WaitedObjects {
public:
  WaitedObjects() = default;
  WaitedObjects(const WaitedObjects&) = delete;
  WaitedObjects& operator=(const WaitedObjects&) = delete;
  ~WaitedObjects() {
    for (Waitable* object : all())
      object->release();
  }

  bool add(HANDLE handle) {
    auto* object = object_of<Waitable>(handle);
    if (!object) return false;
    if (std::find(objects_.begin(), objects_.begin() + count_, object) != objects_.begin() + count_)
      return fail_with(ERROR_INVALID_PARAMETER) != FALSE;
    object->retain();
    objects_[count_++] = object;
    return true;
  }
  std::span<Waitable* const> all() const { return {objects_.data(), count_}; }

private:
  std::array<Waitable*, MAXIMUM_WAIT_OBJECTS> objects_;
  size_t count_ = 0;
};

} // namespace

} // namespace qv::platform

using qv::platform::Event;
using qv::platform::fail_with;
using qv::platform::KernelObject;
using qv::platform::object_of;
using qv::platform::or_out_of_memory;
using qv::platform::WaitedObjects;

HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initialState, const WCHAR* name) {
  return or_out_of_memory(
      HANDLE{nullptr},
      [&]() -> HANDLE {
        if (name) {
          SetLastError(ERROR_NOT_SUPPORTED);
          return nullptr;
        }
        return (new Event(manualReset != 0, initialState != 0))->handle();
      });
}

BOOL SetEvent(HANDLE event) {
  auto* object = object_of<Event>(event);
  if (!object) return FALSE;
  object->retain(); // whoever it wakes may close it at once
  object->signal();
  object->release();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  auto* object = object_of<Event>(event);
  if (!object) return FALSE;
  object->reset();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD milliseconds) {
  return or_out_of_memory(
      DWORD{WAIT_FAILED},
      [&] {
        if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || !objects) {
          SetLastError(ERROR_INVALID_PARAMETER);
          return WAIT_FAILED;
        }
        WaitedObjects waited;
        for (DWORD i = 0; i < count; ++i)
          if (!waited.add(objects[i])) return WAIT_FAILED;
        return qv::platform::wait_for(waited.all(), waitAll != 0, milliseconds);
      });
}

DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* objects, DWORD milliseconds, DWORD, DWORD flags) {
  if (count >= MAXIMUM_WAIT_OBJECTS) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  return WaitForMultipleObjects(count, objects, (flags & MWMO_WAITALL) != 0, milliseconds);
}

BOOL PeekMessageW(MSG*, HWND, UINT, UINT, UINT) { return FALSE; }

BOOL CloseHandle(HANDLE handle) {
  auto* object = object_of<KernelObject>(handle);
  return object ? object->close_handle() : FALSE;
}
