#include "kernel/queue_users.h"

#include <array>
#include <bit>
#include <mutex>

namespace qv::kernel {

namespace {

/// On cache lines of its own, so that queues of different stripes do not slow each other down.
struct alignas(64) QueueStripe {
  std::atomic<uint32_t> newcomers{0}; ///< which count they take
  std::atomic<uint32_t> counts[2] = {0, 0};
};

constexpr int kStripeBits = 6;
constinit std::array<QueueStripe, size_t{1} << kStripeBits> stripes;

QueueStripe& stripe_of(const tQVQHEAD* head) {
  // Heads lie at multiples of 8, often of much more: the multiplication spreads them.
  const uint64_t address = std::bit_cast<uintptr_t>(head);
  return stripes[(address * 0x9E3779B97F4A7C15u) >> (64 - kStripeBits)];
}

void wait_until_zero(const std::atomic<uint32_t>& count) {
  while (count.load() != 0)
    Sleep(0);
}

} // namespace

QueueVisit::QueueVisit(tQVQHEAD* head) {
  if (head == nullptr || event_of(head).load(std::memory_order_relaxed) == nullptr) return;
  count_in(head);
  event_ = event_of(head).load();
}

QueueVisit::QueueVisit(const QueueWait& wait) {
  count_in(wait.head());
  if (wait.queue_exists()) event_ = event_of(wait.head()).load();
}

void QueueVisit::count_in(const tQVQHEAD* head) {
  QueueStripe& stripe = stripe_of(head);
  count_ = &stripe.counts[stripe.newcomers.load()];
  count_->fetch_add(1);
}

QueueVisit::~QueueVisit() {
  if (count_ != nullptr) count_->fetch_sub(1);
}

void drain_visits(tQVQHEAD* head) {
  static std::mutex one_at_a_time;
  const std::lock_guard guard(one_at_a_time);
  QueueStripe& stripe = stripe_of(head);
  const uint32_t taken = stripe.newcomers.load();
  wait_until_zero(stripe.counts[1 - taken]);
  stripe.newcomers.store(1 - taken);
  wait_until_zero(stripe.counts[taken]);
}

} // namespace qv::kernel
