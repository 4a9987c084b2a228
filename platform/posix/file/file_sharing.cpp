// What programs that use the same file need of it: locks, and its name.
#include "platform/posix/file/file.h"
#include "platform/posix/last_error.h"

#include <cerrno>
#include <limits.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

namespace {

/// Where the descriptor's file lies; empty with an error where it no longer lies where it was opened.
std::string path_of(int descriptor) {
  char path[PATH_MAX] = {};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  struct stat own {};
  struct stat there {};
  if (readlink(link.c_str(), path, sizeof path - 1) < 0 || fstat(descriptor, &own) != 0) {
    fail_with_errno();
    return {};
  }
  if (lstat(path, &there) == 0 && own.st_ino == there.st_ino && own.st_dev == there.st_dev) return path;
  fail_with(ERROR_FILE_NOT_FOUND);
  return {};
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

BOOL LockFileEx(HANDLE handle, DWORD flags, DWORD, DWORD, DWORD, OVERLAPPED* place) {
  if (!place) return fail_with(ERROR_INVALID_PARAMETER);
  auto* file = object_of<File>(handle);
  if (!file) return FALSE;
  const bool waits = (flags & LOCKFILE_FAIL_IMMEDIATELY) == 0;
  const int operation = ((flags & LOCKFILE_EXCLUSIVE_LOCK) ? LOCK_EX : LOCK_SH) | (waits ? 0 : LOCK_NB);
  int result = -1;
  do {
    result = flock(file->descriptor(), operation);
  } while (result != 0 && errno == EINTR);
  return result != 0 && errno == EWOULDBLOCK ? fail_with(ERROR_LOCK_VIOLATION) : TRUE;
}

DWORD GetFinalPathNameByHandleW(HANDLE handle, WCHAR* path, DWORD units, DWORD flags) {
  return or_out_of_memory(
      DWORD{0},
      [&]() -> DWORD {
        auto* file = object_of<File>(handle);
        if (!file) return 0;
        if (flags != FILE_NAME_NORMALIZED) {
          SetLastError(ERROR_INVALID_PARAMETER);
          return 0;
        }
        const std::string bytes = path_of(file->descriptor());
        if (bytes.empty()) return 0;
        const int length = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
        if (static_cast<DWORD>(length) >= units) return static_cast<DWORD>(length) + 1;
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), path, length);
        path[length] = 0;
        return static_cast<DWORD>(length);
      });
}
