// Producers, consumers and deletion on many threads.
#include "tests/kernel/queue/queue_fixture.h"

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

using namespace kernel_test;

namespace {

TEST(QueueThreads, NothingIsLostOrTakenTwice) {
  constexpr int kThreads = 4;
  constexpr int kEach = 250'000;
  Queue queue;
  std::vector<Number> numbers(kThreads * kEach);
  std::vector<std::atomic<uint8_t>> taken(numbers.size());
  std::atomic<int> left = kThreads * kEach;
  std::vector<std::thread> threads;
  for (int producer = 0; producer < kThreads; ++producer) {
    threads.emplace_back([&, producer] {
      for (int i = producer * kEach; i < (producer + 1) * kEach; ++i) {
        numbers[i].value = i;
        i % 3 == 0 ? QvQueueInsertHead(queue, &numbers[i].link) : QvQueueInsert(queue, &numbers[i].link);
      }
    });
  }
  for (int consumer = 0; consumer < kThreads; ++consumer) {
    threads.emplace_back([&, consumer] {
      while (left.load() > 0) {
        const tQVQELM* element = consumer == 0   ? QvQueueRemoveTail(queue, INFINITE)
                                 : consumer == 1 ? QvQueueRemoveAlertable(queue, INFINITE)
                                                 : QvQueueRemove(queue, INFINITE);
        if (!element) continue;
        taken[value_of(element)].fetch_add(1);
        if (left.fetch_sub(1) == 1) QvQueueDelete(queue); // releases the other consumers
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (size_t i = 0; i < taken.size(); ++i)
    ASSERT_EQ(taken[i], 1) << i;
}

/// Consumers that wait in every way there is.
tQVQELM* wait_somehow(tQVQHEAD* head, int way, HANDLE never) {
  const HANDLE handles[] = {never};
  switch (way % 4) {
  case 0: return QvQueueRemove(head, INFINITE);
  case 1: return QvQueueRemoveEx(head, handles, 1, 0, INFINITE, nullptr);
  case 2: return QvQueueRemoveTail(head, INFINITE);
  default: return QvQueueRemoveEx(head, handles, 1, QVQUEUE_RETRY, INFINITE, nullptr);
  }
}

/// A number that threads raise and wait for.
class Counter {
public:
  void raise() {
    {
      const std::lock_guard guard(lock_);
      ++value_;
    }
    raised_.notify_all();
  }
  void wait_for(int value) {
    std::unique_lock guard(lock_);
    raised_.wait(guard, [=, this] { return value_ >= value; });
  }
  int value() {
    const std::lock_guard guard(lock_);
    return value_;
  }

private:
  std::mutex lock_;
  std::condition_variable raised_;
  int value_ = 0;
};

/// Runs `consumers` threads that wait on each of `rounds` queues in turn, while `release` is called once per queue
/// without knowing how far they are. It gets the queue, how many waits are over, and how many will be.
template <class Release>
void race(int consumers, int rounds, Release release) {
  std::deque<tQVQHEAD> queues(rounds);
  for (tQVQHEAD& queue : queues)
    ASSERT_EQ(QvQueueInitialize(&queue), 1);
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Counter begun, back;
  std::atomic<int> found = 0;
  std::vector<std::thread> threads;
  for (int consumer = 0; consumer < consumers; ++consumer) {
    threads.emplace_back([&, consumer] {
      for (int i = 0; i < rounds; ++i) {
        begun.wait_for(i + 1);
        if (wait_somehow(&queues[i], consumer, never)) ++found;
        back.raise();
      }
    });
  }
  std::mt19937 random(7);
  for (int i = 0; i < rounds; ++i) {
    begun.raise();
    for (unsigned spins = random() % (i % 2 == 0 ? 10 : 30'000); spins > 0; --spins)
      std::atomic_signal_fence(std::memory_order_seq_cst);
    release(&queues[i], back, consumers * (i + 1));
    back.wait_for(consumers * (i + 1));
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(found, 0);
  for (tQVQHEAD& queue : queues)
    QvQueueDelete(&queue);
  CloseHandle(never);
}

TEST(QueueThreads, DeletionReleasesConsumersHoweverTheRaceFalls) {
  race(
      4, 2000,
      [](tQVQHEAD* queue, Counter&, int) {
        QvQueueDelete(queue);
        // Nobody may look at the lock any more. (The event says to those who come late that there is no queue.)
        std::memset(&queue->lock, 0xDD, sizeof queue->lock);
      });
}

/// Stays inside the queue until its deletion has begun; answers no match.
LONG CALLBACK stay_until_deletion(const tQVQELM*, LONGLONG context) {
  auto* queue = reinterpret_cast<tQVQHEAD*>(context);
  while (std::atomic_ref(queue->event).load())
    std::this_thread::yield();
  return 0;
}

TEST(QueueThreads, DeletionWaitsForThoseWhoAreInside) {
  constexpr int kVisitors = 6;
  for (int round = 0; round < 300; ++round) {
    tQVQHEAD queue = {};
    ASSERT_EQ(QvQueueInitialize(&queue), 1);
    tQVQELM element = {};
    QvQueueInsert(&queue, &element);
    // The first to enter keeps the lock from the others and from the deletion, which then compete for it.
    std::atomic<int> begun = 0;
    std::vector<std::thread> visitors;
    for (int i = 0; i < kVisitors; ++i) {
      visitors.emplace_back([&] {
        ++begun;
        QvQueueFind(&queue, stay_until_deletion, reinterpret_cast<LONGLONG>(&queue));
      });
    }
    while (begun != kVisitors)
      std::this_thread::yield();
    QvQueueDelete(&queue);
    std::memset(&queue.lock, 0xDD, sizeof queue.lock);
    for (std::thread& visitor : visitors)
      visitor.join();
  }
}

TEST(QueueThreads, DeletingFromTwoThreadsDeletesOnce) {
  race(
      2, 1000,
      [](tQVQHEAD* queue, Counter&, int) {
        std::thread other([=] { QvQueueDelete(queue); });
        QvQueueDelete(queue);
        other.join();
      });
}

TEST(QueueThreads, OneFlushReleasesThoseWhoWaitAndThoseWhoComeLate) {
  race(
      3, 1000, [](tQVQHEAD* queue, Counter&, int) { QvQueueFlush(queue); }); // nobody among three has retry
}

/// Many queues next to each other.
class Queues {
public:
  explicit Queues(size_t count) : heads_(count) { begin_all(); }
  Queues(const Queues&) = delete;
  Queues& operator=(const Queues&) = delete;
  ~Queues() { delete_all(); }
  void begin_all() {
    for (tQVQHEAD& head : heads_)
      EXPECT_EQ(QvQueueInitialize(&head), 1);
  }
  void delete_all() {
    for (tQVQHEAD& head : heads_)
      QvQueueDelete(&head);
  }
  tQVQHEAD* operator[](size_t index) { return &heads_[index]; }

private:
  std::vector<tQVQHEAD> heads_;
};

/// What a visitor does inside a queue while that is deleted.
struct Visit {
  tQVQHEAD* queue;
  Queues deleted_inside{100};
  std::atomic<bool> others_deleted = false;
};

LONG CALLBACK delete_others(const tQVQELM*, LONGLONG context) {
  auto* visit = reinterpret_cast<Visit*>(context);
  visit->deleted_inside.delete_all();
  stay_until_deletion(nullptr, reinterpret_cast<LONGLONG>(visit->queue));
  while (!visit->others_deleted)
    std::this_thread::yield();
  return 0;
}

TEST(QueueThreads, DeletionWaitsForNobodyInAnotherQueue) {
  tQVQHEAD queue = {};
  ASSERT_EQ(QvQueueInitialize(&queue), 1);
  tQVQELM element = {};
  QvQueueInsert(&queue, &element);
  Visit visit{&queue};
  Queues deleted_meanwhile(100);
  std::thread visitor([&] { QvQueueFind(&queue, delete_others, reinterpret_cast<LONGLONG>(&visit)); });
  std::thread deletion([&] {
    stay_until_deletion(nullptr, reinterpret_cast<LONGLONG>(visit.deleted_inside[99]));
    QvQueueDelete(&queue); // held up by the visitor
  });
  stay_until_deletion(nullptr, reinterpret_cast<LONGLONG>(&queue));
  deleted_meanwhile.delete_all();
  visit.others_deleted = true;
  visitor.join();
  deletion.join();
}

TEST(QueueThreads, AThousandHeadsBeginAgainUnderTheirUsers) {
  constexpr int kUsers = 3;
  Queues queues(1000);
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<bool> quit = false;
  std::deque<Number> elements[kUsers];
  std::vector<std::thread> users;
  for (int user = 0; user < kUsers; ++user) {
    users.emplace_back([&, user] {
      std::mt19937 random(user);
      for (tQVQELM* own = nullptr; !quit;) {
        // One that is not found was taken by another, or is in a queue that is being deleted: it is nobody's yet.
        if (!own) own = &elements[user].emplace_back(Number{{}, user}).link;
        tQVQHEAD* queue = queues[random() % 1000];
        QvQueueInsert(queue, own);
        QvQueueMoveToTail(queue, own);
        own = QvQueueFindAndRemove(queue, has_value, user);
        if (random() % 4 == 0) wait_somehow(queue, user, never);
      }
    });
  }
  for (int round = 0; round < 100; ++round) {
    queues.delete_all();
    queues.begin_all();
  }
  quit = true;
  queues.delete_all();
  for (std::thread& user : users)
    user.join();
  CloseHandle(never);
}

TEST(QueueThreads, AWaitForAllHandlesOutlivesTheQueue) {
  auto queue = std::make_unique<tQVQHEAD>();
  ASSERT_EQ(QvQueueInitialize(queue.get()), 1);
  const HANDLE last = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<bool> called = false;
  DWORD result = 77;
  const tQVQELM* element = nullptr;
  std::thread consumer([&] {
    const HANDLE handles[] = {last};
    called = true;
    // On Windows such a wait wants input besides, which does not come: there it ends by its time.
    element = QvQueueRemoveEx(queue.get(), handles, 1, QVQUEUE_WAITALL, 100, &result);
  });
  while (!called)
    std::this_thread::yield();
  QvQueueDelete(queue.get());
  SetEvent(last);
  consumer.join();
  EXPECT_EQ(element, nullptr);
  CloseHandle(last);
}

} // namespace
