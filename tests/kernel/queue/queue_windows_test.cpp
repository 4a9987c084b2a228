// What only Windows has to wake a waiting thread: asynchronous procedure calls and sent messages.
#include "tests/kernel/queue/queue_fixture.h"

#include <atomic>
#include <thread>

using namespace kernel_test;

namespace {

void CALLBACK insert_into(ULONG_PTR queue) {
  static Number number;
  QvQueueInsert(reinterpret_cast<tQVQHEAD*>(queue), &number.link);
}

void CALLBACK count_call(ULONG_PTR counter) { ++*reinterpret_cast<int*>(counter); }

TEST(QueueOnWindows, ProcedureCallsRunInAlertableWaits) {
  Queue queue;
  int calls = 0;
  QueueUserAPC(count_call, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&calls));
  DWORD result = 77;
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, 0, 1, &result), nullptr);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(QvQueueRemoveEx(queue, nullptr, 0, QVQUEUE_ALERTABLE, INFINITE, &result), nullptr);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(result, static_cast<DWORD>(WAIT_IO_COMPLETION));
  QueueUserAPC(insert_into, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(static_cast<tQVQHEAD*>(queue)));
  EXPECT_NE(QvQueueRemoveAlertable(queue, INFINITE), nullptr) << "with retry it waits again";
}

LRESULT CALLBACK answer(HWND window, UINT message, WPARAM wide, LPARAM queue) {
  if (message != WM_USER) return DefWindowProcW(window, message, wide, queue);
  insert_into(static_cast<ULONG_PTR>(queue));
  return 42;
}

TEST(QueueOnWindows, RetryDispatchesSentMessages) {
  Queue queue;
  WNDCLASSW window_class{};
  window_class.lpfnWndProc = answer;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.lpszClassName = L"QvQueueTest";
  RegisterClassW(&window_class);
  const HWND window = CreateWindowExW(0, window_class.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      window_class.hInstance, nullptr);
  if (!window) GTEST_SKIP() << "no windows here: " << GetLastError();
  std::atomic<LRESULT> answered{0};
  std::thread sender(
      [&] { answered = SendMessageW(window, WM_USER, 0, reinterpret_cast<LPARAM>(static_cast<tQVQHEAD*>(queue))); });
  EXPECT_NE(QvQueueRemoveAlertable(queue, INFINITE), nullptr);
  sender.join();
  EXPECT_EQ(answered, 42);
  DestroyWindow(window);
}

} // namespace
