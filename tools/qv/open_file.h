// A file handle that closes itself.
#pragma once

#include "qv/win32.h"

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

} // namespace qv::tool
