// The compact format record: how it is filled, what it says, and when two are equal.
#include "audio/format_fields.h"

#include "qv/audio.h"

#include <algorithm>
#include <cstring>

using qv::audio::kExtensibleExtra;
using qv::audio::kRecordBytes;
using qv::audio::kRecordExtra;
using qv::audio::same_channel_mask;

namespace {

constexpr DWORD kMaxExtraBytes = 1024;

void clear(_qvwaveformat* record, DWORD capacity) {
  const DWORD bytes = capacity < kRecordBytes + 1 ? kRecordBytes : capacity;
  std::memset(static_cast<void*>(record), 0, bytes);
  record->cbStruct = kRecordBytes;
}

/// The type that the bits of an extensible header with an empty sub-format tell.
QVSAMPLETYPE type_of_nameless(const WAVEFORMATEX& format) {
  if (!qv::audio::is_zero_guid(qv::audio::sub_format_of(format))) return QVSAMPLE_NONE;
  if (format.cbSize != 0 && format.cbSize != kExtensibleExtra) return QVSAMPLE_NONE;
  // Bits, not bytes: headers of this kind are told by exactly this mistake.
  if (format.nBlockAlign != DWORD{format.nChannels} * format.wBitsPerSample) return QVSAMPLE_NONE;
  if (format.nAvgBytesPerSec != format.nBlockAlign * format.nSamplesPerSec) return QVSAMPLE_NONE;
  switch (format.wBitsPerSample) {
  case 8: return QVSAMPLE_PCM8;
  case 16: return QVSAMPLE_PCM16;
  case 24: return QVSAMPLE_PCM24;
  case 32: return QVSAMPLE_FLOAT32;
  case 64: return QVSAMPLE_FLOAT64;
  default: return QVSAMPLE_NONE;
  }
}

void copy_extra(_qvwaveformat* record, DWORD capacity, const BYTE* extra, DWORD count) {
  const DWORD room = capacity > kRecordExtra ? capacity - kRecordExtra : 0;
  count = std::min({count, kMaxExtraBytes, room});
  if (count == 0) return;
  record->extraSize = static_cast<WORD>(count);
  std::memcpy(reinterpret_cast<BYTE*>(record) + kRecordExtra, extra, count);
  record->cbStruct = kRecordBytes + count;
}

/// Tag, bits and extra bytes of a format that is no uncompressed layout.
void describe_by_tag(_qvwaveformat* record, DWORD capacity, const WAVEFORMATEX& format) {
  record->flags |= QVWAVEFORMAT_TAGGED;
  record->formatTag = format.wFormatTag;
  record->bitsPerSample = format.wBitsPerSample;
  if (qv::audio::may_be_bare(format.wFormatTag)) return;
  const auto* extra = reinterpret_cast<const BYTE*>(&format) + qv::audio::kHeaderBytes;
  DWORD count = format.cbSize;
  if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    if (count < kExtensibleExtra) return; // part of the fields that the tag promises, and nothing behind them
    const GUID sub_format = qv::audio::sub_format_of(format);
    record->formatTag = qv::audio::names_format_tag(sub_format) ? static_cast<WORD>(sub_format.Data1) : 0;
    extra += kExtensibleExtra;
    count -= kExtensibleExtra;
  }
  copy_extra(record, capacity, extra, count);
}

} // namespace

void _qvwaveformat::Init(DWORD samplesPerSecond, QVSAMPLETYPE type, WORD channelCount, DWORD mask, DWORD capacity) {
  clear(this, capacity);
  sampleType = type;
  samplesPerSec = samplesPerSecond;
  channels = channelCount;
  channelMask = mask;
  UpdateBlockAlign();
}

void _qvwaveformat::InitAsWfx(WORD tag, DWORD samplesPerSecond, WORD bits, WORD channelCount, DWORD mask,
                              DWORD capacity) {
  clear(this, capacity);
  if (tag == WAVE_FORMAT_PCM && bits == 20) bits = 24;
  sampleType = QvAudio_GetSampleType2(tag, bits);
  samplesPerSec = samplesPerSecond;
  channels = channelCount;
  channelMask = mask;
  if (sampleType == QVSAMPLE_NONE) {
    flags |= QVWAVEFORMAT_TAGGED;
    formatTag = tag;
    bitsPerSample = bits;
  }
  blockAlign = static_cast<WORD>(DWORD{channelCount} * bits / 8);
  avgBytesPerSec = blockAlign * samplesPerSec;
}

void _qvwaveformat::Init(DWORD capacity, const WAVEFORMATEX& format) {
  clear(this, capacity);
  samplesPerSec = format.nSamplesPerSec;
  channels = format.nChannels;
  blockAlign = format.nBlockAlign;
  avgBytesPerSec = format.nAvgBytesPerSec;
  sampleType = QvAudio_GetSampleType(&format);
  if (format.wFormatTag == WAVE_FORMAT_PCM) {
    const DWORD bits = format.wBitsPerSample == 20 ? 24 : format.wBitsPerSample;
    blockAlign = static_cast<WORD>(bits / 8 * format.nChannels);
  }
  if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    flags |= QVWAVEFORMAT_EXTENSIBLE;
    channelMask = qv::audio::as_extensible(format).dwChannelMask;
    if (sampleType == QVSAMPLE_NONE) sampleType = type_of_nameless(format);
  }
  if (sampleType == QVSAMPLE_NONE) describe_by_tag(this, capacity, format);
}

DWORD _qvwaveformat::UpdateBlockAlign() {
  if (sampleType != QVSAMPLE_NONE) {
    blockAlign = static_cast<WORD>(QvAudio_BytesFromSampleType(sampleType) * channels);
    avgBytesPerSec = blockAlign * samplesPerSec;
  }
  return blockAlign;
}

DWORD _qvwaveformat::FormatTag() const {
  return IsCompressed() ? formatTag : QvAudio_FormatTagFromSampleType(sampleType);
}

DWORD _qvwaveformat::BitsPerSample() const {
  return IsCompressed() ? bitsPerSample : QvAudio_BitsFromSampleType(sampleType);
}

DWORD _qvwaveformat::BytesPerSample() const {
  return IsCompressed() ? bitsPerSample / 8 : QvAudio_BytesFromSampleType(sampleType);
}

bool _qvwaveformat::IsCompressed() const { return (flags & QVWAVEFORMAT_TAGGED) != 0; }

DWORD _qvwaveformat::ExtraCount() const { return cbStruct >= kRecordExtra ? extraSize : 0; }

const BYTE* _qvwaveformat::ExtraBytes() const { return reinterpret_cast<const BYTE*>(this) + kRecordExtra; }

bool _qvwaveformat::operator==(const _qvwaveformat& other) const {
  if (sampleType != other.sampleType || samplesPerSec != other.samplesPerSec || channels != other.channels)
    return false;
  if (IsCompressed() != other.IsCompressed()) return false;
  if (!same_channel_mask(channels, channelMask, other.channelMask)) return false;
  if (!IsCompressed()) return true;
  return formatTag == other.formatTag && avgBytesPerSec == other.avgBytesPerSec &&
         bitsPerSample == other.bitsPerSample && ExtraCount() == other.ExtraCount() &&
         std::memcmp(ExtraBytes(), other.ExtraBytes(), ExtraCount()) == 0;
}

bool _qvwaveformat::operator==(const WAVEFORMATEX& format) const {
  if (samplesPerSec != format.nSamplesPerSec || channels != format.nChannels) return false;
  const bool extensible = format.wFormatTag == WAVE_FORMAT_EXTENSIBLE;
  const DWORD mask = extensible ? qv::audio::as_extensible(format).dwChannelMask : 0;
  if (!same_channel_mask(channels, channelMask, mask)) return false;
  if (!IsCompressed()) return sampleType == QvAudio_GetSampleType(&format);
  return formatTag == format.wFormatTag && avgBytesPerSec == format.nAvgBytesPerSec &&
         bitsPerSample == format.wBitsPerSample;
}
