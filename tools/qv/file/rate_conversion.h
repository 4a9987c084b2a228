// A stream of frames at another rate.
#pragma once

#include "qv/resample.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

class RateConversion {
public:
  /// frames: of the source, in all. quality: a name out of quality_names(). Throws Failure about the file of that name.
  RateConversion(const std::string& name, uint64_t frames, DWORD src_rate, DWORD dst_rate, DWORD channels,
                 const std::string& quality);
  ~RateConversion();
  RateConversion(const RateConversion&) = delete;
  RateConversion& operator=(const RateConversion&) = delete;

  /// Calls write(samples, frames) for what comes of the frames, in time with them; null flushes.
  template <class Write>
  void process(const double* samples, DWORD frames, Write write) {
    if (!samples) silence(silent_behind_, write);
    run(samples, frames, write);
  }

  static std::vector<std::string> quality_names();
  /// Of a file of so many frames.
  static uint64_t frames_at(uint64_t frames, DWORD src_rate, DWORD dst_rate);

private:
  static constexpr DWORD kBlockFrames = 4096;
  DWORD step(const double* samples, DWORD frames, DWORD& used);
  void make_up_for(double delay, double inverse);

  template <class Write>
  void run(const double* samples, DWORD frames, Write write) {
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
  template <class Write>
  void silence(DWORD frames, Write write) {
    const std::vector<double> frame(channels_);
    for (DWORD k = 0; k < frames; ++k)
      run(frame.data(), 1, write);
  }

  HQVRESAMPLE2 converter_ = nullptr;
  DWORD channels_;
  std::vector<double> block_;
  uint64_t left_;           ///< frames still to write
  DWORD early_ = 0;         ///< of the next frames, those that stand before the source's first and are dropped
  DWORD silent_behind_ = 0; ///< source frames of silence that bring out what is late at the end
};

} // namespace qv::tool
