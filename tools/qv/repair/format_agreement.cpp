#include "tools/qv/repair/format_agreement.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>

namespace qv::tool {

namespace {

struct CompressedFormat {
  DWORD tag;
  const char* name;
};

constexpr CompressedFormat kCompressed[] = {{0x0002, "Microsoft ADPCM"},
                                            {0x0010, "OKI ADPCM"},
                                            {0x0011, "IMA ADPCM"},
                                            {0x0014, "G.723 ADPCM"},
                                            {0x0017, "Dialogic ADPCM"},
                                            {0x0020, "Yamaha ADPCM"},
                                            {0x0022, "TrueSpeech"},
                                            {0x0031, "GSM 6.10"},
                                            {0x0032, "MSN audio"},
                                            {0x0040, "G.721 ADPCM"},
                                            {0x0042, "G.723.1"},
                                            {0x0045, "G.726 ADPCM"},
                                            {0x0050, "MPEG"},
                                            {0x0055, "MP3"},
                                            {0x0064, "G.726 ADPCM"},
                                            {0x0065, "G.722 ADPCM"},
                                            {0x0070, "Lernout CELP"},
                                            {0x0075, "RT29 HQ"},
                                            {0x0092, "Dolby AC3"},
                                            {0x00FF, "AAC"},
                                            {0x0130, "Sipro ACELP"},
                                            {0x0160, "WMA 1"},
                                            {0x0161, "WMA"},
                                            {0x0162, "WMA Professional"},
                                            {0x0163, "WMA Lossless"},
                                            {0x0200, "Creative ADPCM"},
                                            {0x0270, "ATRAC3"},
                                            {0x1600, "AAC"},
                                            {0x1610, "AAC"},
                                            {0x2000, "Dolby AC3"},
                                            {0x2001, "DTS"},
                                            {0x566F, "Vorbis"},
                                            {0x674F, "Vorbis"},
                                            {0x6750, "Vorbis"},
                                            {0x6751, "Vorbis"},
                                            {0x676F, "Vorbis"},
                                            {0x6770, "Vorbis"},
                                            {0x6771, "Vorbis"},
                                            {0x704F, "Opus"},
                                            {0xA106, "AAC"},
                                            {0xA109, "Speex"},
                                            {0xF1AC, "FLAC"}};

// How the sub format of an extensible record ends when it begins with a tag.
constexpr BYTE kTagTail[] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

bool rate_agrees(const WAVEFORMATEX& format) {
  return format.nAvgBytesPerSec == uint64_t{format.nSamplesPerSec} * format.nBlockAlign;
}

bool align_agrees(const WAVEFORMATEX& format, DWORD tag) {
  return format.nChannels != 0 && format.nBlockAlign % format.nChannels == 0 &&
         fits_bytes(tag, format.wBitsPerSample, format.nBlockAlign / format.nChannels,
                    format.wFormatTag == WAVE_FORMAT_EXTENSIBLE);
}

} // namespace

bool has_fixed_samples(DWORD tag) {
  return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT || tag == kALawTag || tag == kMuLawTag;
}

const char* compressed_name(DWORD tag) {
  const auto row = std::find_if(std::begin(kCompressed), std::end(kCompressed),
                                [&](const CompressedFormat& format) { return format.tag == tag; });
  return row == std::end(kCompressed) ? nullptr : row->name;
}

bool looks_compressed(const WAVEFORMATEX& format) {
  constexpr WORD kMaxChannels = 32;
  constexpr DWORD kRates[] = {8'000, 11'025, 12'000, 16'000, 22'050, 24'000, 32'000, 44'100, 48'000, 96'000};
  return format.wFormatTag != WAVE_FORMAT_UNKNOWN && format.nChannels >= 1 && format.nChannels <= kMaxChannels &&
         format.nBlockAlign != 0 && format.nAvgBytesPerSec != 0 &&
         std::find(std::begin(kRates), std::end(kRates), format.nSamplesPerSec) != std::end(kRates) &&
         !agrees_as_samples(format, WAVE_FORMAT_PCM);
}

size_t strange_bytes(const GUID& sub_format) {
  const auto* const tail = reinterpret_cast<const BYTE*>(&sub_format) + sizeof(DWORD);
  return std::inner_product(tail, tail + sizeof kTagTail, kTagTail, size_t{0}, std::plus<>(), std::not_equal_to<>());
}

size_t own_bytes(const GUID& sub_format) {
  const auto* const tail = reinterpret_cast<const BYTE*>(&sub_format) + sizeof(DWORD);
  return std::inner_product(tail, tail + sizeof kTagTail, kTagTail, size_t{0}, std::plus<>(),
                            [](BYTE is, BYTE usual) { return is != usual && is != 0; });
}

GUID sub_format_of(DWORD tag) {
  GUID sub_format = {};
  std::memcpy(&sub_format, &tag, sizeof tag);
  std::memcpy(reinterpret_cast<BYTE*>(&sub_format) + sizeof tag, kTagTail, sizeof kTagTail);
  return sub_format;
}

DWORD tag_of(const WAVEFORMATEXTENSIBLE& record) {
  if (record.Format.wFormatTag != WAVE_FORMAT_EXTENSIBLE) return record.Format.wFormatTag;
  return strange_bytes(record.SubFormat) == 0 ? record.SubFormat.Data1 : WAVE_FORMAT_UNKNOWN;
}

bool fits_bytes(DWORD tag, DWORD bits, DWORD sample_bytes, bool is_extensible) {
  if (tag == WAVE_FORMAT_IEEE_FLOAT) return (bits == 32 || bits == 64) && sample_bytes * 8 == bits;
  if (tag == kALawTag || tag == kMuLawTag) return bits == 8 && sample_bytes == 1;
  const bool is_wider = (sample_bytes == 4 || (is_extensible && sample_bytes <= 8)) && bits >= 20;
  return bits >= 1 && bits <= 64 && ((bits + 7) / 8 == sample_bytes || (is_wider && bits <= 8 * sample_bytes));
}

bool agrees_as_samples(const WAVEFORMATEX& format, DWORD tag) {
  return format.nSamplesPerSec != 0 && align_agrees(format, tag) && rate_agrees(format);
}

std::optional<std::string> disagreement(const WAVEFORMATEXTENSIBLE& record) {
  const WAVEFORMATEX& format = record.Format;
  const DWORD tag = tag_of(record);
  if (!has_fixed_samples(tag)) {
    if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE || compressed_name(tag) || looks_compressed(format))
      return std::nullopt;
    return "the format tag " + std::to_string(tag) + " is none that is known, and no compressed format stands there";
  }
  if (!align_agrees(format, tag))
    return "a block align of " + std::to_string(format.nBlockAlign) + " is none of " +
           std::to_string(format.nChannels) + " channels of " + std::to_string(format.wBitsPerSample) + " bits";
  if (!rate_agrees(format))
    return "a byte rate of " + std::to_string(format.nAvgBytesPerSec) + " is none of " +
           std::to_string(format.nSamplesPerSec) + " Hz with a block align of " + std::to_string(format.nBlockAlign);
  return std::nullopt;
}

} // namespace qv::tool
