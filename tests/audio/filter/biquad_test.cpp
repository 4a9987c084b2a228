// Biquad sections, and those made of allpass filters, against published figures and a model of their own.
#include "tests/audio/resample/stream_checks.h"

#include "qv/filter.h"
#include "qv/signal.h"

#include <cstring>
#include <limits>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

QVBIQUAD made(const QVBIQUADPARAMS& params) {
  QVBIQUAD biquad;
  EXPECT_EQ(QvMakeBiquad(&params, &biquad), S_OK);
  return biquad;
}

/// What "sox --plot data -r 48000 -n -n EFFECT" prints.
struct Published {
  const char* effect;
  QVBIQUADPARAMS params;
};

const Published kPublished[] = {{"lowpass 1000 0.70710678118655q", {48000, 1000, 0, 1, 1, 0}},
                                {"highpass 5000 0.70710678118655q", {48000, 5000, 0, 1, 1, 1}},
                                {"bandpass 3000 1.5o", {48000, 3000, 0, 1.5, 1, 2}},
                                {"bandreject 3000 2o", {48000, 3000, 0, 2, 1, 3}},
                                {"equalizer 1000 1o 6", {48000, 1000, 6, 1, 1, 4}},
                                {"equalizer 20000 0.5o -12", {48000, 20000, -12, 0.5, 1, 4}},
                                {"bass 9 200 0.5s", {48000, 200, 9, 1, 0.5, 5}},
                                {"treble -7 8000 0.9s", {48000, 8000, -7, 1, 0.9, 6}}};

/// b0, b1, b2, a1, a2 of each; a0 is 1.
const double kPublishedFigures[][5] = {
    {0.0039161266605474, 0.0078322533210948, 0.0039161266605474, -1.8153410827046, 0.83100558934676},
    {0.62684527163497, -1.2536905432699, 0.62684527163497, -1.1092287926184, 0.39815229392144},
    {0.17625668664287, 0.0, -0.17625668664287, -1.5220791745074, 0.64748662671426},
    {0.77176085149306, -1.4260281093758, 0.77176085149306, -1.4260281093758, 0.54352170298611},
    {1.0315775240355, -1.9199769137945, 0.90496679486292, -1.9199769137945, 0.93654431889845},
    {0.61922928405555, 0.85130264580841, 0.3637703393831, 0.85130264580841, -0.01700037656135},
    {1.0140693956957, -1.9583186501295, 0.94537636154655, -1.9586822473385, 0.95908216003322},
    {0.59174882339708, -0.23210942244609, 0.10225530400969, -0.80570763790475, 0.26760234286543}};

void expect_figures(const QVBIQUAD& biquad, const double (&figures)[5]) {
  const double ours[] = {biquad.b0, biquad.b1, biquad.b2, -biquad.c1, -biquad.c2};
  for (int i = 0; i < 5; ++i)
    EXPECT_NEAR(ours[i], figures[i], 1e-12) << i;
  EXPECT_EQ(biquad.w1, 0.0);
  EXPECT_EQ(biquad.w2, 0.0);
}

TEST(Biquad, CoefficientsAsPublished) {
  for (const Published& each : kPublished) {
    SCOPED_TRACE(each.effect);
    expect_figures(made(each.params), kPublishedFigures[&each - kPublished]);
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
          for (const double width : {-1.0, 0.1, 5.0, kInfinity, kNaN}) {
            const QVBIQUAD biquad = made({rate, frequency, gain, width, width, type});
            EXPECT_TRUE(std::isfinite(biquad.b0 + biquad.b1 + biquad.b2) && std::isfinite(biquad.c1 + biquad.c2))
                << type << " " << rate << " " << frequency << " " << gain << " " << width;
          }
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
  constexpr size_t kFrames = 1000;
  constexpr DWORD kStride = 3;
  const auto floats = stream::noise<float>(kFrames * kStride);
  const std::vector<double> source(floats.begin(), floats.end());
  for (const Published& each : kPublished) {
    const QVBIQUAD biquad = made(each.params);
    for (const BOOL forward : {1, 0}) {
      std::vector<double> channel;
      for (size_t k = 0; k < kFrames; ++k)
        channel.push_back(source[(forward ? k : kFrames - 1 - k) * kStride + 1]);
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

// ---- made of allpass filters --------------------------------------------------------------------------------------

using Find = HRESULT (*)(double frequency, double second, QVBIQUAD* biquad);

/// Shelves, low and high, each with its cut; the band-pass.
constexpr Find kFinds[] = {QvSig_FindLowShelfBoostCoeffs, QvSig_FindLowShelfCutCoeffs, QvSig_FindHiShelfBoostCoeffs,
                           QvSig_FindHiShelfCutCoeffs, QvSig_FindBandPassCoeffs};

// SciPy 1.10.1. Shelves from their analogue prototypes, with w = 2 tan(pi frequency) and V = 10^(gain / 20):
// scipy.signal.bilinear([1, V w], [1, w], 1.0) for the low boost, ([1, w], [1, V w]) for its cut, ([V, w], [1, w]) for
// the high boost, ([1, w], [V, w]) for its cut. Band-pass: scipy.signal.iirpeak(f, f / bandwidth, fs=1.0).
TEST(SignalCoefficients, AreSciPys) {
  const struct {
    Find find;
    double frequency, second, figures[5];
  } rows[] = {
      {kFinds[0], 0.01, 6.0, {1.0303243957642, -0.90873811005325, 0.0, -0.93906250581749, 0.0}},
      {kFinds[1], 0.01, 6.0, {0.97056810855988, -0.91142412009078, 0.0, -0.88199222865066, 0.0}},
      {kFinds[2], 0.01, 6.0, {1.9649379192046, -1.9040004250221, 0.0, -0.93906250581749, 0.0}},
      {kFinds[3], 0.01, 6.0, {0.50892193093041, -0.47790950372498, 0.0, -0.96898757279458, 0.0}},
      {kFinds[0], 0.2, 20.0, {4.7872700185396, 3.6288855782151, 0.0, -0.15838444032454, 0.0}},
      {kFinds[1], 0.2, 20.0, {0.20888731910406, -0.03308450112719, 0.0, 0.75802817976875, 0.0}},
      {kFinds[2], 0.2, 20.0, {6.2127299814604, -5.3711144217849, 0.0, -0.15838444032454, 0.0}},
      {kFinds[3], 0.2, 20.0, {0.16095983617252, -0.025493533566914, 0.0, -0.86453369739439, 0.0}},
      {kFinds[4], 0.01, 0.002, {0.0062440350463429, 0.0, -0.0062440350463429, -1.9835900291176, 0.98751192990731}},
      {kFinds[4], 0.2, 0.1, {0.24523727525279, 0.0, -0.24523727525279, -0.46646901733526, 0.50952544949443}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    QVBIQUAD biquad{9.0, 9.0, 9.0, 9.0, 9.0, 9.0, 9.0};
    EXPECT_EQ(row.find(row.frequency, row.second, &biquad), S_OK);
    expect_figures(biquad, row.figures);
  }
}

// Whatever the parameters are, the filter is stable.
TEST(SignalCoefficients, ExtremeParameters) {
  const double values[] = {-kInfinity, -1.0, 0.0, 1e-300, 0.25, 0.5, 1.0, 1e6, kInfinity, kNaN};
  for (const Find find : kFinds) {
    for (const double frequency : values)
      for (const double second : values) {
        QVBIQUAD biquad;
        EXPECT_EQ(find(frequency, second, &biquad), S_OK);
        EXPECT_TRUE(stream::is_stable(biquad)) << frequency << " " << second;
      }
    EXPECT_EQ(find(0.1, 0.1, nullptr), E_INVALIDARG);
  }
}

} // namespace
