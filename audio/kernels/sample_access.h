// One sample in memory, by sample type: the definition of what every kernel reads and writes.
//
// This header and its neighbour reference_kernels.h are compiled into several objects for different
// instruction sets. All of it has internal linkage, so that the linker cannot merge a copy built for wider
// instructions into code that runs everywhere.
#pragma once

#include "audio/sample_type_table.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace qv::audio {
namespace {

static_assert(std::endian::native == std::endian::little);

/// A row of the sample types as a type.
template <QVSAMPLETYPE kType>
struct SampleLayout {
  static constexpr size_t index = sample_type_index(kType);
  static constexpr QVSAMPLETYPE type = kType;
  static constexpr int bits = kSampleTypes[index].bits;
  static constexpr int bytes = kSampleTypes[index].bytes;
  static constexpr Encoding encoding = kSampleTypes[index].encoding;
  static constexpr bool is_float = encoding == Encoding::kFloat;
  /// 128, 32768, 8388608 or 2147483648; its reciprocal is exact.
  static constexpr double full_scale = is_float ? 1.0 : static_cast<double>(int64_t{1} << (bits - 1));
};

// The layouts that something depends on by name.
using Pcm16 = SampleLayout<QVSAMPLE_PCM16>;
using Float32 = SampleLayout<QVSAMPLE_FLOAT32>;
using Float64 = SampleLayout<QVSAMPLE_FLOAT64>;

template <class T>
T read_as(const uint8_t* memory) {
  T value;
  std::memcpy(&value, memory, sizeof value);
  return value;
}

template <class T>
void write_as(uint8_t* memory, T value) {
  std::memcpy(memory, &value, sizeof value);
}

/// The signed value of an integer sample.
template <class Layout>
int32_t load_integer(const uint8_t* memory) {
  if constexpr (Layout::encoding == Encoding::kOffset) {
    return static_cast<int8_t>(memory[0] ^ 0x80);
  } else if constexpr (Layout::bytes == 1) {
    return static_cast<int8_t>(memory[0]);
  } else if constexpr (Layout::bytes == 2) {
    const auto raw = read_as<uint16_t>(memory);
    return static_cast<int16_t>(Layout::encoding == Encoding::kBigEndian ? __builtin_bswap16(raw) : raw);
  } else if constexpr (Layout::bytes == 3) {
    constexpr bool big = Layout::encoding == Encoding::kBigEndian;
    const uint32_t low = memory[big ? 2 : 0];
    const uint32_t high = memory[big ? 0 : 2];
    return static_cast<int32_t>(high << 24 | uint32_t{memory[1]} << 16 | low << 8) >> 8;
  } else {
    const auto raw = read_as<uint32_t>(memory);
    return static_cast<int32_t>(Layout::encoding == Encoding::kBigEndian ? __builtin_bswap32(raw) : raw);
  }
}

/// Stores a value that is in the sample's range.
template <class Layout>
void store_integer(uint8_t* memory, int32_t value) {
  const auto raw = static_cast<uint32_t>(value);
  if constexpr (Layout::encoding == Encoding::kOffset) {
    memory[0] = static_cast<uint8_t>(raw ^ 0x80);
  } else if constexpr (Layout::bytes == 1) {
    memory[0] = static_cast<uint8_t>(raw);
  } else if constexpr (Layout::bytes == 2) {
    const auto half = static_cast<uint16_t>(raw);
    write_as<uint16_t>(memory, Layout::encoding == Encoding::kBigEndian ? __builtin_bswap16(half) : half);
  } else if constexpr (Layout::bytes == 3) {
    constexpr bool big = Layout::encoding == Encoding::kBigEndian;
    memory[big ? 2 : 0] = static_cast<uint8_t>(raw);
    memory[1] = static_cast<uint8_t>(raw >> 8);
    memory[big ? 0 : 2] = static_cast<uint8_t>(raw >> 16);
  } else {
    write_as<uint32_t>(memory, Layout::encoding == Encoding::kBigEndian ? __builtin_bswap32(raw) : raw);
  }
}

/// The sample in double precision; integers are divided by their full scale.
template <class Layout>
double load_normalised(const uint8_t* memory) {
  if constexpr (Layout::bytes == 8)
    return read_as<double>(memory);
  else if constexpr (Layout::is_float)
    return static_cast<double>(read_as<float>(memory));
  else
    return load_integer<Layout>(memory) * (1.0 / Layout::full_scale);
}

/// 1.5 x 2^52: a sum with it is a whole number, rounded with ties to even, that stands in the low bits of the double.
inline constexpr double kRoundingShift = 6755399441055744.0;

/// value x full scale, clamped to what the integer holds and rounded to nearest, ties to even. A NaN becomes 0.
template <class Layout>
int32_t integer_from_normalised(double value) {
  constexpr double kLow = -Layout::full_scale;
  constexpr double kHigh = Layout::full_scale - 1.0;
  value *= Layout::full_scale;
  if (value != value) return 0;
  if (value < kLow) value = kLow;
  if (value > kHigh) value = kHigh;
  const double shifted = value + kRoundingShift;
  uint64_t raw;
  std::memcpy(&raw, &shifted, sizeof raw);
  return static_cast<int32_t>(static_cast<uint32_t>(raw));
}

template <class Layout>
void store_normalised(uint8_t* memory, double value) {
  if constexpr (Layout::bytes == 8)
    write_as<double>(memory, value);
  else if constexpr (Layout::is_float)
    write_as<float>(memory, static_cast<float>(value));
  else
    store_integer<Layout>(memory, integer_from_normalised<Layout>(value));
}

/// Samples run from the last to the first where that lets a buffer be widened in place.
template <class Dst, class Src>
constexpr bool runs_backward() {
  if (Dst::is_float != Src::is_float) return Dst::is_float;
  return Dst::bytes > Src::bytes;
}

} // namespace
} // namespace qv::audio
