// Files behave as on Windows, on every platform.
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>

namespace {

std::string read_bytes(HANDLE file, DWORD count) {
  std::string bytes(count, '\0');
  DWORD got = 0;
  EXPECT_TRUE(ReadFile(file, bytes.data(), count, &got, nullptr));
  bytes.resize(got);
  return bytes;
}

} // namespace

TEST(Files, DispositionsAndTheirErrors) {
  const ScratchPath at("disposition");
  EXPECT_EQ(at.open(GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(at.open(GENERIC_WRITE, TRUNCATE_EXISTING), INVALID_HANDLE_VALUE);
  HANDLE file = at.open(GENERIC_WRITE, CREATE_NEW);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD put = 0;
  EXPECT_TRUE(WriteFile(file, "12345", 5, &put, nullptr));
  EXPECT_EQ(put, 5u);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(at.open(GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
  file = at.open(GENERIC_WRITE, OPEN_ALWAYS);
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  CloseHandle(file);
  EXPECT_EQ(at.read(), "12345");
  CloseHandle(at.open(GENERIC_WRITE, CREATE_ALWAYS));
  EXPECT_EQ(at.read(), "");
}

TEST(Files, ADirectoryIsNotAFileAndNamesAreUnicode) {
  const ScratchPath at("folder");
  std::filesystem::create_directory(at.path());
  EXPECT_EQ(at.open(GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(GetFileAttributesW(at.text().c_str()) & FILE_ATTRIBUTE_DIRECTORY);
  const qv::WString name = at.text() + QV_TEXT("/\u00e4\u03a9\u97f3.wav");
  EXPECT_TRUE(CloseHandle(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(name)));
}

TEST(Files, PositionsAre64Bits) {
  const ScratchPath at("positions");
  const HANDLE file = at.open(GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
  LARGE_INTEGER to, now;
  to.QuadPart = 5'000'000'000;
  ASSERT_TRUE(SetFilePointerEx(file, to, &now, FILE_BEGIN));
  EXPECT_EQ(now.QuadPart, to.QuadPart);
  LONG high = 0;
  EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_CURRENT), static_cast<DWORD>(5'000'000'000));
  EXPECT_EQ(high, 1);
#if !defined(_WIN32)
  // As Windows documents it; Wine returns the lower half.
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER) << "it does not fit the result";
#endif
  // Without a place for the upper half a distance is signed.
  EXPECT_EQ(SetFilePointer(file, 100, nullptr, FILE_BEGIN), 100u);
  EXPECT_EQ(SetFilePointer(file, -40, nullptr, FILE_CURRENT), 60u);
  EXPECT_EQ(SetFilePointer(file, -61, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  EXPECT_EQ(read_bytes(file, 4), "") << "behind the end nothing is read, and that is no failure";
  CloseHandle(file);
}

TEST(Files, WritingReadingAndCutting) {
  const ScratchPath at("cut");
  const HANDLE file = at.open(GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
  DWORD put = 0;
  ASSERT_TRUE(WriteFile(file, "abcdefgh", 8, &put, nullptr));
  EXPECT_EQ(SetFilePointer(file, -3, nullptr, FILE_END), 5u);
  EXPECT_EQ(read_bytes(file, 10), "fgh");
  EXPECT_EQ(SetFilePointer(file, 2, nullptr, FILE_BEGIN), 2u);
  ASSERT_TRUE(WriteFile(file, "XY", 2, &put, nullptr));
  EXPECT_EQ(read_bytes(file, 2), "ef") << "the position moved behind what was written";
  ASSERT_TRUE(SetEndOfFile(file));
  LARGE_INTEGER size;
  ASSERT_TRUE(GetFileSizeEx(file, &size));
  EXPECT_EQ(size.QuadPart, 6);
  CloseHandle(file);
  EXPECT_EQ(at.read(), "abXYef");
}

TEST(Files, AccessIsWhatWasAskedFor) {
  const ScratchPath at("access");
  at.write("abc");
  HANDLE file = at.open(GENERIC_READ, OPEN_EXISTING);
  DWORD count = 9;
  EXPECT_FALSE(WriteFile(file, "x", 1, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(SetEndOfFile(file));
  CloseHandle(file);
  file = at.open(GENERIC_WRITE, OPEN_EXISTING);
  char octet = 0;
  EXPECT_FALSE(ReadFile(file, &octet, 1, &count, nullptr));
  CloseHandle(file);
  EXPECT_EQ(at.read(), "abc");
}

TEST(Files, MovingAndDeleting) {
  const ScratchPath from("from"), to("to");
  from.write("new");
  to.write("old");
  EXPECT_FALSE(MoveFileExW(from.text().c_str(), to.text().c_str(), 0));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(to.read(), "old");
  EXPECT_TRUE(MoveFileExW(from.text().c_str(), to.text().c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(to.read(), "new");
  EXPECT_TRUE(DeleteFileW(to.text().c_str()));
  EXPECT_FALSE(DeleteFileW(to.text().c_str()));
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GetFileAttributesW(to.text().c_str()), INVALID_FILE_ATTRIBUTES);
}
