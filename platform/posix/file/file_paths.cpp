// What is done with a file by its path: opening, renaming, deleting, asking what it is.
#include "platform/posix/file/file.h"
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

namespace {

/// A path as the system takes it: UTF-8.
std::string path_bytes(const WCHAR* path) {
  constexpr size_t kMaxPerUnit = 3; // a surrogate pair takes four
  const size_t units = path ? std::char_traits<WCHAR>::length(path) : 0;
  std::string text(units * kMaxPerUnit, '\0');
  const int bytes = units == 0 ? 0
                               : WideCharToMultiByte(CP_UTF8, 0, path, static_cast<int>(units), text.data(),
                                                     static_cast<int>(text.size()), nullptr, nullptr);
  text.resize(static_cast<size_t>(bytes));
  return text;
}

int open_flags(DWORD access, DWORD disposition) {
  int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK; // opening a pipe must not wait for its other end
  if ((access & GENERIC_READ) && (access & GENERIC_WRITE))
    flags |= O_RDWR;
  else
    flags |= (access & GENERIC_WRITE) ? O_WRONLY : O_RDONLY;
  switch (disposition) {
  case CREATE_NEW: return flags | O_CREAT | O_EXCL;
  case CREATE_ALWAYS: return flags | O_CREAT | O_TRUNC;
  case OPEN_ALWAYS: return flags | O_CREAT;
  case TRUNCATE_EXISTING: return flags | O_TRUNC;
  default: return flags;
  }
}

/// The error for a kind of file that cannot be read and written at positions; ERROR_SUCCESS for the others.
DWORD refuse_kind(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
  if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) return ERROR_NOT_SUPPORTED;
  return ERROR_SUCCESS;
}

HANDLE open_failed(DWORD error) {
  SetLastError(error);
  return INVALID_HANDLE_VALUE;
}

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

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD flags,
                   HANDLE) {
  return or_out_of_memory(
      INVALID_HANDLE_VALUE,
      [&] {
        if (!path || disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING)
          return open_failed(ERROR_INVALID_PARAMETER);
        const std::string name = path_bytes(path);
        const bool tells_existing = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
        const bool existed = tells_existing && ::access(name.c_str(), F_OK) == 0;
        const int descriptor = open(name.c_str(), open_flags(access, disposition), 0666);
        if (descriptor < 0) return open_failed(error_from_errno(errno));
        struct stat status {};
        const DWORD refused = fstat(descriptor, &status) == 0 ? refuse_kind(status) : error_from_errno(errno);
        if (refused != ERROR_SUCCESS) {
          close(descriptor);
          return open_failed(refused);
        }
        if (flags & FILE_FLAG_SEQUENTIAL_SCAN) posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
        const bool reads_ahead = (access & GENERIC_WRITE) == 0 && (share & FILE_SHARE_WRITE) == 0;
        auto* file = new (std::nothrow) File(descriptor, access, reads_ahead);
        if (!file) {
          close(descriptor);
          return open_failed(ERROR_NOT_ENOUGH_MEMORY);
        }
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return file->handle();
      });
}

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
