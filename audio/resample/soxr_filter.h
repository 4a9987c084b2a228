// The filter of the best quality as soxr has it, where a build has soxr: a streaming converter's engine.
#pragma once

#include "audio/resample/timeline.h"

#include <memory>

struct soxr;

namespace qv::audio {

/// Takes source frames and makes the frames of a timeline that begins with the first of them.
class SoxrFilter {
public:
  /// Returns null where there is no soxr, and for what it does not suit: rates that are equal or more than kMaxRatio
  /// times apart, or too odd for their common period to be run through; more than kMaxChannels channels. Throws
  /// std::bad_alloc.
  static std::unique_ptr<SoxrFilter> make(const Timeline& timeline, DWORD channels);
  ~SoxrFilter();
  SoxrFilter(const SoxrFilter&) = delete;
  SoxrFilter& operator=(const SoxrFilter&) = delete;

  static constexpr DWORD kMaxFrames = 256; ///< to give or to take at a time
  static constexpr DWORD kMaxSpare = 2048; ///< to give beyond what the next output needs
  static constexpr DWORD kMaxRatio = 8;
  static constexpr DWORD kMaxChannels = 32;
  static constexpr uint64_t kMaxPeriod = 200'000;

  /// Source frames behind an output that have to be given before it may be taken.
  DWORD ahead() const { return ahead_; }
  /// Take interleaved frames in, and make the next ones.
  void give(const double* frames, DWORD count);
  void take(double* frames, DWORD count);

private:
  SoxrFilter() = default;

  soxr* soxr_ = nullptr;
  DWORD channels_ = 0;
  DWORD ahead_ = 0;
  uint64_t given_ = 0;  ///< frames in all, the silence before the first included
  uint64_t taken_ = 0;  ///< frames in all, likewise
  uint64_t silent_ = 0; ///< frames of the silence, which are dropped

  size_t pull(double* frames, size_t count);
  void prime(const Timeline& timeline);
};

} // namespace qv::audio
