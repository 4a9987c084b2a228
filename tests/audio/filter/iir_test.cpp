// CQvIIR: designs against published figures and the analytic prototypes; blocks, channels and states.
#include "audio/filter/bessel_poles.h"

#include "qv/cpu.h"
#include "qv/filter.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// With what only derived classes see.
class Filter : public CQvIIR {
public:
  using CQvIIR::getBiquad;
  using CQvIIR::getDry;
  using CQvIIR::getGain;
  using CQvIIR::getLastChannelMask;
  using CQvIIR::getPolynomial;
};

/// A design with a middle between two edges, or one edge.
struct Shape {
  QVIIR_TYPE type;
  QVIIR_DESIGN design;
  DWORD order;
  double lower, upper; ///< 0 for one edge
};

Filter designed(const Shape& shape, DWORD channels = 1, double gain = 0.0, DWORD mask = 0) {
  const bool is_band = shape.upper != 0.0;
  Filter filter;
  EXPECT_EQ(filter.Design(shape.type, shape.design, shape.order,
                          is_band ? std::sqrt(shape.lower * shape.upper) : shape.lower,
                          is_band ? std::log2(shape.upper / shape.lower) : 0.0, gain, channels, mask),
            S_OK);
  return filter;
}

struct Polynomials {
  std::vector<double> numerator{1.0}, denominator{1.0};
};

std::vector<double> product(const std::vector<double>& a, const double (&b)[3]) {
  std::vector<double> result(a.size() + 2);
  for (size_t i = 0; i < a.size(); ++i)
    for (size_t k = 0; k < 3; ++k)
      result[i + k] += a[i] * b[k];
  return result;
}

Polynomials polynomials(const Filter& filter) {
  Polynomials result;
  for (DWORD i = 0; i < filter.getNumBiquads(); ++i) {
    double numerator[3], denominator[3];
    filter.getPolynomial(i, numerator, denominator);
    const QVBIQUAD section = filter.getBiquad(i);
    EXPECT_EQ(section.b1, numerator[1]);
    EXPECT_EQ(section.c2, -denominator[2]);
    result.numerator = product(result.numerator, numerator);
    result.denominator = product(result.denominator, denominator);
  }
  return result;
}

struct Published {
  const char* call; ///< of scipy 1.10, whose frequencies are fractions of the Nyquist frequency
  Shape shape;
  std::vector<double> numerator, denominator;
};

const Published kPublished[] = {
    {"signal.butter(4, 0.2, output='zpk')",
     {QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0},
     {0.004824343357716231, 0.019297373430864923, 0.028946060146297387, 0.019297373430864923, 0.004824343357716231},
     {1.0, -2.3695130071820376, 2.31398841441588, -1.0546654058785676, 0.18737949236818488}},
    {"signal.butter(3, 0.5, 'high', output='zpk')",
     {QVIIR_HIGHPASS, QVIIR_BUTTERWORTH, 3, 0.25, 0},
     {0.16666666666666669, -0.5, 0.5, -0.16666666666666669},
     {1.0, -1.1102230246251568e-16, 0.3333333333333333, 0.0}},
    {"signal.butter(2, [0.2, 0.4], 'bandpass', output='zpk')",
     {QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 2, 0.1, 0.2},
     {0.0674552738890719, 0.0, -0.1349105477781438, 0.0, 0.0674552738890719},
     {1.0, -1.9424687765478836, 2.1192023971442824, -1.2166516355155308, 0.41280159809618855}},
    {"signal.butter(3, [0.2, 0.4], 'bandstop', output='zpk')",
     {QVIIR_BANDSTOP, QVIIR_BUTTERWORTH, 3, 0.1, 0.2},
     {0.5276243825019431, -1.9565388100762566, 4.001288117376633, -4.909519387006985, 4.001288117376633,
      -1.9565388100762566, 0.527624382501943},
     {1.0, -2.941867669925038, 4.702317288464329, -4.634109656210409, 3.0774477936582776, -1.2466196810240524,
      0.2780599176345463}},
    {"signal.cheby1(5, 0.5, 0.3, output='zpk')",
     {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 5, 0.15, 0},
     {0.0026366397170769925, 0.013183198585384963, 0.026366397170769926, 0.026366397170769926, 0.013183198585384963,
      0.0026366397170769925},
     {1.0, -2.977537003333847, 4.293233827084472, -3.512442325610978, 1.614483065446125, -0.33336509263930836}},
    {"signal.cheby1(3, 0.5, [0.1, 0.2], 'bandpass', output='zpk')",
     {QVIIR_BANDPASS, QVIIR_CHEBYSHEV, 3, 0.05, 0.1},
     {0.002293595893052431, 0.0, -0.006880787679157292, 0.0, 0.006880787679157292, 0.0, -0.002293595893052431},
     {1.0, -4.999410689079241, 10.939823968488021, -13.356778321083514, 9.591392248701052, -3.8442657637296924,
      0.6752908047569969}},
    {"signal.bessel(5, 0.25, output='zpk')",
     {QVIIR_LOWPASS, QVIIR_BESSEL, 5, 0.125, 0},
     {0.002797526653253267, 0.013987633266266335, 0.02797526653253267, 0.02797526653253267, 0.013987633266266335,
      0.002797526653253267},
     {1.0, -2.294322152587065, 2.3416637117286605, -1.2862691154179025, 0.3739974614943121, -0.045549052313901016}},
    {"signal.bessel(8, 0.25, 'high', output='zpk')",
     {QVIIR_HIGHPASS, QVIIR_BESSEL, 8, 0.125, 0},
     {0.09710209520162631, -0.7768167616130105, 2.718858665645537, -5.437717331291074, 6.797146664113842,
      -5.437717331291074, 2.718858665645537, -0.7768167616130105, 0.09710209520162631},
     {1.0, -3.747789516061467, 6.488250195059227, -6.667394698436844, 4.413664388031361, -1.917254619264179,
      0.5317583517126685, -0.0858589209200867, 0.006165682130523235}},
};

TEST(Iir, CoefficientsAsPublished) {
  for (const Published& each : kPublished) {
    SCOPED_TRACE(each.call);
    const Polynomials ours = polynomials(designed(each.shape));
    for (size_t i = 0; i < ours.numerator.size(); ++i) {
      const bool there = i < each.numerator.size(); // an odd order leaves one coefficient of 0
      EXPECT_NEAR(ours.numerator[i], there ? each.numerator[i] : 0.0, 1e-12) << i;
      EXPECT_NEAR(ours.denominator[i], there ? each.denominator[i] : 0.0, 1e-12) << i;
    }
  }
}

// ---- magnitudes ---------------------------------------------------------------------------------------------------

double prewarped(double frequency) { return 2.0 * std::tan(pi * frequency); }

/// The coefficients of the reverse Bessel polynomial, constant first, by its recurrence.
std::vector<double> reverse_bessel(DWORD order) {
  std::vector<double> before = {1.0};
  std::vector<double> last = {1.0, 1.0};
  for (DWORD n = 2; n <= order; ++n) {
    std::vector<double> next(n + 1);
    for (size_t k = 0; k < last.size(); ++k)
      next[k] += (2.0 * n - 1.0) * last[k];
    for (size_t k = 0; k < before.size(); ++k)
      next[k + 2] += before[k];
    before = last;
    last = next;
  }
  return last;
}

/// The magnitude of a prototype whose gain at 0 is 1.
double prototype_magnitude(QVIIR_DESIGN design, DWORD order, double frequency) {
  if (design == QVIIR_BUTTERWORTH) return 1.0 / std::sqrt(1.0 + std::pow(frequency, 2.0 * order));
  if (design == QVIIR_CHEBYSHEV) {
    const double ripple = std::pow(10.0, 0.05) - 1.0;
    const double polynomial =
        frequency <= 1.0 ? std::cos(order * std::acos(frequency)) : std::cosh(order * std::acosh(frequency));
    const double at_0 = order % 2 == 0 ? 1.0 + ripple : 1.0;
    return std::sqrt(at_0 / (1.0 + ripple * polynomial * polynomial));
  }
  const std::vector<double> coefficients = reverse_bessel(order);
  const Complex s(0.0, frequency * std::pow(coefficients[0], 1.0 / order));
  Complex value = 0.0;
  for (size_t k = coefficients.size(); k-- > 0;)
    value = value * s + coefficients[k];
  return coefficients[0] / std::abs(value);
}

/// Where a frequency of the filter lies for its prototype.
double prototype_frequency(const Shape& shape, double frequency) {
  const double w = prewarped(frequency);
  const double lower = prewarped(shape.lower);
  if (shape.type == QVIIR_LOWPASS) return w / lower;
  if (shape.type == QVIIR_HIGHPASS) return lower / w;
  const double upper = prewarped(shape.upper);
  const double band = std::fabs(w * w - lower * upper) / (w * (upper - lower));
  return shape.type == QVIIR_BANDPASS ? band : 1.0 / band;
}

Complex response(const Polynomials& of, double frequency) {
  const Complex z = std::polar(1.0, -2.0 * pi * frequency);
  Complex numerator = 0.0;
  Complex denominator = 0.0;
  for (size_t k = of.numerator.size(); k-- > 0;) {
    numerator = numerator * z + of.numerator[k];
    denominator = denominator * z + of.denominator[k];
  }
  return numerator / denominator;
}

/// What comes out for one sample of 1.
std::vector<double> impulse_response(Filter filter, size_t frames) {
  std::vector<double> samples(frames);
  samples[0] = 1.0;
  filter.ProcessDouble(samples.data(), samples.data(), static_cast<DWORD>(frames), 0);
  return samples;
}

double measured(const std::vector<double>& impulse, double frequency) {
  const Complex step = std::polar(1.0, -2.0 * pi * frequency);
  Complex sum = 0.0;
  for (size_t k = impulse.size(); k-- > 0;)
    sum = sum * step + impulse[k];
  return std::abs(sum);
}

TEST(Iir, BesselPolesAreTheRootsOfThePolynomial) {
  using Long = std::complex<long double>;
  for (DWORD order = 1; order <= QVIIR_MAX_ORDER; ++order) {
    const std::vector<double> coefficients = reverse_bessel(order);
    const long double scale = std::pow(static_cast<long double>(coefficients[0]), 1.0L / order);
    long double magnitudes = 1.0L;
    for (DWORD k = 0; k < (order + 1) / 2; ++k) {
      const auto& [real, imaginary] = qv::audio::kBesselPoles[order - 1][k];
      const Long root = Long(real, imaginary) * scale;
      Long value = 0.0L;
      Long slope = 0.0L;
      for (size_t n = coefficients.size(); n-- > 0;) {
        slope = slope * root + value;
        value = value * root + Long(coefficients[n]);
      }
      EXPECT_LT(std::abs(value / slope) / std::abs(root), 1e-12L) << order << " " << k; // what Newton would add
      magnitudes *= imaginary == 0.0 ? std::abs(root) : std::norm(root);
    }
    EXPECT_NEAR(static_cast<double>(magnitudes / coefficients[0]), 1.0, 1e-12) << "no root twice";
  }
}

TEST(Iir, MagnitudesAreThoseOfThePrototypes) {
  for (const QVIIR_DESIGN design : {QVIIR_BUTTERWORTH, QVIIR_CHEBYSHEV, QVIIR_BESSEL})
    for (const QVIIR_TYPE type : {QVIIR_LOWPASS, QVIIR_HIGHPASS, QVIIR_BANDPASS, QVIIR_BANDSTOP})
      for (DWORD order = 1; order <= QVIIR_MAX_ORDER; ++order) {
        const bool is_band = type == QVIIR_BANDPASS || type == QVIIR_BANDSTOP;
        const Shape shape = {type, design, order, 0.12, is_band ? 0.3 : 0.0};
        const Filter filter = designed(shape);
        EXPECT_EQ(filter.getNumBiquads(), is_band ? order : (order + 1) / 2);
        const std::vector<double> impulse = impulse_response(filter, 4096);
        double worst = 0.0;
        for (int i = 0; i < 200; ++i) {
          const double frequency = (i + 0.5) / 400.0;
          const double expected = prototype_magnitude(design, order, prototype_frequency(shape, frequency));
          worst = std::max(worst, std::fabs(measured(impulse, frequency) - expected));
        }
        EXPECT_LT(worst, 1e-8) << "design " << design << " type " << type << " order " << order;
      }
}

TEST(Iir, EdgesAndUnity) {
  for (DWORD order = 1; order <= QVIIR_MAX_ORDER; ++order) {
    const Polynomials low = polynomials(designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, order, 0.1, 0.0}));
    EXPECT_NEAR(20.0 * std::log10(std::abs(response(low, 0.1))), -3.0103, 1e-4);
    EXPECT_NEAR(std::abs(response(low, 0.0)), 1.0, 1e-9);
    const Polynomials high = polynomials(designed({QVIIR_HIGHPASS, QVIIR_BESSEL, order, 0.1, 0.0}));
    EXPECT_NEAR(std::abs(response(high, 0.5)), 1.0, 1e-9);
  }
}

TEST(Iir, Resonators) {
  const double frequency = 0.1;
  const double q = 5.0;
  const double radius = std::exp(-2.0 * pi * frequency / (2.0 * q));
  for (const QVIIR_TYPE type : {QVIIR_BANDPASS, QVIIR_BANDSTOP}) {
    Filter filter;
    ASSERT_EQ(filter.Design(type, QVIIR_RESONATOR, 99, frequency, q, 0.0, 1, 0), S_OK);
    ASSERT_EQ(filter.getNumBiquads(), 1u);
    const QVBIQUAD section = filter.getBiquad(0);
    EXPECT_NEAR(section.c1, 2.0 * radius * std::cos(2.0 * pi * frequency), 1e-15);
    EXPECT_NEAR(section.c2, -radius * radius, 1e-15);
    const Polynomials made = polynomials(filter);
    const bool is_pass = type == QVIIR_BANDPASS;
    EXPECT_NEAR(std::abs(response(made, frequency)), is_pass ? 1.0 : 0.0, 1e-12);
    EXPECT_NEAR(std::abs(response(made, 0.5)), is_pass ? 0.0 : 1.0, 1e-12);
    if (is_pass) EXPECT_NEAR(std::abs(response(made, 0.0)), 0.0, 1e-12);
  }
}

TEST(Iir, AGainIsAddedToTheInput) {
  struct Case {
    QVIIR_TYPE type;
    double gain;
    double outside, inside; ///< dB
  };
  // A band-pass with a gain is a band-stop with the gain negated: it acts outside the band.
  for (const Case& each : {Case{QVIIR_LOWPASS, 6.0, 0.0, 6.0}, Case{QVIIR_BANDSTOP, -9.0, -9.0, 0.0},
                           Case{QVIIR_BANDPASS, 6.0, -6.0, 0.0}, Case{QVIIR_HIGHPASS, -200.0, 0.0, -200.0}}) {
    const bool is_band = each.type >= QVIIR_BANDPASS;
    const Shape shape = {each.type, QVIIR_BUTTERWORTH, 4, 0.1, is_band ? 0.2 : 0.0};
    const Filter filter = designed(shape, 1, each.gain);
    EXPECT_EQ(filter.getDry(), 1.0);
    EXPECT_NEAR(filter.getGain(), std::pow(10.0, (each.type == QVIIR_BANDPASS ? -1 : 1) * each.gain / 20.0) - 1.0,
                1e-15);
    const std::vector<double> impulse = impulse_response(filter, 4096);
    const double middle = is_band ? std::atan(std::sqrt(prewarped(0.1) * prewarped(0.2)) / 2.0) / pi
                          : each.type == QVIIR_LOWPASS ? 0.0
                                                       : 0.5;
    const double outer = each.type == QVIIR_HIGHPASS ? 0.0 : 0.5;
    EXPECT_NEAR(measured(impulse, outer), std::pow(10.0, each.outside / 20.0), 1e-9);
    EXPECT_NEAR(measured(impulse, middle), std::pow(10.0, each.inside / 20.0), 1e-9);
  }
}

TEST(Iir, StableAndFiniteWhateverTheParameters) {
  for (const QVIIR_DESIGN design : {QVIIR_BUTTERWORTH, QVIIR_CHEBYSHEV, QVIIR_BESSEL, QVIIR_RESONATOR})
    for (const QVIIR_TYPE type : {QVIIR_LOWPASS, QVIIR_HIGHPASS, QVIIR_BANDPASS, QVIIR_BANDSTOP})
      for (const DWORD order : {1u, 2u, 7u, 15u})
        for (const double frequency : {-1.0, 0.0, 1e-9, 1e-4, 0.01, 0.25, 0.49, 0.4999, 0.5, kNaN})
          for (const double width : {-1.0, 0.0, 0.01, 1.0, 30.0, 1e300, kNaN}) {
            if (design == QVIIR_RESONATOR && type < QVIIR_BANDPASS) continue;
            Filter filter;
            ASSERT_EQ(filter.Design(type, design, order, frequency, width, kNaN, 1, 0), S_OK);
            for (DWORD i = 0; i < filter.getNumBiquads(); ++i) {
              const QVBIQUAD section = filter.getBiquad(i);
              // The triangle of stable coefficients.
              EXPECT_TRUE(-section.c2 < 1.0 && std::fabs(section.c1) < 1.0 - section.c2 &&
                          std::isfinite(section.b0 + section.b1 + section.b2))
                  << design << " " << type << " " << order << " " << frequency << " " << width;
            }
          }
}

TEST(Iir, RefusedDesigns) {
  Filter filter = designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0}, 2);
  EXPECT_EQ(filter.Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.6, 0, 0, 2, 0), E_INVALIDARG);
  EXPECT_EQ(filter.getNumBiquads(), 2u) << "as it was";
  struct Case {
    DWORD type, design, order, channels;
  };
  for (const Case& each : {Case{0, 0, 16, 1}, Case{0, 0, 0, 1}, Case{4, 0, 1, 1}, Case{0, 4, 1, 1}, Case{0, 3, 2, 1},
                           Case{1, 3, 2, 1}, Case{0, 0, 1, 0}}) {
    filter = designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0}, 2);
    EXPECT_EQ(filter.Design(static_cast<QVIIR_TYPE>(each.type), static_cast<QVIIR_DESIGN>(each.design), each.order, 0.1,
                            1, 0, each.channels, 0),
              E_INVALIDARG);
    EXPECT_EQ(filter.getNumBiquads(), 0u);
    EXPECT_EQ(filter.getChannels(), 0u);
    float sample = 3.0f;
    filter.ProcessFloat(&sample, &sample, 1, 0);
    EXPECT_EQ(sample, 3.0f);
  }
}

// ---- blocks and channels ------------------------------------------------------------------------------------------

std::vector<double> noise(size_t count) {
  std::mt19937 random(3);
  std::vector<double> samples(count);
  for (double& sample : samples)
    sample = static_cast<float>(random()) / 4294967296.0f - 0.5f;
  return samples;
}

/// Section after section, sample after sample, in the arithmetic of `Number`.
template <class Number>
std::vector<Number> model(const Filter& filter, const std::vector<double>& input, DWORD channels, DWORD mask) {
  std::vector<Number> output(input.begin(), input.end());
  for (DWORD channel = 0; channel < channels; ++channel) {
    if (mask != 0 && (channel >= 32 || (mask >> channel & 1) == 0)) continue;
    std::vector<Number> w1(filter.getNumBiquads());
    std::vector<Number> w2(filter.getNumBiquads());
    for (size_t k = channel; k < input.size(); k += channels) {
      Number value = input[k];
      for (DWORD s = 0; s < filter.getNumBiquads(); ++s) {
        const QVBIQUAD section = filter.getBiquad(s);
        const Number w = (value + w2[s] * section.c2) + w1[s] * section.c1;
        value = (w2[s] * section.b2 + w1[s] * section.b1) + w * section.b0;
        w2[s] = w1[s];
        w1[s] = w;
      }
      output[k] = filter.getDry() == 0.0 ? value : input[k] * filter.getDry() + value * filter.getGain();
    }
  }
  return output;
}

TEST(Iir, WideBandsOfHighOrderKeepTheirDigits) {
  __extension__ using Exact = __float128;
  const std::vector<double> input = noise(10'000);
  // The edges that lose most: the lowest and widest band, 5 octaves, the lowest and narrowest one.
  const double edges[][2] = {{5e-5, 0.0512}, {0.015, 0.48}, {5e-5, 5.36e-5}};
  for (const QVIIR_TYPE type : {QVIIR_BANDPASS, QVIIR_BANDSTOP})
    for (const QVIIR_DESIGN design : {QVIIR_BUTTERWORTH, QVIIR_CHEBYSHEV, QVIIR_BESSEL})
      for (const auto& [lower, upper] : edges) {
        Filter filter = designed({type, design, QVIIR_MAX_ORDER, lower, upper});
        const std::vector<Exact> exact = model<Exact>(filter, input, 1, 0);
        std::vector<double> output = input;
        filter.ProcessDouble(output.data(), output.data(), static_cast<DWORD>(output.size()), 0);
        double power = 0.0;
        double error = 0.0;
        for (size_t k = 0; k < output.size(); ++k) {
          power += static_cast<double>(exact[k] * exact[k]);
          error += static_cast<double>((exact[k] - output[k]) * (exact[k] - output[k]));
        }
        EXPECT_GT(10.0 * std::log10(power / error), 175.0) << type << " " << design << " " << lower;
      }
}

class IirLevels : public testing::TestWithParam<QVKERNELLEVEL> {
protected:
  IirLevels() { QvLimitKernelLevel(GetParam()); }
  ~IirLevels() override { QvLimitKernelLevel(QVKERNELLEVEL_AVX512); }
};
INSTANTIATE_TEST_SUITE_P(All, IirLevels, testing::Values(QVKERNELLEVEL_SSE2, QVKERNELLEVEL_AVX2, QVKERNELLEVEL_AVX512));

TEST_P(IirLevels, BlocksChannelsAndMasks) {
  constexpr size_t kFrames = 1500;
  // One section to eight, and more than run side by side.
  constexpr Shape kShapes[] = {
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 1, 0.2, 0.0},  {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 3, 0.2, 0.0},
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 6, 0.2, 0.0},  {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 8, 0.2, 0.0},
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 15, 0.2, 0.0}, {QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 11, 0.1, 0.3}};
  for (const Shape& shape : kShapes)
    for (const DWORD channels : {1u, 2u, 3u, 34u})
      for (const DWORD mask : {0u, 1u, 2u, 3u, 6u})
        for (const double gain : {0.0, 4.0}) {
          SCOPED_TRACE(testing::Message() << shape.order << " " << channels << " " << mask << " " << gain);
          const Filter filter = designed(shape, channels, gain, mask);
          const std::vector<double> input = noise(kFrames * channels);
          const std::vector<double> expected = model<double>(filter, input, channels, mask);
          for (const size_t block : {size_t{1}, size_t{7}, size_t{33}, size_t{441}, kFrames}) {
            Filter doubles(filter);
            Filter floats(filter);
            std::vector<double> in_place = input;
            std::vector<float> source(input.begin(), input.end());
            std::vector<float> result(input.size() + 1, 9.0f);
            for (size_t start = 0; start < kFrames; start += block) {
              const auto count = static_cast<DWORD>(std::min(block, kFrames - start));
              doubles.ProcessDouble(&in_place[start * channels], &in_place[start * channels], count, mask);
              floats.ProcessFloat(&result[start * channels], &source[start * channels], count, mask);
            }
            ASSERT_TRUE(in_place == expected) << "to the bit, blocks of " << block;
            for (size_t k = 0; k < input.size(); ++k)
              ASSERT_EQ(result[k], static_cast<float>(expected[k])) << k;
            ASSERT_EQ(result.back(), 9.0f);
            EXPECT_EQ(doubles.getLastChannelMask(), mask);
          }
        }
}

TEST_P(IirLevels, WhatIsNotFiniteStaysInItsChannel) {
  const Filter fresh = designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 13, 0.05, 0.0}, 2);
  std::vector<double> results[2];
  for (std::vector<double>& result : results) {
    result = noise(200);
    if (&result == results) result[6] = std::numeric_limits<double>::infinity();
    Filter(fresh).ProcessDouble(result.data(), result.data(), 100, 0);
  }
  EXPECT_FALSE(std::isfinite(results[0][198]));
  for (size_t k = 1; k < 200; k += 2)
    ASSERT_EQ(results[0][k], results[1][k]);
}

TEST(Iir, WithAndWithoutVectors) {
  const std::vector<double> input = noise(2000);
  std::vector<double> results[2];
  for (const int without : {0, 1}) {
    if (without != 0) QvDisallowCPUSupport(QVCPU_SSE2);
    Filter filter = designed({QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 5, 0.1, 0.2}, 2);
    QvAllowCPUSupport(QVCPU_SSE2);
    results[without].resize(input.size());
    filter.ProcessDouble(results[without].data(), input.data(), 1000, 0);
  }
  EXPECT_TRUE(results[0] == results[1]);
}

TEST(Iir, StatesAreResetCopiedAndTaken) {
  const std::vector<double> input = noise(200);
  const Filter fresh = designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.05, 0.0}, 2);
  const auto output = [&](Filter filter) {
    std::vector<double> samples = input;
    filter.ProcessDouble(samples.data(), samples.data(), 100, 0);
    return samples;
  };
  Filter used(fresh);
  std::vector<double> scratch = input;
  used.ProcessDouble(scratch.data(), scratch.data(), 100, 0);
  const std::vector<double> first = output(fresh);
  const std::vector<double> second = output(used);
  EXPECT_FALSE(first == second);

  Filter other(fresh);
  other.SetDelayElementsFrom(used);
  EXPECT_TRUE(output(other) == second);
  other.SetDelayElementsFrom(designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.05, 0.0}, 1));
  other.SetDelayElementsFrom(Filter());
  EXPECT_TRUE(output(other) == second) << "of another shape: nothing is taken";
  other.Reset(0);
  other.Reset(2);
  const std::vector<double> left_reset = output(other);
  for (size_t k = 0; k < input.size(); ++k)
    ASSERT_EQ(left_reset[k], (k % 2 == 0 ? first : second)[k]);
  other.ResetAll();
  EXPECT_TRUE(output(other) == first);

  other = used;
  EXPECT_TRUE(output(other) == second);
  other = Filter(fresh);
  EXPECT_TRUE(output(other) == first);
  other = *&other;
  EXPECT_TRUE(output(other) == first) << "itself";
}

} // namespace
