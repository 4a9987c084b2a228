// Files that are there: a handle that closes itself.
#pragma once

#include "qv/win32.h"

#include <cstdint>
#include <string>
#include <utility>

namespace qv::tool {

class OpenFile {
public:
  explicit OpenFile(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
  ~OpenFile() { close(); }
  OpenFile(OpenFile&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }

  operator HANDLE() const { return handle_; }
  bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool close() { return !is_open() || CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE)); }

private:
  HANDLE handle_;
};

/// Moves a file's position; false when it cannot be there.
inline bool move_to(HANDLE file, uint64_t position) {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(position);
  return SetFilePointerEx(file, to, nullptr, FILE_BEGIN);
}

/// 0 where that cannot be told.
inline uint64_t size_of(HANDLE file) {
  LARGE_INTEGER size = {};
  GetFileSizeEx(file, &size);
  return static_cast<uint64_t>(size.QuadPart);
}

/// Opens a file that is there. No one else may write it meanwhile: what is only read may then be read ahead. Throws
/// Failure, also for what is no regular file.
OpenFile open_existing(const std::string& name, DWORD access, DWORD flags = FILE_ATTRIBUTE_NORMAL);

} // namespace qv::tool
