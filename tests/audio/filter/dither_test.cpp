// CQvDither and its generator.
#include "audio/filter/dither_noise.h"
#include "tests/audio/resample/stream_checks.h"

#include "qv/dither.h"

#include <cstdint>
#include <limits>

namespace {

constexpr QVDITHER kTypes[] = {QVDITHER_NONE, QVDITHER_RECTANGULAR, QVDITHER_TRIANGULAR, QVDITHER_SHAPED};
constexpr size_t kCount = 1 << 18;

CQvDither made(QVDITHER type, DWORD bits, DWORD channels = 1, ULONGLONG seed = 1) {
  CQvDither dither;
  EXPECT_EQ(dither.Init(type, bits, channels, seed), S_OK);
  return dither;
}

template <class Sample>
std::vector<Sample> answer(const CQvDither& dither, const std::vector<Sample>& src, DWORD mask = 0) {
  return stream::run(stream::running<Sample>(dither, mask), src, dither.getChannels());
}

/// What a dither to 16 bits adds, in steps.
std::vector<double> errors(QVDITHER type, const std::vector<double>& src) {
  auto dst = answer(made(type, 16), src);
  for (size_t i = 0; i < dst.size(); ++i)
    dst[i] = (dst[i] - src[i]) * 32768.0;
  return dst;
}

/// The mean of x[i] x[i + lag].
double correlation(const std::vector<double>& x, size_t lag) {
  double sum = 0.0;
  for (size_t i = 0; i + lag < x.size(); ++i)
    sum += x[i] * x[i + lag];
  return sum / static_cast<double>(x.size() - lag);
}

double mean(const std::vector<double>& x) {
  double sum = 0.0;
  for (const double value : x)
    sum += value;
  return sum / static_cast<double>(x.size());
}

template <class Sample>
void expect_on_steps(QVDITHER type, DWORD bits, DWORD effective_bits) {
  const double scale = std::ldexp(1.0, static_cast<int>(effective_bits) - 1);
  const double infinity = std::numeric_limits<double>::infinity();
  std::vector<Sample> src = stream::noise<Sample>(5000);
  for (const double value : {1.0, -1.0, 1.0 - 0.3 / scale, 1.5, -1.5, infinity, -infinity, std::nan(""), 1e30})
    src.push_back(static_cast<Sample>(value));
  const auto dst = answer(made(type, bits), src);
  for (size_t i = 0; i < dst.size(); ++i) {
    const double steps = double(dst[i]) * scale;
    const double wanted = std::isnan(src[i]) ? 0.0 : std::clamp(double(src[i]) * scale, -scale, scale - 1.0);
    const double reach[] = {0.5, 1.0, 1.5, 3.0};
    ASSERT_EQ(steps, std::nearbyint(steps)) << type << " " << bits << " " << i;
    ASSERT_TRUE(steps >= -scale && steps <= scale - 1.0) << type << " " << bits << " " << i;
    ASSERT_LE(std::fabs(steps - wanted), reach[type]) << type << " " << bits << " " << i;
    ASSERT_TRUE(type != QVDITHER_NONE || steps == std::nearbyint(wanted)) << bits << " " << i;
  }
}

} // namespace

// The first six numbers that the author's demonstration program (pcg32-demo) prints, seeded with 42 and 54.
TEST(Pcg32, GivesThePublishedNumbers) {
  qv::audio::Pcg32 generator(42, 54);
  for (const uint32_t expected : {0xa15c02b7u, 0x7b47f409u, 0xba1d3330u, 0x83d2f293u, 0xbfa4784bu, 0xcbed606eu})
    EXPECT_EQ(generator.next(), expected);
}

TEST(Dither, OutputIsOnTheSteps) {
  for (const QVDITHER type : kTypes)
    for (const DWORD bits : {2u, 8u, 16u, 24u, 25u, 26u, 32u}) {
      expect_on_steps<double>(type, bits, bits);
      expect_on_steps<float>(type, bits, std::min(DWORD{25}, bits));
    }
}

// In square steps: 1/12 of rounding, and 1/12 or 2/12 of dither. Rectangular dither leaves that on average only, and
// for a constant that of two neighbours; triangular the same for every input; shaped twice as much.
TEST(Dither, ErrorsHaveThePublishedPower) {
  auto anywhere = stream::noise<double>(kCount);
  for (double& value : anywhere)
    value *= 0.9;
  const double powers[] = {1.0 / 12.0, 2.0 / 12.0, 3.0 / 12.0, 6.0 / 12.0};
  for (const QVDITHER type : kTypes) {
    const auto error = errors(type, anywhere);
    EXPECT_NEAR(mean(error), 0.0, 0.005) << type;
    EXPECT_NEAR(correlation(error, 0), powers[type], 0.01 * powers[type]) << type;
  }
  for (const double steps : {0.0, 0.1, 0.25, 0.5, 0.9, -1000.3}) {
    const std::vector<double> constant(kCount, steps / 32768.0);
    const double fraction = steps - std::floor(steps);
    const auto rectangular = errors(QVDITHER_RECTANGULAR, constant);
    const auto triangular = errors(QVDITHER_TRIANGULAR, constant);
    EXPECT_NEAR(mean(rectangular), 0.0, 0.005) << steps;
    EXPECT_NEAR(mean(triangular), 0.0, 0.005) << steps;
    EXPECT_NEAR(correlation(rectangular, 0), fraction * (1.0 - fraction), 0.005) << steps;
    EXPECT_NEAR(correlation(triangular, 0), 0.25, 0.005) << steps;
    for (size_t lag = 1; lag <= 4; ++lag)
      EXPECT_NEAR(correlation(triangular, lag), 0.0, 0.005) << steps;
  }
}

// The noise is a first difference of triangular dither's: its sum never leaves one error, its autocorrelation is 1/2,
// -1/4, 0, 0, ..., and its spectrum rises with the square of the sine, by 6 dB an octave at low frequencies.
TEST(Dither, ShapedNoiseRisesWithFrequency) {
  for (const double steps : {0.0, 0.3, 0.5}) {
    const auto error = errors(QVDITHER_SHAPED, std::vector<double>(kCount, steps / 32768.0));
    double sum = 0.0;
    for (const double value : error) {
      sum += value;
      ASSERT_LE(std::fabs(sum), 1.5 + 1e-6);
    }
    const double expected[] = {0.5, -0.25, 0.0, 0.0, 0.0};
    for (size_t lag = 0; lag < 5; ++lag)
      EXPECT_NEAR(correlation(error, lag), expected[lag], 0.005) << lag;
    constexpr size_t kBlock = 1024;
    for (const double frequency : {1.0 / 32, 1.0 / 16, 1.0 / 8, 1.0 / 4, 1.0 / 2}) {
      double power = 0.0;
      for (size_t at = 0; at < kCount; at += kBlock)
        power += std::norm(stream::response({&error[at], &error[at] + kBlock}, frequency)) / kCount;
      const double sine = std::sin(std::numbers::pi * frequency);
      EXPECT_NEAR(power / (sine * sine), 1.0, 0.25) << frequency; // 256 blocks: four deviations
    }
  }
}

// What is clipped off does not come back.
TEST(Dither, ClippingLeavesNoError) {
  std::vector<double> src(2000, 1.9);
  std::fill(src.begin() + 1000, src.end(), 0.0);
  const auto dst = answer(made(QVDITHER_SHAPED, 8), src);
  for (size_t i = 0; i < 1000; ++i)
    ASSERT_EQ(dst[i], 127.0 / 128.0);
  for (size_t i = 1000; i < 2000; ++i)
    ASSERT_LE(std::fabs(dst[i]), 3.0 / 128.0);
}

TEST(Dither, BlocksPlacesAndMasks) {
  for (const QVDITHER type : kTypes)
    stream::check([=](DWORD channels) { return made(type, 8, channels); });
  stream::check_state([](DWORD channels) { return made(QVDITHER_SHAPED, 8, channels); });
}

TEST(Dither, SeedsAndChannelsDecide) {
  const std::vector<double> src(kCount, 0.25 / 32768.0);
  const auto with_seed = [&](ULONGLONG seed) { return answer(made(QVDITHER_TRIANGULAR, 16, 2, seed), src); };
  EXPECT_EQ(with_seed(7), with_seed(7));
  EXPECT_NE(with_seed(7), with_seed(8));
  for (const ULONGLONG seed : {0ull, 1ull, ~0ull}) {
    const auto dst = with_seed(seed);
    double sum = 0.0;
    for (size_t i = 0; i < kCount; i += 2)
      sum += (dst[i] - src[i]) * (dst[i + 1] - src[i]) * 0x1p30;
    EXPECT_NEAR(sum / (kCount / 2), 0.0, 0.25 * 5.0 / 362.0) << seed; // independent: five deviations
  }
}

TEST(Dither, RefusedInitsChangeNothing) {
  CQvDither dither;
  float sample = 0.123f;
  dither.ProcessFloat(&sample, &sample, 1, 0);
  dither.Reset();
  EXPECT_EQ(sample, 0.123f);
  EXPECT_EQ(dither.Init(QVDITHER_NONE, 32, 3, 0), S_OK);
  const struct {
    DWORD type, bits, channels;
  } rows[] = {{4, 16, 2}, {QVDITHER_NONE, 1, 2}, {QVDITHER_NONE, 33, 2}, {QVDITHER_NONE, 16, 0}};
  for (const auto& row : rows)
    EXPECT_EQ(dither.Init(static_cast<QVDITHER>(row.type), row.bits, row.channels, 0), E_INVALIDARG) << &row - rows;
  EXPECT_EQ(dither.getBits(), 32u);
  EXPECT_EQ(dither.getChannels(), 3u);
}
