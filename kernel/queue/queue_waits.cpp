#include "kernel/queue/queue_waits.h"

#include <mutex>

namespace qv::kernel {

namespace {

std::mutex& waits_lock() {
  static std::mutex lock;
  return lock;
}

constinit QueueWait* first_wait = nullptr;

} // namespace

QueueWait::QueueWait(tQVQHEAD* head, HANDLE event) : head_(head), event_(event) {
  const std::lock_guard guard(waits_lock());
  next_ = first_wait;
  if (next_) next_->prev_ = this;
  first_wait = this;
}

QueueWait::~QueueWait() {
  const std::lock_guard guard(waits_lock());
  (prev_ ? prev_->next_ : first_wait) = next_;
  if (next_) next_->prev_ = prev_;
  if (!orphaned_) return;
  for (const QueueWait* other = first_wait; other; other = other->next_)
    if (other->event_ == event_) return;
  CloseHandle(event_);
}

bool QueueWait::queue_exists() const {
  const std::lock_guard guard(waits_lock());
  return !orphaned_;
}

bool QueueWait::orphan_all(const tQVQHEAD* head) {
  const std::lock_guard guard(waits_lock());
  bool any = false;
  for (QueueWait* wait = first_wait; wait; wait = wait->next_) {
    if (wait->head_ != head || wait->orphaned_) continue;
    wait->orphaned_ = true;
    any = true;
  }
  return any;
}

void QueueWait::release_all(const tQVQHEAD* head) {
  const std::lock_guard guard(waits_lock());
  for (QueueWait* wait = first_wait; wait; wait = wait->next_)
    if (wait->head_ == head) wait->released_ = true;
}

bool QueueWait::any_released(const tQVQHEAD* head) {
  const std::lock_guard guard(waits_lock());
  for (const QueueWait* wait = first_wait; wait; wait = wait->next_)
    if (wait->head_ == head && !wait->orphaned_ && wait->released_) return true;
  return false;
}

} // namespace qv::kernel
