#include "tools/qv/file/samples/rate_conversion.h"

#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"

#include <cmath>

namespace qv::tool {

namespace {

struct QualityRow {
  const char* name;
  QVRESAMPLE2_QUALITY quality;
  bool has_low_pass; ///< when the rate falls: its output is late
};

constexpr QualityRow kQualities[] = {{"linear", QVRESAMPLE2_LINEAR, false},
                                     {"filtered", QVRESAMPLE2_FILTERED, true},
                                     {"sinc", QVRESAMPLE2_SINC, true},
                                     {"best", QVRESAMPLE2_BEST, false}};

/// The source frames by which a falling rate's output is late at low frequencies: what a ramp that rises by 1 a frame
/// lacks at its end, where it is near 0 and the low-pass has settled.
double measured_delay(DWORD src_rate, DWORD dst_rate, QVRESAMPLE2_QUALITY quality) {
  // A low-pass near the upper end of the spectrum rings for thousands of source frames, any other for some output
  // frames.
  constexpr double kSourceFrames = 20'000.0;
  constexpr double kOutputFrames = 200.0;
  HQVRESAMPLE2 probe = nullptr;
  if (FAILED(QvAudio_Resample2Open(&probe, QVSAMPLE_FLOAT64, src_rate, dst_rate, 1, quality))) return 0.0;
  const double inverse = static_cast<double>(src_rate) / dst_rate;
  const auto frames = static_cast<DWORD>(kSourceFrames + kOutputFrames * inverse);
  std::vector<double> ramp(frames);
  for (DWORD k = 0; k < frames; ++k)
    ramp[k] = static_cast<double>(k) - frames;
  std::vector<double> made(frames);
  DWORD written = 0;
  DWORD used = 0;
  QvAudio_Resample2Process(probe, made.data(), frames, &written, ramp.data(), frames, &used);
  QvAudio_Resample2Close(probe);
  const DWORD last = written - 1;
  return last * inverse - frames - made[last];
}

/// A rate on the way to one that is far above the source's: so that the last step, which makes the most frames, is a
/// whole factor where there is one, with few different weights. 0 where one step is enough.
DWORD rate_between(DWORD src_rate, DWORD dst_rate) {
  constexpr DWORD kMaxFactor = 8; // as far as the best quality is fast
  constexpr DWORD kTooFar = 4096; // which is refused
  if (dst_rate / kMaxFactor < src_rate || dst_rate / kTooFar > src_rate) return 0;
  for (DWORD factor = kMaxFactor; factor > 1; --factor)
    if (dst_rate % factor == 0) return dst_rate / factor;
  return dst_rate / kMaxFactor + 1;
}

} // namespace

std::vector<std::string> RateConversion::quality_names() { return names_of(kQualities); }

uint64_t RateConversion::frames_at(uint64_t frames, DWORD src_rate, DWORD dst_rate) {
  const uint64_t rest = frames % src_rate * dst_rate;
  return frames / src_rate * dst_rate + (2 * rest + src_rate) / (2 * uint64_t{src_rate});
}

RateConversion::RateConversion(const std::string& name, uint64_t frames, DWORD src_rate, DWORD dst_rate, DWORD channels,
                               const std::string& quality)
    : channels_(channels), block_(size_t{kBlockFrames} * channels), left_(frames_at(frames, src_rate, dst_rate)) {
  const QualityRow& row = row_of(kQualities, quality);
  const DWORD between = row.quality == QVRESAMPLE2_BEST ? rate_between(src_rate, dst_rate) : 0;
  if (between > src_rate) {
    front_ = std::make_unique<RateConversion>(name, frames, src_rate, between, channels, quality);
    src_rate = between;
  }
  const HRESULT result =
      QvAudio_Resample2Open(&converter_, QVSAMPLE_FLOAT64, src_rate, dst_rate, channels, row.quality);
  if (result == E_INVALIDARG)
    throw Failure(name, "its rate of " + std::to_string(src_rate) + " Hz is too far from " + std::to_string(dst_rate));
  if (FAILED(result)) throw Failure(name, result_text(result));
  if (row.has_low_pass && dst_rate < src_rate)
    make_up_for(measured_delay(src_rate, dst_rate, row.quality), static_cast<double>(src_rate) / dst_rate);
}

/// Whole frames are dropped; silence in front of the source takes back what that is too much, to half a source frame.
void RateConversion::make_up_for(double delay, double inverse) {
  early_ = static_cast<DWORD>(std::ceil(delay / inverse));
  const auto in_front = static_cast<DWORD>(std::lround(early_ * inverse - delay));
  silent_behind_ = static_cast<DWORD>(std::ceil((early_ + 1) * inverse)) - in_front;
  silence(in_front, [](const double*, DWORD) {});
}

RateConversion::~RateConversion() { QvAudio_Resample2Close(converter_); }

void RateConversion::process(const double* samples, DWORD frames, const Write& write) {
  if (front_) {
    front_->process(samples, frames, [&](const double* between, DWORD count) { run(between, count, write); });
    if (samples) return;
    silence(1, write); // the frames between were rounded to a whole number
  }
  if (!samples) silence(silent_behind_, write);
  run(samples, frames, write);
}

void RateConversion::run(const double* samples, DWORD frames, const Write& write) {
  for (DWORD used = 0;;) {
    const DWORD written = step(samples, frames, used);
    const DWORD dropped = std::min(written, early_);
    const auto count = static_cast<DWORD>(std::min<uint64_t>(written - dropped, left_));
    early_ -= dropped;
    left_ -= count;
    if (count > 0) write(block_.data() + size_t{dropped} * channels_, count);
    if (samples ? used == frames && written < kBlockFrames : written == 0) return;
  }
}

void RateConversion::silence(DWORD frames, const Write& write) {
  const std::vector<double> frame(channels_);
  for (DWORD k = 0; k < frames; ++k)
    run(frame.data(), 1, write);
}

DWORD RateConversion::step(const double* samples, DWORD frames, DWORD& used) {
  DWORD written = 0;
  DWORD taken = 0;
  const double* const rest = samples ? samples + size_t{used} * channels_ : nullptr;
  QvAudio_Resample2Process(converter_, block_.data(), kBlockFrames, &written, rest, frames - used, &taken);
  used += taken;
  return written;
}

} // namespace qv::tool
