#include "platform/posix/last_error.h"

#include <cerrno>

namespace {
thread_local DWORD last_error = ERROR_SUCCESS;
}

DWORD GetLastError() { return last_error; }

void SetLastError(DWORD error) { last_error = error; }

namespace qv::platform {

DWORD error_from_errno(int error) {
  switch (error) {
  case 0: return ERROR_SUCCESS;
  case ENOENT: return ERROR_FILE_NOT_FOUND;
  case ENOTDIR: return ERROR_PATH_NOT_FOUND;
  case EACCES:
  case EPERM:
  case EISDIR:
  case ETXTBSY: return ERROR_ACCESS_DENIED;
  case EROFS: return ERROR_WRITE_PROTECT;
  case EMFILE:
  case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
  case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
  case EBADF: return ERROR_INVALID_HANDLE;
  case EEXIST: return ERROR_FILE_EXISTS;
  case ELOOP: return ERROR_CANT_RESOLVE_FILENAME;
  case EINVAL: return ERROR_INVALID_PARAMETER;
  case ENOSPC:
  case EDQUOT:
  case EFBIG: return ERROR_DISK_FULL;
  case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
  case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
  case ESPIPE: return ERROR_NOT_SUPPORTED;
  case EIO: return ERROR_IO_DEVICE;
  default: return ERROR_GEN_FAILURE;
  }
}

BOOL fail_with(DWORD error) {
  SetLastError(error);
  return FALSE;
}

BOOL fail_with_errno() { return fail_with(error_from_errno(errno)); }

} // namespace qv::platform
