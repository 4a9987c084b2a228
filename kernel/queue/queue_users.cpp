#include "kernel/queue/queue_users.h"

#include <bit>
#include <new>

namespace qv::kernel {

namespace {

constexpr int kBucketBits = 10;

/// All records, in chains by the hash of their heads. A record never leaves its chain, which can therefore be walked
/// without a lock.
constinit std::array<std::atomic<QueueUsers*>, size_t{1} << kBucketBits> buckets;

/// The upper `bits` bits of a product to which every bit of the address contributes.
constexpr size_t hash(uintptr_t address, int bits) {
  return static_cast<size_t>((address * uint64_t{0x9E3779B97F4A7C15}) >> (64 - bits));
}

std::atomic<QueueUsers*>& bucket_of(const tQVQHEAD* head) {
  return buckets[hash(std::bit_cast<uintptr_t>(head), kBucketBits)];
}

} // namespace

QueueUsers* QueueUsers::of(const tQVQHEAD* head) {
  QueueUsers* users = bucket_of(head).load();
  while (users && !users->belongs_to(head))
    users = users->next_;
  return users;
}

QueueUsers* QueueUsers::begin(tQVQHEAD* head, HANDLE event) {
  std::atomic<QueueUsers*>& bucket = bucket_of(head);
  for (QueueUsers* users = bucket.load(); users; users = users->next_) {
    // A head still has its record when the client zeroed it without deleting the queue.
    if (!users->belongs_to(head) && users->taken_.exchange(true)) continue;
    users->event_ = event;
    users->head_.store(head);
    return users;
  }
  auto* users = new (std::nothrow) QueueUsers(head, event);
  if (!users) return nullptr;
  users->next_ = bucket.load();
  while (!bucket.compare_exchange_weak(users->next_, users)) {
  }
  return users;
}

std::atomic<uint32_t>& QueueUsers::visits_of_this_thread() {
  // Threads are told apart by where their stacks are, which costs nothing to ask.
  const char here = 0;
  constexpr int kStackBits = 20;
  return counts_[hash(std::bit_cast<uintptr_t>(&here) >> kStackBits, std::bit_width(kCounts - 1))].visits;
}

void QueueUsers::drain() const {
  for (const Count& count : counts_)
    while (count.visits.load() != 0)
      Sleep(0);
}

void QueueUsers::end() {
  const std::lock_guard guard(waits_lock_);
  ended_ = true;
  if (!first_wait_) give_back();
}

void QueueUsers::give_back() {
  CloseHandle(event_);
  ended_ = false;
  taken_.store(false);
}

void QueueUsers::release_waits() {
  const std::lock_guard guard(waits_lock_);
  for (QueueWait* wait = first_wait_; wait; wait = wait->next_)
    wait->released_ = wait->returns_;
}

bool QueueUsers::any_released() {
  const std::lock_guard guard(waits_lock_);
  const QueueWait* wait = first_wait_;
  while (wait && !wait->released_)
    wait = wait->next_;
  return wait != nullptr;
}

InsideQueue::InsideQueue(tQVQHEAD* head) : head_(head) {
  if (head && event_of(head).load(std::memory_order_relaxed)) enter(QueueUsers::of(head));
}

InsideQueue::InsideQueue(const QueueWait& wait) : head_(wait.head_) { enter(&wait.users_); }

void InsideQueue::enter(QueueUsers* users) {
  if (!users) return;
  visits_ = &users->visits_of_this_thread();
  visits_->fetch_add(1);
  if (!users->belongs_to(head_)) return;
  EnterCriticalSection(&head_->lock);
  if (users->belongs_to(head_))
    users_ = users;
  else
    LeaveCriticalSection(&head_->lock);
}

QueueWait::QueueWait(tQVQHEAD* head, QueueUsers& users, bool returns) : head_(head), users_(users), returns_(returns) {
  const std::lock_guard guard(users.waits_lock_);
  next_ = users.first_wait_;
  if (next_) next_->prev_ = this;
  users.first_wait_ = this;
}

QueueWait::~QueueWait() {
  const std::lock_guard guard(users_.waits_lock_);
  (prev_ ? prev_->next_ : users_.first_wait_) = next_;
  if (next_) next_->prev_ = prev_;
  if (users_.ended_ && !users_.first_wait_) users_.give_back();
}

} // namespace qv::kernel
