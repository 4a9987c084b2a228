// Writing results that exceed the caches past them, as memory copies of that size do: an ordinary store would first
// read the line that it is about to overwrite.
#pragma once

#include "audio/kernels/wide_samples.h"

#include <hwy/cache_control.h>

namespace qv::audio {
namespace {

inline constexpr size_t kLineBytes = 64;
/// Output from which streaming pays; smaller ones may still be in a cache when they are read next.
inline constexpr size_t kStreamingBytes = size_t{8} << 20;
/// What is converted between writes, the wider of source and destination: little, so that the reads of one piece and
/// the writes of another overlap.
inline constexpr size_t kStreamingPieceBytes = 2048;

/// Whether the output is large, and apart from the input.
inline bool worth_streaming(const uint8_t* dst, size_t dst_bytes, const uint8_t* src, size_t src_bytes) {
  return dst_bytes >= kStreamingBytes && (dst + dst_bytes <= src || src + src_bytes <= dst);
}

/// Samples before the first that begins a cache line; kLineBytes when none does.
inline size_t samples_to_line(const uint8_t* dst, size_t sample_bytes) {
  size_t samples = 0;
  while (samples < kLineBytes && reinterpret_cast<uintptr_t>(dst + samples * sample_bytes) % kLineBytes != 0)
    ++samples;
  return samples;
}

/// How far ahead of their use source bytes are asked for: about what memory delivers in its latency.
inline constexpr size_t kFetchDistanceBytes = 8192;

/// Asks for source bytes; it is no fault when they lie behind the buffer's end.
HWY_INLINE void fetch_ahead(const uint8_t* src, size_t bytes) {
  for (size_t i = 0; i < bytes; i += kLineBytes)
    hwy::Prefetch(src + i);
}

/// Copies whole cache lines without leaving them in the caches. Both are aligned to lines.
HWY_INLINE void stream_out(uint8_t* dst, const uint8_t* src, size_t bytes) {
  constexpr Uint8Tag kBytes;
  for (size_t i = 0; i < bytes; i += HWY_MAX_BYTES)
    hn::Stream(hn::Load(kBytes, src + i), kBytes, dst + i);
}

/// Streamed bytes are visible to other threads only after this.
inline void finish_streaming() { hwy::FlushStream(); }

} // namespace
} // namespace qv::audio
