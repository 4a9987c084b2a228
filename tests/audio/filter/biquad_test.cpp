// Biquad sections against published figures and a model of their own.
#include "qv/filter.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
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
  QVBIQUADPARAMS params;
  double figures[6];
};

const Published kPublished[] = {
    {"lowpass 1000 0.70710678118655q",
     {48000, 1000, 0, 1, 1, 0},
     {0.003916126660547384, 0.007832253321094768, 0.003916126660547384, 1.0, -1.8153410827045688, 0.8310055893467582}},
    {"highpass 5000 0.70710678118655q",
     {48000, 5000, 0, 1, 1, 1},
     {0.6268452716349673, -1.2536905432699346, 0.6268452716349673, 1.0, -1.109228792618428, 0.3981522939214411}},
    {"bandpass 3000 1.5o",
     {48000, 3000, 0, 1.5, 1, 2},
     {0.17625668664286823, 0.0, -0.17625668664286823, 1.0, -1.5220791745073705, 0.6474866267142636}},
    {"bandreject 3000 2o",
     {48000, 3000, 0, 2, 1, 3},
     {0.7717608514930573, -1.426028109375837, 0.7717608514930573, 1.0, -1.426028109375837, 0.5435217029861148}},
    {"equalizer 1000 1o 6",
     {48000, 1000, 6, 1, 1, 4},
     {1.0315775240355287, -1.9199769137945122, 0.9049667948629195, 1.0, -1.9199769137945122, 0.9365443188984482}},
    {"equalizer 20000 0.5o -12",
     {48000, 20000, -12, 0.5, 1, 4},
     {0.6192292840555544, 0.8513026458084081, 0.36377033938309555, 1.0, 0.8513026458084081, -0.017000376561350092}},
    {"bass 9 200 0.5s",
     {48000, 200, 9, 1, 0.5, 5},
     {1.0140693956956834, -1.9583186501295, 0.9453763615465501, 1.0, -1.9586822473385175, 0.9590821600332158}},
    {"treble -7 8000 0.9s",
     {48000, 8000, -7, 1, 0.9, 6},
     {0.5917488233970845, -0.23210942244609148, 0.1022553040096887, 1.0, -0.8057076379047451, 0.26760234286542667}},
};

TEST(Biquad, CoefficientsAsPublished) {
  for (const Published& each : kPublished) {
    SCOPED_TRACE(each.effect);
    const QVBIQUAD biquad = made(each.params);
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
    const QVBIQUAD biquad = made(each.params);
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
