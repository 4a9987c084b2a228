// The consumers that wait for a queue, so that deleting it neither closes the event under them nor lets them touch the
// queue afterwards.
//
// A waiting consumer is outside of the queue. What it needs when it wakes is in a record on its own stack: whether the
// queue was deleted meanwhile, and the event, which the last of them closes then.
#pragma once

#include "qv/queue.h"

namespace qv::kernel {

class QueueWait {
public:
  /// Inside the queue's lock, so that a deletion that has not been seen by then sees this record.
  QueueWait(tQVQHEAD* head, HANDLE event);
  QueueWait(const QueueWait&) = delete;
  QueueWait& operator=(const QueueWait&) = delete;
  ~QueueWait();

  HANDLE event() const { return event_; }
  tQVQHEAD* head() const { return head_; }
  /// Whether the head may still be touched. Only a visit that is counted already keeps it so.
  bool queue_exists() const;

  // All of these inside the queue's lock.

  /// Tells everyone who waits for the queue that it is gone; false when nobody does, else the last closes the event.
  static bool orphan_all(const tQVQHEAD* head);
  /// Marks everyone who waits for the queue as released by a flush.
  static void release_all(const tQVQHEAD* head);
  /// Whether someone whom a flush released has yet to wake.
  static bool any_released(const tQVQHEAD* head);

private:
  tQVQHEAD* const head_;
  const HANDLE event_;
  bool orphaned_ = false;
  bool released_ = false;
  QueueWait* next_ = nullptr;
  QueueWait* prev_ = nullptr;
};

} // namespace qv::kernel
