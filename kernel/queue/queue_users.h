// Who is inside a queue: what lets a queue be deleted while others still come.
//
// A queue's head holds nothing that would outlive the deletion, so the count of those inside is kept beside it, in one
// of a fixed number of stripes chosen by the head's address. A visitor counts itself first and then looks whether the
// queue still has its event; QvQueueDelete takes the event first and then waits for the count to fall to 0. One of the
// two sees the other.
//
// A stripe has two counts, of which newcomers take one. Draining waits for the other to empty, makes newcomers take
// that, and waits for the first: visitors of other queues that keep coming cannot hold it up.
#pragma once

#include "kernel/queue/queue_waits.h"

#include "qv/queue.h"

#include <atomic>

namespace qv::kernel {

inline std::atomic_ref<HANDLE> event_of(tQVQHEAD* head) { return std::atomic_ref<HANDLE>(head->event); }

/// Keeps QvQueueDelete from freeing the queue. False when there is no queue (any more).
class QueueVisit {
public:
  explicit QueueVisit(tQVQHEAD* head);
  /// Comes back after a wait: the head may be gone by now.
  explicit QueueVisit(const QueueWait& wait);
  QueueVisit(const QueueVisit&) = delete;
  QueueVisit& operator=(const QueueVisit&) = delete;
  ~QueueVisit();
  explicit operator bool() const { return event_ != nullptr; }
  /// Stays open until this visit is over.
  HANDLE event() const { return event_; }

private:
  void count_in(const tQVQHEAD* head);

  std::atomic<uint32_t>* count_ = nullptr;
  HANDLE event_ = nullptr;
};

/// A visit that holds the queue's lock. False when there is no queue.
class InsideQueue {
public:
  explicit InsideQueue(tQVQHEAD* head) : visit_(head), head_(head) { enter(); }
  explicit InsideQueue(const QueueWait& wait) : visit_(wait), head_(wait.head()) { enter(); }
  InsideQueue(const InsideQueue&) = delete;
  InsideQueue& operator=(const InsideQueue&) = delete;
  ~InsideQueue() {
    if (inside_) leave();
  }
  explicit operator bool() const { return inside_; }
  HANDLE event() const { return visit_.event(); }

private:
  void enter() {
    if (!visit_) return;
    EnterCriticalSection(&head_->lock);
    inside_ = true;
    if (!event_of(head_).load(std::memory_order_relaxed)) leave();
  }
  void leave() {
    LeaveCriticalSection(&head_->lock);
    inside_ = false;
  }

  QueueVisit visit_;
  tQVQHEAD* head_;
  bool inside_ = false;
};

/// Returns when every visit that began before the event was taken is over. Not from inside a visit.
void drain_visits(tQVQHEAD* head);

} // namespace qv::kernel
