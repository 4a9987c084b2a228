// Events, threads, waiting for several handles, and critical sections.
#include "qv/win32.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>

namespace {

struct Handle {
  HANDLE handle;
  explicit Handle(HANDLE of) : handle(of) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { CloseHandle(handle); }
  operator HANDLE() const { return handle; }
};

HANDLE manual_event(bool set) { return CreateEventW(nullptr, TRUE, set, nullptr); }
HANDLE auto_event(bool set) { return CreateEventW(nullptr, FALSE, set, nullptr); }

/// A thread that runs a body, which returns its exit code.
template <class Body>
struct Running {
  explicit Running(Body of) : body(of), thread(CreateThread(nullptr, 0, run, this, 0, &id)) {}
  static DWORD run(void* self) { return static_cast<Running*>(self)->body(); }
  DWORD join() {
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    return code;
  }

  Body body;
  DWORD id = 0;
  Handle thread;
};

} // namespace

TEST(Waiting, ManualEventsStaySetAndAutomaticOnesDoNot) {
  const Handle manual(manual_event(true)), automatic(auto_event(true));
  EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
  EXPECT_TRUE(ResetEvent(manual));
  EXPECT_EQ(WaitForSingleObject(manual, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(WaitForSingleObject(automatic, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(automatic, 1), DWORD{WAIT_TIMEOUT});
}

TEST(Waiting, AnyAnswersTheFirstAndAllTakesNoneUntilAllAreSet) {
  const Handle a(auto_event(false)), b(auto_event(true)), c(auto_event(true));
  const HANDLE all[] = {a, b, c};
  EXPECT_EQ(WaitForMultipleObjects(3, all, TRUE, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, 0), WAIT_OBJECT_0 + 2) << "the earlier one was used up";
  SetEvent(a);
  SetEvent(b);
  SetEvent(c);
  EXPECT_EQ(WaitForMultipleObjects(3, all, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, 0), DWORD{WAIT_TIMEOUT});
}

TEST(Waiting, BadCallsFail) {
  const Handle event(manual_event(true));
  const HANDLE twice[] = {event, event};
  EXPECT_EQ(WaitForMultipleObjects(0, twice, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(65, twice, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
  EXPECT_FALSE(SetEvent(nullptr));
}

TEST(Waiting, AWaitForMessagesTakesOneObjectLess) {
  HANDLE handles[MAXIMUM_WAIT_OBJECTS];
  for (DWORD i = 0; i < MAXIMUM_WAIT_OBJECTS; ++i)
    handles[i] = manual_event(i + 2 == MAXIMUM_WAIT_OBJECTS);
  const auto wait = [&](DWORD count) { return MsgWaitForMultipleObjectsEx(count, handles, 0, 0, 0); };
  EXPECT_EQ(wait(MAXIMUM_WAIT_OBJECTS - 1), WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS - 2);
  SetLastError(ERROR_SUCCESS);
  EXPECT_EQ(wait(MAXIMUM_WAIT_OBJECTS), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, handles, FALSE, 0), WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS - 2);
  for (const HANDLE handle : handles)
    CloseHandle(handle);
}

// A thread takes two signals, one wait after the other. The second often comes while the first wait is over and the
// thread has not run yet: it is for the next wait.
TEST(Waiting, ASignalIsNotLostToAWaitThatIsOver) {
  const Handle first(auto_event(false)), second(auto_event(false)), taken_one(auto_event(false));
  std::atomic<int> taken{0};
  std::atomic<bool> over{false};
  Running taker([&]() -> DWORD {
    const HANDLE either[] = {first, second};
    while (!over) {
      WaitForMultipleObjects(2, either, FALSE, INFINITE);
      ++taken;
      SetEvent(taken_one);
    }
    return 0;
  });
  constexpr DWORD kPatience = 10'000;
  bool lost = false;
  for (int round = 1; round <= 2000 && !lost; ++round) {
    SetEvent(first);
    SetEvent(second);
    while (taken < 2 * round && !lost)
      lost = WaitForSingleObject(taken_one, kPatience) != WAIT_OBJECT_0;
  }
  EXPECT_FALSE(lost);
  over = true;
  SetEvent(first);
  taker.join();
}

// Two threads hand a turn to and fro: every wake-up that got lost would end the test in its time limit.
TEST(Waiting, NoWakeUpIsLost) {
  const Handle ping(auto_event(false)), pong(auto_event(false)), never(manual_event(false));
  int rounds = 0;
  Running player([&]() -> DWORD {
    const HANDLE either[] = {never, ping};
    for (int i = 0; i < 2000; ++i) {
      if (WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0 + 1) return 1;
      ++rounds;
      SetEvent(pong);
    }
    return 42;
  });
  EXPECT_NE(player.id, GetCurrentThreadId());
  for (int i = 0; i < 2000; ++i) {
    SetEvent(ping);
    ASSERT_EQ(WaitForSingleObject(pong, INFINITE), WAIT_OBJECT_0);
    ASSERT_EQ(rounds, i + 1);
  }
  EXPECT_EQ(player.join(), 42u);
}

TEST(CriticalSections, KeepThreadsApartAndReEnter) {
  CRITICAL_SECTION section;
  int count = 0;
  InitializeCriticalSection(&section);
  const auto enter_often = [&]() -> DWORD {
    for (int k = 0; k < 10000; ++k) {
      EnterCriticalSection(&section);
      EnterCriticalSection(&section);
      ++count;
      LeaveCriticalSection(&section);
      LeaveCriticalSection(&section);
    }
    return 0;
  };
  Running a(enter_often), b(enter_often), c(enter_often), d(enter_often);
  const HANDLE all[] = {a.thread, b.thread, c.thread, d.thread};
  EXPECT_EQ(WaitForMultipleObjects(4, all, TRUE, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(count, 40000);
  DeleteCriticalSection(&section);
}

TEST(CriticalSections, SurviveAMoveOfTheirBytes) {
  alignas(CRITICAL_SECTION) uint8_t here[sizeof(CRITICAL_SECTION)], there[sizeof(CRITICAL_SECTION)];
  auto* first = reinterpret_cast<CRITICAL_SECTION*>(here);
  InitializeCriticalSection(first);
  EnterCriticalSection(first);
  LeaveCriticalSection(first);
  std::memcpy(there, here, sizeof there);
  std::memset(here, 0xDD, sizeof here);
  auto* second = reinterpret_cast<CRITICAL_SECTION*>(there);
  EXPECT_TRUE(TryEnterCriticalSection(second));
  LeaveCriticalSection(second);
  DeleteCriticalSection(second);
}
