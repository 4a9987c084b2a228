// Questions about wave format headers, and the mending of bad ones.
#include "audio/sub_format.h"

#include "qv/audio.h"

using qv::audio::equal_guid;
using qv::audio::sub_format_of;
using qv::audio::sub_format_of_tag;

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
