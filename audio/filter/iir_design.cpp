#include "audio/filter/arguments.h"
#include "audio/filter/bessel_poles.h"
#include "audio/filter/iir_sections.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace qv::audio {

namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

constexpr double kEqual = 1e-10; ///< values this near to each other are the same

/// A pole and its conjugate, two real poles, or one real pole.
struct PolePair {
  Complex first, second;
  bool is_single = false;
};

PolePair conjugates(Complex pole) { return {pole, std::conj(pole)}; }
bool is_real(Complex value) { return std::fabs(value.imag()) < kEqual; }

// ---- prototypes: poles in the left half plane, an edge at 1 -------------------------------------------------------

/// The poles of order n at the angles (i + 0.5) pi / n, on an ellipse of these half axes.
std::vector<PolePair> elliptic_poles(DWORD order, double real_axis, double imaginary_axis) {
  std::vector<PolePair> poles;
  for (DWORD i = 0; i < order / 2; ++i) {
    const double angle = (i + 0.5) * pi / order;
    poles.push_back(conjugates({-real_axis * std::sin(angle), imaginary_axis * std::cos(angle)}));
  }
  if (order % 2 != 0) poles.push_back({-real_axis, 0.0, true});
  return poles;
}

std::vector<PolePair> bessel_poles(DWORD order) {
  std::vector<PolePair> poles;
  for (DWORD i = 0; i < (order + 1) / 2; ++i) {
    const auto& [real, imaginary] = kBesselPoles[order - 1][i];
    poles.push_back(imaginary == 0.0 ? PolePair{real, 0.0, true} : conjugates({real, imaginary}));
  }
  return poles;
}

std::vector<PolePair> prototype(QVIIR_DESIGN design, DWORD order) {
  if (design == QVIIR_BESSEL) return bessel_poles(order);
  if (design == QVIIR_BUTTERWORTH) return elliptic_poles(order, 1.0, 1.0);
  const double epsilon = std::sqrt(std::pow(10.0, 0.05) - 1.0); // 0.5 dB
  const double mu = std::asinh(1.0 / epsilon) / order;
  return elliptic_poles(order, std::sinh(mu), std::cosh(mu));
}

// ---- to the z plane -----------------------------------------------------------------------------------------------

double prewarped(double frequency) { return 2.0 * std::tan(pi * frequency); }
Complex bilinear(Complex s) { return (2.0 + s) / (2.0 - s); }

/// A section with the poles of an analogue pair and a numerator that is not scaled yet.
IirSection section_of(const PolePair& analogue, double b0, double b1, double b2) {
  const Complex first = bilinear(analogue.first);
  if (analogue.is_single) return {b0, b1, b2, first.real(), 0.0};
  const Complex second = bilinear(analogue.second);
  return {b0, b1, b2, (first + second).real(), -(first * second).real()};
}

Complex response(const IirSection& section, double angle) {
  const Complex z = std::polar(1.0, -angle);
  return (section.b0 + z * (section.b1 + z * section.b2)) / (1.0 - z * (section.c1 + z * section.c2));
}

/// Scales a section so that its gain at an angle is 1.
void normalize(IirSection& section, double angle) {
  const double gain = 1.0 / std::abs(response(section, angle));
  section.b0 *= gain;
  section.b1 *= gain;
  section.b2 *= gain;
}

/// Sorts sections so that the one whose poles are nearest to the unit circle comes last: what it makes large goes
/// nowhere else.
IirSections ordered(IirSections sections) {
  std::stable_sort(sections.begin(), sections.end(),
                   [](const IirSection& a, const IirSection& b) { return std::fabs(a.c2) < std::fabs(b.c2); });
  return sections;
}

/// Makes a low-pass or high-pass: moves each pair of poles to its place, gives each section its zeros at z = `zero`,
/// and a gain of 1 at the angle.
template <class Move>
IirSections design_edge(QVIIR_DESIGN design, DWORD order, double zero, double angle, Move move) {
  IirSections sections;
  for (const PolePair& pair : prototype(design, order)) {
    const PolePair moved = {move(pair.first), move(pair.second), pair.is_single};
    sections.push_back(pair.is_single ? section_of(moved, 1.0, -zero, 0.0) : section_of(moved, 1.0, -2.0 * zero, 1.0));
    normalize(sections.back(), angle);
  }
  return ordered(std::move(sections));
}

/// Where a pair of poles goes in a band: one pair nearer to its lower edge, one nearer to its upper. A single pole
/// becomes one pair between them.
struct BandPoles {
  PolePair lower, upper;
  bool is_between = false; ///< lower alone counts
};

/// Moves a pair of poles into a band whose middle is at `center`; `half` is half the width there.
BandPoles split(const PolePair& pair, double center, Complex half) {
  const Complex root = std::sqrt(half * half - center * center);
  Complex lower = half - root;
  Complex upper = half + root;
  if (std::norm(lower) > std::norm(upper)) std::swap(lower, upper);
  if (!pair.is_single) return {conjugates(lower), conjugates(upper)};
  return {is_real(root) ? PolePair{lower, upper} : conjugates(lower), {}, true};
}

/// The zeros of a section, as the numerator 1 + b1 z^-1 + b2 z^-2.
struct Zeros {
  double b1, b2;
};

/// The zeros that go with the poles near each edge of a band, and with those between them.
struct BandZeros {
  Zeros lower, upper, between;
};

/// Makes a band-pass or band-stop with a gain of 1 at the angle. Sections near both edges follow each other in turn:
/// what one makes of the frequencies beyond the other edge the next one takes back, so that no section works on a
/// signal that is large where the whole filter lets nothing through.
IirSections band_sections(QVIIR_DESIGN design, DWORD order, double center, const BandZeros& zeros, double angle,
                          auto half_of) {
  IirSections edges[2];
  IirSections sections;
  const auto add = [angle](IirSections& to, const PolePair& poles, const Zeros& at) {
    to.push_back(section_of(poles, 1.0, at.b1, at.b2));
    normalize(to.back(), angle);
  };
  for (const PolePair& pair : prototype(design, order)) {
    const BandPoles poles = split(pair, center, half_of(pair.first));
    if (poles.is_between) {
      add(sections, poles.lower, zeros.between);
    } else {
      add(edges[0], poles.lower, zeros.lower);
      add(edges[1], poles.upper, zeros.upper);
    }
  }
  for (IirSections& edge : edges)
    edge = ordered(std::move(edge));
  for (size_t k = 0; k < edges[0].size(); ++k)
    for (const IirSections& edge : edges)
      sections.push_back(edge[k]);
  return sections;
}

} // namespace

double clamped_edge(double frequency) { return frequency > kMinEdge ? std::min(frequency, kMaxFrequency) : kMinEdge; }

IirSections design_lowpass(QVIIR_DESIGN design, DWORD order, double edge) {
  const double scale = prewarped(edge);
  return design_edge(design, order, -1.0, 0.0, [=](Complex s) { return s * scale; });
}

IirSections design_highpass(QVIIR_DESIGN design, DWORD order, double edge) {
  const double scale = prewarped(edge);
  // A single pole's partner is 0 and not looked at.
  return design_edge(design, order, 1.0, pi, [=](Complex s) { return s == 0.0 ? s : scale / s; });
}

IirSections design_bandpass(QVIIR_DESIGN design, DWORD order, double lower, double upper) {
  constexpr BandZeros kZeros = {{-2.0, 1.0}, {2.0, 1.0}, {0.0, -1.0}}; // at DC, at Nyquist, at both
  const double half = (prewarped(upper) - prewarped(lower)) / 2.0;
  const double center = std::sqrt(prewarped(upper) * prewarped(lower));
  return band_sections(design, order, center, kZeros, 2.0 * std::atan(center / 2.0),
                       [=](Complex s) { return s * half; });
}

IirSections design_bandstop(QVIIR_DESIGN design, DWORD order, double lower, double upper) {
  const double half = (prewarped(upper) - prewarped(lower)) / 2.0;
  const double center = std::sqrt(prewarped(upper) * prewarped(lower));
  const Zeros middle = {-2.0 * std::cos(2.0 * std::atan(center / 2.0)), 1.0};
  return band_sections(design, order, center, {middle, middle, middle}, 0.0, [=](Complex s) { return half / s; });
}

IirSections design_resonator(QVIIR_TYPE type, double frequency, double q) {
  const double angle = 2.0 * pi * frequency;
  const double radius = std::exp(-angle / (2.0 * q));
  const bool is_pass = type == QVIIR_BANDPASS;
  const double cosine = std::cos(angle);
  IirSection section = {1.0, is_pass ? 0.0 : -2.0 * cosine, is_pass ? -1.0 : 1.0, 2.0 * radius * cosine,
                        -radius * radius};
  // A notch has a gain of 1 at the end of the spectrum that is farther from it.
  normalize(section, is_pass ? angle : frequency < 0.25 ? pi : 0.0);
  return ordered({section});
}

} // namespace qv::audio
