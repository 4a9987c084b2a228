// Waiting for a queue on one thread: what ends a wait, and what it returns.
#include "tests/kernel/queue/queue_fixture.h"

#include <array>

using namespace kernel_test;

namespace {

/// An event that is set, and 63 that are not.
class QueueWaiting : public testing::Test {
protected:
  QueueWaiting() {
    for (HANDLE& handle : unset_)
      handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  }
  ~QueueWaiting() override {
    CloseHandle(set_);
    for (const HANDLE handle : unset_)
      CloseHandle(handle);
  }
  /// QvQueueRemoveEx with its wait's result; 77 where nothing was waited for.
  tQVQELM* remove(const HANDLE* handles, DWORD count, DWORD flags, DWORD milliseconds) {
    result_ = 77;
    return QvQueueRemoveEx(queue_, handles, count, flags, milliseconds, &result_);
  }

  const HANDLE set_ = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  std::array<HANDLE, 63> unset_;
  Queue queue_;
  Number number_;
  DWORD result_ = 0;
};

TEST_F(QueueWaiting, EmptyQueuesTimeOutAndOthersNeedNoWait) {
  EXPECT_EQ(remove(nullptr, 0, 0, 0), nullptr);
  EXPECT_EQ(result_, 77u);
  EXPECT_EQ(remove(nullptr, 0, 0, 1), nullptr);
  EXPECT_EQ(result_, WAIT_TIMEOUT);
  EXPECT_EQ(QvQueueRemoveAlertable(queue_, 1), nullptr);
  EXPECT_EQ(QvQueueRemoveTail(queue_, 1), nullptr);
  EXPECT_EQ(QvQueueWait(queue_, 1), 0);
  QvQueueInsert(queue_, &number_.link);
  EXPECT_EQ(QvQueueWait(queue_, INFINITE), 1);
  EXPECT_EQ(remove(&set_, 1, QVQUEUE_RETRY, INFINITE), &number_.link);
  EXPECT_EQ(result_, 77u);
}

TEST_F(QueueWaiting, ExtraHandlesEndIt) {
  const HANDLE handles[] = {unset_[0], set_};
  for (const DWORD flags : {DWORD{0}, QVQUEUE_ALERTABLE, QVQUEUE_RETRY, QVQUEUE_RETRY | QVQUEUE_INPUTAVAILABLE}) {
    SCOPED_TRACE(flags);
    EXPECT_EQ(remove(handles, 2, flags, INFINITE), nullptr);
    EXPECT_EQ(result_, WAIT_OBJECT_0 + 2);
    EXPECT_EQ(remove(handles, 1, flags, 1), nullptr);
    EXPECT_EQ(result_, WAIT_TIMEOUT);
  }
  EXPECT_EQ(remove(handles, 2, QVQUEUE_WAITALL, 1), nullptr);
  EXPECT_EQ(result_, WAIT_TIMEOUT) << "not all are set";
}

TEST_F(QueueWaiting, TakesSixtyTwoHandlesAndRefusesMore) {
  std::array<HANDLE, 64> handles{};
  std::copy(unset_.begin(), unset_.end(), handles.begin());
  handles[61] = set_;
  EXPECT_EQ(remove(handles.data(), 62, 0, INFINITE), nullptr);
  EXPECT_EQ(result_, WAIT_OBJECT_0 + 62);
  QvQueueInsert(queue_, &number_.link);
  for (const DWORD count : {DWORD{63}, DWORD{64}, ~DWORD{0}}) {
    EXPECT_EQ(remove(handles.data(), count, 0, INFINITE), nullptr) << count;
    EXPECT_EQ(result_, 77u);
  }
  EXPECT_EQ(remove(nullptr, 63, 0, 0), &number_.link) << "no handles are given";
}

TEST_F(QueueWaiting, AFlushStaysSignalledForConsumersWithoutRetry) {
  QvQueueFlush(queue_);
  for (const DWORD flags : {DWORD{0}, QVQUEUE_ALERTABLE, QVQUEUE_INPUTAVAILABLE}) {
    EXPECT_EQ(remove(nullptr, 0, flags, INFINITE), nullptr);
    EXPECT_EQ(result_, WAIT_OBJECT_0);
  }
  EXPECT_EQ(QvQueueRemoveTail(queue_, INFINITE), nullptr);
  EXPECT_EQ(QvQueueWait(queue_, INFINITE), 0);
  EXPECT_TRUE(queue_.signalled());
  EXPECT_EQ(remove(nullptr, 0, QVQUEUE_RETRY, 1), nullptr);
  EXPECT_EQ(result_, WAIT_TIMEOUT) << "with retry it waits on";
  EXPECT_FALSE(queue_.signalled());
}

} // namespace
