// A stream of frames at another rate.
#pragma once

#include "qv/resample.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

class RateConversion {
public:
  /// quality: a name out of quality_names(). Throws Failure about the file of that name.
  RateConversion(const std::string& name, DWORD src_rate, DWORD dst_rate, DWORD channels, const std::string& quality);
  ~RateConversion();
  RateConversion(const RateConversion&) = delete;
  RateConversion& operator=(const RateConversion&) = delete;

  /// Calls write(samples, frames) for what comes of the frames; null flushes.
  template <class Write>
  void process(const double* samples, DWORD frames, Write write) {
    for (DWORD used = 0;;) {
      const DWORD written = step(samples, frames, used);
      if (written > 0) write(block_.data(), written);
      if (samples ? used == frames && written < kBlockFrames : written == 0) return;
    }
  }

  static std::vector<std::string> quality_names();
  /// Of a file of so many frames.
  static uint64_t frames_at(uint64_t frames, DWORD src_rate, DWORD dst_rate);

private:
  static constexpr DWORD kBlockFrames = 4096;
  DWORD step(const double* samples, DWORD frames, DWORD& used);

  HQVRESAMPLE2 converter_ = nullptr;
  DWORD channels_;
  std::vector<double> block_;
};

} // namespace qv::tool
