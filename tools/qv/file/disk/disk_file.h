// Files as the program opens them.
#pragma once

#include "qv/win32.h"

#include <cstdint>
#include <string>
#include <utility>

namespace qv::tool {

/// A handle that closes itself.
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
  /// Leaves the handle to the caller.
  HANDLE release() { return std::exchange(handle_, INVALID_HANDLE_VALUE); }
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

/// A file's length in bytes; 0 where it cannot be told.
inline uint64_t size_of(HANDLE file) {
  LARGE_INTEGER size = {};
  GetFileSizeEx(file, &size);
  return static_cast<uint64_t>(size.QuadPart);
}

/// Opens a file that is there. No one else may write it meanwhile: what is only read may then be read ahead. Throws
/// Failure, also for a folder or a device.
OpenFile open_existing(const std::string& name, DWORD access, DWORD flags = FILE_ATTRIBUTE_NORMAL);

/// The path of a file of that name behind symbolic links, also where the last of them leads to nothing. Throws Failure
/// for a name that path_from() refuses, and for links in a circle.
WString real_path(const std::string& name);

} // namespace qv::tool
