// Removing elements, and waiting for them.
#include "kernel/queue/queue_links.h"
#include "kernel/queue/queue_users.h"

#include <algorithm>
#include <array>
#include <optional>

using namespace qv::kernel;

namespace {

constexpr DWORD kMaxHandles = MAXIMUM_WAIT_OBJECTS - 2;

/// How a wait ended: by the queue's event, by something after which a consumer with retry waits on, or by a reason to
/// return.
enum class Woken { kByEvent, kInVain, kToReturn };

/// The waiting of one removal: for what besides the queue's event, and how long in all.
class Waiting {
public:
  explicit Waiting(DWORD milliseconds) : Waiting(nullptr, 0, 0, milliseconds, nullptr) {}
  Waiting(const HANDLE* handles, DWORD count, DWORD flags, DWORD milliseconds, DWORD* result)
      : count_(handles ? count : 0), wake_mask_(flags & 0xFFFF), wait_flags_(flags >> 16 & 3),
        retry_((flags & QVQUEUE_RETRY) != 0), milliseconds_(milliseconds), result_(result) {
    if (retry_) wake_mask_ |= QS_SENDMESSAGE;
    if ((flags & QVQUEUE_INPUTAVAILABLE) != 0) wait_flags_ |= MWMO_INPUTAVAILABLE;
    std::copy_n(handles, count_, objects_.begin() + 1);
    if (milliseconds != 0 && milliseconds != INFINITE) begun_ = GetTickCount();
  }

  bool wanted() const { return milliseconds_ != 0; }
  bool retry() const { return retry_; }
  /// Whether the queue's event alone ends the removal, as it is after a flush.
  bool ends_by_event() const { return !retry_ && (wait_flags_ & MWMO_WAITALL) == 0; }

  Woken wait(HANDLE event) {
    objects_[0] = event;
    const DWORD result = block();
    if (result_) *result_ = result;
    if (result == WAIT_OBJECT_0) return Woken::kByEvent;
    if (!retry_) return Woken::kToReturn;
    if (result == WAIT_IO_COMPLETION) return Woken::kInVain;
    if (result != WAIT_OBJECT_0 + count_ + 1) return Woken::kToReturn;
    MSG message; // PeekMessageW dispatches what other threads sent before it looks for one
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    return Woken::kInVain;
  }

  /// Yields to other threads, before another wait that would end at once. False when the time is over.
  bool pause() {
    Sleep(0);
    if (remaining() != 0) return true;
    if (result_) *result_ = WAIT_TIMEOUT;
    return false;
  }

private:
  DWORD block() const {
    if (count_ == 0 && wake_mask_ == 0 && wait_flags_ == 0) return WaitForSingleObject(objects_[0], remaining());
    return MsgWaitForMultipleObjectsEx(count_ + 1, objects_.data(), remaining(), wake_mask_, wait_flags_);
  }

  DWORD remaining() const {
    if (milliseconds_ == INFINITE) return INFINITE;
    const DWORD elapsed = GetTickCount() - begun_;
    return elapsed < milliseconds_ ? milliseconds_ - elapsed : 0;
  }

  std::array<HANDLE, kMaxHandles + 1> objects_;
  DWORD count_;
  DWORD wake_mask_;
  DWORD wait_flags_;
  bool retry_;
  DWORD milliseconds_;
  DWORD begun_ = 0;
  DWORD* result_;
};

/// Takes the signal of a flush back, which is the only one that an empty queue has: called by a consumer that waits on.
/// Does not, and returns false, while consumers that the flush released have yet to come back.
bool settle_event(const InsideQueue& inside) {
  if (inside.users().any_released()) return false;
  ResetEvent(inside.event());
  return true;
}

/// Calls `take` inside the queue, and again after each wait while it returns null, as it does for an empty queue.
template <class Take>
tQVQELM* take_waiting(tQVQHEAD* head, Waiting waiting, Take take) {
  std::optional<QueueWait> wait;
  {
    const InsideQueue inside(head);
    if (!inside) return nullptr;
    tQVQELM* taken = take(inside.event());
    if (taken || !waiting.wanted()) return taken;
    wait.emplace(head, inside.users(), waiting.ends_by_event());
  }
  for (;;) {
    const Woken woken = waiting.wait(wait->event());
    if (woken == Woken::kToReturn) return nullptr;
    bool settled = true;
    {
      const InsideQueue inside(*wait);
      if (!inside) return nullptr;
      tQVQELM* taken = take(inside.event());
      if (taken || !waiting.retry()) return taken;
      if (woken == Woken::kByEvent) settled = settle_event(inside);
    }
    if (!settled && !waiting.pause()) return nullptr;
  }
}

tQVQELM* take_end(tQVQHEAD* head, HANDLE event, Direction end) {
  if (is_empty(head)) return nullptr;
  tQVQELM* element = step(head, end);
  unlink(element);
  if (is_empty(head)) ResetEvent(event);
  return element;
}

} // namespace

tQVQELM* QvQueueRemove(tQVQHEAD* head, DWORD milliseconds) {
  return QvQueueRemoveEx(head, nullptr, 0, 0, milliseconds, nullptr);
}

tQVQELM* QvQueueRemoveAlertable(tQVQHEAD* head, DWORD milliseconds) {
  return QvQueueRemoveEx(head, nullptr, 0, QVQUEUE_RETRY | QVQUEUE_ALERTABLE, milliseconds, nullptr);
}

tQVQELM* QvQueueRemoveEx(tQVQHEAD* head, const HANDLE* handles, DWORD handleCount, DWORD flags, DWORD milliseconds,
                         DWORD* waitResult) {
  if (handles && handleCount > kMaxHandles) return nullptr;
  return take_waiting(head, Waiting(handles, handleCount, flags, milliseconds, waitResult),
                      [head](HANDLE event) { return take_end(head, event, Direction::kForward); });
}

tQVQELM* QvQueueRemoveTail(tQVQHEAD* head, DWORD milliseconds) {
  return take_waiting(
      head, Waiting(milliseconds), [head](HANDLE event) { return take_end(head, event, Direction::kBackward); });
}

LONG QvQueueWait(tQVQHEAD* head, DWORD milliseconds) {
  const tQVQELM* first =
      take_waiting(head, Waiting(milliseconds), [head](HANDLE) { return is_empty(head) ? nullptr : head->next; });
  return first ? 1 : 0;
}
