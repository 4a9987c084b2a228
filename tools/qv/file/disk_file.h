// Files as the program opens and writes them.
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

/// A file that appears whole under its name or not at all: written under a temporary name in the folder of the final
/// one. Unless commit() is reached, the destructor removes it.
class OutputFile {
public:
  /// Throws Failure when the name cannot be written to, or is the input's file.
  OutputFile(const std::string& name, const std::string& input_name);
  /// The same for a file that takes the place of the one it is made from.
  explicit OutputFile(const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  operator HANDLE() const { return file_; }
  const std::string& name() const { return name_; }

  /// Writes at the position. Throws Failure.
  void append(const void* bytes, DWORD count) const;
  /// The same with bytes of another file. Throws Interrupted when a signal has come (see long_work.h).
  void append(HANDLE from, const std::string& from_name, uint64_t offset, uint64_t count) const;
  /// Puts the file in its place, where it replaces what was there. Throws Failure, also when the file does not have
  /// `expected_bytes` bytes.
  void commit(uint64_t expected_bytes);
  /// Throws Failure for a write that has just failed.
  [[noreturn]] void write_failed() const;

private:
  void check_target() const;
  void create_temporary();
  void keep_permissions() const;

  std::string name_;
  WString target_;    ///< its path behind symbolic links
  WString temporary_; ///< the path until then; empty afterwards
  OpenFile file_;
};

} // namespace qv::tool
