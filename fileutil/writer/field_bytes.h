// Fields of a payload as the bytes that they are in a file: numbers big-endian, bytes and codes as they stand.
#pragma once

#include "fileutil/box/big_endian.h"

#include "qv/mp4/box.h"

#include <cstring>

namespace fileutil {

/// A code, which is in file order already. A type of its own, since FourCC is the same as a number on some platforms.
struct Code {
  explicit Code(FourCC fourCC) { std::memcpy(bytes.data(), &fourCC, sizeof fourCC); }
  std::array<uint8_t, 4> bytes;
};

/// One by one: in insert() and resize() GCC 12 sees overflows that are not there. Tables do not come here.
inline void appendRaw(Bytes& to, const void* field, size_t count) {
  const auto* const bytes = static_cast<const uint8_t*>(field);
  for (size_t k = 0; k < count; ++k)
    to.push_back(bytes[k]);
}

template <class Number>
requires std::is_unsigned_v<Number>
void append(Bytes& to, Number field) {
  const Number number = bigEndian(field);
  appendRaw(to, &number, sizeof number);
}

/// Not inline, for the same reason.
void append(Bytes& to, const Bytes& field);

template <size_t kCount>
void append(Bytes& to, const std::array<uint8_t, kCount>& field) {
  appendRaw(to, field.data(), field.size());
}

template <size_t kCount>
void append(Bytes& to, const std::array<uint32_t, kCount>& field) {
  for (const uint32_t number : field)
    append(to, number);
}

inline void append(Bytes& to, const Code& field) { append(to, field.bytes); }

/// In the order in which it is printed.
inline void append(Bytes& to, const GUID& field) {
  append(to, static_cast<uint32_t>(field.Data1));
  append(to, static_cast<uint16_t>(field.Data2));
  append(to, static_cast<uint16_t>(field.Data3));
  appendRaw(to, field.Data4, sizeof field.Data4);
}

/// Whether a header with times is the bytes that it was read with: of another version than 0, or too short for its
/// fields.
template <class Box>
bool holdsBytes(const Box* box) {
  return box->version() != 0 || !box->payload.empty();
}

template <class... Fields>
Bytes fieldBytes(const Fields&... fields) {
  Bytes bytes;
  (append(bytes, fields), ...);
  return bytes;
}

} // namespace fileutil
