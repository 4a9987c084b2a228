// Producers, consumers and deletion on many threads.
#include "tests/kernel/queue/queue_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <random>
#include <thread>

using namespace kernel_test;

namespace {

/// Runs run(0), run(1), ... on a thread each.
template <class Run>
std::vector<std::jthread> start(int count, Run run) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < count; ++i)
    threads.emplace_back([=] { run(i); });
  return threads;
}

TEST(QueueThreads, NothingIsLostOrTakenTwice) {
  constexpr int kThreads = 4;
  constexpr int kEach = 250'000;
  Queue queue;
  std::vector<Number> numbers(kThreads * kEach);
  std::vector<std::atomic<uint8_t>> taken(numbers.size());
  std::atomic<int> left = kThreads * kEach;
  auto producers = start(kThreads, [&](int producer) {
    for (int i = producer * kEach; i < (producer + 1) * kEach; ++i) {
      numbers[i].value = i;
      i % 3 == 0 ? QvQueueInsertHead(queue, &numbers[i].link) : QvQueueInsert(queue, &numbers[i].link);
    }
  });
  auto consumers = start(kThreads, [&](int consumer) {
    tQVQELM* (*const ways[])(tQVQHEAD*, DWORD) = {QvQueueRemoveTail, QvQueueRemoveAlertable, QvQueueRemove};
    while (left.load() > 0) {
      const tQVQELM* element = ways[consumer % 3](queue, INFINITE);
      if (!element) continue;
      taken[value_of(element)].fetch_add(1);
      if (left.fetch_sub(1) == 1) QvQueueDelete(queue); // releases the other consumers
    }
  });
  consumers.clear();
  producers.clear();
  for (size_t i = 0; i < taken.size(); ++i)
    ASSERT_EQ(taken[i], 1) << i;
}

/// Consumers that wait in every way there is, with retry in the last.
tQVQELM* wait_somehow(tQVQHEAD* head, int way, HANDLE never) {
  switch (way % 4) {
  case 0: return QvQueueRemove(head, INFINITE);
  case 1: return QvQueueRemoveEx(head, &never, 1, 0, INFINITE, nullptr);
  case 2: return QvQueueRemoveTail(head, INFINITE);
  default: return QvQueueRemoveEx(head, &never, 1, QVQUEUE_RETRY, INFINITE, nullptr);
  }
}

TEST(QueueThreads, ConsumersComeBackHoweverTheRaceFalls) {
  struct Case {
    int ways; ///< of waiting: the fourth has retry, for which a flush is no reason to return
    void (*release)(tQVQHEAD*);
  };
  const Case cases[] = {
      {3, QvQueueFlush},
      {4,
       [](tQVQHEAD* queue) {
         const std::jthread other([=] { QvQueueDelete(queue); });
         QvQueueDelete(queue);
       }},
      {4,
       [](tQVQHEAD* queue) {
         QvQueueDelete(queue);
         // Nobody may look at the lock any more. (The event says to those who come late that there is no queue.)
         std::memset(&queue->lock, 0xDD, sizeof queue->lock);
       }},
  };
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::mt19937 random(7);
  for (int round = 0; round < 900; ++round) {
    Queue queue;
    const Case& each = cases[round % 3];
    const auto consumers = start(each.ways, [&](int way) { EXPECT_EQ(wait_somehow(queue, way, never), nullptr); });
    for (unsigned spins = random() % 30'000; spins > 0; --spins)
      std::atomic_signal_fence(std::memory_order_seq_cst);
    each.release(queue);
  }
  CloseHandle(never);
}

/// Many queues next to each other.
struct Queues : std::vector<tQVQHEAD> {
  explicit Queues(size_t count) : vector(count) { begin_all(); }
  ~Queues() { delete_all(); }
  void begin_all() {
    std::for_each(
        begin(), end(), [](tQVQHEAD& head) { EXPECT_EQ(QvQueueInitialize(&head), 1); });
  }
  void delete_all() {
    std::for_each(
        begin(), end(), [](tQVQHEAD& head) { QvQueueDelete(&head); });
  }
};

/// A visit that lasts while its queue and others are deleted.
struct Visit {
  Queues deleted_inside{20}, deleted_meanwhile{20};
  std::atomic<bool> over = false;
};

LONG CALLBACK stay(const tQVQELM*, LONGLONG context) {
  auto* visit = reinterpret_cast<Visit*>(context);
  visit->deleted_inside.delete_all();
  while (!visit->over)
    std::this_thread::yield();
  return 0;
}

TEST(QueueThreads, DeletionWaitsForThoseInsideItsOwnQueueAlone) {
  constexpr int kVisitors = 6;
  for (int round = 0; round < 200; ++round) {
    tQVQHEAD queue = {};
    ASSERT_EQ(QvQueueInitialize(&queue), 1);
    tQVQELM element = {};
    QvQueueInsert(&queue, &element);
    Visit visit;
    // The first to enter keeps the lock from the others and from the deletion, which then compete for it.
    std::atomic<int> begun = 0;
    const auto visitors = start(kVisitors, [&](int) {
      ++begun;
      QvQueueFind(&queue, stay, reinterpret_cast<LONGLONG>(&visit));
    });
    const std::jthread deletion([&] {
      while (begun != kVisitors)
        std::this_thread::yield();
      QvQueueDelete(&queue);
      std::memset(&queue.lock, 0xDD, sizeof queue.lock);
    });
    while (std::atomic_ref(queue.event).load())
      std::this_thread::yield();
    visit.deleted_meanwhile.delete_all();
    visit.over = true;
  }
}

TEST(QueueThreads, AThousandHeadsBeginAgainUnderTheirUsers) {
  constexpr int kUsers = 3;
  Queues queues(1000);
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<bool> quit = false;
  std::deque<Number> elements[kUsers];
  auto users = start(kUsers, [&](int user) {
    std::mt19937 random(user);
    for (tQVQELM* own = nullptr; !quit;) {
      // One that is not found was taken by another, or is in a queue that is being deleted: it is nobody's yet.
      if (!own) own = &elements[user].emplace_back(Number{{}, user}).link;
      tQVQHEAD* queue = &queues[random() % 1000];
      QvQueueInsert(queue, own);
      QvQueueMoveToTail(queue, own);
      own = QvQueueFindAndRemove(queue, has_value, user);
      if (random() % 4 == 0) wait_somehow(queue, user, never);
    }
  });
  for (int round = 0; round < 100; ++round) {
    queues.delete_all();
    queues.begin_all();
  }
  quit = true;
  queues.delete_all();
  users.clear();
  CloseHandle(never);
}

} // namespace
