// What is done with a file by its path: opening, renaming, deleting, asking what it is.
#include "platform/posix/file/file.h"
#include "platform/posix/file/template_file.h"
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

constexpr unsigned kUsualMode = 0666;
constexpr unsigned kOwnersMode = 0600;

int open_flags(DWORD access, DWORD disposition, DWORD attributes) {
  int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK; // opening a pipe must not wait for its other end
  if (attributes & FILE_FLAG_OPEN_REPARSE_POINT) flags |= O_NOFOLLOW;
  if (attributes & FILE_FLAG_BACKUP_SEMANTICS) return flags | O_RDONLY | O_DIRECTORY;
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
DWORD refuse_kind(const struct stat& status, DWORD attributes) {
  if (S_ISDIR(status.st_mode)) return (attributes & FILE_FLAG_BACKUP_SEMANTICS) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
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
  const int descriptor = file_calls().open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
  if (descriptor < 0) return TRUE;
  const bool failed = file_calls().sync(descriptor) != 0 && errno != EINVAL && errno != EROFS;
  const BOOL synced = failed ? fail_with_errno() : TRUE;
  file_calls().close(descriptor);
  return synced;
}

bool makes_new(DWORD disposition) { return disposition == CREATE_NEW || disposition == CREATE_ALWAYS; }

/// What opening has to say about the file that it found or made.
DWORD check_opened(int descriptor, HANDLE template_file, DWORD disposition, DWORD flags) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return error_from_errno(errno);
  const DWORD refused = refuse_kind(status, flags);
  if (refused != ERROR_SUCCESS || !template_file) return refused;
  return makes_new(disposition) ? take_owner(descriptor, status, template_file) : check_owner(status, template_file);
}

HANDLE handle_of(int descriptor, DWORD access, DWORD share, DWORD flags) {
  if (flags & FILE_FLAG_SEQUENTIAL_SCAN) posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
  const bool reads_ahead = (access & GENERIC_WRITE) == 0 && (share & FILE_SHARE_WRITE) == 0;
  auto* file = new (std::nothrow) File(descriptor, access, reads_ahead);
  if (file) return file->handle();
  close(descriptor);
  return open_failed(ERROR_NOT_ENOUGH_MEMORY);
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD flags,
                   HANDLE templateFile) {
  return or_out_of_memory(
      INVALID_HANDLE_VALUE,
      [&] {
        if (!path || disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING)
          return open_failed(ERROR_INVALID_PARAMETER);
        const std::string name = path_bytes(path);
        const bool tells_existing = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
        const bool existed = tells_existing && ::access(name.c_str(), F_OK) == 0;
        const int descriptor = file_calls().open(name.c_str(), open_flags(access, disposition, flags),
                                                 templateFile ? kOwnersMode : kUsualMode);
        if (descriptor < 0) return open_failed(error_from_errno(errno));
        const DWORD refused = check_opened(descriptor, templateFile, disposition, flags);
        if (refused != ERROR_SUCCESS) {
          close(descriptor);
          return open_failed(refused);
        }
        const HANDLE file = handle_of(descriptor, access, share, flags);
        if (file != INVALID_HANDLE_VALUE) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return file;
      });
}

BOOL DeleteFileW(const WCHAR* path) {
  return or_out_of_memory(
      BOOL{FALSE}, [&] { return file_calls().remove(path_bytes(path).c_str()) == 0 ? TRUE : fail_with_errno(); });
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
        if (file_calls().rename(source.c_str(), target.c_str(), replace ? 0 : RENAME_NOREPLACE) != 0)
          return !replace && errno == EEXIST ? fail_with(ERROR_ALREADY_EXISTS) : fail_with_errno();
        if (!(flags & MOVEFILE_WRITE_THROUGH)) return TRUE;
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
