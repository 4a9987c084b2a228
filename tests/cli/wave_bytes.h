// Wave files written byte by byte for the tests, without the library.
#pragma once

#include "tests/riff/riff_bytes.h"

namespace cli_test {

using riff_test::Bytes;
using riff_test::chunk;
using riff_test::header;
using riff_test::list;
using riff_test::riff;
using riff_test::u16;
using riff_test::u32;

struct Format {
  uint32_t tag = 1;
  uint32_t channels = 1;
  uint32_t rate = 48000;
  uint32_t bits = 16;
};

/// The 16 bytes of a "fmt " chunk.
inline Bytes format_bytes(const Format& format) {
  const uint32_t align = format.channels * (format.bits / 8);
  return u16(format.tag) + u16(format.channels) + u32(format.rate) + u32(align * format.rate) + u16(align) +
         u16(format.bits);
}

inline Bytes wave(const Format& format, const Bytes& data) {
  return riff("WAVE", chunk("fmt ", format_bytes(format)) + chunk("data", data));
}

/// 16-bit samples.
inline Bytes shorts(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values)
    bytes += u16(static_cast<uint32_t>(value));
  return bytes;
}

} // namespace cli_test
