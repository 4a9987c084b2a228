// Reading ahead must not be seen: the same bytes whatever the order and the sizes of the reads.
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>
#include <random>

TEST(ReadAhead, RandomReadsEqualTheFile) {
  const ScratchPath at("ahead");
  std::mt19937 random(1);
  std::string bytes(300'000, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  at.write(bytes);
  const HANDLE file = at.open(GENERIC_READ, OPEN_EXISTING);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  size_t position = 0;
  for (int round = 0; round < 20'000; ++round) {
    if (random() % 4 == 0) {
      position = random() % (bytes.size() + 1000);
      LARGE_INTEGER to;
      to.QuadPart = static_cast<LONGLONG>(position);
      ASSERT_TRUE(SetFilePointerEx(file, to, nullptr, FILE_BEGIN));
    }
    const DWORD wanted = random() % (round % 10 == 0 ? 100'000 : 40);
    std::string buffer(wanted + 1, '?');
    DWORD got = 0;
    ASSERT_TRUE(ReadFile(file, buffer.data(), wanted, &got, nullptr));
    const size_t expected = position >= bytes.size() ? 0 : std::min<size_t>(wanted, bytes.size() - position);
    ASSERT_EQ(got, expected) << "at " << position;
    ASSERT_EQ(bytes.compare(std::min(position, bytes.size()), got, buffer, 0, got), 0) << "at " << position;
    ASSERT_EQ(buffer[got], '?');
    position += got;
  }
  CloseHandle(file);
}

TEST(ReadAhead, AFileOpenForOthersToWriteIsReadAfresh) {
  const ScratchPath at("shared");
  at.write("aaaa");
  const HANDLE file = at.open(GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE);
  char byte = 0;
  DWORD got = 0;
  ASSERT_TRUE(ReadFile(file, &byte, 1, &got, nullptr));
  at.write("bbbb");
  ASSERT_TRUE(ReadFile(file, &byte, 1, &got, nullptr));
  EXPECT_EQ(byte, 'b');
  CloseHandle(file);
}

namespace {

/// Read calls of this process so far, as the system counts them; -1 where it does not.
int64_t read_calls() {
  std::ifstream io("/proc/self/io");
  std::string name;
  int64_t count = 0;
  while (io >> name >> count)
    if (name == "syscr:") return count;
  return -1;
}

} // namespace

// A walk over small chunks: a header, a jump, a header, ... through 64 KiB.
TEST(ReadAhead, AWalkThrough64KibTakesFewReads) {
  const int64_t asking = read_calls();
  const int64_t asking_costs = read_calls() - asking;
  if (asking < 0) GTEST_SKIP() << "the system does not count read calls";
  const ScratchPath at("walk");
  at.write(std::string(65536, 'x'));
  const HANDLE file = at.open(GENERIC_READ, OPEN_EXISTING);
  const int64_t before = read_calls();
  int headers = 0;
  for (LARGE_INTEGER to{}; to.QuadPart + 8 <= 65536; to.QuadPart += 1208, ++headers) {
    char header[8];
    DWORD got = 0;
    ASSERT_TRUE(SetFilePointerEx(file, to, nullptr, FILE_BEGIN));
    ASSERT_TRUE(ReadFile(file, header, 8, &got, nullptr) && got == 8);
  }
  EXPECT_GE(headers, 50);
  EXPECT_LE(read_calls() - before - asking_costs, 4);
  CloseHandle(file);
}
