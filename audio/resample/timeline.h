// Where the frames of a destination stand in the source. Rates are whole numbers, so that positions are fractions with
// one denominator: nothing is rounded, nothing drifts, and it does not matter where blocks begin.
#pragma once

#include "qv/win32.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace qv::audio {

__extension__ using Wide = __int128;

/// Less than a half by so much that parts below 1.5e-8 of a frame are none: positions are rounded up with it, and with
/// it taken off they are rounded down.
inline constexpr double kAlmostHalf = 0.499999985;

/// A position: a whole number of frames, and parts of one.
struct SourcePosition {
  int64_t frame;
  uint64_t part; ///< in units of 1 / denominator, 0 to denominator - 1
};

/// Positions of a block's outputs, in source frames from the block's first frame on.
class Timeline {
public:
  Timeline() = default;
  Timeline(uint64_t src_rate, uint64_t dst_rate) {
    const uint64_t divisor = std::gcd(src_rate, dst_rate);
    step_ = src_rate / divisor;
    denominator_ = dst_rate / divisor;
  }

  /// From an output to the next, in parts.
  uint64_t step() const { return step_; }
  /// Parts of a source frame.
  uint64_t denominator() const { return denominator_; }
  bool is_rising() const { return step_ < denominator_; }
  bool is_falling() const { return step_ > denominator_; }
  /// Destination rate / source rate, and one over it.
  double ratio() const { return static_cast<double>(denominator_) / static_cast<double>(step_); }
  double inverse() const { return static_cast<double>(step_) / static_cast<double>(denominator_); }
  /// Where the next output stands, in source frames: negative before the block.
  double phase() const { return static_cast<double>(phase_) / static_cast<double>(denominator_); }

  /// Where the output stands that follows so many others.
  SourcePosition position(uint64_t output) const {
    const Wide parts = Wide{phase_} + static_cast<Wide>(output) * step_;
    const Wide frame = floor_of(parts, denominator_);
    return {static_cast<int64_t>(frame), static_cast<uint64_t>(parts - frame * denominator_)};
  }

  /// How many frames a block of so many source frames makes.
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

  /// How many source frames a block counts that makes so many outputs.
  DWORD counted_for(DWORD frames) const {
    const SourcePosition end = position(frames);
    const double part = static_cast<double>(end.part) / static_cast<double>(denominator_);
    return static_cast<DWORD>(std::clamp<int64_t>(end.frame + (part >= 0.5 - kAlmostHalf ? 1 : 0), 0, 0xFFFFFFFE));
  }
  /// How many source frames are read for so many outputs: one more when the rate rises.
  DWORD read_for(DWORD frames) const { return counted_for(frames) + (is_rising() ? 1 : 0); }

  /// Makes parts so fine that the next output can be put anywhere; the rates stay.
  void refine() {
    constexpr uint64_t kFine = uint64_t{1} << 24;
    const uint64_t factor = denominator_ < kFine ? kFine / denominator_ : 1;
    step_ *= factor;
    denominator_ *= factor;
  }
  /// Puts the next output at a position.
  void move_to(int64_t frame, double fraction) {
    const auto parts = static_cast<int64_t>(fraction * static_cast<double>(denominator_) + 0.5);
    phase_ = frame * static_cast<int64_t>(denominator_) + parts;
  }
  /// How many of the next outputs stand before a source frame.
  uint64_t outputs_before(int64_t frame) const { return count_up_to(Wide{frame} * denominator_ - phase_ - 1, step_); }
  /// How many of the next outputs lie, with half a step behind them, before the end of so many source frames.
  uint64_t outputs_within(int64_t source) const {
    return count_up_to(2 * (Wide{source} * denominator_ - phase_) - step_, 2 * Wide{step_});
  }
  /// The fewest source frames for which outputs_within() is at least so many.
  int64_t source_for(uint64_t outputs) const {
    const Wide end = 2 * Wide{phase_} + (2 * static_cast<Wide>(outputs) - 1) * step_;
    return static_cast<int64_t>(-floor_of(-end, 2 * Wide{denominator_}));
  }

  /// Goes on behind so many outputs, to a block that begins so many source frames later.
  void advance(DWORD frames, DWORD source) {
    phase_ += static_cast<int64_t>(static_cast<Wide>(frames) * step_ - static_cast<Wide>(source) * denominator_);
  }

private:
  /// How many of the numbers 0, step, 2 x step, ... are not above `parts`.
  static uint64_t count_up_to(Wide parts, Wide step) { return parts < 0 ? 0 : static_cast<uint64_t>(parts / step) + 1; }
  static Wide floor_of(Wide value, Wide divisor) {
    const Wide quotient = value / divisor;
    return quotient * divisor > value ? quotient - 1 : quotient;
  }

  uint64_t step_ = 1;
  uint64_t denominator_ = 1;
  int64_t phase_ = 0; ///< of the next output, in parts
};

} // namespace qv::audio
