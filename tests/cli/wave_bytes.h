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

/// The 40 bytes that also say which channels there are.
inline Bytes extensible(const Format& format, uint32_t mask) {
  Format plain = format;
  plain.tag = 0xFFFE;
  return format_bytes(plain) + u16(22) + u16(format.bits) + u32(mask) + u32(format.tag) +
         Bytes("\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 12);
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

/// `bytes` with others in the place of those from `at` on.
inline Bytes with(Bytes bytes, size_t at, const Bytes& others) { return bytes.replace(at, others.size(), others); }

// A small file of four frames, and its chunks.
inline const Bytes kFormat = chunk("fmt ", format_bytes({}));
inline const Bytes kSamples = shorts({100, -200, 300, -400});
inline const Bytes kData = chunk("data", kSamples);
inline const Bytes kGood = wave({}, kSamples);

/// A file whose audio of 8-bit silence goes on far behind what is written of it.
inline Bytes long_wave_start(uint32_t bytes) {
  return header("RIFF", bytes + 36) + "WAVE" + chunk("fmt ", format_bytes({1, 1, 8000, 8})) + header("data", bytes);
}

} // namespace cli_test
