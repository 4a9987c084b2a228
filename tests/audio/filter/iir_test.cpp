// CQvIIR: designs against published figures and the analytic prototypes; blocks, channels and states.
#include "tests/audio/every_level.h"
#include "tests/audio/resample/stream_checks.h"

#include "qv/filter.h"

#include <limits>

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

/// Numbers that floats can hold.
std::vector<double> noise(size_t count) {
  const auto samples = stream::noise<float>(count);
  return {samples.begin(), samples.end()};
}

struct Published {
  const char* call; ///< of scipy 1.10, whose frequencies are fractions of the Nyquist frequency
  Shape shape;
  std::vector<double> numerator, denominator;
};

const Published kPublished[] = {
    {"signal.butter(3, [0.2, 0.4], 'bandstop', output='zpk')",
     {QVIIR_BANDSTOP, QVIIR_BUTTERWORTH, 3, 0.1, 0.2},
     {0.5276243825019431, -1.9565388100762566, 4.001288117376633, -4.909519387006985, 4.001288117376633,
      -1.9565388100762566, 0.527624382501943},
     {1.0, -2.941867669925038, 4.702317288464329, -4.634109656210409, 3.0774477936582776, -1.2466196810240524,
      0.2780599176345463}},
    {"signal.cheby1(3, 0.5, [0.1, 0.2], 'bandpass', output='zpk')",
     {QVIIR_BANDPASS, QVIIR_CHEBYSHEV, 3, 0.05, 0.1},
     {0.002293595893052431, 0.0, -0.006880787679157292, 0.0, 0.006880787679157292, 0.0, -0.002293595893052431},
     {1.0, -4.999410689079241, 10.939823968488021, -13.356778321083514, 9.591392248701052, -3.8442657637296924,
      0.6752908047569969}},
    {"signal.bessel(8, 0.25, 'high', output='zpk')",
     {QVIIR_HIGHPASS, QVIIR_BESSEL, 8, 0.125, 0},
     {0.09710209520162631, -0.7768167616130105, 2.718858665645537, -5.437717331291074, 6.797146664113842,
      -5.437717331291074, 2.718858665645537, -0.7768167616130105, 0.09710209520162631},
     {1.0, -3.747789516061467, 6.488250195059227, -6.667394698436844, 4.413664388031361, -1.917254619264179,
      0.5317583517126685, -0.0858589209200867, 0.006165682130523235}},
};

// The output and the input obey the published difference equation.
TEST(Iir, CoefficientsAsPublished) {
  for (const Published& each : kPublished) {
    const Filter filter = designed(each.shape);
    const std::vector<double> input = noise(500);
    const std::vector<double> output = stream::run(stream::running<double>(filter), input, 1);
    for (size_t k = each.numerator.size(); k < input.size(); ++k) {
      double rest = 0.0;
      for (size_t i = 0; i < each.numerator.size(); ++i)
        rest += each.denominator[i] * output[k - i] - each.numerator[i] * input[k - i];
      ASSERT_NEAR(rest, 0.0, 1e-12) << each.call << " " << k;
    }
    double numerator[3], denominator[3];
    filter.getPolynomial(1, numerator, denominator);
    const QVBIQUAD section = filter.getBiquad(1);
    const double expected[] = {section.b0, section.b1, section.b2, 1.0, -section.c1, -section.c2};
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(numerator[i], expected[i]);
      EXPECT_EQ(denominator[i], expected[3 + i]);
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

std::vector<double> impulse_response(const Filter& filter) {
  return stream::impulse_response(stream::running<double>(filter), 4096);
}

TEST(Iir, MagnitudesAreThoseOfThePrototypes) {
  for (const QVIIR_DESIGN design : {QVIIR_BUTTERWORTH, QVIIR_CHEBYSHEV, QVIIR_BESSEL})
    for (const QVIIR_TYPE type : {QVIIR_LOWPASS, QVIIR_HIGHPASS, QVIIR_BANDPASS, QVIIR_BANDSTOP})
      for (DWORD order = 1; order <= QVIIR_MAX_ORDER; ++order) {
        const bool is_band = type == QVIIR_BANDPASS || type == QVIIR_BANDSTOP;
        const Shape shape = {type, design, order, 0.12, is_band ? 0.3 : 0.0};
        const Filter filter = designed(shape);
        EXPECT_EQ(filter.getNumBiquads(), is_band ? order : (order + 1) / 2);
        const std::vector<double> impulse = impulse_response(filter);
        double worst = 0.0;
        for (int i = 0; i < 200; ++i) {
          const double frequency = (i + 0.5) / 400.0;
          const double expected = prototype_magnitude(design, order, prototype_frequency(shape, frequency));
          worst = std::max(worst, std::fabs(std::abs(stream::response(impulse, frequency)) - expected));
        }
        EXPECT_LT(worst, design == QVIIR_BESSEL ? 1e-12 : 1e-8) << design << " type " << type << " order " << order;
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
    const std::vector<double> impulse = impulse_response(filter);
    const bool is_pass = type == QVIIR_BANDPASS;
    EXPECT_NEAR(std::abs(stream::response(impulse, frequency)), is_pass ? 1.0 : 0.0, 1e-12);
    EXPECT_NEAR(std::abs(stream::response(impulse, 0.5)), is_pass ? 0.0 : 1.0, 1e-12);
    if (is_pass) EXPECT_NEAR(std::abs(stream::response(impulse, 0.0)), 0.0, 1e-12);
  }
}

// At 0 and at half the rate, and in the middle of the band. A band-pass with a gain is a band-stop with the gain
// negated: it acts outside the band.
TEST(Iir, AGainIsAddedToTheInput) {
  const double middle = std::atan(std::sqrt(prewarped(0.1) * prewarped(0.2)) / 2.0) / pi;
  const struct {
    QVIIR_TYPE type;
    double gain, cascade, frequencies[2], levels[2]; ///< levels and gains in dB
  } rows[] = {{QVIIR_LOWPASS, 6.0, 6.0, {0.0, 0.5}, {6.0, 0.0}},
              {QVIIR_HIGHPASS, -200.0, -200.0, {0.0, 0.5}, {0.0, -200.0}},
              {QVIIR_BANDSTOP, -9.0, -9.0, {0.5, middle}, {-9.0, 0.0}},
              {QVIIR_BANDPASS, 6.0, -6.0, {0.5, middle}, {-6.0, 0.0}}};
  for (const auto& row : rows) {
    const Filter filter =
        designed({row.type, QVIIR_BUTTERWORTH, 4, 0.1, row.type >= QVIIR_BANDPASS ? 0.2 : 0.0}, 1, row.gain);
    EXPECT_EQ(filter.getDry(), 1.0);
    EXPECT_NEAR(filter.getGain(), std::pow(10.0, row.cascade / 20.0) - 1.0, 1e-15);
    for (const int i : {0, 1})
      EXPECT_NEAR(std::abs(stream::response(impulse_response(filter), row.frequencies[i])),
                  std::pow(10.0, row.levels[i] / 20.0), 1e-9)
          << row.type;
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
            for (DWORD i = 0; i < filter.getNumBiquads(); ++i)
              EXPECT_TRUE(stream::is_stable(filter.getBiquad(i)))
                  << design << " " << type << " " << order << " " << frequency << " " << width;
          }
}

TEST(Iir, RefusedDesigns) {
  constexpr Shape kShape = {QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0};
  const struct {
    DWORD type, design, order, channels;
    double frequency;
    DWORD sections; ///< that are left
  } rows[] = {{0, 0, 4, 2, 0.6, 2}, {0, 0, 16, 1, 0.1, 0}, {0, 0, 0, 1, 0.1, 0}, {4, 0, 1, 1, 0.1, 0},
              {0, 4, 1, 1, 0.1, 0}, {0, 3, 2, 1, 0.1, 0},  {1, 3, 2, 1, 0.1, 0}, {0, 0, 1, 0, 0.1, 0}};
  for (const auto& row : rows) {
    Filter filter = designed(kShape, 2);
    EXPECT_EQ(filter.Design(static_cast<QVIIR_TYPE>(row.type), static_cast<QVIIR_DESIGN>(row.design), row.order,
                            row.frequency, 1.0, 0.0, row.channels, 0),
              E_INVALIDARG);
    EXPECT_EQ(filter.getNumBiquads(), row.sections) << &row - rows;
    EXPECT_EQ(filter.getChannels(), row.sections) << &row - rows;
    float samples[2] = {3.0f, 3.0f};
    filter.ProcessFloat(samples, samples, 1, 0);
    EXPECT_EQ(samples[0] == 3.0f, row.sections == 0);
  }
}

// ---- blocks and channels ------------------------------------------------------------------------------------------

/// Section after section, sample after sample, in the arithmetic of `Number`.
template <class Number>
std::vector<Number> model(const Filter& filter, const std::vector<double>& input) {
  const DWORD channels = filter.getChannels();
  std::vector<Number> output(input.begin(), input.end());
  for (DWORD s = 0; s < filter.getNumBiquads(); ++s) {
    const QVBIQUAD section = filter.getBiquad(s);
    std::vector<Number> w1(channels);
    std::vector<Number> w2(channels);
    for (size_t k = 0; k < input.size(); ++k) {
      const size_t channel = k % channels;
      const Number w = (output[k] + w2[channel] * section.c2) + w1[channel] * section.c1;
      output[k] = (w2[channel] * section.b2 + w1[channel] * section.b1) + w * section.b0;
      w2[channel] = w1[channel];
      w1[channel] = w;
    }
  }
  if (filter.getDry() != 0.0)
    for (size_t k = 0; k < input.size(); ++k)
      output[k] = input[k] * filter.getDry() + output[k] * filter.getGain();
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
        const Filter filter = designed({type, design, QVIIR_MAX_ORDER, lower, upper});
        const auto cosine = [&](DWORD i) { return filter.getBiquad(i).c1 / std::sqrt(-filter.getBiquad(i).c2); };
        for (DWORD i = 1; type == QVIIR_BANDPASS && i < QVIIR_MAX_ORDER; i += 2) // zeros at DC go to the lower poles
          EXPECT_TRUE(filter.getBiquad(i).b1 < 0.0 && filter.getBiquad(i + 1).b1 > 0.0 && cosine(i) > cosine(i + 1));
        const std::vector<Exact> exact = model<Exact>(filter, input);
        const std::vector<double> output = stream::run(stream::running<double>(filter), input, 1);
        double power = 0.0;
        double error = 0.0;
        for (size_t k = 0; k < output.size(); ++k) {
          power += static_cast<double>(exact[k] * exact[k]);
          error += static_cast<double>((exact[k] - output[k]) * (exact[k] - output[k]));
        }
        EXPECT_GT(10.0 * std::log10(power / error), 175.0) << type << " " << design << " " << lower;
      }
}

TEST(Iir, BlocksChannelsAndMasks) {
  // One section to eight, and more than run side by side.
  constexpr Shape kShapes[] = {
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 1, 0.2, 0.0},  {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 3, 0.2, 0.0},
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 6, 0.2, 0.0},  {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 8, 0.2, 0.0},
      {QVIIR_LOWPASS, QVIIR_CHEBYSHEV, 15, 0.2, 0.0}, {QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 11, 0.1, 0.3}};
  for (const Shape& shape : kShapes) {
    for (const auto& [channels, mask] : {std::pair{1u, 0u}, {2u, 0u}, {2u, 1u}, {3u, 0u}, {34u, 0u}})
      for (const double gain : {0.0, 4.0}) {
        SCOPED_TRACE(testing::Message() << shape.order << " " << channels << " " << mask << " " << gain);
        const Filter filter = designed(shape, channels, gain, mask);
        const std::vector<double> input = noise(1500 * size_t{channels});
        const std::vector<double> expected = model<double>(filter, input);
        on_every_level([&](QVKERNELLEVEL) {
          EXPECT_TRUE(stream::run(stream::running<double>(filter), input, channels) == expected);
          EXPECT_TRUE(stream::run(stream::running<float>(filter), {input.begin(), input.end()}, channels) ==
                      std::vector<float>(expected.begin(), expected.end()));
        });
      }
    on_every_level([&](QVKERNELLEVEL) { stream::check([&](DWORD channels) { return designed(shape, channels); }); });
  }
}

TEST(Iir, WhatIsNotFiniteStaysInItsChannel) {
  const Filter filter = designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 13, 0.05, 0.0}, 2);
  std::vector<double> infinite = noise(200);
  infinite[6] = std::numeric_limits<double>::infinity();
  on_every_level([&](QVKERNELLEVEL) {
    const auto result = stream::run(stream::running<double>(filter), infinite, 2);
    const auto expected = stream::run(stream::running<double>(filter), noise(200), 2);
    EXPECT_FALSE(std::isfinite(result[198]));
    for (size_t k = 1; k < 200; k += 2)
      ASSERT_EQ(result[k], expected[k]);
  });
}

TEST(Iir, WithAndWithoutVectors) {
  constexpr Shape kShape = {QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 5, 0.1, 0.2};
  const auto output = [](const Filter& filter) { return stream::run(stream::running<double>(filter), noise(2000), 2); };
  QvDisallowCPUSupport(QVCPU_SSE2);
  const Filter without = designed(kShape, 2);
  QvAllowCPUSupport(QVCPU_SSE2);
  EXPECT_TRUE(output(without) == output(designed(kShape, 2)));
}

TEST(Iir, StatesAreResetCopiedAndTaken) {
  const auto make = [](DWORD channels) { return designed({QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.05, 0.0}, channels); };
  stream::check_state(make, false);
  const std::vector<double> input = noise(200);
  const auto output = [&](const Filter& filter) { return stream::run(stream::running<double>(filter), input, 2); };
  Filter used = make(2);
  std::vector<double> first(input.size());
  used.ProcessDouble(first.data(), input.data(), 100, 0);
  Filter other = make(2);
  other.SetDelayElementsFrom(used);
  EXPECT_TRUE(output(other) == output(used));
  EXPECT_FALSE(output(other) == first);
  other.SetDelayElementsFrom(make(1));
  other.SetDelayElementsFrom(Filter());
  EXPECT_TRUE(output(other) == output(used)) << "of another shape: nothing is taken";
}

} // namespace
