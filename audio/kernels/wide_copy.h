// Copy kernels on vectors.
#pragma once

#include "audio/kernels/reference_copy.h"
#include "audio/kernels/streaming.h"
#include "audio/kernels/wide_samples.h"

namespace qv::audio {
namespace {

/// kLanes samples with gain 1.0, in the narrowest arithmetic that gives the same bits as doubles.
template <class Dst, class Src>
HWY_INLINE void copy_step_unity(uint8_t* dst, const uint8_t* src) {
  if constexpr (!Src::is_float && !Dst::is_float) {
    store_integers<Dst>(rescale<Dst, Src>(load_integers<Src>(src)), dst);
  } else if constexpr (!Src::is_float && Dst::bytes == 4) {
    hn::StoreU(floats_from_integers<Src>(load_integers<Src>(src)), kFloats, reinterpret_cast<float*>(dst));
  } else if constexpr (Src::is_float && Src::bytes == 4 && !Dst::is_float) {
    const auto floats = hn::LoadU(kFloats, reinterpret_cast<const float*>(src));
    store_integers<Dst>(integers_from_floats<Dst, kCutBeforeStore<Dst>>(floats), dst);
  } else {
    store_doubles<Dst>(load_doubles<Src>(src), dst);
  }
}

template <class Dst, class Src>
HWY_INLINE void copy_step_gain(uint8_t* dst, const uint8_t* src, DoubleVector gain) {
  const Doubles v = load_doubles<Src>(src);
  store_doubles<Dst>({hn::Mul(v.low, gain), hn::Mul(v.high, gain)}, dst);
}

/// `count` samples; in place they run in the reference's direction.
template <class Dst, class Src, bool kUnity>
HWY_INLINE void wide_copy_run(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  const auto gains = hn::Set(kDoubles, gain);
  const auto step = [&](size_t i) HWY_ATTR {
    if constexpr (kUnity) {
      copy_step_unity<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes);
    } else {
      copy_step_gain<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, gains);
    }
  };
  const size_t whole = count - count % kLanes;
  const auto rest = [&] {
    reference_copy_run<Dst, Src, kUnity>(dst + whole * Dst::bytes, src + whole * Src::bytes, count - whole, gain);
  };
  if constexpr (runs_backward<Dst, Src>()) {
    rest();
    for (size_t i = whole; i > 0; i -= kLanes)
      step(i - kLanes);
  } else {
    for (size_t i = 0; i < whole; i += kLanes)
      step(i);
    rest();
  }
}

template <class Dst, class Src, bool kUnity>
void wide_copy_samples(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  if (!worth_streaming(dst, count * Dst::bytes, src, count * Src::bytes)) {
    wide_copy_run<Dst, Src, kUnity>(dst, src, count, gain);
    return;
  }
  // Too large for the caches: convert piece by piece into a small buffer, and write that past them.
  constexpr size_t kPiece = kStreamingPieceBytes / Dst::bytes / 64 * 64;
  alignas(64) uint8_t piece[kPiece * Dst::bytes];
  for (size_t done = 0; done < count; done += kPiece) {
    const size_t samples = count - done < kPiece ? count - done : kPiece;
    wide_copy_run<Dst, Src, kUnity>(piece, src + done * Src::bytes, samples, gain);
    stream_out(dst + done * Dst::bytes, piece, samples * Dst::bytes);
  }
  finish_streaming();
}

template <class Dst, class Src>
void wide_copy(void* dst, const void* src, LONG count, float gain) {
  if (count <= 0) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  if (gain != 1.0f) {
    wide_copy_samples<Dst, Src, false>(to, from, samples, static_cast<double>(gain));
  } else if constexpr (Dst::type == Src::type) {
    std::memmove(to, from, samples * Dst::bytes);
  } else {
    wide_copy_samples<Dst, Src, true>(to, from, samples, 1.0);
  }
}

} // namespace
} // namespace qv::audio
