#include "tools/qv/repair/common_chunk.h"

#include "tools/qv/file/byte_string.h"

#include "qv/iff.h"

#include <algorithm>
#include <bit>

namespace qv::tool {

namespace {

constexpr DWORD kMaxChannels = 32;
constexpr size_t kRateBytes = 10;
constexpr DWORD kRates[] = {44'100, 48'000, 96'000, 88'200, 192'000, 32'000, 22'050, 16'000, 8'000, 11'025, 176'400};
/// The compression types whose samples have a fixed number of bytes.
constexpr const char* kPlainTypes[] = {"NONE", "sowt", "twos", "raw ", "in24", "in32", "fl32", "FL32",
                                       "fl64", "FL64", "alaw", "ALAW", "ulaw", "ULAW", "42ni", "23ni"};

DWORD big(const std::string& bytes, size_t at, size_t count) {
  DWORD value = 0;
  for (size_t k = 0; k < count; ++k)
    value = value << 8 | static_cast<BYTE>(bytes[at + k]);
  return value;
}

std::string rate_bytes(DWORD rate) {
  WORD exponent = 0;
  WORD mantissa[4] = {};
  aiff_CreateRate(rate, &exponent, &mantissa[0], &mantissa[1], &mantissa[2], &mantissa[3]);
  ByteString bytes;
  bytes.big(exponent, 2);
  for (const WORD word : mantissa)
    bytes.big(word, 2);
  return bytes;
}

struct Common {
  DWORD channels, frames, bits;
  std::string rate, type;

  DWORD block_align() const {
    const bool is_law = type == "alaw" || type == "ulaw" || type == "ALAW" || type == "ULAW";
    return channels * (is_law ? 1 : (bits + 7) / 8);
  }
};

Common parsed(const std::string& record) {
  return {big(record, 0, 2), big(record, 2, 4), big(record, 6, 2), record.substr(8, kRateBytes),
          record.size() >= 22 ? record.substr(18, 4) : std::string()};
}

/// Whether a rate is a whole number of hertz that may be one: its exponent is that of 2,048 to 524,287, and no bit says
/// a fraction.
bool is_rate(const std::string& rate) {
  const DWORD exponent = big(rate, 0, 2);
  const DWORD mantissa = big(rate, 2, 4);
  constexpr DWORD kLowest = 16'383 + 10;
  constexpr DWORD kHighest = 16'383 + 18;
  return exponent >= kLowest && exponent <= kHighest && mantissa >> 31 == 1 &&
         mantissa << (exponent - 16'383 + 1) == 0 && big(rate, 6, 4) == 0;
}

int wrong_bits(const std::string& one, const std::string& other) {
  int bits = 0;
  for (size_t k = 0; k < one.size(); ++k)
    bits += std::popcount(static_cast<unsigned char>(one[k] ^ other[k]));
  return bits;
}

bool are_samples(const Common& common) {
  return common.channels >= 1 && common.channels <= kMaxChannels && common.bits >= 1 && common.bits <= 64;
}

bool is_plain_type(const std::string& type) {
  return std::any_of(
      std::begin(kPlainTypes), std::end(kPlainTypes), [&](const char* plain) { return type == plain; });
}

/// The rate that was asked for, else the usual one that differs in the fewest bits.
DWORD nearest_rate(const std::string& rate, const RepairHint& hint) {
  const bool is_erased = rate.find_first_not_of(rate[0]) == std::string::npos;
  if (hint.rate || is_erased) return hint.format().nSamplesPerSec;
  return *std::min_element(std::begin(kRates), std::end(kRates), [&](DWORD a, DWORD b) {
    return wrong_bits(rate_bytes(a), rate) < wrong_bits(rate_bytes(b), rate);
  });
}

/// Takes channels or bits for ruined where the count of frames says so, and else by the hints.
void mend_samples(Common& common, uint64_t audio_bytes, const RepairHint& hint) {
  const WAVEFORMATEX wanted = hint.format();
  const uint64_t per_frame = common.frames != 0 && audio_bytes % common.frames == 0 ? audio_bytes / common.frames : 0;
  const bool has_bits = common.bits >= 1 && common.bits <= 64;
  const bool has_channels = common.channels >= 1 && common.channels <= kMaxChannels;
  const uint64_t bytes = (common.bits + 7) / 8;
  if (has_bits && per_frame % bytes == 0 && per_frame / bytes >= 1 && per_frame / bytes <= kMaxChannels)
    common.channels = static_cast<DWORD>(per_frame / bytes);
  else if (has_channels && per_frame % common.channels == 0 && per_frame / common.channels >= 1 &&
           per_frame / common.channels <= 8)
    common.bits = static_cast<DWORD>(per_frame / common.channels * 8);
  if (common.channels < 1 || common.channels > kMaxChannels) common.channels = wanted.nChannels;
  if (common.bits < 1 || common.bits > 64) common.bits = wanted.wBitsPerSample;
}

std::string text_of(const Common& common, DWORD rate) {
  return std::to_string(rate) + " Hz, " + std::to_string(common.bits) + " Bit, " + std::to_string(common.channels) +
         (common.channels == 1 ? " channel" : " channels");
}

DWORD rate_of(const std::string& rate) {
  const WORD words[4] = {static_cast<WORD>(big(rate, 2, 2)), static_cast<WORD>(big(rate, 4, 2)),
                         static_cast<WORD>(big(rate, 6, 2)), static_cast<WORD>(big(rate, 8, 2))};
  return aiff_ConvertRate(static_cast<WORD>(big(rate, 0, 2)), words[0], words[1], words[2], words[3]);
}

} // namespace

bool common_makes_sense(const std::string& record) {
  if (record.size() < 18) return false;
  const Common common = parsed(record);
  return are_samples(common) && is_rate(common.rate);
}

FormatReading read_common(const std::string& record, uint64_t audio_bytes, bool has_type, const RepairHint& hint) {
  Common common = parsed(record);
  FormatReading reading = {record, {}, 1};
  if (has_type && !is_plain_type(common.type)) {
    std::string nearest;
    for (const char* const plain : kPlainTypes)
      if (common.type.size() == 4 && nearest.empty() && wrong_bytes(common.type, plain) == 1) nearest = plain;
    reading.is_compressed = nearest.empty();
    if (nearest.empty()) reading.notes.emplace_back("a compressed format, which is not mended");
    if (nearest.empty()) return reading;
    common.type = nearest;
  }
  const bool sound = are_samples(common);
  const uint64_t align = common.block_align();
  const bool counts = sound && uint64_t{common.frames} * align == audio_bytes;
  if (!sound || (!counts && audio_bytes % align != 0)) mend_samples(common, audio_bytes, hint);
  if (!is_rate(common.rate)) common.rate = rate_bytes(nearest_rate(common.rate, hint));
  reading.block_align = std::max<DWORD>(common.block_align(), 1);
  common.frames = static_cast<DWORD>(std::min<uint64_t>(audio_bytes / reading.block_align, 0xFFFFFFFF));
  ByteString mended;
  mended.big(common.channels, 2).big(common.frames, 4).big(common.bits, 2).text(common.rate).text(common.type);
  const std::string& bytes = mended;
  const bool is_same = record.compare(0, 2, bytes, 0, 2) == 0 && record.compare(6, 12, bytes, 6, 12) == 0;
  reading.notes.push_back((is_same ? "format: " : "the \"COMM\" chunk does not make sense, taken as ") +
                          text_of(common, rate_of(common.rate)));
  reading.record.replace(0, bytes.size(), bytes);
  return reading;
}

} // namespace qv::tool
