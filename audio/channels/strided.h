// One channel of an interleaved buffer as a run of samples with a stride: the engine of the channel operations.
//
// Between equal types bytes move; between different ones samples are loaded normalised and stored by the conversion
// rule, in small blocks on the stack.
#pragma once

#include "audio/sample_type_table.h"

#include <cstddef>
#include <cstdint>

namespace qv::audio {

/// Samples per block.
inline constexpr size_t kStridedBlock = 256;

/// How samples of one type are read and written.
struct StridedType {
  QVSAMPLETYPE type;
  size_t bytes;
  void (*load)(double* dst, const uint8_t* src, size_t stride_bytes, size_t count);
  void (*store)(uint8_t* dst, size_t stride_bytes, const double* src, size_t count);
  void (*move)(uint8_t* dst, size_t dst_stride, const uint8_t* src, size_t src_stride, size_t count);
  uint8_t silence; ///< every byte of a silent sample
};

/// The type's row, or null for a type without kernels.
const StridedType* strided_type(QVSAMPLETYPE type);

/// One channel: where its first sample is and how far apart its samples are.
struct Channel {
  const StridedType* type;
  uint8_t* first;
  size_t stride_bytes;
};

/// Copies `frames` samples from channel to channel.
void copy_channel(const Channel& dst, const Channel& src, size_t frames);

/// Writes silence to `frames` samples.
void silence_channel(const Channel& channel, size_t frames);

} // namespace qv::audio
