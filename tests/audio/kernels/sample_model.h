// An independent model of sample layouts and of the conversion rule, to hold kernels against.
#pragma once

#include "qv/audio.h"
#include "qv/cpu.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace model {

struct Layout {
  QVSAMPLETYPE type;
  const char* name;
  int bytes;
  int bits; // significant
  bool is_float;
  bool big_endian;
};

// Of all rows, what they say is tested in sample_type_test.cpp.
#define QV_MODEL_LAYOUT(type, value, name, container_bits, bytes, tag, encoding, bits, is_mixed, text)                 \
  Layout{type, name, bytes, bits, std::string_view(#encoding) == "Float", std::string_view(#encoding) == "BigEndian"},
inline constexpr std::array kRows = {QV_SAMPLE_TYPE_TABLE(QV_MODEL_LAYOUT)};
#undef QV_MODEL_LAYOUT

/// Those with kernels, and those that are mixed.
inline constexpr std::span<const Layout, 11> kLayouts = std::span(kRows).first<11>();
inline constexpr std::span<const Layout, 8> kMixable = std::span(kRows).first<8>();

inline double full_scale(const Layout& layout) { return layout.is_float ? 1.0 : std::ldexp(1.0, layout.bits - 1); }

/// The integer in a sample, put together byte by byte.
inline int64_t read_integer(const Layout& layout, const uint8_t* sample) {
  uint64_t value = 0;
  for (int i = 0; i < layout.bytes; ++i)
    value = value * 256 + sample[layout.big_endian ? i : layout.bytes - 1 - i];
  if (layout.type == QVSAMPLE_PCM8) return static_cast<int64_t>(value) - 128;
  const int64_t range = int64_t{1} << (8 * layout.bytes);
  const auto number = static_cast<int64_t>(value);
  return number >= range / 2 ? number - range : number;
}

inline void write_integer(const Layout& layout, uint8_t* sample, int64_t value) {
  if (layout.type == QVSAMPLE_PCM8) value += 128;
  auto rest = static_cast<uint64_t>(value);
  for (int i = 0; i < layout.bytes; ++i, rest /= 256)
    sample[layout.big_endian ? layout.bytes - 1 - i : i] = static_cast<uint8_t>(rest % 256);
}

inline double read(const Layout& layout, const uint8_t* sample) {
  if (!layout.is_float) return static_cast<double>(read_integer(layout, sample)) / full_scale(layout);
  if (layout.bytes == 8) {
    double value;
    std::memcpy(&value, sample, 8);
    return value;
  }
  float value;
  std::memcpy(&value, sample, 4);
  return static_cast<double>(value);
}

/// Nearest integer, ties to even, within the layout's range.
inline int64_t to_integer(const Layout& layout, double value) {
  if (std::isnan(value)) return 0;
  const double scaled = value * full_scale(layout);
  const double high = full_scale(layout) - 1;
  if (scaled >= high) return static_cast<int64_t>(high);
  if (scaled <= -full_scale(layout)) return -static_cast<int64_t>(full_scale(layout));
  return static_cast<int64_t>(std::nearbyint(scaled));
}

inline void write(const Layout& layout, uint8_t* sample, double value) {
  if (!layout.is_float) return write_integer(layout, sample, to_integer(layout, value));
  if (layout.bytes == 8) {
    std::memcpy(sample, &value, 8);
  } else {
    const auto single = static_cast<float>(value);
    std::memcpy(sample, &single, 4);
  }
}

inline int64_t clamp_to(const Layout& layout, int64_t value) {
  const int64_t high = (int64_t{1} << (layout.bits - 1)) - 1;
  return value > high ? high : value < -high - 1 ? -high - 1 : value;
}

/// Equal bytes; any NaN equals any NaN.
inline bool same_sample(const Layout& layout, const uint8_t* a, const uint8_t* b) {
  if (layout.is_float && std::isnan(read(layout, a)) && std::isnan(read(layout, b))) return true;
  return std::memcmp(a, b, static_cast<size_t>(layout.bytes)) == 0;
}

/// Samples with every special value of the layout among random ones. `in_range` keeps 24-in-32 within 24 bits.
inline std::vector<uint8_t> make_samples(const Layout& layout, size_t count, uint32_t seed, bool in_range) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(count * static_cast<size_t>(layout.bytes) + 1);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double specials[] = {0.0,
                             -0.0,
                             1.0,
                             -1.0,
                             0.5,
                             -0.5,
                             1.5,
                             -1.5,
                             32766.5 / 32768,
                             32767.4 / 32768,
                             0.5 / 32768,
                             1.5 / 32768,
                             -0.5 / 128,
                             2.5 / 128,
                             126.5 / 128,
                             1e-310,
                             -1e-45,
                             1e30,
                             -1e300,
                             kInfinity,
                             -kInfinity,
                             std::nan(""),
                             8388606.5 / 8388608,
                             1.5 / 8388608,
                             0.5 / 2147483648.0,
                             2147483646.5 / 2147483648.0,
                             0.99999999999};
  for (size_t i = 0; i < count; ++i) {
    uint8_t* sample = bytes.data() + i * static_cast<size_t>(layout.bytes);
    const bool special = random() % 3 == 0;
    if (layout.is_float) {
      const double any = std::ldexp(static_cast<double>(random()) - 2147483648.0, -31 + static_cast<int>(random() % 3));
      write(layout, sample, special ? specials[random() % std::size(specials)] : any);
    } else {
      const int64_t high = (int64_t{1} << (layout.bits - 1)) - 1;
      const int64_t limits[] = {high, -high - 1, 0, 1, -1, high - 1, high / 2 + 1, -high / 2 - 1};
      const int64_t half = int64_t{1} << (random() % static_cast<uint32_t>(layout.bits - 1)); // a tie when rounded
      int64_t value = static_cast<int32_t>(random());
      if (in_range || layout.bytes < 4) value = clamp_to(layout, value / (int64_t{1} << (32 - layout.bits)));
      if (special)
        value = random() % 2 ? limits[random() % 8] : clamp_to(layout, half * (static_cast<int>(random() % 7) - 3));
      write_integer(layout, sample, value);
    }
  }
  return bytes;
}

/// Runs a body on every kernel level that the machine has.
template <class Body>
void on_every_level(Body body) {
  const QVKERNELLEVEL widest = QvGetKernelLevel();
  for (int level = QVKERNELLEVEL_GENERIC; level <= static_cast<int>(widest); ++level) {
    QvLimitKernelLevel(static_cast<QVKERNELLEVEL>(level));
    body(level);
  }
  QvLimitKernelLevel(QVKERNELLEVEL_AVX512);
}

} // namespace model
