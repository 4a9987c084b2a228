#include "fileutil/track/bit_rate.h"

#include <algorithm>

namespace fileutil {
namespace {

/// Walks along samples and their durations.
class Walk {
public:
  Walk(const SampleSizeBox& sizes, const TimeToSampleBox& times) : sizes_(sizes.sizes), times_(times.entries) {}

  bool is_at_end() const { return sample_ >= sizes_.size() || entry_ >= times_.size(); }
  uint32_t bytes() const { return sizes_[sample_]; }
  uint32_t duration() const { return times_[entry_].sampleDelta; }
  void advance() {
    ++sample_;
    if (++in_entry_ < times_[entry_].sampleCount) return;
    in_entry_ = 0;
    ++entry_;
  }

private:
  const std::vector<uint32_t>& sizes_;
  const std::vector<TimeToSampleBox::Entry>& times_;
  size_t sample_ = 0;
  size_t entry_ = 0;
  uint32_t in_entry_ = 0;
};

/// Bits per second of bytes that take a time.
uint32_t rate_of(uint64_t bytes, uint64_t duration, uint32_t timescale) {
  if (duration == 0) return 0;
  const double rate = static_cast<double>(bytes) * 8 * timescale / static_cast<double>(duration);
  return static_cast<uint32_t>(std::min(rate + 0.5, 4294967295.0));
}

} // namespace

BitRates bit_rates(const SampleSizeBox& sizes, const TimeToSampleBox& times, uint32_t timescale) {
  BitRates rates;
  uint64_t bytes = 0;
  uint64_t duration = 0;
  uint64_t window_bytes = 0; // of the last samples that take a second together, or of one
  uint64_t window_duration = 0;
  uint64_t densest = 0;
  Walk first(sizes, times);
  for (Walk last(sizes, times); !last.is_at_end(); last.advance()) {
    rates.largest_sample = std::max(rates.largest_sample, last.bytes());
    bytes += last.bytes();
    duration += last.duration();
    window_bytes += last.bytes();
    window_duration += last.duration();
    for (; window_duration > timescale && window_duration > first.duration(); first.advance()) {
      window_bytes -= first.bytes();
      window_duration -= first.duration();
    }
    densest = std::max(densest, window_bytes);
  }
  rates.average = rate_of(bytes, duration, timescale);
  if (rates.average != 0) rates.maximum = std::max(rates.average, rate_of(densest, 1, 1));
  return rates;
}

} // namespace fileutil
