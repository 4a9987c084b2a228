// Writing results that exceed the caches past them, as memory copies of that size do: an ordinary store would first
// read the line that it is about to overwrite.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace qv::audio {
namespace {

/// Output from which streaming pays; smaller ones may still be in a cache when they are read next.
inline constexpr size_t kStreamingBytes = size_t{8} << 20;
/// Fits the first-level cache beside its input.
inline constexpr size_t kStreamingPieceBytes = 16384;

/// Whether the output is large, and apart from the input.
inline bool worth_streaming(const uint8_t* dst, size_t dst_bytes, const uint8_t* src, size_t src_bytes) {
  return dst_bytes >= kStreamingBytes && (dst + dst_bytes <= src || src + src_bytes <= dst);
}

/// Copies a piece without leaving it in the caches. The source is 16-aligned.
inline void stream_out(uint8_t* dst, const uint8_t* src, size_t bytes) {
  const size_t lead = (16 - reinterpret_cast<uintptr_t>(dst) % 16) % 16;
  if (bytes < lead + 16) {
    std::memcpy(dst, src, bytes);
    return;
  }
  std::memcpy(dst, src, lead);
  size_t i = lead;
  for (; i + 16 <= bytes; i += 16) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(dst + i), _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)));
  }
  std::memcpy(dst + i, src + i, bytes - i);
}

/// Streamed bytes are visible to other threads only after this.
inline void finish_streaming() { _mm_sfence(); }

} // namespace
} // namespace qv::audio
