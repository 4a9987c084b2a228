// Who is inside a queue and who waits for it: what lets a queue be deleted while others still come.
//
// A queue's head holds nothing that outlives the deletion. So every queue has a record beside it, found by the head's
// address; records serve one queue after another and are never freed. A visitor counts itself in the record first and
// then looks whether the record still has the head; QvQueueDelete takes the head out of the record first and then waits
// for the counts to fall to 0. One of the two sees the other, and nobody waits for the visitors of another queue.
//
// A waiting consumer is outside of the queue. Its QueueWait, on its own stack, keeps record and event from being given
// to another queue until it has come back and seen by the record whether the queue was deleted meanwhile.
#pragma once

#include "qv/queue.h"

#include <array>
#include <atomic>
#include <mutex>

namespace qv::kernel {

inline std::atomic_ref<HANDLE> event_of(tQVQHEAD* head) { return std::atomic_ref<HANDLE>(head->event); }

class QueueWait;

class QueueUsers {
public:
  /// The record of a queue, or null when there is no queue (any more).
  static QueueUsers* of(const tQVQHEAD* head);
  /// Takes a record for a queue that begins and leaves its event to it; null, and the event stays the caller's, when
  /// there is no memory. Allocates only where more queues than ever before exist at once.
  static QueueUsers* begin(tQVQHEAD* head, HANDLE event);

  QueueUsers(const QueueUsers&) = delete;
  QueueUsers& operator=(const QueueUsers&) = delete;

  /// Stays open while a visitor or a wait keeps the record.
  HANDLE event() const { return event_; }

  // The end of a queue, in this order. Not from inside the queue.

  /// From now on nobody gets in.
  void turn_away() { head_.store(nullptr); }
  /// Returns when everybody who got in has left.
  void drain() const;
  /// Closes the event and gives the record back, at once or when the last who waits has come back.
  void end();

  // What a flush promises, inside the queue's lock.

  /// Marks everybody who waits and will return by the event.
  void release_waits();
  /// Whether somebody whom release_waits() marked has yet to come back.
  bool any_released();

private:
  friend class InsideQueue;
  friend class QueueWait;

  /// Visits of some threads. Each on a cache line of its own: threads that share a queue meet in its lock alone.
  struct alignas(64) Count {
    std::atomic<uint32_t> visits{0};
  };
  static constexpr size_t kCounts = 8;

  QueueUsers(tQVQHEAD* head, HANDLE event) : head_(head), event_(event) {}
  bool belongs_to(const tQVQHEAD* head) const { return head_.load() == head; }
  std::atomic<uint32_t>& visits_of_this_thread();
  void give_back();

  std::atomic<tQVQHEAD*> head_; ///< null when the queue is gone
  std::atomic<bool> taken_{true};
  HANDLE event_;
  QueueUsers* next_ = nullptr; ///< among those whose heads have the same hash
  std::mutex waits_lock_;      ///< for what follows
  QueueWait* first_wait_ = nullptr;
  bool ended_ = false;
  std::array<Count, kCounts> counts_;
};

/// A visit that holds the queue's lock. False when there is no queue.
class InsideQueue {
public:
  explicit InsideQueue(tQVQHEAD* head);
  /// Comes back after a wait: the head may be gone by now.
  explicit InsideQueue(const QueueWait& wait);
  InsideQueue(const InsideQueue&) = delete;
  InsideQueue& operator=(const InsideQueue&) = delete;
  ~InsideQueue() {
    if (users_) LeaveCriticalSection(&head_->lock);
    if (visits_) visits_->fetch_sub(1);
  }
  explicit operator bool() const { return users_ != nullptr; }
  QueueUsers& users() const { return *users_; }
  HANDLE event() const { return users_->event(); }

private:
  void enter(QueueUsers* users);

  tQVQHEAD* const head_;
  std::atomic<uint32_t>* visits_ = nullptr; ///< where this visit is counted
  QueueUsers* users_ = nullptr;
};

/// A consumer that waits for a queue.
class QueueWait {
public:
  /// Inside the queue. returns: whether the consumer returns when the event is signalled, even if the queue is empty.
  QueueWait(tQVQHEAD* head, QueueUsers& users, bool returns);
  QueueWait(const QueueWait&) = delete;
  QueueWait& operator=(const QueueWait&) = delete;
  ~QueueWait();
  HANDLE event() const { return users_.event(); }

private:
  friend class InsideQueue;
  friend class QueueUsers;

  tQVQHEAD* const head_;
  QueueUsers& users_;
  const bool returns_;
  bool released_ = false;
  QueueWait* next_ = nullptr;
  QueueWait* prev_ = nullptr;
};

} // namespace qv::kernel
