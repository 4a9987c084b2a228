#include "fileutil/update/held_file.h"

namespace fileutil {

namespace {

/// For a transfer that moved fewer bytes than it should, and gives no reason.
bool failWith(DWORD error) {
  SetLastError(error);
  return false;
}

} // namespace

bool OpenFile::moveTo(uint64_t position) const {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(position);
  return SetFilePointerEx(handle_, to, nullptr, FILE_BEGIN);
}

bool OpenFile::readAt(uint64_t position, void* bytes, size_t count) const {
  DWORD done = 0;
  if (!moveTo(position) || !ReadFile(handle_, bytes, static_cast<DWORD>(count), &done, nullptr)) return false;
  return done == count || failWith(ERROR_HANDLE_EOF);
}

bool OpenFile::writeAt(uint64_t position, const void* bytes, size_t count) const {
  DWORD done = 0;
  if (!moveTo(position) || !WriteFile(handle_, bytes, static_cast<DWORD>(count), &done, nullptr)) return false;
  return done == count || failWith(ERROR_DISK_FULL);
}

bool OpenFile::cutAt(uint64_t length) const { return moveTo(length) && SetEndOfFile(handle_); }

bool OpenFile::getLength(uint64_t& length) const {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(handle_, &size)) return false;
  length = static_cast<uint64_t>(size.QuadPart);
  return true;
}

bool OpenFile::lock(DWORD flags) const {
  // Windows locks ranges of bytes: one where no file has any, so that others can read meanwhile.
  OVERLAPPED behind_all = {};
  behind_all.Offset = 0xFFFFFFFE;
  behind_all.OffsetHigh = 0x7FFFFFFF;
  return LockFileEx(handle_, flags, 0, 1, 0, &behind_all);
}

qv::WString OpenFile::path() const {
  qv::WString path(MAX_PATH, 0);
  for (;;) {
    const DWORD room = static_cast<DWORD>(path.size());
    const DWORD units = GetFinalPathNameByHandleW(handle_, path.data(), room, FILE_NAME_NORMALIZED);
    path.resize(units);
    if (units < room) return path;
  }
}

void flushFolderOf(const qv::WString& path) {
  const size_t slash = path.find_last_of(QV_TEXT("/\\"));
  const qv::WString folder = path.substr(0, slash + 1); // a real path has one
  const OpenFile open(CreateFileW(folder.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (open.isOpen()) FlushFileBuffers(open);
}

HRESULT HeldFile::open(const WCHAR* path) {
  // Who held the lock may have renamed another file over this one: then that is the file to hold.
  constexpr int kMaxAttempts = 100;
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    file_ = OpenFile(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file_.isOpen() || !file_.lock(LOCKFILE_EXCLUSIVE_LOCK)) return lastResult();
    path_ = file_.path();
    if (!path_.empty()) return S_OK;
    if (GetLastError() != ERROR_FILE_NOT_FOUND) break;
  }
  return lastResult();
}

} // namespace fileutil
