// The input of a fuzz target as a file.
#pragma once

#include "fuzz/require.h"

#include "qv/win32.h"

#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

/// The input as a file in memory, opened by its name.
class MemoryFile {
public:
  MemoryFile(const uint8_t* data, size_t size) : descriptor_(memfd_create("riff", MFD_CLOEXEC)) {
    require(descriptor_ >= 0 && write(descriptor_, data, size) == static_cast<ssize_t>(size));
    const std::string digits = std::to_string(descriptor_);
    const std::u16string name = u"/proc/self/fd/" + std::u16string(digits.begin(), digits.end());
    handle = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    require(handle != INVALID_HANDLE_VALUE);
  }
  ~MemoryFile() {
    CloseHandle(handle);
    close(descriptor_);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  LONGLONG size() const {
    LARGE_INTEGER bytes;
    require(GetFileSizeEx(handle, &bytes));
    return bytes.QuadPart;
  }
  LONGLONG position() const { return move(0, FILE_CURRENT); }
  LONGLONG move(LONGLONG by, DWORD method) const {
    LARGE_INTEGER to;
    LARGE_INTEGER at;
    to.QuadPart = by;
    require(SetFilePointerEx(handle, to, &at, method));
    return at.QuadPart;
  }

  HANDLE handle;

private:
  int descriptor_;
};

} // namespace fuzz
