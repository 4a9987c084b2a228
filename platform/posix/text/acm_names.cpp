#include "qv/win32.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

struct FormatTagName {
  WORD tag;
  const char* name;
};

// Wave form codes of RFC 2361 (appendix A) and of the system's published list, ascending.
constexpr FormatTagName kNames[] = {
    {0x0001, "PCM"},
    {0x0002, "Microsoft ADPCM"},
    {0x0003, "IEEE Float"},
    {0x0004, "Compaq VSELP"},
    {0x0005, "IBM CVSD"},
    {0x0006, "CCITT A-Law"},
    {0x0007, "CCITT u-Law"},
    {0x0008, "DTS"},
    {0x0010, "OKI ADPCM"},
    {0x0011, "IMA ADPCM"},
    {0x0012, "Videologic MediaSpace ADPCM"},
    {0x0013, "Sierra ADPCM"},
    {0x0014, "Antex G.723 ADPCM"},
    {0x0015, "DSP Solutions DIGISTD"},
    {0x0016, "DSP Solutions DIGIFIX"},
    {0x0017, "Dialogic OKI ADPCM"},
    {0x0018, "Media Vision ADPCM"},
    {0x0019, "HP CU"},
    {0x0020, "Yamaha ADPCM"},
    {0x0021, "Speech Compression Sonarc"},
    {0x0022, "DSP Group TrueSpeech"},
    {0x0023, "Echo Speech SC1"},
    {0x0024, "AudioFile AF36"},
    {0x0025, "APTX"},
    {0x0026, "AudioFile AF10"},
    {0x0027, "Prosody 1612"},
    {0x0028, "Merging Technologies LRC"},
    {0x0030, "Dolby AC2"},
    {0x0031, "GSM 6.10"},
    {0x0032, "MSN Audio"},
    {0x0033, "Antex ADPCME"},
    {0x0034, "Control Resources VQLPC"},
    {0x0035, "DSP Solutions DIGIREAL"},
    {0x0036, "DSP Solutions DIGIADPCM"},
    {0x0037, "Control Resources CR10"},
    {0x0038, "Natural MicroSystems VBX ADPCM"},
    {0x0039, "Crystal IMA ADPCM"},
    {0x003A, "Echo Speech SC3"},
    {0x003B, "Rockwell ADPCM"},
    {0x003C, "Rockwell DIGITALK"},
    {0x003D, "Xebec"},
    {0x0040, "Antex G.721 ADPCM"},
    {0x0041, "Antex G.728 CELP"},
    {0x0042, "Microsoft G.723"},
    {0x0050, "MPEG"},
    {0x0052, "InSoft RT24"},
    {0x0053, "InSoft PAC"},
    {0x0055, "MPEG Layer-3"},
    {0x0059, "Lucent G.723"},
    {0x0060, "Cirrus Logic"},
    {0x0061, "ESS Technology PCM"},
    {0x0062, "Voxware"},
    {0x0063, "Canopus ATRAC"},
    {0x0064, "APICOM G.726 ADPCM"},
    {0x0065, "APICOM G.722 ADPCM"},
    {0x0066, "Microsoft DSAT"},
    {0x0067, "Microsoft DSAT Display"},
    {0x0069, "Voxware Byte Aligned"},
    {0x0070, "Voxware AC8"},
    {0x0071, "Voxware AC10"},
    {0x0072, "Voxware AC16"},
    {0x0073, "Voxware AC20"},
    {0x0074, "Voxware RT24"},
    {0x0075, "Voxware RT29"},
    {0x0076, "Voxware RT29HW"},
    {0x0077, "Voxware VR12"},
    {0x0078, "Voxware VR18"},
    {0x0079, "Voxware TQ40"},
    {0x0080, "SoftSound"},
    {0x0081, "Voxware TQ60"},
    {0x0082, "Microsoft RT24"},
    {0x0083, "AT&T G.729A"},
    {0x0084, "Motion Pixels MVI2"},
    {0x0085, "DataFusion G.726"},
    {0x0086, "DataFusion GSM 6.10"},
    {0x0088, "Iterated Systems Audio"},
    {0x0089, "OnLive"},
    {0x0091, "Siemens SBC24"},
    {0x0092, "Dolby AC3 S/PDIF"},
    {0x0097, "ZyXEL ADPCM"},
    {0x0098, "Philips LPCBB"},
    {0x0099, "Studer Packed"},
    {0x0100, "Rhetorex ADPCM"},
    {0x0101, "BeCubed IRAT"},
    {0x0111, "Vivo G.723"},
    {0x0112, "Vivo Siren"},
    {0x0123, "Digital G.723"},
    {0x0160, "Windows Media Audio V1"},
    {0x0161, "Windows Media Audio V2"},
    {0x0162, "Windows Media Audio Professional"},
    {0x0163, "Windows Media Audio Lossless"},
    {0x0200, "Creative ADPCM"},
    {0x0202, "Creative FastSpeech8"},
    {0x0203, "Creative FastSpeech10"},
    {0x0220, "Quarterdeck"},
    {0x0300, "FM Towns SND"},
    {0x0400, "BTV Digital"},
    {0x0680, "AT&T VME VMPCM"},
    {0x1000, "Olivetti GSM"},
    {0x1001, "Olivetti ADPCM"},
    {0x1002, "Olivetti CELP"},
    {0x1003, "Olivetti SBC"},
    {0x1004, "Olivetti OPR"},
    {0x1100, "Lernout & Hauspie Codec"},
    {0x1400, "Norris"},
    {0x1401, "AT&T ISIAudio"},
    {0x1500, "AT&T SoundSpace Musicompress"},
    {0x2000, "FAST Multimedia DVM"},
};

constexpr bool by_tag(const FormatTagName& left, const FormatTagName& right) { return left.tag < right.tag; }
static_assert(std::is_sorted(std::begin(kNames), std::end(kNames), by_tag));

const char* name_of(DWORD tag) {
  if (tag > 0xFFFF) return nullptr;
  const FormatTagName wanted = {static_cast<WORD>(tag), nullptr};
  const auto* row = std::lower_bound(std::begin(kNames), std::end(kNames), wanted, by_tag);
  return row != std::end(kNames) && row->tag == tag ? row->name : nullptr;
}

template <size_t Capacity>
void copy_ascii(const char* source, WCHAR (&text)[Capacity]) {
  size_t i = 0;
  for (; i + 1 < Capacity && source[i] != 0; ++i)
    text[i] = static_cast<WCHAR>(source[i]);
  text[i] = 0;
}

/// Describes a format as in "44.100 kHz, 4 Bit, Stereo"; formats without a fixed number of bits have none in the text.
template <size_t Capacity>
void describe(const WAVEFORMATEX& format, WCHAR (&text)[Capacity]) {
  char bits[16] = "";
  if (format.wBitsPerSample != 0) std::snprintf(bits, sizeof bits, "%u Bit, ", unsigned{format.wBitsPerSample});
  char channels[24] = "Mono";
  if (format.nChannels == 2) std::snprintf(channels, sizeof channels, "Stereo");
  if (format.nChannels > 2) std::snprintf(channels, sizeof channels, "%u Channels", unsigned{format.nChannels});
  char line[ACMFORMATDETAILS_FORMAT_CHARS];
  std::snprintf(line, sizeof line, "%u.%03u kHz, %s%s", format.nSamplesPerSec / 1000, format.nSamplesPerSec % 1000,
                bits, channels);
  copy_ascii(line, text);
}

constexpr DWORD kBareHeaderBytes = 16; // a WAVEFORMATEX without its cbSize

} // namespace

MMRESULT acmFormatTagDetailsW(HACMDRIVER, ACMFORMATTAGDETAILSW* details, DWORD flags) {
  if (!details || details->cbStruct < sizeof *details) return MMSYSERR_INVALPARAM;
  const char* name = flags == ACM_FORMATTAGDETAILSF_FORMATTAG ? name_of(details->dwFormatTag) : nullptr;
  if (!name) return ACMERR_NOTPOSSIBLE;
  details->dwFormatTagIndex = 0;
  details->cbFormatSize = sizeof(WAVEFORMATEX);
  details->fdwSupport = 0;
  details->cStandardFormats = 0;
  copy_ascii(name, details->szFormatTag);
  return MMSYSERR_NOERROR;
}

MMRESULT acmFormatDetailsW(HACMDRIVER, ACMFORMATDETAILSW* details, DWORD flags) {
  if (!details || details->cbStruct < sizeof *details) return MMSYSERR_INVALPARAM;
  if (!details->pwfx || details->cbwfx < kBareHeaderBytes) return MMSYSERR_INVALPARAM;
  if (details->pwfx->wFormatTag != details->dwFormatTag) return MMSYSERR_INVALPARAM;
  if (flags != ACM_FORMATDETAILSF_FORMAT || !name_of(details->dwFormatTag)) return ACMERR_NOTPOSSIBLE;
  if (details->pwfx->nChannels == 0) return ACMERR_NOTPOSSIBLE;
  details->dwFormatIndex = 0;
  details->fdwSupport = 0;
  describe(*details->pwfx, details->szFormat);
  return MMSYSERR_NOERROR;
}
