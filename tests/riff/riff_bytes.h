// RIFF files written byte by byte for the tests, without the library.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace riff_test {

using Bytes = std::string;

inline Bytes u16(uint32_t value) { return {static_cast<char>(value), static_cast<char>(value >> 8)}; }
inline Bytes u32(uint32_t value) { return u16(value) + u16(value >> 16); }

/// A header alone, which may claim any size.
inline Bytes header(std::string_view id, uint32_t size) { return Bytes(id) + u32(size); }

inline Bytes chunk(std::string_view id, std::string_view data) {
  return header(id, static_cast<uint32_t>(data.size())) + Bytes(data) + Bytes(data.size() & 1, '\0');
}

inline Bytes list(std::string_view type, std::string_view body) {
  return header("LIST", static_cast<uint32_t>(body.size() + 4)) + Bytes(type) + Bytes(body);
}

inline Bytes riff(std::string_view form, std::string_view body) {
  return header("RIFF", static_cast<uint32_t>(body.size() + 4)) + Bytes(form) + Bytes(body);
}

inline uint32_t u32_at(const Bytes& bytes, size_t offset) {
  uint32_t value = 0;
  for (size_t k = 4; k-- > 0;)
    value = value << 8 | static_cast<uint8_t>(bytes.at(offset + k));
  return value;
}

} // namespace riff_test
