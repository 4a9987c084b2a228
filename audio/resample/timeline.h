// Where the frames of a destination stand in the source. Rates are whole numbers, so that positions are fractions with
// one denominator: nothing is rounded, nothing drifts, and it does not matter where blocks begin.
#pragma once

#include "qv/win32.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace qv::audio {

__extension__ using Wide = __int128;

/// A position: a whole number of frames, and parts of one.
struct SourcePosition {
  int64_t frame;
  uint64_t part; ///< in units of 1 / denominator, below that
};

class Timeline {
public:
  Timeline() = default;
  Timeline(uint64_t src_rate, uint64_t dst_rate) {
    const uint64_t divisor = std::gcd(src_rate, dst_rate);
    step_ = src_rate / divisor;
    denominator_ = dst_rate / divisor;
  }

  uint64_t step() const { return step_; } ///< from frame to frame, in parts
  uint64_t denominator() const { return denominator_; }
  bool is_rising() const { return step_ < denominator_; }
  bool is_falling() const { return step_ > denominator_; }
  /// Destination rate / source rate.
  double ratio() const { return static_cast<double>(denominator_) / static_cast<double>(step_); }
  double inverse() const { return static_cast<double>(step_) / static_cast<double>(denominator_); }
  /// Of the next block's first output, in source frames.
  double phase() const { return static_cast<double>(phase_) / static_cast<double>(denominator_); }

  SourcePosition position(uint64_t output) const {
    const Wide parts = Wide{phase_} + static_cast<Wide>(output) * step_;
    const Wide frame = floor_of(parts, denominator_);
    return {static_cast<int64_t>(frame), static_cast<uint64_t>(parts - frame * denominator_)};
  }

  /// The frames that a block of so many source frames makes.
  DWORD frames_from(DWORD source) const {
    const Wide count = source;
    const Wide denominator = denominator_;
    // count x ratio - phase, truncated.
    Wide frames = (count * denominator * denominator - Wide{phase_} * step_) / (Wide{step_} * denominator);
    const Wide last = (count - 1) * denominator - phase_; // where the block's last frame stands behind the phase
    if (!is_falling())
      frames = std::min(frames, floor_of(last, step_));
    else if (source > 1)
      frames = std::max(frames, -floor_of(-last, step_)); // up to the last frame or behind it
    else
      frames = std::max(frames, floor_of(last - denominator, step_) + 1); // the same truncated: behind frame -1
    return static_cast<DWORD>(std::clamp<Wide>(frames, 0, 0xFFFFFFFF));
  }

  /// The source frames that so many frames count; when the rate rises one more is read.
  DWORD counted_for(DWORD frames) const {
    constexpr double kLeast = 1.5e-8; // 0.5 - 0.499999985: less than this is no frame
    const SourcePosition end = position(frames);
    const double part = static_cast<double>(end.part) / static_cast<double>(denominator_);
    return static_cast<DWORD>(std::clamp<int64_t>(end.frame + (part >= kLeast ? 1 : 0), 0, 0xFFFFFFFE));
  }
  DWORD read_for(DWORD frames) const { return counted_for(frames) + (is_rising() ? 1 : 0); }

  /// Makes parts so fine that the next output can be put anywhere; the rates stay.
  void refine() {
    constexpr uint64_t kFine = uint64_t{1} << 24;
    const uint64_t factor = denominator_ < kFine ? kFine / denominator_ : 1;
    step_ *= factor;
    denominator_ *= factor;
  }
  /// Puts the next output there.
  void move_to(int64_t frame, double fraction) {
    const auto parts = static_cast<int64_t>(fraction * static_cast<double>(denominator_) + 0.5);
    phase_ = frame * static_cast<int64_t>(denominator_) + parts;
  }
  /// The next outputs that stand before a source frame.
  uint64_t outputs_before(int64_t frame) const { return count_up_to(Wide{frame} * denominator_ - phase_ - 1, step_); }
  /// The next outputs that lie, with half a step behind them, before the end of so many source frames.
  uint64_t outputs_within(int64_t source) const {
    return count_up_to(2 * (Wide{source} * denominator_ - phase_) - step_, 2 * Wide{step_});
  }
  /// The fewest source frames whose end so many of the next outputs lie before, in the same way.
  int64_t source_for(uint64_t outputs) const {
    const Wide end = 2 * Wide{phase_} + (2 * static_cast<Wide>(outputs) - 1) * step_;
    return static_cast<int64_t>(-floor_of(-end, 2 * Wide{denominator_}));
  }

  void advance(DWORD frames, DWORD source) {
    phase_ += static_cast<int64_t>(static_cast<Wide>(frames) * step_ - static_cast<Wide>(source) * denominator_);
  }

private:
  /// Of 0, step, 2 x step...
  static uint64_t count_up_to(Wide parts, Wide step) { return parts < 0 ? 0 : static_cast<uint64_t>(parts / step) + 1; }
  static Wide floor_of(Wide value, Wide divisor) {
    const Wide quotient = value / divisor;
    return quotient * divisor > value ? quotient - 1 : quotient;
  }

  uint64_t step_ = 1;
  uint64_t denominator_ = 1;
  int64_t phase_ = 0; ///< in parts
};

} // namespace qv::audio
