// A sine, and what is found of it in samples, by least squares.
#pragma once

#include <cmath>
#include <numbers>
#include <vector>

namespace sine_fit {

inline std::vector<double> sine(double rate, double hertz, size_t frames) {
  std::vector<double> samples(frames);
  for (size_t k = 0; k < frames; ++k)
    samples[k] = std::sin(2.0 * std::numbers::pi * hertz * static_cast<double>(k) / rate);
  return samples;
}

struct Fit {
  double sine, cosine;
};

inline Fit fit(const std::vector<double>& samples, double frequency) {
  double ss = 0, sc = 0, cc = 0, sy = 0, cy = 0;
  for (size_t k = 0; k < samples.size(); ++k) {
    const double angle = 2.0 * std::numbers::pi * frequency * static_cast<double>(k);
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    ss += s * s, sc += s * c, cc += c * c;
    sy += s * samples[k], cy += c * samples[k];
  }
  const double determinant = ss * cc - sc * sc;
  return {(sy * cc - cy * sc) / determinant, (cy * ss - sy * sc) / determinant};
}

/// The sine's own amplitude.
inline double amplitude_decibels(const std::vector<double>& samples, double frequency) {
  const Fit found = fit(samples, frequency);
  return 20.0 * std::log10(std::hypot(found.sine, found.cosine));
}

/// What is not the sine, below it.
inline double residual_decibels(const std::vector<double>& samples, double frequency) {
  const Fit found = fit(samples, frequency);
  double wanted = 0.0;
  double rest = 0.0;
  for (size_t k = 0; k < samples.size(); ++k) {
    const double angle = 2.0 * std::numbers::pi * frequency * static_cast<double>(k);
    const double sine = found.sine * std::sin(angle) + found.cosine * std::cos(angle);
    wanted += sine * sine;
    rest += (samples[k] - sine) * (samples[k] - sine);
  }
  return 10.0 * std::log10(rest / wanted);
}

} // namespace sine_fit
