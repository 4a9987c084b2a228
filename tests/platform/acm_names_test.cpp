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

TEST(AcmNames, RegisteredTags) {
  struct Case {
    DWORD tag;
    const char* name;
  };
  const Case cases[] = {{0x0002, "Microsoft ADPCM"}, {0x0006, "CCITT A-Law"}, {0x0007, "CCITT u-Law"},
                        {0x0011, "IMA ADPCM"},       {0x0031, "GSM 6.10"},    {0x0055, "MPEG Layer-3"}};
  for (const Case& each : cases) {
    std::string name;
    EXPECT_EQ(tag_name(each.tag, name), MMSYSERR_NOERROR);
    EXPECT_EQ(name, each.name);
  }
}

MMRESULT description(WORD tag, DWORD rate, WORD channels, WORD bits, std::string& text) {
  WAVEFORMATEX format = {};
  format.wFormatTag = tag;
  format.nSamplesPerSec = rate;
  format.nChannels = channels;
  format.wBitsPerSample = bits;
  ACMFORMATDETAILSW details = {};
  details.cbStruct = sizeof details;
  details.dwFormatTag = tag;
  details.pwfx = &format;
  details.cbwfx = sizeof format;
  const MMRESULT result = acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT);
  text = ascii(details.szFormat);
  return result;
}

TEST(AcmNames, Descriptions) {
  struct Case {
    WORD tag;
    DWORD rate;
    WORD channels;
    WORD bits;
    const char* text;
  };
  const Case cases[] = {
      {0x0002, 44100, 2, 4, "44.100 kHz, 4 Bit, Stereo"},
      {0x0006, 8000, 1, 8, "8.000 kHz, 8 Bit, Mono"},
      {0x0031, 11025, 1, 0, "11.025 kHz, Mono"},
      {0x0055, 48000, 6, 0, "48.000 kHz, 6 Channels"},
      {0x0002, 0xFFFFFFFF, 0xFFFF, 0xFFFF, "4294967.295 kHz, 65535 Bit, 65535 Channels"},
  };
  for (const Case& each : cases) {
    std::string text;
    EXPECT_EQ(description(each.tag, each.rate, each.channels, each.bits, text), MMSYSERR_NOERROR);
    EXPECT_EQ(text, each.text);
  }
}

TEST(AcmNames, RefusedQuestions) {
  std::string text;
  EXPECT_NE(description(0xFFFF, 44100, 2, 16, text), MMRESULT{MMSYSERR_NOERROR});
  EXPECT_EQ(text, "");
  ACMFORMATDETAILSW details = {};
  details.cbStruct = sizeof details;
  details.dwFormatTag = 2;
  EXPECT_EQ(acmFormatDetailsW(nullptr, &details, ACM_FORMATDETAILSF_FORMAT), MMRESULT{MMSYSERR_INVALPARAM});
  EXPECT_EQ(acmFormatDetailsW(nullptr, nullptr, ACM_FORMATDETAILSF_FORMAT), MMRESULT{MMSYSERR_INVALPARAM});
  EXPECT_EQ(acmFormatTagDetailsW(nullptr, nullptr, ACM_FORMATTAGDETAILSF_FORMATTAG), MMRESULT{MMSYSERR_INVALPARAM});
}

#endif

} // namespace
