#include "platform/posix/file/path.h"

#include "platform/posix/last_error.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

std::string path_bytes(const WCHAR* path) {
  constexpr size_t kMostPerUnit = 3; // a surrogate pair takes four
  const size_t units = path ? std::char_traits<WCHAR>::length(path) : 0;
  std::string text(units * kMostPerUnit, '\0');
  const int bytes = units == 0 ? 0
                               : WideCharToMultiByte(CP_UTF8, 0, path, static_cast<int>(units), text.data(),
                                                     static_cast<int>(text.size()), nullptr, nullptr);
  text.resize(static_cast<size_t>(bytes));
  return text;
}

bool path_exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

} // namespace qv::platform

using qv::platform::fail_with;
using qv::platform::fail_with_errno;
using qv::platform::or_out_of_memory;
using qv::platform::path_bytes;

BOOL DeleteFileW(const WCHAR* path) {
  return or_out_of_memory(
      BOOL{FALSE}, [&] { return unlink(path_bytes(path).c_str()) == 0 ? TRUE : fail_with_errno(); });
}

BOOL MoveFileExW(const WCHAR* from, const WCHAR* to, DWORD flags) {
  return or_out_of_memory(
      BOOL{FALSE},
      [&] {
        const std::string source = path_bytes(from);
        const std::string target = path_bytes(to);
        if (flags & MOVEFILE_REPLACE_EXISTING)
          return rename(source.c_str(), target.c_str()) == 0 ? TRUE : fail_with_errno();
        if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return TRUE;
        return errno == EEXIST ? fail_with(ERROR_ALREADY_EXISTS) : fail_with_errno();
      });
}

DWORD GetFileAttributesW(const WCHAR* path) {
  return or_out_of_memory(
      DWORD{INVALID_FILE_ATTRIBUTES},
      [&] {
        struct stat status {};
        if (stat(path_bytes(path).c_str(), &status) != 0) {
          fail_with_errno();
          return INVALID_FILE_ATTRIBUTES;
        }
        if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
        if (!S_ISREG(status.st_mode)) return FILE_ATTRIBUTE_DEVICE;
        return (status.st_mode & 0222) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
      });
}
