#include "platform/posix/file/template_file.h"

#include "platform/posix/file/file.h"
#include "platform/posix/last_error.h"

#include <cerrno>
#include <unistd.h>

namespace qv::platform {

namespace {

DWORD status_of(HANDLE template_file, struct stat& status) {
  const auto* file = object_of<File>(template_file);
  if (!file) return ERROR_INVALID_HANDLE;
  return fstat(file->descriptor(), &status) == 0 ? ERROR_SUCCESS : error_from_errno(errno);
}

} // namespace

DWORD take_owner(int descriptor, const struct stat& made, HANDLE template_file) {
  struct stat owner {};
  const DWORD error = status_of(template_file, owner);
  if (error != ERROR_SUCCESS) return error;
  const bool is_owned = made.st_uid == owner.st_uid && made.st_gid == owner.st_gid;
  if (!is_owned && fchown(descriptor, owner.st_uid, owner.st_gid) != 0) return ERROR_SUCCESS; // it stays this user's
  return ERROR_SUCCESS;
}

DWORD check_owner(const struct stat& opened, HANDLE template_file) {
  struct stat owner {};
  const DWORD error = status_of(template_file, owner);
  if (error != ERROR_SUCCESS) return error;
  constexpr mode_t kOthersMayWrite = 022;
  const bool is_trusted = S_ISREG(opened.st_mode) && (opened.st_mode & kOthersMayWrite) == 0 &&
                          (opened.st_uid == geteuid() || opened.st_uid == owner.st_uid);
  return is_trusted ? ERROR_SUCCESS : ERROR_INVALID_OWNER;
}

} // namespace qv::platform
