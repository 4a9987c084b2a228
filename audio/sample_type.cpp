// What a sample type says, and what a header says of its samples; the mending of bad headers.
#include "audio/format_fields.h"
#include "audio/sample_type_table.h"

#include "qv/audio.h"

using qv::audio::equal_guid;
using qv::audio::kSampleTypes;
using qv::audio::SampleTypeRow;
using qv::audio::sub_format_of;
using qv::audio::sub_format_of_tag;

namespace {

const SampleTypeRow* row_of(QVSAMPLETYPE type) {
  for (const SampleTypeRow& row : kSampleTypes)
    if (row.type == type) return &row;
  return nullptr;
}

struct TagBits {
  uint32_t tag;
  uint32_t bits;
  QVSAMPLETYPE type;
};

// Beside the rows: 20 bits count as 24, the private tags take widths that are never written with them, and nothing is
// written with the tag of the "RA" types.
constexpr TagBits kOtherTags[] = {
    {WAVE_FORMAT_PCM, 20, QVSAMPLE_PCM24}, {QVTAG_UNPACKED, 24, QVSAMPLE_PCM24IN32},
    {QVTAG_SIGNED, 16, QVSAMPLE_PCM16},    {QVTAG_SIGNED, 20, QVSAMPLE_PCM24},
    {QVTAG_SIGNED, 24, QVSAMPLE_PCM24},    {QVTAG_SIGNED, 32, QVSAMPLE_PCM32},
    {QVTAG_BIGENDIAN, 8, QVSAMPLE_PCM8},   {QVTAG_RA, 16, QVSAMPLE_RA16},
    {QVTAG_RA, 24, QVSAMPLE_RA24},
};

} // namespace

uint32_t QvAudio_BitsFromSampleType(QVSAMPLETYPE type) {
  const SampleTypeRow* row = row_of(type);
  return row ? row->container_bits : 0;
}

uint32_t QvAudio_BytesFromSampleType(QVSAMPLETYPE type) {
  const SampleTypeRow* row = row_of(type);
  return row ? row->bytes : 0;
}

uint32_t QvAudio_FormatTagFromSampleType(QVSAMPLETYPE type) {
  const SampleTypeRow* row = row_of(type);
  return row ? row->tag : 0;
}

QVSAMPLETYPE QvAudio_GetSampleType2(uint32_t formatTag, uint32_t bitsPerSample) {
  for (const SampleTypeRow& row : kSampleTypes)
    if (row.bytes != 0 && row.tag == formatTag && row.container_bits == bitsPerSample) return row.type;
  for (const TagBits& row : kOtherTags)
    if (row.tag == formatTag && row.bits == bitsPerSample) return row.type;
  return QVSAMPLE_NONE;
}

QVSAMPLETYPE QvAudio_GetSampleType(const WAVEFORMATEX* format) {
  if (format->wFormatTag != WAVE_FORMAT_EXTENSIBLE)
    return QvAudio_GetSampleType2(format->wFormatTag, format->wBitsPerSample);
  const GUID sub_format = sub_format_of(*format);
  if (!qv::audio::names_format_tag(sub_format)) return QVSAMPLE_NONE;
  const QVSAMPLETYPE type = QvAudio_GetSampleType2(sub_format.Data1 & 0xFFFF, format->wBitsPerSample);
  const WORD valid_bits = qv::audio::as_extensible(*format).Samples.wValidBitsPerSample;
  if (type == QVSAMPLE_PCM32 && valid_bits == 24) return QVSAMPLE_PCM24IN32;
  return type;
}

BOOL QvAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b) {
  return a->nChannels == b->nChannels && a->nSamplesPerSec == b->nSamplesPerSec && a->wFormatTag == b->wFormatTag &&
         a->wBitsPerSample == b->wBitsPerSample;
}

BOOL QvAudio_IsCompressedExtensible(const WAVEFORMATEXTENSIBLE* format) {
  if (format->Format.cbSize < qv::audio::kExtensibleExtra) return TRUE;
  const GUID sub_format = sub_format_of(format->Format);
  return !equal_guid(sub_format, sub_format_of_tag(WAVE_FORMAT_PCM)) &&
         !equal_guid(sub_format, sub_format_of_tag(WAVE_FORMAT_IEEE_FLOAT));
}

BOOL QvAudio_IsCompressed(const WAVEFORMATEX* format) {
  switch (format->wFormatTag) {
  case WAVE_FORMAT_PCM:
  case WAVE_FORMAT_IEEE_FLOAT:
  case QVTAG_UNPACKED:
  case QVTAG_SIGNED:
  case QVTAG_BIGENDIAN: return format->nBlockAlign != DWORD{format->wBitsPerSample} / 8 * format->nChannels;
  case WAVE_FORMAT_EXTENSIBLE: return QvAudio_IsCompressedExtensible(&qv::audio::as_extensible(*format));
  default: return TRUE;
  }
}

BOOL QvAudio_FixBadWfx(WAVEFORMATEX* format) {
  if (format->wFormatTag != WAVE_FORMAT_PCM) return FALSE;
  BOOL changed = FALSE;
  if (format->wBitsPerSample == 20) {
    format->wBitsPerSample = 24;
    changed = TRUE;
  }
  const auto block_align = static_cast<WORD>(format->wBitsPerSample / 8 * format->nChannels);
  if (format->nBlockAlign != block_align) {
    format->nBlockAlign = block_align;
    changed = TRUE;
  }
  return changed;
}

uint32_t GetByteOffsetFromChannelEnum(uint32_t channel, int32_t pixelBytes) {
  if (channel < 1 || channel > 3) return 0;
  return channel * static_cast<uint32_t>(pixelBytes / 4);
}
