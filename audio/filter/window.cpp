// Windows of symmetric shape.
#include "audio/filter/parameter_range.h"

#include "qv/fir.h"

#include <cmath>
#include <numbers>

using namespace qv::audio;

namespace {

/// Above it I0 leaves the range of doubles.
constexpr double kMostBeta = 700.0;

/// Sum of (-1)^k a[k] cos(k x).
struct CosineSum {
  double a[4];
};

constexpr CosineSum kCosineSums[] = {
    {{1.0, 0.0, 0.0, 0.0}},                 // rectangular
    {{0.5, 0.5, 0.0, 0.0}},                 // Hann
    {{0.54, 0.46, 0.0, 0.0}},               // Hamming
    {{0.42, 0.5, 0.08, 0.0}},               // Blackman
    {{0.35875, 0.48829, 0.14128, 0.01168}}, // Blackman-Harris
};

double value_of(const CosineSum& sum, double x) {
  const double value = sum.a[0] - sum.a[1] * std::cos(x) + sum.a[2] * std::cos(2.0 * x) - sum.a[3] * std::cos(3.0 * x);
  return std::fmax(value, 0.0); // the ends of Blackman's, which are 0 but for rounding
}

/// The modified Bessel function of the first kind and order 0: the sum of ((x/2)^k / k!)^2, all positive.
double bessel_i0(double x) {
  const double quarter_square = x * x / 4.0;
  double term = 1.0;
  double sum = 1.0;
  for (double k = 1.0; term > sum * 1e-17; k += 1.0) {
    term *= quarter_square / (k * k);
    sum += term;
  }
  return sum;
}

/// `from_left` and `from_right` are the distances from the ends: their product keeps its digits near them.
double kaiser(double beta, double from_left, double from_right) {
  const double root = 2.0 * std::sqrt(from_left * from_right) / (from_left + from_right);
  return bessel_i0(beta * root) / bessel_i0(beta);
}

} // namespace

HRESULT makewindows(double* window, DWORD n, QVWINDOW shape, double kaiserBeta) {
  if (!window || n == 0 || shape > QVWINDOW_KAISER) return E_INVALIDARG;
  const double beta = within(kaiserBeta, 0.0, kMostBeta);
  const DWORD last = n - 1;
  for (DWORD left = 0; left <= last / 2; ++left) {
    const DWORD right = last - left;
    double value = 1.0;
    if (left == right) {
      // The middle.
    } else if (shape == QVWINDOW_KAISER) {
      value = kaiser(beta, left, right);
    } else {
      value = value_of(kCosineSums[shape], 2.0 * std::numbers::pi * left / last);
    }
    window[left] = value;
    window[right] = value;
  }
  return S_OK;
}
