// Wave format headers written from records, from other headers, and from parts.
#include "audio/format_fields.h"

#include "qv/audio.h"

#include <algorithm>
#include <cstring>

using qv::audio::default_channel_mask;
using qv::audio::is_default_mask;
using qv::audio::kBareBytes;
using qv::audio::kExtensibleBytes;
using qv::audio::kExtensibleExtra;
using qv::audio::kHeaderBytes;
using qv::audio::kRecordBytes;
using qv::audio::kRecordExtra;
using qv::audio::may_be_bare;
using qv::audio::sub_format_of_tag;

namespace {

/// A header under construction: as large as any can be, so that nothing is written outside while it grows.
struct Draft {
  WAVEFORMATEXTENSIBLE header{};
  BYTE room[1024 + 2]{};

  WAVEFORMATEX& plain() { return header.Format; }
  BYTE* bytes() { return reinterpret_cast<BYTE*>(this); }
  WAVEFORMATEX* copy_to(WAVEFORMATEX* dst, DWORD count) {
    if (count > 0) std::memcpy(static_cast<void*>(dst), bytes(), count);
    return dst;
  }
};

/// Whether a header is written as extensible when there is room for it.
bool asks_extensible(QVWAVEFORMAT_COPY_DEST dest, DWORD flags, DWORD channels, DWORD mask) {
  switch (dest) {
  case QVWAVEFORMAT_COPY_AUTO: return (flags & QVWAVEFORMAT_EXTENSIBLE) || !is_default_mask(channels, mask);
  case QVWAVEFORMAT_COPY_MASK: return !is_default_mask(channels, mask);
  case QVWAVEFORMAT_COPY_MULTI: return channels > 2;
  case QVWAVEFORMAT_COPY_EXTENSIBLE: return true;
  default: return false;
  }
}

bool asks_extensible(const _qvwaveformat& record, QVWAVEFORMAT_COPY_DEST dest) {
  return asks_extensible(dest, record.flags, record.channels, record.channelMask);
}

void fill_plain(WAVEFORMATEX& header, DWORD tag, DWORD rate, DWORD bits, DWORD channels) {
  header.wFormatTag = static_cast<WORD>(tag);
  header.nChannels = static_cast<WORD>(channels);
  header.nSamplesPerSec = rate;
  header.wBitsPerSample = static_cast<WORD>(bits);
  header.nBlockAlign = static_cast<WORD>(bits / 8 * channels);
  header.nAvgBytesPerSec = header.nBlockAlign * rate;
  header.cbSize = 0;
}

/// Turns a plain header into an extensible one of the same bits.
void make_extensible(WAVEFORMATEXTENSIBLE& header, DWORD tag, DWORD mask) {
  const GUID sub_format = sub_format_of_tag(tag);
  std::memcpy(reinterpret_cast<BYTE*>(&header) + offsetof(WAVEFORMATEXTENSIBLE, SubFormat), &sub_format,
              sizeof sub_format);
  header.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  header.Format.cbSize = kExtensibleExtra;
  header.Samples.wValidBitsPerSample = header.Format.wBitsPerSample;
  header.dwChannelMask = mask;
}

/// Appends the record's extra bytes as far as `size` reaches; returns the header's length.
DWORD append_extra(Draft& draft, const _qvwaveformat& record, DWORD size) {
  WAVEFORMATEX& header = draft.plain();
  const WORD before = header.cbSize;
  const DWORD offset = may_be_bare(header.wFormatTag) ? kBareBytes : kHeaderBytes + before;
  const DWORD room = size > offset ? size - offset : 0;
  const DWORD count = std::min({record.ExtraCount(), room, static_cast<DWORD>(sizeof(Draft)) - offset});
  if (count == 0) return kHeaderBytes + before;
  std::memcpy(draft.bytes() + offset, record.ExtraBytes(), count);
  header.cbSize = static_cast<WORD>(before + count);
  return std::max<DWORD>(offset + count, kHeaderBytes);
}

DWORD draft_tagged(Draft& draft, DWORD size, const _qvwaveformat& record, QVWAVEFORMAT_COPY_DEST dest) {
  WAVEFORMATEX& header = draft.plain();
  fill_plain(header, record.formatTag, record.samplesPerSec, record.bitsPerSample, record.channels);
  header.nBlockAlign = record.blockAlign;
  header.nAvgBytesPerSec = record.avgBytesPerSec;
  const bool masked = !is_default_mask(record.channels, record.channelMask);
  if (masked && size >= kExtensibleBytes && asks_extensible(record, dest))
    make_extensible(draft.header, record.formatTag, record.channelMask);
  return append_extra(draft, record, size);
}

DWORD draft_uncompressed(Draft& draft, DWORD size, const _qvwaveformat& record, QVWAVEFORMAT_COPY_DEST dest) {
  const DWORD tag = QvAudio_FormatTagFromSampleType(record.sampleType);
  const DWORD bits = QvAudio_BitsFromSampleType(record.sampleType);
  fill_plain(draft.plain(), tag, record.samplesPerSec, bits, record.channels);
  if (size < kExtensibleBytes || !asks_extensible(record, dest)) return kHeaderBytes;
  make_extensible(draft.header, tag,
                  record.channelMask != 0 ? record.channelMask : default_channel_mask(record.channels));
  return kExtensibleBytes;
}

/// A header that calls itself extensible gets the room of one, however short it is: readers look at its sub-format.
WAVEFORMATEX* allocate_locked(DWORD bytes, DWORD tag) {
  const DWORD room = tag == WAVE_FORMAT_EXTENSIBLE ? std::max(bytes, kExtensibleBytes) : bytes;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, room);
  return block ? static_cast<WAVEFORMATEX*>(GlobalLock(block)) : nullptr;
}

} // namespace

WAVEFORMATEX* QvAudio_GeneralCopyWfx(WAVEFORMATEX* dst, DWORD dstSize, const _qvwaveformat& src,
                                     QVWAVEFORMAT_COPY_DEST dest) {
  Draft draft;
  const DWORD length =
      src.IsCompressed() ? draft_tagged(draft, dstSize, src, dest) : draft_uncompressed(draft, dstSize, src, dest);
  return draft.copy_to(dst, std::min(length, dstSize));
}

WAVEFORMATEX* _qvwaveformat::ToWfx(WAVEFORMATEX* dst, DWORD dstSize, QVWAVEFORMAT_COPY_DEST dest) const {
  return QvAudio_GeneralCopyWfx(dst, dstSize, *this, dest);
}

WAVEFORMATEX* QvAudio_CopyWfx(WAVEFORMATEX* dst, DWORD dstSize, const WAVEFORMATEX* src, QVWAVEFORMAT_COPY_DEST dest) {
  QVWAVEFORMATBUFFER record;
  record.format.Init(sizeof record, *src);
  return QvAudio_GeneralCopyWfx(dst, dstSize, record.format, dest);
}

WAVEFORMATEXTENSIBLE* QvAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src,
                                        QVWAVEFORMAT_COPY_DEST dest) {
  QvAudio_CopyWfx(&dst->Format, kExtensibleBytes, src, dest);
  return dst;
}

_qvwaveformat* QvAudio_GeneralCopyQvWaveFormat(_qvwaveformat* dst, DWORD capacity, const _qvwaveformat& src,
                                               QVWAVEFORMAT_COPY_DEST dest) {
  const DWORD room = capacity > kRecordExtra ? capacity - kRecordExtra : 0;
  const DWORD extra = std::min(src.ExtraCount(), room);
  std::memmove(static_cast<void*>(dst), &src, kRecordBytes);
  if (extra > 0) {
    const auto count = static_cast<WORD>(extra);
    std::memmove(reinterpret_cast<BYTE*>(dst) + kRecordExtra, src.ExtraBytes(), extra);
    std::memcpy(reinterpret_cast<BYTE*>(dst) + kRecordBytes, &count, sizeof count);
  }
  dst->cbStruct = kRecordBytes + extra;
  if (dest == QVWAVEFORMAT_COPY_AUTO) return dst;
  const bool extensible = asks_extensible(*dst, dest);
  dst->flags =
      (dst->flags & ~DWORD{QVWAVEFORMAT_EXTENSIBLE}) | (extensible ? DWORD{QVWAVEFORMAT_EXTENSIBLE} : DWORD{0});
  if (dest == QVWAVEFORMAT_COPY_PLAIN) dst->channelMask = 0;
  return dst;
}

WAVEFORMATEX* QvAudio_InitWfx(WAVEFORMATEX* dst, DWORD samplesPerSec, QVSAMPLETYPE type, WORD channels) {
  return QvAudio_InitWfxFlex(dst, static_cast<WORD>(QvAudio_FormatTagFromSampleType(type)), samplesPerSec,
                             static_cast<WORD>(QvAudio_BitsFromSampleType(type)), channels, 0, kHeaderBytes);
}

WAVEFORMATEX* QvAudio_InitWfxFlex(WAVEFORMATEX* dst, WORD formatTag, DWORD samplesPerSec, WORD bits, WORD channels,
                                  DWORD channelMask, DWORD dstSize) {
  Draft draft;
  fill_plain(draft.plain(), formatTag, samplesPerSec, bits, channels);
  DWORD length = kHeaderBytes;
  if (dstSize >= kExtensibleBytes && !is_default_mask(channels, channelMask)) {
    make_extensible(draft.header, formatTag, channelMask);
    length = kExtensibleBytes;
  }
  return draft.copy_to(dst, std::min(length, dstSize));
}

void QvAudio_CopyWfxToWfExt(const WAVEFORMATEX* src, WAVEFORMATEXTENSIBLE* dst) {
  std::memmove(dst, src, std::min<DWORD>(kHeaderBytes + src->cbSize, kExtensibleBytes));
}

HRESULT QvAudio_CopyWfExtToWfx(const WAVEFORMATEXTENSIBLE* src, WAVEFORMATEX* dst) {
  if (src->Format.wFormatTag != WAVE_FORMAT_EXTENSIBLE) {
    std::memmove(dst, src, kHeaderBytes);
    return S_OK;
  }
  const GUID sub_format = qv::audio::sub_format_of(src->Format);
  for (const WORD tag : {WORD{WAVE_FORMAT_PCM}, WORD{WAVE_FORMAT_IEEE_FLOAT}}) {
    if (!qv::audio::equal_guid(sub_format, sub_format_of_tag(tag))) continue;
    std::memmove(dst, src, kBareBytes);
    dst->wFormatTag = tag;
    dst->cbSize = 0;
    return S_OK;
  }
  return S_FALSE;
}

WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const WAVEFORMATEX* src, QVWAVEFORMAT_COPY_DEST dest) {
  const bool extensible = src->wFormatTag == WAVE_FORMAT_EXTENSIBLE;
  const bool exact = dest == QVWAVEFORMAT_COPY_AUTO || (extensible && dest == QVWAVEFORMAT_COPY_EXTENSIBLE) ||
                     (!extensible && (dest == QVWAVEFORMAT_COPY_MASK || dest == QVWAVEFORMAT_COPY_PLAIN));
  if (!exact) {
    struct {
      _qvwaveformat format;
      BYTE room[128 - sizeof(_qvwaveformat)];
    } record;
    static_assert(sizeof record == 128);
    record.format.Init(sizeof record, *src);
    return QvAudio_AllocAndCopyWfx(record.format, dest);
  }
  const DWORD bytes = kHeaderBytes + src->cbSize;
  WAVEFORMATEX* copy = allocate_locked(bytes, src->wFormatTag);
  if (copy) std::memcpy(static_cast<void*>(copy), src, bytes);
  return copy;
}

WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const _qvwaveformat& src, QVWAVEFORMAT_COPY_DEST dest) {
  const DWORD bytes = (asks_extensible(src, dest) ? kExtensibleBytes : kHeaderBytes) + src.ExtraCount();
  WAVEFORMATEX* copy = allocate_locked(bytes, src.FormatTag());
  return copy ? QvAudio_GeneralCopyWfx(copy, bytes, src, dest) : nullptr;
}

WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const _qvwaveformat* src, QVWAVEFORMAT_COPY_DEST dest) {
  return QvAudio_AllocAndCopyWfx(*src, dest);
}

_qvwaveformat_wfxcopyhelper::_qvwaveformat_wfxcopyhelper(const _qvwaveformat& format) : wfx_{} {
  format.ToWfx(&wfx_.Format, kHeaderBytes, QVWAVEFORMAT_COPY_PLAIN);
}

_qvwaveformat_wfxecopyhelper::_qvwaveformat_wfxecopyhelper(const _qvwaveformat& format) : wfx_{} {
  format.ToWfx(&wfx_.Format, sizeof wfx_, QVWAVEFORMAT_COPY_EXTENSIBLE);
}

void _qvwaveformat_wfxplus::Init(const WAVEFORMATEX* format, QVWAVEFORMAT_COPY_DEST dest) {
  wfx = {};
  QvAudio_CopyWfx(&wfx.Format, sizeof wfx, format, dest);
}
