#include "tools/qv/file/samples/sample_coding.h"

#include <array>
#include <cstring>

namespace qv::tool {

namespace {

constexpr DWORD kLargestSample = 8;

using LawTable = std::array<int16_t, 256>;

/// ITU-T G.711, table 1: 13 bits, here in the upper ones of 16.
constexpr LawTable a_law_table() {
  LawTable table = {};
  for (int code = 0; code < 256; ++code) {
    const int bits = code ^ 0x55;
    const int segment = bits >> 4 & 7;
    const int step = (bits & 15) * 16 + 8;
    const int magnitude = segment == 0 ? step : (step + 256) << (segment - 1);
    table[static_cast<size_t>(code)] = static_cast<int16_t>((bits & 0x80) != 0 ? magnitude : -magnitude);
  }
  return table;
}

/// ITU-T G.711, table 2: 14 bits, here in the upper ones of 16.
constexpr LawTable mu_law_table() {
  LawTable table = {};
  for (int code = 0; code < 256; ++code) {
    const int bits = code ^ 0xFF;
    const int magnitude = (((bits & 15) * 8 + 132) << (bits >> 4 & 7)) - 132;
    table[static_cast<size_t>(code)] = static_cast<int16_t>((bits & 0x80) != 0 ? -magnitude : magnitude);
  }
  return table;
}

constexpr LawTable kALaw = a_law_table();
constexpr LawTable kMuLaw = mu_law_table();

template <const LawTable& table>
void expand_law(void* samples, const BYTE* stored, size_t count, DWORD) {
  auto* const to = static_cast<int16_t*>(samples);
  for (size_t k = 0; k < count; ++k)
    to[k] = table[stored[k]];
}

/// Integers of five to eight bytes as doubles, which hold 53 bits of them.
void expand_long(void* samples, const BYTE* stored, size_t count, DWORD stored_bytes) {
  auto* const to = static_cast<double*>(samples);
  for (size_t k = 0; k < count; ++k) {
    int64_t value = 0;
    std::memcpy(reinterpret_cast<BYTE*>(&value) + kLargestSample - stored_bytes, stored + k * stored_bytes,
                stored_bytes);
    to[k] = static_cast<double>(value) * 0x1p-63;
  }
}

bool is_pcm(DWORD tag) {
  return tag == WAVE_FORMAT_PCM || tag == QVTAG_UNPACKED || tag == QVTAG_SIGNED || tag == QVTAG_BIGENDIAN;
}

/// Bits that do not fill their bytes stand in the upper ones: the bytes are then read as if all bits counted.
SampleCoding integer_coding(DWORD tag, DWORD stored_bytes) {
  switch (stored_bytes) {
  case 1: return {tag == WAVE_FORMAT_PCM ? QVSAMPLE_PCM8 : QVSAMPLE_PCM8SIGNED, 1};
  case 2: return {QVSAMPLE_PCM16, 2};
  case 3: return {QVSAMPLE_PCM24, 3};
  case 4: return {QVSAMPLE_PCM32, 4};
  default: return {QVSAMPLE_FLOAT64, stored_bytes, expand_long};
  }
}

} // namespace

bool is_pcm_or_float(DWORD tag) { return is_pcm(tag) || tag == WAVE_FORMAT_IEEE_FLOAT; }

SampleCoding coding_of(const AudioFile& audio) {
  const WAVEFORMATEX& header = *audio.wave_header();
  const DWORD tag = audio.format().FormatTag();
  const DWORD bits = header.wBitsPerSample;
  const DWORD bytes = header.nChannels == 0 ? 0 : header.nBlockAlign / header.nChannels;
  if (bytes == 0 || bytes > kLargestSample || header.nBlockAlign % header.nChannels != 0) return {};
  const bool is_extensible = header.wFormatTag == WAVE_FORMAT_EXTENSIBLE;
  if (tag == QVTAG_UNPACKED && !is_extensible) // in the lower bits
    return bytes == 4 ? SampleCoding{QVSAMPLE_PCM24IN32, 4} : SampleCoding{};
  if (is_pcm(tag)) {
    // An extensible header says how wide its samples stand; elsewhere that follows from their bits, but for 32.
    const bool is_wide = is_extensible || (bytes == 4 && bits >= 20);
    const bool fits = is_wide ? bits <= 8 * bytes : bytes == (bits + 7) / 8;
    return fits && bits != 0 ? integer_coding(tag, bytes) : SampleCoding{};
  }
  if (bits != 8 * bytes) return {};
  switch (tag) {
  case WAVE_FORMAT_IEEE_FLOAT: return bytes < 4 ? SampleCoding{} : SampleCoding{audio.format().sampleType, bytes};
  case WAVE_FORMAT_ALAW: return {bytes == 1 ? QVSAMPLE_PCM16 : QVSAMPLE_NONE, 1, expand_law<kALaw>};
  case WAVE_FORMAT_MULAW: return {bytes == 1 ? QVSAMPLE_PCM16 : QVSAMPLE_NONE, 1, expand_law<kMuLaw>};
  default: return {};
  }
}

} // namespace qv::tool
