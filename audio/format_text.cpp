// Audio formats in words.
#include "audio/format_fields.h"
#include "audio/format_strings.h"

#include "qv/audio.h"
#include "qv/text.h"

#include <cstddef>
#include <iterator>

namespace {

using qv::audio::format_string;
using qv::audio::FormatString;
using qv::audio::kBareBytes;
using qv::audio::kHeaderBytes;
using qv::audio::may_be_bare;

struct TagString {
  uint32_t tag;
  FormatString string;
};

constexpr TagString kTagStrings[] = {
    {WAVE_FORMAT_PCM, FormatString::kPcm},          {WAVE_FORMAT_IEEE_FLOAT, FormatString::kPcmFloat},
    {QVTAG_UNPACKED, FormatString::kPcmUnpacked},   {QVTAG_SIGNED, FormatString::kPcmSigned},
    {QVTAG_BIGENDIAN, FormatString::kPcmBigEndian},
};

/// Speaker masks that have a name: the usual one and the one with side speakers.
struct SpeakerString {
  WORD channels;
  DWORD masks[2];
  FormatString string;
};

constexpr SpeakerString kSpeakerStrings[] = {
    {6, {0x3F, 0x60F}, FormatString::kFiveOne},
    {8, {0xFF, 0x63F}, FormatString::kSevenOne},
};

struct SampleTypeString {
  QVSAMPLETYPE type;
  FormatString string;
  int bits;
};

#define QV_SAMPLE_TYPE_STRING(type, value, name, container_bits, bytes, tag, encoding, bits, is_mixed, text)           \
  {type, FormatString::k##text, bits},
constexpr SampleTypeString kSampleTypeStrings[] = {QV_SAMPLE_TYPE_TABLE(QV_SAMPLE_TYPE_STRING)};
#undef QV_SAMPLE_TYPE_STRING

void put_text(WCHAR* dst, int dst_chars, const WCHAR* text) { QvCchPrintF(dst, dst_chars, QV_TEXT("%s"), text); }

HRESULT put_unknown(WCHAR* dst, int dst_chars) {
  put_text(dst, dst_chars, format_string(FormatString::kUnknown));
  return E_FAIL;
}

/// The rest of an extensible header whose cbSize says that it is there, or null.
const WAVEFORMATEXTENSIBLE* extensible_part(const WAVEFORMATEX* format) {
  if (format->wFormatTag != WAVE_FORMAT_EXTENSIBLE || format->cbSize < qv::audio::kExtensibleExtra) return nullptr;
  return &qv::audio::as_extensible(*format);
}

bool is_float(const WAVEFORMATEX* format) {
  const WAVEFORMATEXTENSIBLE* extensible = extensible_part(format);
  // An uncompressed extensible header is PCM or float, which its first field tells.
  return (extensible ? extensible->SubFormat.Data1 : format->wFormatTag) == WAVE_FORMAT_IEEE_FLOAT;
}

void put_channel_text(const WAVEFORMATEX* format, WCHAR* dst, int dst_chars) {
  if (format->nChannels == 1) return put_text(dst, dst_chars, format_string(FormatString::kMono));
  if (format->nChannels == 2) return put_text(dst, dst_chars, format_string(FormatString::kStereo));
  if (const WAVEFORMATEXTENSIBLE* extensible = extensible_part(format)) {
    const DWORD mask = extensible->dwChannelMask;
    for (const SpeakerString& row : kSpeakerStrings) {
      const bool has_mask = mask == row.masks[0] || mask == row.masks[1];
      if (has_mask && format->nChannels == row.channels) return put_text(dst, dst_chars, format_string(row.string));
    }
  }
  QvCchPrintF(dst, dst_chars, format_string(FormatString::kChannels), int{format->nChannels});
}

HRESULT put_compressed_text(const WAVEFORMATEX* format, WCHAR* dst, int dst_chars) {
  ACMFORMATDETAILSW details = {};
  details.cbStruct = sizeof details;
  details.dwFormatTag = format->wFormatTag;
  details.pwfx = const_cast<WAVEFORMATEX*>(format); // only read
  details.cbwfx = may_be_bare(format->wFormatTag) ? kBareBytes : kHeaderBytes + format->cbSize;
  if (acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT) != MMSYSERR_NOERROR)
    return put_unknown(dst, dst_chars);
  put_text(dst, dst_chars, details.szFormat);
  return S_OK;
}

} // namespace

HRESULT QvAudio_GetTagText(uint32_t formatTag, WCHAR* dst, int dstChars) {
  for (const TagString& row : kTagStrings) {
    if (row.tag != formatTag) continue;
    put_text(dst, dstChars, format_string(row.string));
    return S_OK;
  }
  ACMFORMATTAGDETAILSW details = {};
  details.cbStruct = sizeof details;
  details.dwFormatTag = formatTag;
  if (acmFormatTagDetailsW(nullptr, &details, ACM_FORMATTAGDETAILSF_FORMATTAG) != MMSYSERR_NOERROR)
    return put_unknown(dst, dstChars);
  put_text(dst, dstChars, details.szFormatTag);
  return S_OK;
}

HRESULT QvAudio_GetAttribsText(const WAVEFORMATEX* format, WCHAR* dst, int dstChars) {
  if (QvAudio_IsCompressed(format)) return put_compressed_text(format, dst, dstChars);
  WCHAR channels[64];
  put_channel_text(format, channels, static_cast<int>(std::size(channels)));
  const FormatString string = is_float(format) ? FormatString::kAttribsFloat : FormatString::kAttribs;
  QvCchPrintF(dst, dstChars, format_string(string), static_cast<int>(format->nSamplesPerSec),
              int{format->wBitsPerSample}, channels);
  return S_OK;
}

HRESULT QvAudio_GetAttribsText(const _qvwaveformat& format, WCHAR* dst, int dstChars) {
  const DWORD tag = format.FormatTag();
  const bool is_private = !format.IsCompressed() && !may_be_bare(tag);
  // As an extensible header a private layout would be taken for a compressed format.
  const QVWAVEFORMAT_COPY_DEST dest = is_private ? QVWAVEFORMAT_COPY_PLAIN : QVWAVEFORMAT_COPY_AUTO;
  struct {
    WAVEFORMATEXTENSIBLE header;
    BYTE extra[1024];
  } room = {};
  return QvAudio_GetAttribsText(QvAudio_GeneralCopyWfx(&room.header.Format, sizeof room, format, dest), dst, dstChars);
}

HRESULT QvAudio_GetSampleTypeText(QVSAMPLETYPE type, WCHAR* dst, int dstChars) {
  for (const SampleTypeString& row : kSampleTypeStrings) {
    if (row.type != type) continue;
    QvCchPrintF(dst, dstChars, format_string(row.string), row.bits);
    return S_OK;
  }
  put_text(dst, dstChars, QV_TEXT(""));
  return type == QVSAMPLE_NONE ? S_OK : E_FAIL;
}
