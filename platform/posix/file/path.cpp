#include "platform/posix/file/path.h"

#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

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

namespace {

std::string folder_of(std::string path) {
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  const size_t slash = path.rfind('/');
  return slash == path.npos ? "." : path.substr(0, slash + 1);
}

/// Makes the names in a folder last. A folder that this user may not read, or whose file system cannot do it, is left.
BOOL sync_folder(const std::string& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return TRUE;
  const bool failed = file_calls().sync(descriptor) != 0 && errno != EINVAL && errno != EROFS;
  const BOOL synced = failed ? fail_with_errno() : TRUE;
  file_calls().close(descriptor);
  return synced;
}

int rename_file(const std::string& source, const std::string& target, bool replace) {
  if (replace) return rename(source.c_str(), target.c_str());
  return renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

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
        const std::string from_folder = folder_of(source);
        const std::string to_folder = folder_of(target);
        const bool replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
        if (rename_file(source, target, replace) != 0)
          return !replace && errno == EEXIST ? fail_with(ERROR_ALREADY_EXISTS) : fail_with_errno();
        // The new name's folder first, so that one of the names lasts.
        return sync_folder(to_folder) && (from_folder == to_folder || sync_folder(from_folder)) ? TRUE : FALSE;
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
