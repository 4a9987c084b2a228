// A stream of frames at another rate.
#pragma once

#include "qv/resample.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qv::tool {

class RateConversion {
public:
  /// Takes frames, which it may change.
  using Write = std::function<void(double* samples, DWORD frames)>;

  /// frames: of the source, in all. quality: a name out of quality_names(). Throws Failure about the file of that name.
  RateConversion(const std::string& name, uint64_t frames, DWORD src_rate, DWORD dst_rate, DWORD channels,
                 const std::string& quality);
  ~RateConversion();
  RateConversion(const RateConversion&) = delete;
  RateConversion& operator=(const RateConversion&) = delete;

  /// Calls write(samples, frames) for what comes of the frames, in time with them; null flushes.
  void process(const double* samples, DWORD frames, const Write& write);

  static std::vector<std::string> quality_names();
  /// Of a file of so many frames.
  static uint64_t frames_at(uint64_t frames, DWORD src_rate, DWORD dst_rate);

private:
  static constexpr DWORD kBlockFrames = 4096;
  DWORD step(const double* samples, DWORD frames, DWORD& used);
  void make_up_for(double delay, double inverse);
  void run(const double* samples, DWORD frames, const Write& write);
  void silence(DWORD frames, const Write& write);

  std::unique_ptr<RateConversion> front_; ///< brings the source to a rate between, where the last one is far away
  HQVRESAMPLE2 converter_ = nullptr;
  DWORD channels_;
  std::vector<double> block_;
  uint64_t left_;           ///< frames still to write
  DWORD early_ = 0;         ///< of the next frames, those that stand before the source's first and are dropped
  DWORD silent_behind_ = 0; ///< source frames of silence that bring out what is late at the end
};

} // namespace qv::tool
