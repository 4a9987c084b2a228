// Samples for the targets of whole signals: chosen by the fuzzer's input, in memory of exactly their size.
#pragma once

#include "fuzz/require.h"

#include "qv/audio.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <random>
#include <vector>

namespace fuzz {

/// What the input chooses.
using Choices = FuzzedDataProvider;
/// Bytes of samples: the sanitizer sees who goes past them.
using Bytes = std::vector<uint8_t>;

/// The layouts that have kernels.
inline constexpr QVSAMPLETYPE kSampleTypes[] = {
#define QV_ROW(type, value, name, bits, ...) type,
    QV_SAMPLE_TYPE_TABLE(QV_ROW)
#undef QV_ROW
};
inline constexpr size_t kTypesWithKernels = std::size(kSampleTypes) - 2;

inline QVSAMPLETYPE choose_type(Choices& choices) {
  return kSampleTypes[choices.ConsumeIntegralInRange<size_t>(0, kTypesWithKernels - 1)];
}

/// A rate that recorders have, or any.
inline DWORD choose_rate(Choices& choices) {
  constexpr DWORD kRates[] = {8000, 11'025, 22'050, 44'100, 48'000, 96'000, 192'000, 1, 2, 0xFFFFFFFF};
  const auto row = choices.ConsumeIntegral<uint8_t>();
  return row < std::size(kRates) ? kRates[row] : choices.ConsumeIntegral<DWORD>() >> row % 32;
}

/// Samples of float or double from -1 to 1: noise, full scale, tiny numbers, or silence.
template <class Sample>
std::vector<Sample> signal(Choices& choices, size_t count) {
  const auto shape = choices.ConsumeIntegralInRange<int>(0, 3);
  std::minstd_rand random(choices.ConsumeIntegral<uint8_t>() + 1u);
  std::vector<Sample> samples(count);
  for (Sample& sample : samples) {
    const double noise = random() / 1073741823.5 - 1.0;
    const double values[] = {noise, noise < 0.0 ? -1.0 : 1.0, noise * 1e-38, 0.0};
    sample = static_cast<Sample>(std::clamp(values[shape], -1.0, 1.0));
  }
  return samples;
}

/// The same as bytes of any type, of which integers are noise.
inline Bytes signal_bytes(Choices& choices, QVSAMPLETYPE type, size_t count) {
  Bytes bytes(count * QvAudio_BytesFromSampleType(type));
  const auto put = [&](const auto& samples) {
    if (count != 0) std::memcpy(bytes.data(), samples.data(), bytes.size());
  };
  if (type == QVSAMPLE_FLOAT32) {
    put(signal<float>(choices, count));
  } else if (type == QVSAMPLE_FLOAT64) {
    put(signal<double>(choices, count));
  } else {
    std::minstd_rand random(choices.ConsumeIntegral<uint8_t>() + 1u);
    for (uint8_t& byte : bytes)
      byte = static_cast<uint8_t>(random() >> 8);
  }
  return bytes;
}

/// Float and double samples are numbers within a bound.
template <class Sample>
void require_within(double bound, const uint8_t* bytes, size_t count) {
  for (size_t k = 0; k < count; ++k) {
    Sample sample;
    std::memcpy(&sample, bytes + k * sizeof sample, sizeof sample);
    require(std::fabs(double{sample}) <= bound); // a NaN is not
  }
}
inline void require_within(double bound, QVSAMPLETYPE type, const Bytes& bytes) {
  if (type == QVSAMPLE_FLOAT32) require_within<float>(bound, bytes.data(), bytes.size() / sizeof(float));
  if (type == QVSAMPLE_FLOAT64) require_within<double>(bound, bytes.data(), bytes.size() / sizeof(double));
}

} // namespace fuzz
