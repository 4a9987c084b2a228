// CQvIIR: designs against published figures and the analytic prototypes; blocks, channels and states.
#include "qv/cpu.h"
#include "qv/filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
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

} // namespace
