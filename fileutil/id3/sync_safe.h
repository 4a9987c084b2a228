// Integers of ID3v2 headers: plain, or syncsafe, where each byte has seven bits, so that none looks like the beginning
// of an MPEG frame.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace id3meta {

using SizeField = std::array<uint8_t, 4>;

/// The value of a field whose bytes have `bits` bits each; all ones where one has more.
inline uint32_t size_value(const SizeField& field, unsigned bits) {
  uint32_t value = 0;
  for (const uint8_t byte : field) {
    if (byte >> bits != 0) return UINT32_MAX;
    value = value << bits | byte;
  }
  return value;
}

inline SizeField size_field(uint32_t value, unsigned bits) {
  SizeField field{};
  for (size_t k = field.size(); k-- > 0; value >>= bits)
    field[k] = static_cast<uint8_t>(value & ((1u << bits) - 1));
  return field;
}

} // namespace id3meta
