// Writing results that exceed the caches past them, as memory copies of that size do: an ordinary store would first
// read the line that it is about to overwrite.
#pragma once

#include "audio/kernels/wide_samples.h"

namespace qv::audio {
namespace {

/// Output from which streaming pays; smaller ones may still be in a cache when they are read next.
inline constexpr size_t kStreamingBytes = size_t{8} << 20;
/// Fits the first-level cache beside its input.
inline constexpr size_t kStreamingPieceBytes = 4096;

/// Whether the output is large, and apart from the input.
inline bool worth_streaming(const uint8_t* dst, size_t dst_bytes, const uint8_t* src, size_t src_bytes) {
  return dst_bytes >= kStreamingBytes && (dst + dst_bytes <= src || src + src_bytes <= dst);
}

/// Copies a piece without leaving it in the caches, a whole line of them at a time where it can.
HWY_INLINE void stream_out(uint8_t* dst, const uint8_t* src, size_t bytes) {
  constexpr Uint8Tag kBytes;
  constexpr size_t kLine = 64;
  const size_t lead = (kLine - reinterpret_cast<uintptr_t>(dst) % kLine) % kLine;
  if (bytes < lead + kLine) {
    std::memcpy(dst, src, bytes);
    return;
  }
  std::memcpy(dst, src, lead);
  size_t i = lead;
  for (; i + kLine <= bytes; i += kLine) {
    for (size_t part = 0; part < kLine; part += HWY_MAX_BYTES) {
      hn::Stream(hn::LoadU(kBytes, src + i + part), kBytes, dst + i + part);
    }
  }
  std::memcpy(dst + i, src + i, bytes - i);
}

/// Streamed bytes are visible to other threads only after this.
inline void finish_streaming() { _mm_sfence(); }

} // namespace
} // namespace qv::audio
