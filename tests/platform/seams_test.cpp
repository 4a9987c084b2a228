// The POSIX layer's seams do what tests of other families rely on.
#include "platform/posix/seams.h"
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>

TEST(Seams, TheNthAllocationFailsAndNoOther) {
  qv::platform::fail_allocation(2);
  const HGLOBAL first = GlobalAlloc(GHND, 8);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(GlobalAlloc(GHND, 8), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  const HGLOBAL third = GlobalAlloc(GHND, 8);
  EXPECT_NE(third, nullptr);
  qv::platform::fail_allocation(0);
  GlobalFree(first);
  GlobalFree(third);
}

TEST(Seams, TheNthCallOfInputAndOutputFails) {
  const ScratchPath at("io");
  for (int nth = 1; nth <= 4; ++nth) {
    const HANDLE file =
        CreateFileW(at.text().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    qv::platform::fail_io(nth);
    DWORD count = 0;
    char byte = 0;
    EXPECT_EQ(WriteFile(file, "a", 1, &count, nullptr) != 0, nth != 1);
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_BEGIN) == 0, nth != 2);
    EXPECT_EQ(ReadFile(file, &byte, 1, &count, nullptr) != 0, nth != 3);
    EXPECT_EQ(SetEndOfFile(file) != 0, nth != 4);
    EXPECT_EQ(qv::platform::io_calls(), 4);
    qv::platform::fail_io(0);
    CloseHandle(file);
  }
}

TEST(Seams, TheClockCanBeSet) {
  qv::platform::set_clock(5'000'000'000);
  LARGE_INTEGER ticks, frequency;
  QueryPerformanceCounter(&ticks);
  QueryPerformanceFrequency(&frequency);
  EXPECT_EQ(ticks.QuadPart / frequency.QuadPart, 5);
  EXPECT_EQ(GetTickCount(), 5000u);
  qv::platform::set_clock((int64_t{1} << 32) * 1'000'000 + 7'000'000);
  EXPECT_EQ(GetTickCount(), 7u) << "modulo 2^32 milliseconds";
  qv::platform::set_clock(-1);
  LARGE_INTEGER later;
  QueryPerformanceCounter(&ticks);
  QueryPerformanceCounter(&later);
  EXPECT_GE(later.QuadPart, ticks.QuadPart);
}
