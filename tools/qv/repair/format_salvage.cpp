#include "tools/qv/repair/format_salvage.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr DWORD kMinRate = 2'000;
constexpr DWORD kMaxRate = 192'000;

bool is_one_of(WORD value, std::initializer_list<WORD> values) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

/// Whether the block align gives each channel the same number of bytes, at least those that the bits need.
bool fits_samples(const WAVEFORMATEX& format) {
  const DWORD bits = format.wBitsPerSample;
  const DWORD sample = format.nBlockAlign / format.nChannels;
  return bits >= 1 && bits <= 64 && format.nBlockAlign % format.nChannels == 0 && sample >= (bits + 7) / 8 &&
         sample <= 8;
}

bool usual_rate(const WAVEFORMATEX& format) {
  return format.nSamplesPerSec >= kMinRate && format.nSamplesPerSec <= kMaxRate;
}

bool rate_agrees(const WAVEFORMATEX& format) {
  return format.nAvgBytesPerSec == uint64_t{format.nSamplesPerSec} * format.nBlockAlign;
}

/// Whether a compressed format can be one. Little is known of it, but what looks like samples under the tag of another
/// format is samples.
bool compressed_makes_sense(const WAVEFORMATEX& format) {
  constexpr WORD kLaw[] = {6, 7}; // A-law and mu-law: samples too, of 8 bits
  const bool is_law = format.wFormatTag == kLaw[0] || format.wFormatTag == kLaw[1];
  const bool looks_like_samples = format.wBitsPerSample % 8 == 0 && format.wBitsPerSample != 0 &&
                                  format.nBlockAlign == DWORD{format.nChannels} * (format.wBitsPerSample / 8) &&
                                  rate_agrees(format);
  return format.wFormatTag != 0 && format.nAvgBytesPerSec != 0 && usual_rate(format) && (is_law || !looks_like_samples);
}

} // namespace

WAVEFORMATEXTENSIBLE loaded(const std::string& record) {
  WAVEFORMATEXTENSIBLE format = {};
  const size_t bytes = std::min(record.size(), sizeof format);
  std::memcpy(&format, record.data(), bytes);
  const size_t extra = bytes - std::min(bytes, sizeof(WAVEFORMATEX));
  format.Format.cbSize = static_cast<WORD>(std::min<size_t>(format.Format.cbSize, extra));
  return format;
}

bool makes_sense(const std::string& record) {
  const WAVEFORMATEXTENSIBLE whole = loaded(record);
  const WAVEFORMATEX& format = whole.Format;
  if (format.nChannels == 0 || format.nSamplesPerSec == 0 || format.nBlockAlign == 0) return false;
  const bool is_extensible = format.wFormatTag == WAVE_FORMAT_EXTENSIBLE;
  if (is_extensible && record.size() < sizeof whole) return false;
  const DWORD tag = is_extensible ? whole.SubFormat.Data1 : format.wFormatTag;
  if (tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT)
    return fits_samples(format) && (usual_rate(format) || rate_agrees(format));
  return is_extensible || compressed_makes_sense(format);
}

WAVEFORMATEXTENSIBLE mended(const std::string& record, const WAVEFORMATEX& hint) {
  WAVEFORMATEXTENSIBLE whole = {};
  WAVEFORMATEX& format = whole.Format;
  format = loaded(record).Format;
  if (format.nSamplesPerSec < kMinRate || format.nSamplesPerSec > kMaxRate) format.nSamplesPerSec = hint.nSamplesPerSec;
  if (format.nChannels != 1 && format.nChannels != 2) format.nChannels = hint.nChannels;
  if (!is_one_of(format.wFormatTag, {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT})) format.wFormatTag = hint.wFormatTag;
  const WORD bits = hint.wBitsPerSample;
  if (format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    if (!is_one_of(format.wBitsPerSample, {32, 64})) format.wBitsPerSample = bits <= 32 ? 32 : 64;
  } else if (!is_one_of(format.wBitsPerSample, {8, 16, 24, 32})) {
    format.wBitsPerSample = std::min<WORD>(bits, 32);
  }
  format.cbSize = 0;
  format.nBlockAlign = static_cast<WORD>(format.wBitsPerSample / 8 * format.nChannels);
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
  return whole;
}

std::string record_bytes(const WAVEFORMATEXTENSIBLE& format, size_t size) {
  return {reinterpret_cast<const char*>(&format), size};
}

} // namespace qv::tool
