// Queues at moments that threads do not reach at will: between leaving the queue to wait and waiting, and without
// memory.
#include "platform/posix/seams.h"
#include "tests/kernel/queue/queue_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <new>
#include <utility>

using namespace kernel_test;

namespace {

// Each thread has all of these for itself: the other tests' threads pass by here, too.
thread_local std::function<void()> before_wait; ///< done once, before the next wait
thread_local HANDLE watched_handle = nullptr;
thread_local int watched_closings = 0;
thread_local int closings = 0;
thread_local bool no_memory = false;
thread_local int records = 0; ///< allocated for queues

/// What the next wait for messages, too, was asked for, and what it returns in place of waiting; 0: it waits.
thread_local struct { DWORD mask, flags, result; } message_wait;

template <class Function>
Function* next_of(const char* symbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

// The library's calls of all of these come here, as the program's symbols go before the library's own.
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  if (const auto action = std::exchange(before_wait, nullptr)) action();
  return next_of<DWORD(HANDLE, DWORD)>("qvw32_WaitForSingleObject")(object, milliseconds);
}

DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* objects, DWORD milliseconds, DWORD mask, DWORD flags) {
  if (const auto action = std::exchange(before_wait, nullptr)) action();
  message_wait.mask = mask;
  message_wait.flags = flags;
  if (message_wait.result != 0) return std::exchange(message_wait.result, 0);
  return WaitForMultipleObjects(count, objects, (flags & MWMO_WAITALL) != 0, milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
  ++closings;
  if (handle == watched_handle) ++watched_closings;
  return next_of<BOOL(HANDLE)>("qvw32_CloseHandle")(handle);
}

void* operator new(size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  ++records;
  return no_memory ? nullptr : std::aligned_alloc(static_cast<size_t>(alignment), bytes);
}

namespace {

void watch(HANDLE handle) {
  watched_handle = handle;
  watched_closings = 0;
}

TEST(QueueMoments, AConsumerWithRetryLeavesAFlushToThoseWhoWaitedBefore) {
  struct Case {
    bool late; ///< whether the flush was before
    DWORD flags;
    bool ends; ///< whether the flush ends the removal even if one with retry waits on meanwhile
  };
  for (const Case& each : {Case{false, 0, true}, {true, 0, false}, {false, QVQUEUE_WAITALL, false}}) {
    Queue queue;
    if (each.late) QvQueueFlush(queue);
    before_wait = [&] {
      if (!each.late) QvQueueFlush(queue);
      DWORD result = 77;
      EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_RETRY, 1, &result), nullptr);
      EXPECT_EQ(result, WAIT_TIMEOUT);
      EXPECT_EQ(queue.signalled(), each.ends);
    };
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, each.flags, each.ends ? INFINITE : 1, nullptr), nullptr);
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_RETRY, 1, nullptr), nullptr);
    EXPECT_FALSE(queue.signalled()) << "all are back";
  }
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

TEST(QueueMoments, RecordsServeOneQueueAfterAnother) {
  std::vector<tQVQHEAD> heads(2000); // more than ever before, whichever records are free
  no_memory = true;
  const auto begin = [](tQVQHEAD& head) { return QvQueueInitialize(&head) != 0; };
  closings = 0;
  const auto begun = std::count_if(heads.begin(), heads.end(), begin);
  EXPECT_LT(begun, 2000);
  EXPECT_EQ(closings, 2000 - begun) << "those that have no record keep no event";
  no_memory = false;
  qv::platform::fail_allocation(1); // of the lock
  tQVQHEAD head{};
  EXPECT_FALSE(begin(head));
  qv::platform::fail_allocation(0);
  EXPECT_EQ(closings, 2001 - begun);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(std::count_if(heads.begin(), heads.end(), begin), 2000);
    if (round == 0) records = 0;
    for (tQVQHEAD& each : heads)
      QvQueueDelete(&each);
  }
  EXPECT_EQ(records, 0);
}

TEST(QueueMoments, FlagsSayWhatEndsAWait) {
  constexpr DWORD kInput = WAIT_OBJECT_0 + 1;
  constexpr DWORD kCall = WAIT_IO_COMPLETION;
  struct Case {
    DWORD flags, mask, wait_flags;
    DWORD event;  ///< that happens first
    DWORD result; ///< of the removal
  };
  const Case cases[] = {
      {QVQUEUE_ALERTABLE, 0, MWMO_ALERTABLE, kCall, kCall},
      {QVQUEUE_ALERTABLE | QVQUEUE_RETRY, QS_SENDMESSAGE, MWMO_ALERTABLE, kCall, WAIT_TIMEOUT},
      {0x1F | QVQUEUE_INPUTAVAILABLE, 0x1F, MWMO_INPUTAVAILABLE, kInput, kInput},
      {1 | QVQUEUE_WAITALL | QVQUEUE_RETRY, QS_SENDMESSAGE | 1, MWMO_WAITALL, kInput, WAIT_TIMEOUT},
      {QVQUEUE_RETRY, QS_SENDMESSAGE, 0, WAIT_FAILED, WAIT_FAILED},
  };
  Queue queue;
  message_wait.mask = 77;
  EXPECT_EQ(QvQueueRemove(queue, 1), nullptr);
  EXPECT_EQ(message_wait.mask, 77u) << "the event alone needs no message wait";
  for (const Case& each : cases) {
    SCOPED_TRACE(each.flags);
    message_wait.result = each.event;
    DWORD result = 77;
    EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, each.flags, 1, &result), nullptr);
    EXPECT_EQ(result, each.result);
    EXPECT_EQ(message_wait.mask, each.mask);
    EXPECT_EQ(message_wait.flags, each.wait_flags);
  }
}

} // namespace
