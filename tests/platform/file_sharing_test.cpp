// Locks between handles, an open file's own path, and files that a template vouches for, on every platform.
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool try_lock(HANDLE file, DWORD kind) {
  OVERLAPPED far_behind = {};
  far_behind.OffsetHigh = 0x7FFFFFFF;
  return LockFileEx(file, kind | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &far_behind) != 0;
}

qv::WString final_path(HANDLE file) {
  WCHAR path[1024] = {};
  const DWORD units = GetFinalPathNameByHandleW(file, path, 1024, FILE_NAME_NORMALIZED);
  WCHAR none[1] = {'x'};
  EXPECT_EQ(GetFinalPathNameByHandleW(file, none, 1, FILE_NAME_NORMALIZED), units == 0 ? 0 : units + 1);
  EXPECT_EQ(none[0], 'x');
  return {path, units};
}

TEST(FileSharing, LocksExcludeOthersUntilTheirHandleIsClosed) {
  const ScratchPath at("locks");
  at.write("abc");
  constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
  const HANDLE first = at.open(kAccess, OPEN_EXISTING, kShareAll), second = at.open(kAccess, OPEN_EXISTING, kShareAll),
               third = at.open(GENERIC_READ, OPEN_EXISTING, kShareAll);
  EXPECT_TRUE(try_lock(first, 0));
  EXPECT_TRUE(try_lock(second, 0));
  EXPECT_FALSE(try_lock(third, LOCKFILE_EXCLUSIVE_LOCK));
  EXPECT_EQ(GetLastError(), ERROR_LOCK_VIOLATION);
  CloseHandle(first);
  CloseHandle(second);
  EXPECT_TRUE(try_lock(third, LOCKFILE_EXCLUSIVE_LOCK));
  const HANDLE fourth = at.open(GENERIC_READ, OPEN_EXISTING, kShareAll);
  EXPECT_FALSE(try_lock(fourth, 0));
  char bytes[3] = {};
  DWORD done = 0;
  EXPECT_TRUE(ReadFile(fourth, bytes, 3, &done, nullptr)) << "who asks for no lock reads";
  EXPECT_EQ(done, 3u);
  CloseHandle(third);
  CloseHandle(fourth);
}

TEST(FileSharing, AnOpenFileKnowsItsPath) {
  const ScratchPath at("path");
  std::filesystem::create_directory(at.path());
  const qv::WString name = QV_TEXT("/\u00e4.m4a");
  const std::filesystem::path real = std::filesystem::canonical(at.path()) / name.substr(1);
  std::ofstream(real) << "x";
  const qv::WString around = at.text() + QV_TEXT("/../") + at.path().filename().string<WCHAR>() + name;
  const HANDLE file = CreateFileW(around.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  const qv::WString path = final_path(file);
  EXPECT_TRUE(std::filesystem::path(path) == real || path == QV_TEXT("\\\\?\\") + real.string<WCHAR>());
  CloseHandle(file);
  EXPECT_EQ(GetFinalPathNameByHandleW(nullptr, nullptr, 0, FILE_NAME_NORMALIZED), 0u);
}

} // namespace

#if !defined(_WIN32)

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct stat status_of(const std::filesystem::path& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0);
  return status;
}

TEST(FileSharing, AFileThatAnotherTookTheNameOfHasNone) {
  const ScratchPath at("gone"), other("other"), link("link");
  at.write("old");
  other.write("new");
  std::filesystem::create_symlink(at.path(), link.path());
  const HANDLE file = link.open(GENERIC_READ, OPEN_EXISTING);
  EXPECT_EQ(final_path(file), std::filesystem::canonical(at.path()).u16string());
  std::filesystem::rename(other.path(), at.path());
  EXPECT_EQ(final_path(file), u"");
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  CloseHandle(file);
}

TEST(FileSharing, ATemplateVouchesForOwnersAlone) {
  const ScratchPath at("template"), made("made"), link("vouched-link");
  at.write("x");
  const HANDLE pattern = at.open(GENERIC_READ, OPEN_EXISTING);
  const bool is_root = geteuid() == 0;
  if (is_root) ASSERT_EQ(chown(at.path().c_str(), 1234, 1235), 0);
  const auto open = [&](const ScratchPath& path, DWORD disposition, DWORD flags, HANDLE by) {
    const HANDLE file =
        CreateFileW(path.text().c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, disposition, flags, by);
    const DWORD error = GetLastError();
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    return file == INVALID_HANDLE_VALUE ? error : ERROR_SUCCESS;
  };
  EXPECT_EQ(open(made, CREATE_NEW, 0, pattern), ERROR_SUCCESS);
  const struct stat status = status_of(made.path());
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_EQ(status.st_uid, is_root ? 1234 : geteuid());
  EXPECT_EQ(status.st_gid, is_root ? 1235 : status.st_gid);

  EXPECT_EQ(open(made, OPEN_EXISTING, 0, pattern), ERROR_SUCCESS) << "the template's owner";
  if (is_root) EXPECT_EQ(chown(made.path().c_str(), 0, 0), 0);
  EXPECT_EQ(open(made, OPEN_EXISTING, 0, pattern), ERROR_SUCCESS) << "this user";
  if (is_root) EXPECT_EQ(chown(made.path().c_str(), 1236, 0), 0);
  EXPECT_EQ(open(made, OPEN_EXISTING, 0, pattern), is_root ? ERROR_INVALID_OWNER : ERROR_SUCCESS);
  if (is_root) EXPECT_EQ(chown(made.path().c_str(), 1234, 0), 0);
  for (const mode_t mode : {0620, 0602}) {
    EXPECT_EQ(chmod(made.path().c_str(), mode), 0);
    EXPECT_EQ(open(made, OPEN_EXISTING, 0, pattern), ERROR_INVALID_OWNER) << mode;
    EXPECT_EQ(open(made, OPEN_EXISTING, 0, nullptr), ERROR_SUCCESS);
  }
  std::filesystem::create_symlink(at.path(), link.path());
  EXPECT_EQ(open(link, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr), ERROR_CANT_RESOLVE_FILENAME);
  EXPECT_EQ(open(link, OPEN_EXISTING, 0, nullptr), ERROR_SUCCESS);
  CloseHandle(pattern);
  EXPECT_EQ(open(at, OPEN_EXISTING, 0, INVALID_HANDLE_VALUE), ERROR_INVALID_HANDLE);
}

TEST(FileSharing, AFolderCanBeFlushed) {
  const ScratchPath at("folder");
  std::filesystem::create_directory(at.path());
  const HANDLE folder = CreateFileW(at.text().c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  ASSERT_NE(folder, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(FlushFileBuffers(folder));
  DWORD done = 0;
  EXPECT_FALSE(WriteFile(folder, "x", 1, &done, nullptr));
  CloseHandle(folder);
}

} // namespace

#endif
