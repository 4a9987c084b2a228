// The random numbers of dither: a generator for each channel, and where it starts.
#pragma once

#include <bit>
#include <cstdint>

namespace qv::audio {

/// PCG32: M. E. O'Neill, "PCG: a family of simple fast space-efficient statistically good algorithms for random number
/// generation", 2014: XSH-RR, 64 bits of state, 32 of output.
class Pcg32 {
public:
  Pcg32() = default;
  /// Sets the generator as the paper does: to a start within one of 2^63 sequences.
  Pcg32(uint64_t start, uint64_t sequence) : increment_(sequence << 1 | 1) {
    next();
    state_ += start;
    next();
  }

  uint32_t next() {
    const uint64_t old = state_;
    state_ = old * 6364136223846793005u + increment_;
    const auto mixed = static_cast<uint32_t>((old >> 18 ^ old) >> 27);
    return std::rotr(mixed, static_cast<int>(old >> 59));
  }

  /// A number spread evenly over -1/2 to 1/2, with a mean of 0.
  double next_centred() { return (next() + 0.5) * 0x1p-32 - 0.5; }

private:
  uint64_t state_ = 0;
  uint64_t increment_ = 1;
};

/// The start of a channel's generator, well mixed from a seed and the channel's number (SplitMix64: G. L. Steele, D.
/// Lea, C. H. Flood, "Fast splittable pseudorandom number generators", 2014), so that no two channels start alike.
inline uint64_t start_of(uint64_t seed, uint64_t channel) {
  uint64_t mixed = seed + (channel + 1) * 0x9E3779B97F4A7C15u;
  mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
  mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
  return mixed ^ mixed >> 31;
}

} // namespace qv::audio
