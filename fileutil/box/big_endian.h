// Numbers as files have them, and as the machine has them.
#pragma once

#include "qv/win32.h"

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace fileutil {

static_assert(std::endian::native == std::endian::little, "numbers are swapped on their way into a file and out of it");
constexpr uint8_t bigEndian(uint8_t value) { return value; }
constexpr uint16_t bigEndian(uint16_t value) { return __builtin_bswap16(value); }
constexpr uint32_t bigEndian(uint32_t value) { return __builtin_bswap32(value); }
constexpr uint64_t bigEndian(uint64_t value) { return __builtin_bswap64(value); }

/// A big-endian number; it need not be aligned.
template <std::unsigned_integral Number>
Number bigEndian(const void* bytes) {
  Number value;
  std::memcpy(&value, bytes, sizeof value);
  return bigEndian(value);
}

/// 16 bytes in the order in which a GUID is printed.
inline GUID guidOf(const uint8_t* bytes) {
  GUID guid;
  guid.Data1 = bigEndian<uint32_t>(bytes);
  guid.Data2 = bigEndian<uint16_t>(bytes + 4);
  guid.Data3 = bigEndian<uint16_t>(bytes + 6);
  std::memcpy(guid.Data4, bytes + 8, sizeof guid.Data4);
  return guid;
}

} // namespace fileutil
