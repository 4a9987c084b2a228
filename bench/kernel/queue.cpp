// Queues against what a programmer would write with the standard library.
#include "qv/queue.h"

#include "bench/kernel/groups.h"
#include "bench/ratios.h"

#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace bench {

namespace {

constexpr int kHandedOver = 300'000;

/// Elements are somewhere in memory, not neighbours on a cache line.
struct alignas(64) Job {
  tQVQELM link{};
  int number = 0;
};

/// A deque with a mutex and a condition variable.
class StandardQueue {
public:
  void insert(Job* job) {
    {
      const std::lock_guard guard(lock_);
      jobs_.push_back(job);
    }
    filled_.notify_one();
  }
  Job* remove() {
    std::unique_lock guard(lock_);
    filled_.wait(guard, [this] { return !jobs_.empty(); });
    Job* job = jobs_.front();
    jobs_.pop_front();
    return job;
  }

private:
  std::mutex lock_;
  std::condition_variable filled_;
  std::deque<Job*> jobs_;
};

class OurQueue {
public:
  OurQueue() { QvQueueInitialize(&head_); }
  OurQueue(const OurQueue&) = delete;
  OurQueue& operator=(const OurQueue&) = delete;
  ~OurQueue() { QvQueueDelete(&head_); }
  void insert(Job* job) { QvQueueInsert(&head_, &job->link); }
  Job* remove() {
    for (;;)
      if (tQVQELM* element = QvQueueRemove(&head_, INFINITE)) return reinterpret_cast<Job*>(element);
  }

private:
  tQVQHEAD head_{};
};

/// Hands every job from one thread to this one, which looks at it.
template <class Queue>
void hand_over(std::vector<Job>& jobs) {
  Queue queue;
  std::thread producer([&] {
    for (size_t i = 0; i < jobs.size(); ++i) {
      jobs[i].number = static_cast<int>(i);
      queue.insert(&jobs[i]);
    }
  });
  for (size_t i = 0; i < jobs.size(); ++i)
    if (queue.remove()->number != static_cast<int>(i)) std::abort();
  producer.join();
}

constexpr int kOperations = 1000;

void add_hand_over() {
  const auto jobs = std::make_shared<std::vector<Job>>(kHandedOver);
  add(Group{"queue: hand over between two threads",
            [jobs] { hand_over<OurQueue>(*jobs); },
            {{"std::deque, mutex, condition variable", [jobs] { hand_over<StandardQueue>(*jobs); }, 1.0}}});
}

/// Pairs of one insertion and one removal, with `standing` elements in the queue all the while.
void add_operations(const char* name, int standing, double least_ratio) {
  const auto jobs = std::make_shared<std::vector<Job>>(standing + 1);
  const auto queue = std::make_shared<OurQueue>();
  for (int i = 0; i < standing; ++i)
    queue->insert(&(*jobs)[i]);
  const auto ours = [jobs, queue, in_hand = &jobs->back()]() mutable {
    for (int i = 0; i < kOperations; ++i) {
      queue->insert(in_hand);
      in_hand = queue->remove();
    }
  };
  const auto lock = std::make_shared<std::mutex>();
  const auto lock_twice = [lock] {
    for (int i = 0; i < 2 * kOperations; ++i) {
      lock->lock();
      keep(lock.get());
      lock->unlock();
    }
  };
  add(Group{name, ours, {{"std::mutex, lock and unlock, twice", lock_twice, least_ratio}}});
}

} // namespace

void add_queue_groups() {
  add_hand_over();
  add_operations("queue: insert and remove, never empty", 16, 1.0 / 3.0);
  add_operations("queue: insert and remove, empty each time", 0, 0.0);
}

} // namespace bench
