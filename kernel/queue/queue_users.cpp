#include "kernel/queue/queue_users.h"

#include <array>
#include <bit>
#include <mutex>

namespace qv::kernel {

namespace {

/// Visits of some threads to some queues. Each on a cache line of its own: threads that share a queue meet in its lock
/// alone.
struct alignas(64) Counts {
  std::atomic<uint32_t> of[2] = {0, 0};
};

constexpr size_t kThreadStripes = 8;
constexpr int kHeadStripeBits = 4;

struct alignas(64) Stripe {
  std::atomic<uint32_t> newcomers{0}; ///< which of the two counts they take
  std::array<Counts, kThreadStripes> counts;
};

constinit std::array<Stripe, size_t{1} << kHeadStripeBits> stripes;

/// The upper bits of a product, which all bits of the address have part in.
constexpr size_t hash(uintptr_t address, int bits) {
  return static_cast<size_t>((address * uint64_t{0x9E3779B97F4A7C15}) >> (64 - bits));
}

Stripe& stripe_of(const tQVQHEAD* head) { return stripes[hash(std::bit_cast<uintptr_t>(head), kHeadStripeBits)]; }

/// Threads are told apart by where their stacks are, which costs nothing to ask.
size_t thread_stripe() {
  const char here = 0;
  constexpr int kStackBits = 20;
  return hash(std::bit_cast<uintptr_t>(&here) >> kStackBits, std::bit_width(kThreadStripes - 1));
}

void wait_until_nobody(const Stripe& stripe, uint32_t which) {
  for (const Counts& counts : stripe.counts)
    while (counts.of[which].load() != 0)
      Sleep(0);
}

} // namespace

QueueVisit::QueueVisit(tQVQHEAD* head) {
  if (!head || !event_of(head).load(std::memory_order_relaxed)) return;
  count_in(head);
  event_ = event_of(head).load();
}

QueueVisit::QueueVisit(const QueueWait& wait) {
  count_in(wait.head());
  if (wait.queue_exists()) event_ = event_of(wait.head()).load();
}

void QueueVisit::count_in(const tQVQHEAD* head) {
  Stripe& stripe = stripe_of(head);
  count_ = &stripe.counts[thread_stripe()].of[stripe.newcomers.load()];
  count_->fetch_add(1);
}

QueueVisit::~QueueVisit() {
  if (count_) count_->fetch_sub(1);
}

void drain_visits(tQVQHEAD* head) {
  static std::mutex one_at_a_time;
  const std::lock_guard guard(one_at_a_time);
  Stripe& stripe = stripe_of(head);
  const uint32_t taken = stripe.newcomers.load();
  wait_until_nobody(stripe, 1 - taken);
  stripe.newcomers.store(1 - taken);
  wait_until_nobody(stripe, taken);
}

} // namespace qv::kernel
