// A file that is being updated: held against others who update it too, and known by its own path.
#pragma once

#include "qv/export.h"
#include "qv/win32.h"

#include <cstdint>
#include <utility>

namespace fileutil {

/// The result of the system call that has just failed.
inline HRESULT lastResult() {
  const DWORD error = GetLastError();
  return error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error);
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// A handle that closes itself. Reading and writing at positions: false, with the system's last error, where not all of
/// the bytes could be moved (ERROR_HANDLE_EOF and ERROR_DISK_FULL where it gives none).
class QV_API OpenFile {
public:
  explicit OpenFile(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
  ~OpenFile() { close(); }
  OpenFile(OpenFile&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }

  operator HANDLE() const { return handle_; }
  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool close() { return !isOpen() || CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE)); }

  bool readAt(uint64_t position, void* bytes, size_t count) const;
  bool writeAt(uint64_t position, const void* bytes, size_t count) const;
  /// Where it ends from now on.
  bool cutAt(uint64_t length) const;
  /// False where it cannot be told.
  bool getLength(uint64_t& length) const;
  /// Waits for others who hold a lock, or with LOCKFILE_FAIL_IMMEDIATELY does not.
  bool lock(DWORD flags) const;
  /// Its own path, behind symbolic links; empty, with the last error, where it is no longer there.
  qv::WString path() const;

private:
  bool moveTo(uint64_t position) const;

  HANDLE handle_;
};

/// Makes the names in a file's folder last, where the system can do so.
void flushFolderOf(const qv::WString& path);

/// The file that is updated, open for reading and writing, and locked until this goes.
class QV_API HeldFile {
public:
  /// Opens the file and waits for others who update it. S_OK or an error of the system.
  HRESULT open(const WCHAR* path);

  const OpenFile& file() const { return file_; }
  const qv::WString& path() const { return path_; }

private:
  OpenFile file_;
  qv::WString path_;
};

} // namespace fileutil
