// Copy kernels on vectors.
#pragma once

#include "audio/kernels/reference_kernels.h"
#include "audio/kernels/streaming.h"
#include "audio/kernels/wide_samples.h"

namespace qv::audio {
namespace {

/// Copies kLanes samples with a gain, in double precision. The factor is the gain, divided by the source's full scale
/// and multiplied by the destination's: both are powers of two and far from the limits of doubles, so that one
/// multiplication rounds just as the three of the rule do.
template <class Dst, class Src>
HWY_INLINE void copy_step_scaled(uint8_t* dst, const uint8_t* src, Doubles factor) {
  store_doubles<Dst>(multiplied(load_doubles<Src>(src), factor), dst);
}

/// Copies kLanes samples with gain 1.0, in the narrowest arithmetic that gives the same bits as doubles.
template <class Dst, class Src>
HWY_INLINE void copy_step_unity(uint8_t* dst, const uint8_t* src) {
  if constexpr (!Src::is_float && !Dst::is_float) {
    store_integers<Dst>(rescale<Dst, Src>(load_integers<Src>(src)), dst);
  } else if constexpr (!Src::is_float && Dst::bytes == 4) {
    hn::StoreU(floats_from_integers<Src>(load_integers<Src>(src)), kFloats, reinterpret_cast<float*>(dst));
  } else if constexpr (Src::is_float && Src::bytes == 4 && !Dst::is_float) {
    const auto floats = hn::LoadU(kFloats, reinterpret_cast<const float*>(src));
    store_integers<Dst>(integers_from_floats<Dst, kCutBeforeStore<Dst>>(floats), dst);
  } else if constexpr (Src::is_float && Dst::is_float) {
    store_doubles<Dst>(load_doubles<Src>(src), dst);
  } else {
    copy_step_scaled<Dst, Src>(dst, src, same_factor(Dst::full_scale / Src::full_scale));
  }
}

/// Copies `count` samples, from the last to the first when kBackward.
template <class Dst, class Src, bool kUnity, bool kBackward>
void wide_copy_run(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  const Doubles factor = same_factor(gain / Src::full_scale * Dst::full_scale);
  const auto step = [&](size_t i) HWY_ATTR {
    if constexpr (kUnity)
      copy_step_unity<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes);
    else
      copy_step_scaled<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, factor);
  };
  const size_t whole = count - count % kLanes;
  const auto rest = [&] {
    reference_copy_run<Dst, Src, kUnity>(dst + whole * Dst::bytes, src + whole * Src::bytes, count - whole, gain);
  };
  if constexpr (kBackward) {
    rest();
    for (size_t i = whole; i > 0; i -= kLanes)
      step(i - kLanes);
  } else {
    for (size_t i = 0; i < whole; i += kLanes)
      step(i);
    rest();
  }
}

/// Copies to output that is too large for the caches: piece by piece into a small buffer, which is then written past
/// them.
template <class Dst, class Src, bool kUnity>
void stream_copy(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  constexpr size_t kWider = Dst::bytes > Src::bytes ? Dst::bytes : Src::bytes;
  constexpr size_t kPiece = kStreamingPieceBytes / kWider / kLineBytes * kLineBytes; // so that pieces are whole lines
  constexpr auto kRun = wide_copy_run<Dst, Src, kUnity, false>;
  alignas(kLineBytes) uint8_t piece[kPiece * Dst::bytes];
  size_t done = samples_to_line(dst, Dst::bytes);
  kRun(dst, src, done, gain);
  for (; done + kPiece <= count; done += kPiece) {
    const uint8_t* from = src + done * Src::bytes;
    fetch_ahead(from + kFetchDistanceBytes, kPiece * Src::bytes);
    kRun(piece, from, kPiece, gain);
    stream_out(dst + done * Dst::bytes, piece, kPiece * Dst::bytes);
  }
  finish_streaming();
  kRun(dst + done * Dst::bytes, src + done * Src::bytes, count - done, gain);
}

template <class Dst, class Src, bool kUnity>
void wide_copy_samples(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  const bool large = worth_streaming(dst, count * Dst::bytes, src, count * Src::bytes);
  if (large && samples_to_line(dst, Dst::bytes) < kLineBytes)
    stream_copy<Dst, Src, kUnity>(dst, src, count, gain);
  else
    wide_copy_run<Dst, Src, kUnity, runs_backward<Dst, Src>()>(dst, src, count, gain);
}

template <class Dst, class Src>
void wide_copy(void* dst, const void* src, LONG count, float gain) {
  if (count <= 0) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  if (gain != 1.0f)
    wide_copy_samples<Dst, Src, false>(to, from, samples, static_cast<double>(gain));
  else if constexpr (Dst::type == Src::type)
    std::memmove(to, from, samples * Dst::bytes);
  else
    wide_copy_samples<Dst, Src, true>(to, from, samples, 1.0);
}

} // namespace
} // namespace qv::audio
