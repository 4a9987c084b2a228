// An independent model of sample layouts and of the conversion rule, to hold kernels against.
#pragma once

#include "audio/sample_type_table.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <span>
#include <vector>

namespace model {

using Layout = qv::audio::SampleTypeRow; // what the rows say is tested in sample_type_test.cpp
using qv::audio::Encoding;

/// The layouts with kernels, and those that are mixed.
inline constexpr auto kLayouts = std::span(qv::audio::kSampleTypes).first<qv::audio::kCopiedTypes>();
inline constexpr auto kMixable = kLayouts.first<qv::audio::kMixedTypes>();

constexpr bool is_float(const Layout& layout) { return layout.encoding == Encoding::kFloat; }

inline double full_scale(const Layout& layout) { return is_float(layout) ? 1.0 : std::ldexp(1.0, layout.bits - 1); }

/// The integer in a sample, put together byte by byte.
inline int64_t read_integer(const Layout& layout, const uint8_t* sample) {
  uint64_t value = 0;
  for (uint32_t i = 0; i < layout.bytes; ++i)
    value = value * 256 + sample[layout.encoding == Encoding::kBigEndian ? i : layout.bytes - 1 - i];
  if (layout.type == QVSAMPLE_PCM8) return static_cast<int64_t>(value) - 128;
  const int64_t range = int64_t{1} << (8 * layout.bytes);
  const auto number = static_cast<int64_t>(value);
  return number >= range / 2 ? number - range : number;
}

inline void write_integer(const Layout& layout, uint8_t* sample, int64_t value) {
  if (layout.type == QVSAMPLE_PCM8) value += 128;
  auto rest = static_cast<uint64_t>(value);
  for (uint32_t i = 0; i < layout.bytes; ++i, rest /= 256)
    sample[layout.encoding == Encoding::kBigEndian ? layout.bytes - 1 - i : i] = static_cast<uint8_t>(rest % 256);
}

inline double read(const Layout& layout, const uint8_t* sample) {
  if (!is_float(layout)) return static_cast<double>(read_integer(layout, sample)) / full_scale(layout);
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
  if (!is_float(layout)) return write_integer(layout, sample, to_integer(layout, value));
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
  if (is_float(layout) && std::isnan(read(layout, a)) && std::isnan(read(layout, b))) return true;
  return std::memcmp(a, b, layout.bytes) == 0;
}

/// A float near the limits of one of the integer layouts, halfway between two of its values, or special by itself.
inline double special_value(std::mt19937& random) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const double specials[] = {0.0,  -0.0,   1.0,    -1.0,      0.5,        -0.5, 1.5,          -1.5,
                             1e30, -1e300, 1e-310, kInfinity, -kInfinity, kNan, 0.9999999999, -1e-45};
  if (random() % 2) return specials[random() % std::size(specials)];
  const int bits = 8 << random() % 3;
  const double last = std::ldexp(1.0, bits - 1) - 2; // in steps of the layout
  const double steps[] = {0, 1, -1, 2, last};
  return std::ldexp(steps[random() % std::size(steps)] + 0.5, 1 - bits);
}

/// Samples with every special value of the layout among random ones. `in_range` keeps 24-in-32 within 24 bits.
inline std::vector<uint8_t> make_samples(const Layout& layout, size_t count, uint32_t seed, bool in_range) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(count * layout.bytes + 1);
  for (size_t i = 0; i < count; ++i) {
    uint8_t* sample = bytes.data() + i * layout.bytes;
    const bool special = random() % 3 == 0;
    if (is_float(layout)) {
      const double any = std::ldexp(static_cast<double>(random()) - 2147483648.0, -31 + static_cast<int>(random() % 3));
      write(layout, sample, special ? special_value(random) : any);
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

inline WAVEFORMATEX format_of(QVSAMPLETYPE type, WORD channels) {
  WAVEFORMATEX format;
  QvAudio_InitWfx(&format, 48000, type, channels);
  return format;
}

/// Frames of random samples, and one byte behind them.
struct Buffer {
  const Layout& layout;
  WAVEFORMATEX format;
  std::vector<uint8_t> bytes;

  Buffer(const Layout& of, WORD channels, uint32_t seed, size_t frames = 300)
      : layout(of), format(format_of(of.type, channels)), bytes(make_samples(of, frames * channels, seed, true)) {}
  size_t frames() const { return (bytes.size() - 1) / format.nBlockAlign; }
  void* data() { return bytes.data(); }
  uint8_t* sample(size_t frame, size_t channel) {
    return bytes.data() + (frame * format.nChannels + channel) * layout.bytes;
  }
  double value(size_t frame, size_t channel) { return read(layout, sample(frame, channel)); }
  void set(size_t frame, size_t channel, double value) { write(layout, sample(frame, channel), value); }
  /// What a copy of one sample gives.
  void convert(size_t frame, size_t channel, const Layout& src, const uint8_t* from) {
    if (src.type == layout.type)
      std::memcpy(sample(frame, channel), from, layout.bytes);
    else
      set(frame, channel, read(src, from));
  }
  /// Makes the channel that of another buffer with as many frames.
  Buffer& take(size_t channel, Buffer& src, size_t src_channel) {
    for (size_t f = 0; f < frames(); ++f)
      convert(f, channel, src.layout, src.sample(f, src_channel));
    return *this;
  }
};

/// Expects equal samples, and the bytes behind them untouched.
inline void expect_equal(Buffer& result, Buffer& expected) {
  ASSERT_EQ(result.bytes.size(), expected.bytes.size());
  for (size_t frame = 0; frame < result.frames(); ++frame)
    for (size_t channel = 0; channel < result.format.nChannels; ++channel)
      ASSERT_TRUE(same_sample(result.layout, result.sample(frame, channel), expected.sample(frame, channel)))
          << result.layout.name << ", frame " << frame << ", channel " << channel;
  ASSERT_EQ(result.bytes.back(), expected.bytes.back()) << "behind the end";
}

/// Runs a body for every pair of the first kCount layouts, until one fails.
template <size_t kCount = qv::audio::kCopiedTypes, class Body>
void for_every_pair(Body body) {
  for (const Layout& dst : kLayouts.first<kCount>()) {
    for (const Layout& src : kLayouts.first<kCount>()) {
      body(dst, src);
      ASSERT_FALSE(testing::Test::HasFatalFailure()) << dst.name << " from " << src.name;
    }
  }
}

} // namespace model
