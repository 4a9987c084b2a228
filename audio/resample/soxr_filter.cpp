// soxr works in blocks of its own and hands out frames in bursts; its buffers grow until they have seen the worst. Both
// would show: so silence goes first, in larger pieces than ever come later, until the buffers have their size and the
// longest wait is known; and an output is taken no earlier than after that wait, so that the need of each is exact.
#include "audio/resample/soxr_filter.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <soxr.h>
#include <vector>

namespace qv::audio {

namespace {

// Sizes of the silence that goes first, from measurements over thirty pairs of rates: the longest wait is known to 1 %
// after kFramesToMeasure, and nothing is allocated behind kBursts bursts.
constexpr DWORD kFramesToMeasure = 16384;
constexpr DWORD kBursts = 4;
constexpr DWORD kMeasuredPiece = 64;
constexpr DWORD kLargePiece = 4 * SoxrFilter::kMaxFrames;
constexpr DWORD kReserve = 128; ///< frames more than the longest wait that was seen

} // namespace

std::unique_ptr<SoxrFilter> SoxrFilter::make(const Timeline& timeline, DWORD channels) {
  const uint64_t src = timeline.step();
  const uint64_t dst = timeline.denominator();
  if (src == dst || src / kMaxRatio > dst || dst / kMaxRatio > src) return nullptr;
  if (std::max(src, dst) > kMaxPeriod || channels > kMaxChannels) return nullptr;
  std::unique_ptr<SoxrFilter> filter(new SoxrFilter());
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, SOXR_HI_PREC_CLOCK);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  filter->soxr_ =
      soxr_create(static_cast<double>(src), static_cast<double>(dst), channels, &error, &samples, &quality, &runtime);
  if (!filter->soxr_) throw std::bad_alloc();
  filter->channels_ = channels;
  filter->prime(timeline);
  return filter;
}

SoxrFilter::~SoxrFilter() { soxr_delete(soxr_); }

void SoxrFilter::give(const double* frames, DWORD count) {
  size_t made = 0;
  double none = 0.0;
  // A null count of used frames makes soxr use all.
  soxr_process(soxr_, frames, count, nullptr, &none, 0, &made);
  given_ += count;
}

size_t SoxrFilter::pull(double* frames, size_t count) {
  size_t made = 0;
  const double none = 0.0;
  soxr_process(soxr_, &none, 0, nullptr, frames, count, &made);
  taken_ += made;
  return made;
}

void SoxrFilter::take(double* frames, DWORD count) {
  while (taken_ < silent_)
    if (pull(frames, std::min<uint64_t>(count, silent_ - taken_)) == 0) break;
  for (DWORD made = 0; made < count;) {
    const size_t more = pull(frames + size_t{made} * channels_, count - made);
    if (more == 0) { // it never waited so long: silence, and what comes late is dropped
      std::fill_n(frames + size_t{made} * channels_, size_t{count - made} * channels_, 0.0);
      silent_ = std::max(silent_, taken_) + (count - made);
      break;
    }
    made += static_cast<DWORD>(more);
  }
}

void SoxrFilter::prime(const Timeline& timeline) {
  const std::vector<double> silence(size_t{kLargePiece} * channels_);
  std::vector<double> made(silence.size());
  double longest = 0.0;
  const auto waiting = [&] { return static_cast<double>(given_) - static_cast<double>(taken_) * timeline.inverse(); };
  while (given_ < kFramesToMeasure) {
    give(silence.data(), kMeasuredPiece);
    longest = std::max(longest, waiting());
    while (pull(made.data(), kLargePiece) > 0) {
    }
  }
  ahead_ = static_cast<DWORD>(std::ceil(longest)) + kReserve;
  // A burst is twice what may wait at a time. The last one ends where the silence is a whole number of frames at both
  // rates.
  const uint64_t period = timeline.step();
  const uint64_t burst = 2 * (uint64_t{ahead_} + kMaxSpare);
  const uint64_t end = (given_ + kBursts * burst + period - 1) / period * period;
  while (given_ < end) {
    for (const uint64_t until = std::min(end, given_ + burst); given_ < until;)
      give(silence.data(), static_cast<DWORD>(std::min<uint64_t>(kLargePiece, until - given_)));
    while (waiting() > ahead_ + kLargePiece && pull(made.data(), kLargePiece) > 0) {
    }
  }
  silent_ = end / period * timeline.denominator();
}

} // namespace qv::audio
