// What happens between the moment when a consumer has left the queue to wait and the moment when it waits.
#include "tests/kernel/queue/queue_fixture.h"

#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <utility>

using namespace kernel_test;

namespace {

std::function<void()> before_wait; ///< done once, by the thread that waits next
HANDLE watched_handle = nullptr;
int watched_closings = 0;

template <class Function>
Function* next_of(const char* symbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

// The library's calls of these two come here, as the program's symbols go before the library's own.
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  if (const auto action = std::exchange(before_wait, nullptr)) action();
  return next_of<DWORD(HANDLE, DWORD)>("qvw32_WaitForSingleObject")(object, milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
  if (handle == watched_handle) ++watched_closings;
  return next_of<BOOL(HANDLE)>("qvw32_CloseHandle")(handle);
}

namespace {

void watch(HANDLE handle) {
  watched_handle = handle;
  watched_closings = 0;
}

TEST(QueueMoments, AConsumerWithRetryLeavesAFlushToThoseOnTheirWay) {
  Queue queue;
  before_wait = [&] {
    QvQueueFlush(queue);
    DWORD result = 77;
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_RETRY, 1, &result), nullptr);
    EXPECT_EQ(result, WAIT_TIMEOUT);
    EXPECT_TRUE(queue.signalled());
  };
  EXPECT_EQ(QvQueueRemove(queue, INFINITE), nullptr);
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_RETRY, 1, nullptr), nullptr);
  EXPECT_FALSE(queue.signalled()) << "all are back";
}

TEST(QueueMoments, AConsumerThatCameAfterTheFlushIsNotWaitedFor) {
  Queue queue;
  QvQueueFlush(queue);
  before_wait = [&] {
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_RETRY, 1, nullptr), nullptr);
    EXPECT_FALSE(queue.signalled());
  };
  EXPECT_EQ(QvQueueRemove(queue, 1), nullptr);
}

TEST(QueueMoments, ADeletedQueuesEventLivesUntilTheLastWaitIsOver) {
  Number number;
  for (const bool begins_again : {false, true}) {
    tQVQHEAD head{};
    ASSERT_EQ(QvQueueInitialize(&head), 1);
    watch(head.event);
    before_wait = [&] {
      before_wait = [&] {
        QvQueueDelete(&head);
        std::memset(static_cast<void*>(&head), begins_again ? 0 : 0xDD, sizeof head);
        if (!begins_again) return;
        ASSERT_EQ(QvQueueInitialize(&head), 1);
        EXPECT_NE(head.event, watched_handle);
        QvQueueInsert(&head, &number.link);
      };
      EXPECT_EQ(QvQueueRemoveTail(&head, INFINITE), nullptr);
      EXPECT_EQ(watched_closings, 0);
    };
    EXPECT_EQ(QvQueueRemove(&head, INFINITE), nullptr);
    EXPECT_EQ(watched_closings, 1);
    if (!begins_again) continue;
    EXPECT_EQ(QvQueueRemove(&head, 0), &number.link);
    watch(head.event);
    QvQueueDelete(&head);
    EXPECT_EQ(watched_closings, 1) << "nobody waits";
  }
  watch(nullptr);
}

} // namespace
