// Rows of weights: linear, of the sinc, and of the best quality's own filter.
#include "audio/resample/tap_rows.h"

#include "audio/resample/sinc.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace qv::audio {

namespace {

using std::numbers::pi;

constexpr size_t kMaxTableDoubles = 1 << 20; // 8 MiB

// The best quality's filter: J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh window function",
// 1974. 125 dB over a transition from 0.907 to 1 of half the lower rate take 88 zeros to each side.
constexpr int kBestZeros = 88;
constexpr double kBestBeta = 0.1102 * (125.0 - 8.7);
constexpr double kBestEdge = (0.907 + 1.0) / 2.0;
constexpr int kEntriesPerZero = 512;

double bessel_i0(double x) {
  double sum = 1.0;
  double term = 1.0;
  for (int k = 1; term > sum * 1e-18; ++k) {
    term *= (x / (2.0 * k)) * (x / (2.0 * k));
    sum += term;
  }
  return sum;
}

/// Makes the table of one side of the filter, with three entries more to interpolate in.
std::vector<double> make_best_table() {
  std::vector<double> table(size_t{kBestZeros} * kEntriesPerZero + 4);
  const double at_0 = bessel_i0(kBestBeta);
  for (size_t k = 0; k < table.size(); ++k) {
    const double zeros = static_cast<double>(k) / kEntriesPerZero;
    const double x = pi * kBestEdge * zeros;
    const double inside = 1.0 - zeros / kBestZeros * (zeros / kBestZeros);
    const double window = inside <= 0.0 ? 0.0 : bessel_i0(kBestBeta * std::sqrt(inside)) / at_0;
    table[k] = (k == 0 ? 1.0 : std::sin(x) / x) * window;
  }
  return table;
}

/// Returns the filter's value at a distance in zeros, by the cubic through the four entries around it.
double best_weight(double zeros) {
  static const std::vector<double> table = make_best_table();
  const double at = std::fabs(zeros) * kEntriesPerZero;
  if (at >= static_cast<double>(kBestZeros * kEntriesPerZero)) return 0.0;
  const auto entry = static_cast<size_t>(at);
  const double t = at - static_cast<double>(entry);
  const double before = table[entry == 0 ? 1 : entry - 1]; // the filter is even
  const double* const next = &table[entry];
  return before * (-t * (t - 1.0) * (t - 2.0) / 6.0) + next[0] * ((t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0) +
         next[1] * (-(t + 1.0) * t * (t - 2.0) / 2.0) + next[2] * ((t + 1.0) * t * (t - 1.0) / 6.0);
}

} // namespace

TapRows::TapRows(QVRESAMPLE2_QUALITY quality, const Timeline& timeline)
    : quality_(quality), denominator_(timeline.denominator()), scale_(std::min(1.0, timeline.ratio())) {
  if (quality == QVRESAMPLE2_BEST) {
    ahead_ = static_cast<DWORD>(std::ceil(kBestZeros / scale_));
    before_ = ahead_ - 1;
  } else if (quality == QVRESAMPLE2_SINC) {
    before_ = ahead_ = kSincTaps / 2;
  } else {
    ahead_ = 1;
  }
  row_size_ = (size_t{before_} + 1 + ahead_ + 7) / 8 * 8;
}

void TapRows::make_table() {
  if (denominator_ > kMaxTableDoubles / row_size_) return;
  rows_ = AlignedDoubles(denominator_ * row_size_);
  for (uint64_t part = 0; part < denominator_; ++part)
    fill(rows_.data() + part * row_size_, static_cast<double>(part) / static_cast<double>(denominator_));
}

const double* TapRows::row(uint64_t part, double* own) const {
  if (!rows_.is_empty()) return rows_.data() + part * row_size_;
  fill(own, static_cast<double>(part) / static_cast<double>(denominator_));
  return own;
}

void TapRows::fill(double* row, double fraction) const {
  std::fill_n(row, row_size_, 0.0);
  if (quality_ == QVRESAMPLE2_BEST) {
    fill_best(row, fraction);
  } else if (quality_ == QVRESAMPLE2_SINC) {
    sinc_weights(*reinterpret_cast<double(*)[kSincTaps]>(row), fraction);
  } else {
    row[0] = 1.0 - fraction;
    row[1] = fraction;
  }
}

/// Fills a row of the best quality: its weights have the sum 1, whatever the fraction.
void TapRows::fill_best(double* row, double fraction) const {
  const size_t taps = size_t{before_} + 1 + ahead_;
  double sum = 0.0;
  for (size_t tap = 0; tap < taps; ++tap) {
    row[tap] = best_weight((static_cast<double>(tap) - before_ - fraction) * scale_);
    sum += row[tap];
  }
  for (size_t tap = 0; tap < taps; ++tap)
    row[tap] /= sum;
}

} // namespace qv::audio
