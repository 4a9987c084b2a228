// The POSIX layer's seams do what tests of other families rely on.
#include "platform/posix/seams.h"
#include "tests/platform/scratch_path.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

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
    const HANDLE file = at.open(GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
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

namespace {

/// Stands in for the system's calls behind files: notes each with its file, and makes some fail.
class FileCallsTest : public testing::Test {
protected:
  void SetUp() override {
    calls = {};
    failing = "";
    step = 0;
    static qv::platform::FileCalls noted = qv::platform::kSystemFileCalls;
    noted.read = read;
    noted.write = write;
    noted.sync = sync;
    noted.close = close;
    qv::platform::set_file_calls(&noted);
  }
  void TearDown() override { qv::platform::set_file_calls(nullptr); }

  static inline std::vector<std::string> calls; ///< syncs and closes
  static inline std::string failing;            ///< the call that fails with EIO
  static inline int step = 0;                   ///< of reads and writes

private:
  static int note(const std::string& call, int descriptor) {
    calls.push_back(call + " " + std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).string());
    errno = EIO;
    return call == failing ? -1 : 0;
  }
  static int sync(int descriptor) { return note("sync", descriptor); }
  static int close(int descriptor) {
    const int answer = note("close", descriptor);
    qv::platform::kSystemFileCalls.close(descriptor);
    errno = EIO;
    return answer;
  }
  /// Every other call is interrupted; the others get at most three bytes, and the third of them finds no room.
  static bool interrupted() {
    errno = EINTR;
    return step++ % 2 == 0;
  }
  static ssize_t read(int descriptor, void* buffer, size_t bytes, int64_t position) {
    return interrupted()
               ? -1
               : qv::platform::kSystemFileCalls.read(descriptor, buffer, std::min<size_t>(bytes, 3), position);
  }
  static ssize_t write(int descriptor, const void* buffer, size_t bytes, int64_t position) {
    if (interrupted()) return -1;
    errno = ENOSPC;
    if (failing == "write" && step > 4) return -1;
    return qv::platform::kSystemFileCalls.write(descriptor, buffer, std::min<size_t>(bytes, 3), position);
  }
};

TEST_F(FileCallsTest, InterruptedAndShortTransfersGoOn) {
  const ScratchPath at("transfers");
  const HANDLE file = at.open(GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
  DWORD count = 0;
  EXPECT_TRUE(WriteFile(file, "abcdefgh", 8, &count, nullptr));
  EXPECT_EQ(count, 8u);
  EXPECT_EQ(at.read(), "abcdefgh");
  char bytes[9] = {};
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  EXPECT_TRUE(ReadFile(file, bytes, 8, &count, nullptr));
  EXPECT_STREQ(bytes, "abcdefgh");
  failing = "write";
  step = 0;
  EXPECT_FALSE(WriteFile(file, "ijklmnop", 8, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  EXPECT_EQ(count, 6u) << "what was written before";
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 14u);
  CloseHandle(file);
}

TEST_F(FileCallsTest, FlushingAndClosingReportFailures) {
  const ScratchPath at("flush");
  for (const char* call : {"none", "sync", "close"}) {
    SCOPED_TRACE(call);
    calls = {};
    failing = call;
    const HANDLE file = at.open(GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
    EXPECT_EQ(FlushFileBuffers(file) != 0, failing != "sync");
    if (failing == "sync") EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
    EXPECT_EQ(CloseHandle(file) != 0, failing != "close");
    if (failing == "close") EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
    EXPECT_EQ(calls, (std::vector{"sync " + at.path().string(), "close " + at.path().string()}));
  }
}

TEST_F(FileCallsTest, ARenameIsMadeToLast) {
  const ScratchPath here("here"), there("there");
  std::filesystem::create_directory(here.path());
  std::filesystem::create_directory(there.path());
  std::ofstream(here.path() / "1") << "x";
  const std::string a = here.path(), b = there.path();
  const std::vector<std::string> one = {"sync " + a, "close " + a}, both = {"sync " + b, "close " + b, one[0], one[1]};
  const qv::WString first = here.text() + QV_TEXT("/1"), second = here.text() + QV_TEXT("/2"),
                    away = there.text() + QV_TEXT("/1");
  for (const DWORD replacing : {DWORD{0}, DWORD{MOVEFILE_REPLACE_EXISTING}}) {
    const DWORD flags = replacing | MOVEFILE_WRITE_THROUGH;
    calls = {};
    EXPECT_TRUE(MoveFileExW(first.c_str(), second.c_str(), flags));
    EXPECT_EQ(calls, one);
    calls = {};
    EXPECT_TRUE(MoveFileExW(second.c_str(), away.c_str(), flags));
    EXPECT_EQ(calls, both);
    std::filesystem::rename(there.path() / "1", here.path() / "1");
  }
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(here.path());
  calls = {};
  EXPECT_TRUE(MoveFileExW(QV_TEXT("1"), QV_TEXT("2"), MOVEFILE_WRITE_THROUGH));
  EXPECT_EQ(calls, one) << "a name without a folder is in the current one";
  calls = {};
  EXPECT_TRUE(MoveFileExW(QV_TEXT("2"), QV_TEXT("1"), 0));
  EXPECT_EQ(calls, std::vector<std::string>()) << "unless nobody asks for it";
  std::filesystem::current_path(before);
  failing = "sync";
  EXPECT_FALSE(MoveFileExW(first.c_str(), second.c_str(), MOVEFILE_WRITE_THROUGH));
  EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
}

} // namespace
