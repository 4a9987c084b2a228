// What every filter of interleaved streams has to hold, whatever it computes.
#pragma once

#include "qv/filter.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <vector>

namespace stream {

inline constexpr size_t kFrames = 1000;

template <class Sample>
std::vector<Sample> noise(size_t count) {
  std::mt19937 generator(1);
  std::vector<Sample> samples(count);
  // Not std::uniform_real_distribution, whose values differ between libraries.
  for (Sample& sample : samples)
    sample = static_cast<Sample>(std::ldexp(double(generator()), -31) - 1.0);
  return samples;
}

/// A filter with a state of its own: dst, src, frames.
template <class Sample>
using Process = std::function<void(Sample*, const Sample*, DWORD)>;

/// A copy of a filter, run with a mask.
template <class Sample, class Filter>
Process<Sample> running(Filter filter, DWORD mask = 0) {
  return [filter, mask](Sample* dst, const Sample* src, DWORD frames) mutable {
    if constexpr (sizeof(Sample) == 4)
      filter.ProcessFloat(dst, src, frames, mask);
    else
      filter.ProcessDouble(dst, src, frames, mask);
  };
}

/// All of src in blocks, to samples of 7, or in place; none of them is written before its block.
template <class Sample>
std::vector<Sample> run(const Process<Sample>& process, const std::vector<Sample>& src, size_t channels,
                        size_t block = 1 << 30, bool in_place = false) {
  std::vector<Sample> dst = in_place ? src : std::vector<Sample>(src.size(), Sample{7});
  dst.insert(dst.begin(), Sample{42});
  dst.push_back(Sample{43});
  for (size_t at = 0; at < src.size() / channels; at += block) {
    const size_t frames = std::min(block, src.size() / channels - at);
    Sample* const to = dst.data() + 1 + at * channels;
    const Sample after = to[frames * channels];
    process(to, in_place ? to : src.data() + at * channels, static_cast<DWORD>(frames));
    EXPECT_EQ(to[frames * channels], after) << block;
  }
  EXPECT_EQ(dst.front(), Sample{42});
  return {dst.begin() + 1, dst.end() - 1};
}

/// Blocks of any size give the same, from src to dst and in place. Channels outside the mask come out as they were, the
/// others as without a mask.
template <class Sample, class Make>
void check_one(const Make& make, DWORD channels, DWORD mask) {
  const auto src = noise<Sample>(kFrames * channels);
  const auto all = run(running<Sample>(make(channels)), src, channels);
  auto expected = src;
  for (size_t i = 0; i < src.size(); ++i) {
    const size_t channel = i % channels;
    if (mask == 0 || (channel < 32 && (mask >> channel & 1) != 0)) expected[i] = all[i];
  }
  ASSERT_NE(expected, src);
  for (const size_t block : {1, 7, 64, 441, 1000}) {
    for (const bool in_place : {false, true}) {
      EXPECT_EQ(run(running<Sample>(make(channels), mask), src, channels, block, in_place), expected)
          << channels << " channels, mask " << mask << ", block " << block << (in_place ? " in place" : "");
    }
  }
}

/// A channel that is not chosen keeps its state. Copies carry the state, what is moved from is empty where `moves` says
/// so, and a reset makes the filter, or a channel, as good as new.
template <class Make>
void check_state(const Make& make, bool moves = true) {
  const auto src = noise<double>(2 * 100);
  const auto answer = [&](const auto& filter) { return run(running<double>(filter), src, 2); };
  auto filter = make(2);
  const auto fresh = answer(filter);
  std::vector<double> dst(src.size());
  filter.ProcessDouble(dst.data(), src.data(), 100, 1);
  if constexpr (requires { filter.getLastChannelMask(); }) EXPECT_EQ(filter.getLastChannelMask(), 1u);
  const auto later = answer(filter);
  EXPECT_NE(later, fresh);
  for (size_t k = 1; k < src.size(); k += 2)
    ASSERT_EQ(later[k], fresh[k]);
  auto other = make(1);
  other = filter;
  other = *&other;
  auto moved = std::move(other);
  EXPECT_EQ(other.getChannels(), moves ? 0u : 2u); // NOLINT: what was moved from is looked at
  other = std::move(moved);
  EXPECT_EQ(answer(other), later);
  if constexpr (requires { other.Reset(DWORD{0}); }) {
    filter.Reset(1);
    filter.Reset(2);
    EXPECT_EQ(answer(filter), later);
    filter.Reset(0);
    other.ResetAll();
  } else {
    filter.Reset();
    other.Reset();
  }
  EXPECT_EQ(answer(filter), fresh);
  EXPECT_EQ(answer(other), fresh);
}

/// `make` answers a fresh filter for a number of channels. One without masks is given 0.
template <class Make>
void check(const Make& make, bool has_masks = true) {
  const DWORD rows[][2] = {{1, 0}, {2, 0}, {2, 2}, {3, 5}, {33, 0}, {34, 0xFFFFFFFE}}; // channels, mask
  for (const auto& row : rows) {
    check_one<float>(make, row[0], has_masks ? row[1] : 0);
    check_one<double>(make, row[0], has_masks ? row[1] : 0);
  }
}

/// The response of an impulse response at a frequency, as a fraction of the sample rate.
inline std::complex<double> response(const std::vector<double>& impulse, double frequency) {
  const auto step = std::polar(1.0, -2.0 * std::numbers::pi * frequency);
  std::complex<double> sum = 0.0;
  for (size_t k = impulse.size(); k-- > 0;)
    sum = sum * step + impulse[k];
  return sum;
}

/// What a mono filter answers to a 1 and then zeros.
inline std::vector<double> impulse_response(const Process<double>& process, size_t frames) {
  std::vector<double> src(frames);
  src[0] = 1.0;
  return run(process, src, 1);
}

/// Whether a section is made of numbers, and its coefficients lie in the triangle of stable ones.
inline bool is_stable(const QVBIQUAD& section) {
  return -section.c2 < 1.0 && std::fabs(section.c1) < 1.0 - section.c2 &&
         std::isfinite(section.b0 + section.b1 + section.b2);
}

} // namespace stream
