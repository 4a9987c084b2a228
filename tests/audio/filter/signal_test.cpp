// Shelves and a band-pass made of allpass filters.
#include "tests/audio/resample/stream_checks.h"

#include "qv/signal.h"

#include <limits>

namespace {

using Find = HRESULT (*)(double, double, QVBIQUAD*);

constexpr Find kShelves[] = {QvSig_FindLowShelfBoostCoeffs, QvSig_FindLowShelfCutCoeffs, QvSig_FindHiShelfBoostCoeffs,
                             QvSig_FindHiShelfCutCoeffs};
constexpr Find kBandPass = QvSig_FindBandPassCoeffs;

QVBIQUAD found(Find find, double frequency, double second) {
  QVBIQUAD biquad{9.0, 9.0, 9.0, 9.0, 9.0, 9.0, 9.0};
  EXPECT_EQ(find(frequency, second, &biquad), S_OK);
  EXPECT_EQ(biquad.w1, 0.0);
  EXPECT_EQ(biquad.w2, 0.0);
  return biquad;
}

double level(QVBIQUAD biquad, double frequency) {
  const auto impulse = stream::impulse_response(
      [&](double* dst, const double* src, DWORD frames) { QvBiquadDoubleEx(dst, src, frames, 1, &biquad, 1); }, 20000);
  return stream::decibels(std::abs(stream::response(impulse, frequency)));
}

} // namespace

// SciPy 1.10.1. Shelves from their analogue prototypes, with w = 2 tan(pi frequency) and V = 10^(gain / 20):
// scipy.signal.bilinear([1, V w], [1, w], 1.0) for the low boost, ([1, w], [1, V w]) for its cut, ([V, w], [1, w]) for
// the high boost, ([1, w], [V, w]) for its cut. Band-pass: scipy.signal.iirpeak(f, f / bandwidth, fs=1.0).
TEST(SignalCoefficients, AreSciPys) {
  const struct {
    Find find;
    double frequency, second, b0, b1, b2, c1, c2;
  } rows[] = {
      {kShelves[0], 0.01, 6.0, 1.0303243957642, -0.90873811005325, 0.0, 0.93906250581749, 0.0},
      {kShelves[1], 0.01, 6.0, 0.97056810855988, -0.91142412009078, 0.0, 0.88199222865066, 0.0},
      {kShelves[2], 0.01, 6.0, 1.9649379192046, -1.9040004250221, 0.0, 0.93906250581749, 0.0},
      {kShelves[3], 0.01, 6.0, 0.50892193093041, -0.47790950372498, 0.0, 0.96898757279458, 0.0},
      {kShelves[0], 0.2, 20.0, 4.7872700185396, 3.6288855782151, 0.0, 0.15838444032454, 0.0},
      {kShelves[1], 0.2, 20.0, 0.20888731910406, -0.03308450112719, 0.0, -0.75802817976875, 0.0},
      {kShelves[2], 0.2, 20.0, 6.2127299814604, -5.3711144217849, 0.0, 0.15838444032454, 0.0},
      {kShelves[3], 0.2, 20.0, 0.16095983617252, -0.025493533566914, 0.0, 0.86453369739439, 0.0},
      {kBandPass, 0.01, 0.002, 0.0062440350463429, 0.0, -0.0062440350463429, 1.9835900291176, -0.98751192990731},
      {kBandPass, 0.2, 0.1, 0.24523727525279, 0.0, -0.24523727525279, 0.46646901733526, -0.50952544949443}};
  for (const auto& row : rows) {
    const QVBIQUAD biquad = found(row.find, row.frequency, row.second);
    EXPECT_NEAR(biquad.b0, row.b0, 1e-12) << &row - rows;
    EXPECT_NEAR(biquad.b1, row.b1, 1e-12) << &row - rows;
    EXPECT_NEAR(biquad.b2, row.b2, 1e-12) << &row - rows;
    EXPECT_NEAR(biquad.c1, row.c1, 1e-12) << &row - rows;
    EXPECT_NEAR(biquad.c2, row.c2, 1e-12) << &row - rows;
  }
}

TEST(SignalCoefficients, LevelsAreThosePromised) {
  const double edge = stream::decibels(std::sqrt((std::pow(10.0, 1.2) + 1.0) / 2.0));
  const double levels[][3] = {{12.0, edge, 0.0}, {-12.0, -edge, 0.0}, {0.0, edge, 12.0}, {0.0, -edge, -12.0}};
  for (const double frequency : {0.01, 0.3}) {
    for (size_t i = 0; i < 4; ++i) {
      const QVBIQUAD shelf = found(kShelves[i], frequency, 12.0);
      EXPECT_NEAR(level(shelf, 0.0), levels[i][0], 1e-7) << i;
      EXPECT_NEAR(level(shelf, frequency), levels[i][1], 1e-7) << i;
      EXPECT_NEAR(level(shelf, 0.5), levels[i][2], 1e-7) << i;
    }
  }
  const QVBIQUAD band = found(kBandPass, 0.1, 0.02);
  EXPECT_NEAR(level(band, 0.1), 0.0, 1e-7);
  double inside[2] = {0.1, 0.1}; // of where it falls to 1/sqrt(2), by bisection
  for (const int side : {0, 1}) {
    double outside = side == 0 ? 0.05 : 0.15;
    for (int i = 0; i < 24; ++i) {
      const double middle = (inside[side] + outside) / 2.0;
      (level(band, middle) > -10.0 * std::log10(2.0) ? inside[side] : outside) = middle;
    }
  }
  EXPECT_NEAR(inside[1] - inside[0], 0.02, 1e-7);
}

TEST(SignalCoefficients, CutUndoesBoost) {
  const auto src = stream::noise<double>(1000);
  for (const size_t boost : {0, 2}) {
    for (const double gain : {0.0, 3.0, 40.0}) {
      auto samples = src;
      for (const size_t i : {boost, boost + 1}) {
        QVBIQUAD shelf = found(kShelves[i], 0.05, gain);
        QvBiquadDoubleEx(samples.data(), samples.data(), 1000, 1, &shelf, 1);
      }
      for (size_t i = 0; i < src.size(); ++i)
        ASSERT_NEAR(samples[i], src[i], 1e-10) << gain;
    }
  }
}

// Whatever the parameters are, the filter is stable.
TEST(SignalCoefficients, ExtremeParameters) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double values[] = {-infinity, -1.0, 0.0, 1e-300, 0.25, 0.5, 1.0, 1e6, infinity, std::nan("")};
  for (const Find find : {kShelves[0], kShelves[1], kShelves[2], kShelves[3], kBandPass}) {
    for (const double frequency : values) {
      for (const double second : values) {
        const QVBIQUAD biquad = found(find, frequency, second);
        EXPECT_TRUE(std::isfinite(biquad.b0 + biquad.b1 + biquad.b2)) << frequency << " " << second;
        EXPECT_LT(std::fabs(biquad.c2), 1.0) << frequency << " " << second;
        EXPECT_LT(std::fabs(biquad.c1), 1.0 - biquad.c2) << frequency << " " << second;
      }
    }
    EXPECT_EQ(find(0.1, 0.1, nullptr), E_INVALIDARG);
  }
}
