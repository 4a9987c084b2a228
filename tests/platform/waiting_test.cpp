// Events, threads, waiting for several handles, and critical sections.
#include "qv/win32.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

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
  std::vector<std::unique_ptr<Handle>> events;
  std::vector<HANDLE> handles;
  for (DWORD i = 0; i < MAXIMUM_WAIT_OBJECTS; ++i) {
    events.push_back(std::make_unique<Handle>(manual_event(i + 2 == MAXIMUM_WAIT_OBJECTS)));
    handles.push_back(*events.back());
  }
  const auto wait = [&](DWORD count) { return MsgWaitForMultipleObjectsEx(count, handles.data(), 0, 0, 0); };
  EXPECT_EQ(wait(MAXIMUM_WAIT_OBJECTS - 1), WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS - 2);
  SetLastError(ERROR_SUCCESS);
  EXPECT_EQ(wait(MAXIMUM_WAIT_OBJECTS), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, handles.data(), FALSE, 0),
            WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS - 2);
}

// A thread takes two signals, one wait after the other. The second often comes while the first wait is over and the
// thread has not run yet: it is for the next wait.
TEST(Waiting, ASignalIsNotLostToAWaitThatIsOver) {
  struct Game {
    Handle first{auto_event(false)}, second{auto_event(false)}, taken_one{auto_event(false)};
    std::atomic<int> taken{0};
    std::atomic<bool> over{false};
  } game;
  const Handle thread(CreateThread(
      nullptr, 0,
      [](void* argument) -> DWORD {
        auto& shared = *static_cast<Game*>(argument);
        const HANDLE either[] = {shared.first, shared.second};
        while (!shared.over) {
          WaitForMultipleObjects(2, either, FALSE, INFINITE);
          ++shared.taken;
          SetEvent(shared.taken_one);
        }
        return 0;
      },
      &game, 0, nullptr));
  constexpr DWORD kPatience = 10'000;
  bool lost = false;
  for (int round = 1; round <= 2000 && !lost; ++round) {
    SetEvent(game.first);
    SetEvent(game.second);
    while (game.taken < 2 * round && !lost)
      lost = WaitForSingleObject(game.taken_one, kPatience) != WAIT_OBJECT_0;
  }
  EXPECT_FALSE(lost);
  game.over = true;
  SetEvent(game.first);
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
}

// Two threads hand a turn to and fro: every wake-up that got lost would end the test in its time limit.
TEST(Waiting, NoWakeUpIsLost) {
  struct Game {
    Handle ping{auto_event(false)}, pong{auto_event(false)}, never{manual_event(false)};
    int rounds = 0;
  } game;
  DWORD id = 0;
  const Handle thread(CreateThread(
      nullptr, 0,
      [](void* argument) -> DWORD {
        auto& shared = *static_cast<Game*>(argument);
        const HANDLE either[] = {shared.never, shared.ping};
        for (int i = 0; i < 2000; ++i) {
          if (WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0 + 1) return 1;
          ++shared.rounds;
          SetEvent(shared.pong);
        }
        return 42;
      },
      &game, 0, &id));
  ASSERT_NE(thread.handle, nullptr);
  EXPECT_NE(id, GetCurrentThreadId());
  for (int i = 0; i < 2000; ++i) {
    SetEvent(game.ping);
    ASSERT_EQ(WaitForSingleObject(game.pong, INFINITE), WAIT_OBJECT_0);
    ASSERT_EQ(game.rounds, i + 1);
  }
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(thread, &code));
  EXPECT_EQ(code, 42u);
}

TEST(CriticalSections, KeepThreadsApartAndReEnter) {
  struct Shared {
    CRITICAL_SECTION section;
    int count = 0;
  } shared;
  InitializeCriticalSection(&shared.section);
  std::vector<HANDLE> threads;
  for (int i = 0; i < 4; ++i) {
    threads.push_back(CreateThread(
        nullptr, 0,
        [](void* argument) -> DWORD {
          auto& with = *static_cast<Shared*>(argument);
          for (int k = 0; k < 10000; ++k) {
            EnterCriticalSection(&with.section);
            EnterCriticalSection(&with.section);
            ++with.count;
            LeaveCriticalSection(&with.section);
            LeaveCriticalSection(&with.section);
          }
          return 0;
        },
        &shared, 0, nullptr));
  }
  EXPECT_EQ(WaitForMultipleObjects(4, threads.data(), TRUE, INFINITE), WAIT_OBJECT_0);
  for (const HANDLE thread : threads)
    CloseHandle(thread);
  EXPECT_EQ(shared.count, 40000);
  DeleteCriticalSection(&shared.section);
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
