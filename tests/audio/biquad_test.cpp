// Biquad sections against published figures and a model of their own.
#include "qv/filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

QVBIQUAD made(const QVBIQUADPARAMS& params) {
  QVBIQUAD biquad;
  EXPECT_EQ(QvMakeBiquad(&params, &biquad), S_OK);
  return biquad;
}

bool is_finite(const QVBIQUAD& biquad) {
  return std::isfinite(biquad.b0 + biquad.b1 + biquad.b2) && std::isfinite(biquad.c1 + biquad.c2);
}

/// What "sox --plot data -r 48000 -n -n EFFECT" prints: b0, b1, b2, a0, a1, a2.
struct Published {
  const char* effect;
  DWORD type;
  double frequency, gain, bandwidth, slope;
  double figures[6];
};

const Published kPublished[] = {
    {"lowpass 1000 0.70710678118655q",
     0,
     1000,
     0,
     1,
     1,
     {3.9161266605473840e-03, 7.8322533210947679e-03, 3.9161266605473840e-03, 1.0000000000000000e+00,
      -1.8153410827045688e+00, 8.3100558934675817e-01}},
    {"highpass 5000 0.70710678118655q",
     1,
     5000,
     0,
     1,
     1,
     {6.2684527163496728e-01, -1.2536905432699346e+00, 6.2684527163496728e-01, 1.0000000000000000e+00,
      -1.1092287926184281e+00, 3.9815229392144108e-01}},
    {"bandpass 3000 1.5o",
     2,
     3000,
     0,
     1.5,
     1,
     {1.7625668664286823e-01, 0.0000000000000000e+00, -1.7625668664286823e-01, 1.0000000000000000e+00,
      -1.5220791745073705e+00, 6.4748662671426360e-01}},
    {"bandreject 3000 2o",
     3,
     3000,
     0,
     2,
     1,
     {7.7176085149305729e-01, -1.4260281093758369e+00, 7.7176085149305729e-01, 1.0000000000000000e+00,
      -1.4260281093758369e+00, 5.4352170298611480e-01}},
    {"equalizer 1000 1o 6",
     4,
     1000,
     6,
     1,
     1,
     {1.0315775240355287e+00, -1.9199769137945122e+00, 9.0496679486291953e-01, 1.0000000000000000e+00,
      -1.9199769137945122e+00, 9.3654431889844825e-01}},
    {"equalizer 20000 0.5o -12",
     4,
     20000,
     -12,
     0.5,
     1,
     {6.1922928405555444e-01, 8.5130264580840809e-01, 3.6377033938309555e-01, 1.0000000000000000e+00,
      8.5130264580840809e-01, -1.7000376561350092e-02}},
    {"bass 9 200 0.5s",
     5,
     200,
     9,
     1,
     0.5,
     {1.0140693956956834e+00, -1.9583186501295000e+00, 9.4537636154655014e-01, 1.0000000000000000e+00,
      -1.9586822473385175e+00, 9.5908216003321578e-01}},
    {"treble -7 8000 0.9s",
     6,
     8000,
     -7,
     1,
     0.9,
     {5.9174882339708446e-01, -2.3210942244609148e-01, 1.0225530400968870e-01, 1.0000000000000000e+00,
      -8.0570763790474509e-01, 2.6760234286542667e-01}},
};

TEST(Biquad, CoefficientsAsPublished) {
  for (const Published& each : kPublished) {
    SCOPED_TRACE(each.effect);
    const QVBIQUAD biquad = made({48000, each.frequency, each.gain, each.bandwidth, each.slope, each.type});
    const double ours[] = {biquad.b0, biquad.b1, biquad.b2, 1.0, -biquad.c1, -biquad.c2};
    for (int i = 0; i < 6; ++i)
      EXPECT_NEAR(ours[i], each.figures[i], 1e-12) << i;
    EXPECT_EQ(biquad.w1, 0.0);
    EXPECT_EQ(biquad.w2, 0.0);
  }
}

TEST(Biquad, ParametersAreClamped) {
  const auto same = [](const QVBIQUADPARAMS& a, const QVBIQUADPARAMS& b) {
    const QVBIQUAD one = made(a);
    const QVBIQUAD other = made(b);
    return std::memcmp(&one, &other, sizeof one) == 0;
  };
  constexpr double kTenth = 0.1f;
  EXPECT_TRUE(same({48000, 0.0, 0.0, 1.0, 1.0, QVBIQUAD_LOWPASS}, {10000, 1.0, 0.0, 1.0, 1.0, QVBIQUAD_LOWPASS}));
  EXPECT_TRUE(same({48000, 24000.0, 0, 1, 1, QVBIQUAD_LOWPASS}, {10000, 4999.0, 0, 1, 1, QVBIQUAD_LOWPASS}));
  EXPECT_TRUE(same({48000, -5.0, 0.0, 1.0, 1.0, QVBIQUAD_NOTCH}, {48000, kNaN, 0.0, 1.0, 1.0, QVBIQUAD_NOTCH}));
  EXPECT_TRUE(same({0, 100.0, 0, 1, 1, QVBIQUAD_HIGHPASS}, {10000, 4999.0, 0, 1, 1, QVBIQUAD_HIGHPASS}));
  EXPECT_TRUE(same({48000, 1000, 99, 1, 1, QVBIQUAD_PEAK}, {48000, 1000, 25, 1, 1, QVBIQUAD_PEAK}));
  EXPECT_TRUE(same({48000, 1000, -200, 1, 1, QVBIQUAD_PEAK}, {48000, 1000, -100, 1, 1, QVBIQUAD_PEAK}));
  EXPECT_TRUE(same({48000, 1000, 3, 0.0, 1, QVBIQUAD_PEAK}, {48000, 1000, 3, kTenth, 1, QVBIQUAD_PEAK}));
  EXPECT_TRUE(same({48000, 1000, 3, 9.0, 1, QVBIQUAD_PEAK}, {48000, 1000, 3, 5.0, 1, QVBIQUAD_PEAK}));
  EXPECT_TRUE(same({48000, 1000, 3, 1, 0, QVBIQUAD_LOWSHELF}, {48000, 1000, 3, 1, kTenth, QVBIQUAD_LOWSHELF}));
  EXPECT_TRUE(same({48000, 1000, 3, 1, 2, QVBIQUAD_HIGHSHELF}, {48000, 1000, 3, 1, 1, QVBIQUAD_HIGHSHELF}));
}

TEST(Biquad, NoParameterGivesANaN) {
  for (DWORD type = 0; type <= 6; ++type)
    for (const DWORD rate : {0u, 1u, 48000u, 0xFFFFFFFFu})
      for (const double frequency : {0.0, 1.0, 23995.2, 1e300, -kInfinity, kNaN})
        for (const double gain : {-100.0, 0.0, 25.0, kInfinity, kNaN})
          for (const double width : {-1.0, 0.1, 5.0, kInfinity, kNaN})
            EXPECT_TRUE(is_finite(made({rate, frequency, gain, width, width, type})))
                << type << " " << rate << " " << frequency << " " << gain << " " << width;
}

TEST(Biquad, UnknownTypesPassSamples) {
  const QVBIQUADPARAMS params = {48000, 1000.0, 6.0, 1.0, 1.0, 7};
  QVBIQUAD biquad;
  EXPECT_EQ(QvMakeBiquad(&params, &biquad), E_NOTIMPL);
  const QVBIQUAD identity = {1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  EXPECT_EQ(std::memcmp(&biquad, &identity, sizeof biquad), 0);
  EXPECT_EQ(QvMakeBiquad(nullptr, &biquad), E_INVALIDARG);
  EXPECT_EQ(QvMakeBiquad(&params, nullptr), E_INVALIDARG);
  const QVBIQUAD flat = made({48000, 1000.0, 0.0, 1.0, 1.0, QVBIQUAD_PEAK});
  EXPECT_EQ(flat.b0, 1.0);
  EXPECT_EQ(flat.b1, -flat.c1);
  EXPECT_EQ(flat.b2, -flat.c2);
}

TEST(Biquad, SmallStatesAreSetTo0) {
  const struct {
    double state;
    bool stays;
  } cases[] = {{1e-12, false},   {-1e-12, false},        {0x1p-32, true},
               {-0x1p-32, true}, {0x1.fffffp-33, false}, {5e-324, false}};
  for (const auto& each : cases) {
    QVBIQUAD biquad = {0.0, 1.0, 0.0, 0.0, 0.0, each.state, each.state};
    double sample = 0.0;
    QvBiquadSampleDouble(&sample, &biquad);
    EXPECT_EQ(sample, each.stays ? each.state : 0.0);
    EXPECT_EQ(biquad.w2, each.stays ? each.state : 0.0);
  }
}

/// The difference equation on inputs and outputs, which is another form than the library's.
std::vector<double> model(const QVBIQUAD& biquad, const std::vector<double>& input) {
  std::vector<double> output;
  long double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  for (const double x : input) {
    const long double y =
        biquad.b0 * static_cast<long double>(x) + biquad.b1 * x1 + biquad.b2 * x2 + biquad.c1 * y1 + biquad.c2 * y2;
    x2 = x1, x1 = x, y2 = y1, y1 = y;
    output.push_back(static_cast<double>(y));
  }
  return output;
}

TEST(Biquad, ChannelsOfABufferBothWays) {
  std::mt19937 random(1);
  constexpr size_t kFrames = 1000;
  constexpr DWORD kStride = 3;
  for (const Published& each : kPublished) {
    const QVBIQUAD biquad = made({48000, each.frequency, each.gain, each.bandwidth, each.slope, each.type});
    for (const BOOL forward : {1, 0}) {
      std::vector<double> channel(kFrames);
      std::vector<double> source(kFrames * kStride);
      std::vector<float> floats(kFrames * kStride);
      for (size_t k = 0; k < source.size(); ++k) {
        floats[k] = static_cast<float>(random()) / 4294967296.0f - 0.5f;
        source[k] = floats[k];
        if (k % kStride == 1) channel[forward ? k / kStride : kFrames - 1 - k / kStride] = source[k];
      }
      const std::vector<double> expected = model(biquad, channel);
      std::vector<double> result = source;
      std::vector<float> float_result(floats.size(), 7.0f);
      QVBIQUAD state = biquad;
      QVBIQUAD float_state = biquad;
      // Two blocks, one in place.
      const size_t first = forward ? 0 : 400 * kStride;
      const size_t second = forward ? 600 * kStride : 0;
      QvBiquadDoubleEx(&result[first + 1], &result[first + 1], 600, kStride, &state, forward);
      QvBiquadDoubleEx(&result[second + 1], &result[second + 1], 400, kStride, &state, forward);
      QvBiquadFloatEx(&float_result[1], &floats[1], kFrames, kStride, &float_state, forward);
      for (size_t k = 0; k < source.size(); ++k) {
        const double wanted = expected[forward ? k / kStride : kFrames - 1 - k / kStride];
        ASSERT_NEAR(result[k], k % kStride == 1 ? wanted : source[k], 1e-11) << each.effect << k;
        ASSERT_EQ(float_result[k], k % kStride == 1 ? static_cast<float>(result[k]) : 7.0f);
      }
    }
  }
}

} // namespace
