#include "tools/qv/mp4/track/sample_entry.h"

#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/mp4/track/audio_config.h"

#include "qv/win32.h"

#include <bit>
#include <cmath>

namespace qv::tool {

namespace {

/// Codecs whose samples have a width of their own, and what it is; 0: that of the entry.
constexpr struct {
  fileutil::FourCC codec;
  uint32_t bits;
} kPcm[] = {
    {QvFourCC("sowt"), 0},  {QvFourCC("twos"), 0},  {QvFourCC("raw "), 0},  {QvFourCC("NONE"), 0},
    {QvFourCC("lpcm"), 0},  {QvFourCC("ipcm"), 0},  {QvFourCC("fpcm"), 0},  {QvFourCC("in24"), 24},
    {QvFourCC("in32"), 32}, {QvFourCC("fl32"), 32}, {QvFourCC("fl64"), 64},
};

/// 3GPP TS 26.244, clause 6: the entry's own fields say nothing of these.
constexpr struct {
  fileutil::FourCC codec;
  uint32_t sample_rate;
} kAmr[] = {{QvFourCC("samr"), 8000}, {QvFourCC("sawb"), 16000}};

uint32_t bits_of(fileutil::FourCC codec, uint32_t stored) {
  for (const auto& row : kPcm)
    if (row.codec == codec) return row.bits != 0 ? row.bits : stored;
  return 0;
}

/// The fields that QuickTime's second version of an audio entry has instead: Apple's QuickTime File Format, "Sound
/// Sample Description (Version 2)".
void take_version_2(ChunkBytes& fields, SampleFormat& format, uint32_t& bits) {
  fields.take(4); // size of the fixed part
  const double rate = std::bit_cast<double>(fields.word<uint64_t>());
  if (rate >= 1 && rate < 4294967296.0) format.sample_rate = static_cast<uint32_t>(rate);
  format.channels = fields.word<DWORD>();
  fields.take(4);
  bits = fields.word<DWORD>();
  fields.take(4 + 4 + 4);
}

void parse_audio(ChunkBytes fields, SampleFormat& format) {
  const WORD version = fields.word<WORD>();
  fields.take(2 + 4);
  format.channels = fields.word<WORD>();
  uint32_t bits = fields.word<WORD>();
  fields.take(4);
  format.sample_rate = fields.word<DWORD>() >> 16;
  if (version == 1) fields.take(16);
  if (version == 2) take_version_2(fields, format, bits);
  format.bits = bits_of(format.codec, bits);
  for (const auto& row : kAmr)
    if (row.codec == format.codec) {
      format.sample_rate = row.sample_rate;
      format.channels = 1;
    }
  apply_audio_config(fields.rest(), format);
}

void parse_video(ChunkBytes fields, SampleFormat& format) {
  fields.take(16);
  format.width = fields.word<WORD>();
  format.height = fields.word<WORD>();
}

} // namespace

SampleFormat parse_sample_format(std::string_view stsd, fileutil::FourCC handler) {
  constexpr size_t kBeforeEntries = 8; // version and flags, number of entries
  constexpr size_t kBeforeFields = 8;  // reserved, data reference
  SampleFormat format;
  RawBoxes entries(stsd.substr(std::min(stsd.size(), kBeforeEntries)));
  const auto entry = entries.next();
  if (!entry) return format;
  format.codec = entry->type;
  format.codec_name = codec_name(entry->type);
  ChunkBytes fields = big_endian(entry->payload);
  fields.take(kBeforeFields);
  if (handler == QvFourCC("soun")) parse_audio(fields, format);
  if (handler == QvFourCC("vide")) parse_video(fields, format);
  return format;
}

} // namespace qv::tool
