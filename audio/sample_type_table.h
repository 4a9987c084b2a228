// The rows of the sample types (qv/audio.h) as data.
#pragma once

#include "qv/audio.h"

#include <algorithm>
#include <array>

namespace qv::audio {

/// How the bytes of a sample form its value; Offset is an integer with its top bit inverted.
enum class Encoding { kOffset, kInteger, kBigEndian, kFloat, kUnknown };

struct SampleTypeRow {
  QVSAMPLETYPE type;
  const char* name;
  uint32_t container_bits; ///< as headers state them
  uint32_t bytes;
  uint32_t tag; ///< of a plain header
  Encoding encoding;
  int bits; ///< that count
  bool is_mixed;
};

#define QV_SAMPLE_TYPE_ROW(type, value, name, container_bits, bytes, tag, encoding, bits, is_mixed, text)              \
  SampleTypeRow{type, name, container_bits, bytes, tag, Encoding::k##encoding, bits, is_mixed},
inline constexpr std::array kSampleTypes = {QV_SAMPLE_TYPE_TABLE(QV_SAMPLE_TYPE_ROW)};
#undef QV_SAMPLE_TYPE_ROW

/// Rows that have kernels, and those that have kernels that mix and measure too.
inline constexpr size_t kCopiedTypes = std::count_if(
    kSampleTypes.begin(), kSampleTypes.end(), [](const SampleTypeRow& row) { return row.bytes != 0; });
inline constexpr size_t kMixedTypes =
    std::count_if(kSampleTypes.begin(), kSampleTypes.end(), [](const SampleTypeRow& row) { return row.is_mixed; });

/// Tables of kernels begin with the first row.
constexpr bool kernels_come_first() {
  for (size_t i = 0; i < kSampleTypes.size(); ++i)
    if ((kSampleTypes[i].bytes != 0) != (i < kCopiedTypes) || kSampleTypes[i].is_mixed != (i < kMixedTypes))
      return false;
  return true;
}
static_assert(kernels_come_first());

/// The row's place among the first `count`, or -1.
constexpr int sample_type_index(QVSAMPLETYPE type, size_t count = kCopiedTypes) {
  for (size_t i = 0; i < count; ++i)
    if (kSampleTypes[i].type == type) return static_cast<int>(i);
  return -1;
}

} // namespace qv::audio
