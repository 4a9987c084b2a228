// Names and descriptions of compressed formats.
#include "qv/win32.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string ascii(const WCHAR* text) {
  std::string bytes;
  for (; *text != 0; ++text)
    bytes += static_cast<char>(*text);
  return bytes;
}

MMRESULT tag_name(DWORD tag, std::string& name) {
  ACMFORMATTAGDETAILSW details = {};
  details.cbStruct = sizeof details;
  details.dwFormatTag = tag;
  const MMRESULT result = acmFormatTagDetailsW(nullptr, &details, ACM_FORMATTAGDETAILSF_FORMATTAG);
  name = ascii(details.szFormatTag);
  return result;
}

TEST(AcmNames, UnregisteredTags) {
  for (const DWORD tag : {0x0000u, 0x0009u, 0xFE03u, 0xFFFEu, 0xFFFFu, 0x10001u, 0xFFFFFFFFu}) {
    std::string name;
    EXPECT_NE(tag_name(tag, name), MMRESULT{MMSYSERR_NOERROR}) << tag;
    EXPECT_EQ(name, "") << tag;
  }
}

#ifndef _WIN32
// A real manager names and describes what is installed in its own words.

TEST(AcmNames, NamesAndDescriptions) {
  const struct {
    WAVEFORMATEX format; // tag, channels, rate, bytes per second, block align, bits, extra bytes
    const char* name;
    const char* text;
  } cases[] = {
      {{0x0002, 2, 44100, 0, 0, 4, 0}, "Microsoft ADPCM", "44.100 kHz, 4 Bit, Stereo"},
      {{0x0006, 1, 8000, 0, 0, 8, 0}, "CCITT A-Law", "8.000 kHz, 8 Bit, Mono"},
      {{0x0031, 1, 11025, 0, 0, 0, 0}, "GSM 6.10", "11.025 kHz, Mono"},
      {{0x0055, 6, 48000, 0, 0, 0, 0}, "MPEG Layer-3", "48.000 kHz, 6 Channels"},
      {{0x0002, 0xFFFF, 0xFFFFFFFF, 0, 0, 0xFFFF, 0}, "Microsoft ADPCM", "4294967.295 kHz, 65535 Bit, 65535 Channels"},
  };
  ACMFORMATDETAILSW details = {};
  details.cbStruct = sizeof details;
  for (auto each : cases) {
    std::string name;
    EXPECT_EQ(tag_name(each.format.wFormatTag, name), MMSYSERR_NOERROR);
    EXPECT_EQ(name, each.name);
    details.dwFormatTag = each.format.wFormatTag;
    details.pwfx = &each.format;
    details.cbwfx = 16; // a header without its cbSize is enough
    EXPECT_EQ(acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT), MMSYSERR_NOERROR);
    EXPECT_EQ(ascii(details.szFormat), each.text);
  }
  details.cbwfx = 15;
  EXPECT_EQ(acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT), MMRESULT{MMSYSERR_INVALPARAM});
  details.cbwfx = 18;
  details.pwfx = nullptr;
  EXPECT_EQ(acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT), MMRESULT{MMSYSERR_INVALPARAM});
  EXPECT_EQ(acmFormatDetailsW(nullptr, nullptr, ACM_FORMATDETAILSF_FORMAT), MMRESULT{MMSYSERR_INVALPARAM});
  EXPECT_EQ(acmFormatTagDetailsW(nullptr, nullptr, ACM_FORMATTAGDETAILSF_FORMATTAG), MMRESULT{MMSYSERR_INVALPARAM});
  WAVEFORMATEX unknown = {0xFFFF, 2, 44100, 0, 0, 16, 0};
  details.pwfx = &unknown;
  details.dwFormatTag = unknown.wFormatTag;
  EXPECT_EQ(acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT), MMRESULT{ACMERR_NOTPOSSIBLE});
}

#endif

} // namespace
