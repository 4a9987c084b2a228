// Wave64 files written byte by byte for the tests, without the library.
#pragma once

#include "tests/riff/riff_bytes.h"

namespace riff_test {

inline Bytes u64(uint64_t value) { return u32(static_cast<uint32_t>(value)) + u32(static_cast<uint32_t>(value >> 32)); }

/// The GUIDs as they stand in files: four characters, then the rest.
inline Bytes guid(std::string_view name) {
  static constexpr char kRiff[] = "\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00";
  static constexpr char kList[] = "\x2F\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00";
  static constexpr char kJunk[] = "\xF3\xAC\x3D\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A";
  static constexpr char kOther[] = "\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A";
  const char* rest = name == "riff" ? kRiff : name == "list" ? kList : name == "junk" ? kJunk : kOther;
  return Bytes(name) + Bytes(rest, 12);
}

/// A header alone, which may claim any size.
inline Bytes header64(std::string_view name, uint64_t stored) { return guid(name) + u64(stored); }

inline Bytes padding64(size_t size) { return Bytes((8 - size % 8) % 8, '\0'); }

inline Bytes chunk64(std::string_view name, std::string_view data) {
  return header64(name, data.size() + 24) + Bytes(data) + padding64(data.size());
}

inline Bytes list64(std::string_view type, std::string_view body) {
  return header64("list", body.size() + 40) + guid(type) + Bytes(body);
}

inline Bytes wave64(std::string_view body) { return header64("riff", body.size() + 40) + guid("wave") + Bytes(body); }

} // namespace riff_test
