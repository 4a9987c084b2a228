// Headers put together byte by byte, in either byte order.
#pragma once

#include "qv/win32.h"

#include <cstdint>
#include <string>

namespace qv::tool {

class ByteString {
public:
  ByteString& little(uint64_t value, int bytes) {
    for (int k = 0; k < bytes; ++k)
      bytes_ += static_cast<char>(value >> 8 * k);
    return *this;
  }
  ByteString& big(uint64_t value, int bytes) {
    for (int k = bytes - 1; k >= 0; --k)
      bytes_ += static_cast<char>(value >> 8 * k);
    return *this;
  }
  /// The characters of an id.
  ByteString& id(DWORD code) { return little(code, 4); }
  ByteString& text(const std::string& characters) {
    bytes_ += characters;
    return *this;
  }
  ByteString& raw(const void* data, size_t count) {
    bytes_.append(static_cast<const char*>(data), count);
    return *this;
  }

  operator const std::string&() const { return bytes_; }

private:
  std::string bytes_;
};

} // namespace qv::tool
