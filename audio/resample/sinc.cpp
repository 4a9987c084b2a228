#include "audio/resample/sinc.h"

#include "audio/kernels/double_pair.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

namespace qv::audio {

namespace {

constexpr size_t kEntries = 1000;
constexpr int kCrossings = 13; ///< of the sinc with 0 that the table covers
constexpr double kEntriesPerFrame = static_cast<double>(kEntries) / kCrossings;
constexpr uint64_t kMaxRows = 1024;
constexpr int kCenter = kSincTaps / 2;

/// Makes the table of the sinc times the right half of a 4-term window: F. J. Harris, "On the use of windows for
/// harmonic analysis with the discrete Fourier transform", 1978, the minimum 4-sample Blackman-Harris window.
std::array<double, kEntries> make_table() {
  using std::numbers::pi;
  std::array<double, kEntries> table;
  table[0] = 1.0;
  for (size_t k = 1; k < kEntries; ++k) {
    const double x = static_cast<double>(k) * kCrossings * pi / kEntries;
    const double y = x / kCrossings + pi;
    const double window = 0.35875 - 0.48829 * std::cos(y) + 0.14128 * std::cos(2.0 * y) - 0.01168 * std::cos(3.0 * y);
    table[k] = std::sin(x) / x * window;
  }
  return table;
}

double weight_at(double distance) {
  static const std::array<double, kEntries> table = make_table();
  const double at = std::fabs(distance) * kEntriesPerFrame;
  const double index = std::min(std::nearbyint(at - kAlmostHalf), static_cast<double>(kEntries - 2));
  const auto entry = static_cast<size_t>(std::max(index, 0.0));
  return table[entry] + (table[entry + 1] - table[entry]) * (at - static_cast<double>(entry));
}

void fill_row(double* row, double fraction) {
  double weights[kSincTaps];
  sinc_weights(weights, fraction);
  for (DWORD tap = 0; tap < kSincTaps; ++tap)
    row[2 * tap] = row[2 * tap + 1] = weights[tap];
  std::fill(row + 2 * kSincTaps, row + kSincRow, 0.0);
}

// A block is converted chunk by chunk, two channels at a time; a window holds the frames of a chunk as doubles.
constexpr size_t kChunkFrames = 512;
constexpr size_t kWindowFrames = kChunkFrames + kSincRow / 2;

template <class Sample>
class SincRun {
public:
  SincRun(const ResampleBlock& block, const SincBank& bank)
      : block_(block), bank_(bank), products_(at_level<PairProducts>({QV_LEVELS_OF(pair_products)})) {}

  void run() {
    for (DWORD done = 0; done < block_.frames;) {
      const SourcePosition first = block_.timeline->position(done);
      const DWORD count = chunk_from(done, first);
      for (DWORD channel = 0; channel < block_.channels; channel += 2) {
        load_window(first.frame - (kSincTaps - 1), block_.timeline->position(done + count - 1).frame, channel);
        make_frames(done, count, first, channel);
      }
      done += count;
    }
  }

private:
  /// Returns how many outputs from `done` on the window has room for.
  DWORD chunk_from(DWORD done, const SourcePosition& first) const {
    auto count = static_cast<DWORD>(std::min<size_t>(block_.frames - done, kChunkFrames));
    const auto span = [&] { return block_.timeline->position(done + count - 1).frame - first.frame; };
    while (span() >= static_cast<int64_t>(kChunkFrames))
      count = (count + 1) / 2;
    return count;
  }

  double value(int64_t frame, DWORD channel) const {
    if (frame < 0) {
      const int64_t kept = frame + block_.history_frames;
      return kept < 0 ? 0.0 : block_.history[static_cast<size_t>(kept) * block_.channels + channel];
    }
    if (frame >= static_cast<int64_t>(block_.source)) return 0.0;
    Sample sample;
    std::memcpy(&sample, block_.src + (static_cast<size_t>(frame) * block_.channels + channel) * sizeof sample,
                sizeof sample);
    return static_cast<double>(sample);
  }

  /// Fills the window with the frames `from` to `to` of a channel and the next one, with 0 for a channel that does not
  /// exist.
  void load_window(int64_t from, int64_t to, DWORD channel) {
    const bool has_second = channel + 1 < block_.channels;
    double* at = window_;
    const auto load_edge = [&](int64_t until) {
      for (; from <= std::min(to, until); ++from) {
        *at++ = value(from, channel);
        *at++ = has_second ? value(from, channel + 1) : 0.0;
      }
    };
    load_edge(-1);
    if (has_second) {
      const Sample* const samples = reinterpret_cast<const Sample*>(block_.src) + channel;
      for (; from <= std::min(to, static_cast<int64_t>(block_.source) - 1); ++from, at += 2)
        store_pair(at, load_pair(samples + static_cast<size_t>(from) * block_.channels));
    }
    load_edge(to);
    // A row's padding is multiplied with what is behind the frames: it must be a number.
    std::memset(at, 0, sizeof window_ - static_cast<size_t>(at - window_) * sizeof *at);
  }

  void make_frames(DWORD done, DWORD count, const SourcePosition& first, DWORD channel) {
    const uint64_t denominator = block_.timeline->denominator();
    const uint64_t step = block_.timeline->step();
    if (!bank_.is_empty()) {
      products_({sums_, count, window_, bank_.row(0), first.part, step, denominator});
    } else {
      alignas(64) double own_row[kSincRow];
      for (DWORD k = 0; k < count; ++k) {
        const SourcePosition at = block_.timeline->position(done + k);
        fill_row(own_row, static_cast<double>(at.part) / static_cast<double>(denominator));
        products_({sums_ + 2 * k, 1, window_ + 2 * (at.frame - first.frame), own_row, 0, step, denominator});
      }
    }
    for (DWORD k = 0; k < count; ++k) {
      store(done + k, channel, sums_[2 * k]);
      if (channel + 1 < block_.channels) store(done + k, channel + 1, sums_[2 * k + 1]);
    }
  }

  void store(DWORD frame, DWORD channel, double value) const {
    const auto sample = static_cast<Sample>(value);
    std::memcpy(block_.dst + (size_t{frame} * block_.channels + channel) * sizeof sample, &sample, sizeof sample);
  }

  const ResampleBlock& block_;
  const SincBank& bank_;
  PairProducts* const products_;
  double window_[2 * kWindowFrames];
  double sums_[2 * kChunkFrames];
};

} // namespace

void sinc_weights(double (&weights)[kSincTaps], double fraction) {
  // The newest tap, the last, is 12 frames ahead of the position.
  for (DWORD tap = 0; tap < kSincTaps; ++tap)
    weights[tap] = weight_at(static_cast<int>(tap) - kCenter - fraction);
}

SincBank::SincBank(const Timeline& timeline) {
  if (timeline.denominator() > kMaxRows) return;
  rows_ = AlignedDoubles(timeline.denominator() * kSincRow);
  for (uint64_t part = 0; part < timeline.denominator(); ++part)
    fill_row(rows_.data() + part * kSincRow, static_cast<double>(part) / static_cast<double>(timeline.denominator()));
}

void run_sinc(const ResampleBlock& block, QVSAMPLETYPE type, const SincBank& bank) {
  if (type == QVSAMPLE_FLOAT32)
    SincRun<float>(block, bank).run();
  else
    SincRun<double>(block, bank).run();
}

} // namespace qv::audio
