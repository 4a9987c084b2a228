// Waiting for a queue on one thread: what ends a wait, and what it returns.
#include "tests/kernel/queue/queue_fixture.h"

#include <array>
#include <memory>

using namespace kernel_test;

namespace {

class Event {
public:
  explicit Event(bool signalled) : handle_(CreateEventW(nullptr, TRUE, signalled ? TRUE : FALSE, nullptr)) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  ~Event() { CloseHandle(handle_); }
  operator HANDLE() const { return handle_; }

private:
  HANDLE handle_;
};

TEST(QueueWaiting, EmptyQueuesTimeOut) {
  Queue queue;
  DWORD result = 77;
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, 0, 0, &result), nullptr);
  EXPECT_EQ(result, 77u) << "nothing was waited for";
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, 0, 1, &result), nullptr);
  EXPECT_EQ(result, WAIT_TIMEOUT);
  EXPECT_EQ(QvQueueRemoveAlertable(queue, 1), nullptr);
  EXPECT_EQ(QvQueueRemoveTail(queue, 1), nullptr);
  EXPECT_EQ(QvQueueWait(queue, 1), 0);
}

TEST(QueueWaiting, AnElementThatIsThereNeedsNoWait) {
  Queue queue;
  Number a;
  QvQueueInsert(queue, &a.link);
  const Event signalled(true);
  const HANDLE handles[] = {signalled};
  DWORD result = 77;
  EXPECT_EQ(QvQueueWait(queue, INFINITE), 1);
  EXPECT_EQ(QvQueueRemoveEx(queue, handles, 1, QVQUEUE_RETRY, INFINITE, &result), &a.link);
  EXPECT_EQ(result, 77u);
}

TEST(QueueWaiting, ExtraHandlesEndIt) {
  Queue queue;
  const Event unset(false), set(true);
  const HANDLE handles[] = {unset, set};
  for (const DWORD flags : {DWORD{0}, QVQUEUE_ALERTABLE, QVQUEUE_RETRY, QVQUEUE_RETRY | QVQUEUE_INPUTAVAILABLE}) {
    SCOPED_TRACE(flags);
    DWORD result = 77;
    EXPECT_EQ(QvQueueRemoveEx(queue, handles, 2, flags, INFINITE, &result), nullptr);
    EXPECT_EQ(result, WAIT_OBJECT_0 + 2);
    EXPECT_EQ(QvQueueRemoveEx(queue, handles, 1, flags, 1, &result), nullptr);
    EXPECT_EQ(result, WAIT_TIMEOUT);
  }
}

TEST(QueueWaiting, TakesSixtyTwoHandlesAndRefusesMore) {
  Queue queue;
  const Event set(true);
  std::vector<std::unique_ptr<Event>> unset;
  std::array<HANDLE, 64> handles{};
  for (HANDLE& handle : handles)
    handle = *unset.emplace_back(std::make_unique<Event>(false));
  handles[61] = set;
  DWORD result = 77;
  EXPECT_EQ(QvQueueRemoveEx(queue, handles.data(), 62, 0, INFINITE, &result), nullptr);
  EXPECT_EQ(result, WAIT_OBJECT_0 + 62);
  Number a;
  QvQueueInsert(queue, &a.link);
  for (const DWORD count : {DWORD{63}, DWORD{64}, ~DWORD{0}}) {
    result = 77;
    EXPECT_EQ(QvQueueRemoveEx(queue, handles.data(), count, 0, INFINITE, &result), nullptr) << count;
    EXPECT_EQ(result, 77u);
  }
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 63, 0, 0, nullptr), &a.link) << "no handles are given";
}

TEST(QueueWaiting, AFlushStaysSignalledForConsumersWithoutRetry) {
  Queue queue;
  QvQueueFlush(queue);
  for (const DWORD flags : {DWORD{0}, QVQUEUE_ALERTABLE, QVQUEUE_INPUTAVAILABLE}) {
    DWORD result = 77;
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, flags, INFINITE, &result), nullptr);
    EXPECT_EQ(result, WAIT_OBJECT_0);
  }
  EXPECT_EQ(QvQueueRemove(queue, INFINITE), nullptr);
  EXPECT_EQ(QvQueueRemoveTail(queue, INFINITE), nullptr);
  EXPECT_EQ(QvQueueWait(queue, INFINITE), 0);
  EXPECT_TRUE(queue.signalled());
}

LONG CALLBACK any(const tQVQELM*, LONGLONG) { return 1; }

TEST(QueueWaiting, WhatTakesAFlushBack) {
  struct Case {
    const char* name;
    void (*take_back)(tQVQHEAD*);
  };
  static Number number;
  const Case cases[] = {
      {"initialising", [](tQVQHEAD* head) { EXPECT_EQ(QvQueueInitialize(head), 1); }},
      {"removing the last", [](tQVQHEAD* head) { EXPECT_EQ(QvQueueRemove(head, 0), &number.link); }},
      {"removing the last at the tail", [](tQVQHEAD* head) { EXPECT_EQ(QvQueueRemoveTail(head, 0), &number.link); }},
      {"finding and removing the last",
       [](tQVQHEAD* head) { EXPECT_EQ(QvQueueFindAndRemove(head, any, 0), &number.link); }},
      {"a consumer with retry",
       [](tQVQHEAD* head) {
         QvQueueFlush(head);
         DWORD result = 77;
         EXPECT_EQ(QvQueueRemoveEx(head, nullptr, 0, QVQUEUE_RETRY, 1, &result), nullptr);
         EXPECT_EQ(result, WAIT_TIMEOUT) << "it waits on";
       }},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    Queue queue;
    QvQueueFlush(queue);
    QvQueueInsert(queue, &number.link);
    EXPECT_TRUE(queue.signalled());
    each.take_back(queue);
    EXPECT_FALSE(queue.signalled());
  }
}

} // namespace
