// CQvFIR, its windows and convolution.
#include "tests/audio/every_level.h"
#include "tests/audio/resample/stream_checks.h"

#include "qv/fir.h"

#include <limits>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

CQvFIR low_pass(DWORD taps, DWORD channels) {
  CQvFIR filter;
  EXPECT_EQ(filter.Design(QVFIR_LOWPASS, QVWINDOW_HAMMING, taps, 0.1, 0.0, 0.0, channels, 0), S_OK);
  return filter;
}

std::vector<double> coefficients(const CQvFIR& filter) {
  return {filter.getCoefficients(), filter.getCoefficients() + filter.getTaps()};
}

void expect_halves(const std::vector<double>& values, const double* half, size_t row) {
  for (size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i], half[std::min(i, values.size() - 1 - i)], 1e-12) << row << ": " << i;
    EXPECT_EQ(values[i], values[values.size() - 1 - i]) << row << ": " << i;
  }
}

} // namespace

// SciPy 1.10.1: scipy.signal.get_window(name, n, fftbins=False)[:(n + 1) // 2]
TEST(Windows, AreSciPys) {
  const struct {
    QVWINDOW shape;
    double beta;
    DWORD n;
    double half[5];
  } rows[] = {
      {QVWINDOW_RECTANGULAR, 0.0, 9, {1.0, 1.0, 1.0, 1.0, 1.0}},
      {QVWINDOW_HANN, 0.0, 8, {0.0, 0.188255099070633, 0.611260466978157, 0.95048443395121}},
      {QVWINDOW_HAMMING, 0.0, 9, {0.08, 0.214730880654188, 0.54, 0.865269119345812, 1.0}},
      {QVWINDOW_BLACKMAN, 0.0, 9, {0.0, 0.0664466094067262, 0.34, 0.773553390593274, 1.0}},
      {QVWINDOW_BLACKMANHARRIS, 0.0, 9, {6e-05, 0.0217358370186796, 0.21747, 0.69576416298132, 1.0}},
      {QVWINDOW_KAISER, 6.5, 8, {0.00940796979703469, 0.171725796864809, 0.563303820081014, 0.940567807901624}},
      {QVWINDOW_KAISER, 0.5, 9, {0.940306193319157, 0.966193987895794, 0.984902269883833, 0.996214604271026, 1.0}},
      {QVWINDOW_KAISER, 30., 9, {1.27931e-12, 4.78247640294827e-05, 0.0193193474674454, 0.39205672959748, 1.0}}};
  for (const auto& row : rows) {
    std::vector<double> window(row.n + 1, 99.0);
    ASSERT_EQ(makewindows(window.data(), row.n, row.shape, row.beta), S_OK);
    EXPECT_EQ(window.back(), 99.0);
    window.pop_back();
    expect_halves(window, row.half, &row - rows);
  }
}

TEST(Windows, EdgeCases) {
  double window[65];
  for (DWORD shape = 0; shape <= QVWINDOW_KAISER; ++shape) {
    EXPECT_EQ(makewindows(window, 1, static_cast<QVWINDOW>(shape), 8.0), S_OK);
    EXPECT_EQ(window[0], 1.0);
    for (const double beta : {-1.0, 0.0, kNaN, 1e300, kInfinity}) {
      EXPECT_EQ(makewindows(window, 65, static_cast<QVWINDOW>(shape), beta), S_OK);
      EXPECT_EQ(window[32], 1.0);
      for (const double value : window)
        EXPECT_TRUE(value >= 0.0 && value <= 1.0) << shape << " " << beta;
      EXPECT_TRUE(shape != QVWINDOW_KAISER || beta > 0.0 || window[0] == 1.0) << beta;
    }
  }
  EXPECT_EQ(makewindows(nullptr, 8, QVWINDOW_HANN, 0.0), E_INVALIDARG);
  EXPECT_EQ(makewindows(window, 0, QVWINDOW_HANN, 0.0), E_INVALIDARG);
  EXPECT_EQ(makewindows(window, 8, static_cast<QVWINDOW>(6), 0.0), E_INVALIDARG);
}

TEST(Convolution, IsTheProductOfPolynomials) {
  const double a[] = {1.0, 2.0, 3.0};
  const double b[] = {4.0, -5.0, 0.5, 1.0};
  std::vector<double> product(7, 99.0);
  EXPECT_EQ(fnConvolution(product.data(), a, 3, b, 4), S_OK);
  EXPECT_EQ(product, (std::vector<double>{4.0, 3.0, 2.5, -13.0, 3.5, 3.0, 99.0}));
  EXPECT_EQ(fnConvolution(product.data(), a, 3, a, 3), S_OK);
  EXPECT_EQ(product, (std::vector<double>{1.0, 4.0, 10.0, 12.0, 9.0, 3.0, 99.0}));
  for (const int missing : {0, 1, 2, 3, 4})
    EXPECT_EQ(fnConvolution(missing == 0 ? nullptr : product.data(), missing == 1 ? nullptr : a, missing == 2 ? 0 : 3,
                            missing == 3 ? nullptr : b, missing == 4 ? 0 : 4),
              E_INVALIDARG)
        << missing;
}

// SciPy 1.10.1: scipy.signal.firwin(9, edges, window=name, pass_zero=..., fs=1.0)[:5]
TEST(Fir, CoefficientsAreSciPys) {
  const struct {
    QVFIR_TYPE type;
    QVWINDOW window;
    double low, high;
  } rows[] = {{QVFIR_LOWPASS, QVWINDOW_KAISER, 0.1, 9.0},
              {QVFIR_HIGHPASS, QVWINDOW_HAMMING, 0.3, kNaN},
              {QVFIR_BANDPASS, QVWINDOW_BLACKMANHARRIS, 0.15, 0.35},
              {QVFIR_BANDSTOP, QVWINDOW_RECTANGULAR, 0.05, 0.2}};
  const double halves[][5] = {
      {0.0006519392705042, 0.0206184159623, 0.1012430831686, 0.229336305547, 0.2963005121032},
      {-0.006140414697945, 0.01358167447696, 0.05123229734272, -0.2656555609055, 0.4056684618535},
      {1.055696295929e-05, 0.0, -0.1238239738994, 0.0, 0.7523309382754},
      {0.1699958200425, 0.1664468509782, 0.0, -0.2295216596669, 0.7861579772923}};
  for (const auto& row : rows) {
    CQvFIR filter;
    ASSERT_EQ(filter.Design(row.type, row.window, 9, row.low, row.high, 6.5, 1, 0), S_OK);
    ASSERT_EQ(filter.getTaps(), 9u);
    ASSERT_EQ(filter.getLatency(), 4u);
    expect_halves(coefficients(filter), halves[&row - rows], static_cast<size_t>(&row - rows));
  }
}

// Summed from the oldest sample on, at every level.
TEST(Fir, IsAConvolutionToTheBit) {
  for (const DWORD taps : {3u, 101u, 601u}) {
    const CQvFIR filter = low_pass(taps, 1);
    const auto src = stream::noise<float>(stream::kFrames);
    std::vector<double> line(taps - 1);
    line.insert(line.end(), src.begin(), src.end());
    std::vector<double> expected(src.size());
    for (size_t k = 0; k < src.size(); ++k)
      for (size_t i = 0; i < taps; ++i)
        expected[k] += filter.getCoefficients()[i] * line[k + i];
    on_every_level([&](QVKERNELLEVEL) {
      EXPECT_EQ(stream::run(stream::running<double>(filter), {src.begin(), src.end()}, 1), expected) << taps;
      EXPECT_EQ(stream::run(stream::running<float>(filter), src, 1),
                std::vector<float>(expected.begin(), expected.end()))
          << taps;
    });
  }
}

TEST(Fir, BlocksPlacesAndMasks) {
  for (const DWORD taps : {3u, 301u})
    stream::check([=](DWORD channels) { return low_pass(taps, channels); });
  stream::check_state([](DWORD channels) { return low_pass(31, channels); });
}

TEST(Fir, ForgetsWhatIsNoNumber) {
  auto src = stream::noise<double>(100);
  src[20] = kNaN;
  src[21] = kInfinity;
  const auto dst = stream::run(stream::running<double>(low_pass(31, 1)), src, 1);
  for (size_t i = 0; i < dst.size(); ++i)
    EXPECT_EQ(std::isfinite(dst[i]), i < 20 || i > 51) << i;
}

TEST(Fir, RefusedDesignsChangeNothing) {
  const struct {
    DWORD type, window, taps;
    double low, high;
    DWORD channels;
  } rows[] = {{4, 0, 9, 0.1, 0.2, 1},      {0, 6, 9, 0.1, 0.2, 1},     {0, 0, 1, 0.1, 0.2, 1},
              {0, 0, 10, 0.1, 0.2, 1},     {0, 0, 65537, 0.1, 0.2, 1}, {0, 0, 9, 0.50001, 0.2, 1},
              {1, 0, 9, kInfinity, 0., 1}, {2, 0, 9, 0.1, 0.50001, 1}, {2, 0, 9, 0.2, 0.1, 1},
              {3, 0, 9, 0.2, 0.2, 1},      {3, 0, 9, 0.2, kNaN, 1},    {0, 0, 9, 0.1, 0.2, 0},
              {3, 0, 3, 0.0, 0.499, 1}}; // the last: nothing left at DC
  CQvFIR filter;
  double sample = 3.0;
  filter.ProcessDouble(&sample, &sample, 1, 0);
  EXPECT_EQ(sample, 3.0);
  EXPECT_EQ(filter.getTaps() + filter.getChannels() + filter.getLatency(), 0u);
  filter = low_pass(31, 2);
  const auto before = coefficients(filter);
  for (const auto& row : rows) {
    EXPECT_EQ(filter.Design(static_cast<QVFIR_TYPE>(row.type), static_cast<QVWINDOW>(row.window), row.taps, row.low,
                            row.high, 0.0, row.channels, 0),
              E_INVALIDARG)
        << &row - rows;
    EXPECT_EQ(coefficients(filter), before);
  }
  EXPECT_EQ(filter.Design(QVFIR_LOWPASS, QVWINDOW_HANN, QVFIR_MAX_TAPS, 0.1, 0.0, 0.0, 0xFFFFFFFF, 0), E_OUTOFMEMORY);
  EXPECT_EQ(coefficients(filter), before);
  EXPECT_EQ(filter.Design(QVFIR_LOWPASS, QVWINDOW_HANN, QVFIR_MAX_TAPS, 0.1, 0.0, 0.0, 1, 0), S_OK);
}

TEST(Fir, ExtremeParametersGiveNumbers) {
  const double values[] = {-kInfinity, 0.0, 1e-300, 1e-7, 0.001, 0.25, 0.4999999, 0.5, kNaN};
  int made = 0;
  for (DWORD design = 0; design < 4 * 6; ++design)
    for (const DWORD taps : {3u, 127u})
      for (const double low : values)
        for (const double high : values) {
          CQvFIR filter;
          const auto type = static_cast<QVFIR_TYPE>(design % 4);
          const auto window = static_cast<QVWINDOW>(design / 4);
          if (filter.Design(type, window, taps, low, high, 1e6 * high, 1, 0) != S_OK) continue;
          ++made;
          for (const double value : coefficients(filter))
            ASSERT_TRUE(std::isfinite(value)) << low << " " << high;
        }
  EXPECT_GT(made, 2 * 6 * 2 * 81); // every low-pass and high-pass
}
