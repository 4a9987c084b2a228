// Formats in words: the English texts, the translations' arguments, and buffers of every size.
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include "qv/audio.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

namespace {

class FormatText : public LocaleTest {};

template <class Call>
std::string text_of(Call&& call) {
  WCHAR text[256] = {QV_TEXT('~'), 0};
  call(text, 256);
  return utf8(text);
}

TEST_F(FormatText, Tags) {
  struct Case {
    uint32_t tag;
    const char* text;
    HRESULT result;
  };
  const Case cases[] = {
      {1, "PCM", S_OK},
      {3, "PCM (float)", S_OK},
      {0xFE00, "PCM (unpacked)", S_OK},
      {0xFE01, "PCM (signed)", S_OK},
      {0xFE02, "PCM (big endian)", S_OK},
      {0xFE03, "Unknown", E_FAIL},
      {0xFFFF, "Unknown", E_FAIL},
      {0x10001, "Unknown", E_FAIL},
  };
  for (const Case& each : cases) {
    HRESULT result = E_UNEXPECTED;
    EXPECT_EQ(text_of([&](WCHAR* dst, int chars) { result = QvAudio_GetTagText(each.tag, dst, chars); }), each.text);
    EXPECT_EQ(result, each.result);
  }
}

TEST_F(FormatText, SampleTypes) {
  struct Case {
    uint32_t type;
    const char* text;
    HRESULT result;
  };
  const Case cases[] = {
      {0, "", S_OK},
      {16, "8 Bit", S_OK},
      {17, "16 Bit", S_OK},
      {18, "24 Bit", S_OK},
      {19, "32 Bit", S_OK},
      {32, "32 Bit (IEEE Float)", S_OK},
      {33, "64 Bit (IEEE Float)", S_OK},
      {48, "24 Bit (Unpacked)", S_OK},
      {49, "8 Bit (Signed)", S_OK},
      {64, "16 Bit (MAC)", S_OK},
      {65, "24 Bit (MAC)", S_OK},
      {66, "32 Bit (MAC)", S_OK},
      {128, "16 Bit (RA)", S_OK},
      {129, "24 Bit (RA)", S_OK},
      {15, "", E_FAIL},
      {20, "", E_FAIL},
      {130, "", E_FAIL},
      {0xFFFFFFFF, "", E_FAIL},
  };
  for (const Case& each : cases) {
    const auto type = static_cast<QVSAMPLETYPE>(each.type);
    HRESULT result = E_UNEXPECTED;
    EXPECT_EQ(text_of([&](WCHAR* dst, int chars) { result = QvAudio_GetSampleTypeText(type, dst, chars); }), each.text);
    EXPECT_EQ(result, each.result) << each.type;
  }
}

WAVEFORMATEXTENSIBLE header(WORD tag, DWORD rate, WORD bits, WORD channels) {
  WAVEFORMATEXTENSIBLE wfx = {};
  wfx.Format.wFormatTag = tag;
  wfx.Format.nSamplesPerSec = rate;
  wfx.Format.wBitsPerSample = bits;
  wfx.Format.nChannels = channels;
  wfx.Format.nBlockAlign = static_cast<WORD>(bits / 8 * channels);
  return wfx;
}

WAVEFORMATEXTENSIBLE extensible(DWORD sub_tag, WORD bits, WORD channels, DWORD mask) {
  WAVEFORMATEXTENSIBLE wfx = header(WAVE_FORMAT_EXTENSIBLE, 48000, bits, channels);
  wfx.Format.cbSize = 22;
  wfx.Samples.wValidBitsPerSample = bits;
  wfx.dwChannelMask = mask;
  wfx.SubFormat = {sub_tag, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
  return wfx;
}

TEST_F(FormatText, AttribsOfUncompressedHeaders) {
  struct Case {
    WAVEFORMATEXTENSIBLE wfx;
    const char* text;
  };
  const Case cases[] = {
      {header(1, 44100, 16, 2), "44,100 Hz, 16 Bit, Stereo"},
      {header(1, 8000, 8, 1), "8,000 Hz, 8 Bit, Mono"},
      {header(3, 192000, 32, 3), "192,000 Hz, 32 Bit (IEEE Float), 3 Channel"},
      {header(0xFE02, 44100, 24, 2), "44,100 Hz, 24 Bit, Stereo"},
      {header(1, 48000, 16, 6), "48,000 Hz, 16 Bit, 6 Channel"},
      {extensible(1, 24, 6, 0x3F), "48,000 Hz, 24 Bit, 5.1"},
      {extensible(1, 24, 6, 0x60F), "48,000 Hz, 24 Bit, 5.1"},
      {extensible(1, 24, 6, 0xFF), "48,000 Hz, 24 Bit, 6 Channel"},
      {extensible(3, 32, 8, 0xFF), "48,000 Hz, 32 Bit (IEEE Float), 7.1"},
      {extensible(3, 64, 8, 0x63F), "48,000 Hz, 64 Bit (IEEE Float), 7.1"},
      {extensible(1, 16, 8, 0x3F), "48,000 Hz, 16 Bit, 8 Channel"},
      {extensible(1, 16, 2, 0x60F), "48,000 Hz, 16 Bit, Stereo"},
      {header(1, 0, 16, 0), "0 Hz, 16 Bit, 0 Channel"},
  };
  for (const Case& each : cases) {
    HRESULT result = E_UNEXPECTED;
    const auto call = [&](WCHAR* dst, int chars) { result = QvAudio_GetAttribsText(&each.wfx.Format, dst, chars); };
    EXPECT_EQ(text_of(call), each.text);
    EXPECT_EQ(result, S_OK);
  }
}

TEST_F(FormatText, AttribsOfRecords) {
  QVWAVEFORMATBUFFER room;
  const auto text = [&] {
    return text_of([&](WCHAR* dst, int chars) { QvAudio_GetAttribsText(room.format, dst, chars); });
  };
  room.format.Init(44100, QVSAMPLE_PCM16, 2, 0, sizeof room);
  EXPECT_EQ(text(), "44,100 Hz, 16 Bit, Stereo");
  room.format.Init(96000, QVSAMPLE_FLOAT32, 6, 0x60F, sizeof room);
  EXPECT_EQ(text(), "96,000 Hz, 32 Bit (IEEE Float), 5.1");
  room.format.Init(sizeof room, extensible(1, 16, 6, 0x3F).Format);
  EXPECT_EQ(text(), "48,000 Hz, 16 Bit, 5.1");
  // A private layout is uncompressed, whatever header it came from.
  room.format.Init(48000, QVSAMPLE_PCM24IN32, 2, 0, sizeof room);
  EXPECT_EQ(text(), "48,000 Hz, 32 Bit, Stereo");
  room.format.flags |= QVWAVEFORMAT_EXTENSIBLE;
  EXPECT_EQ(text(), "48,000 Hz, 32 Bit, Stereo");
}

TEST_F(FormatText, CompressedFormatsWithoutADescription) {
  WAVEFORMATEXTENSIBLE wfx = header(0xFFFF, 44100, 0, 2);
  HRESULT result = S_OK;
  EXPECT_EQ(text_of([&](WCHAR* dst, int chars) { result = QvAudio_GetAttribsText(&wfx.Format, dst, chars); }),
            "Unknown");
  EXPECT_EQ(result, E_FAIL);
  wfx = extensible(0x55, 0, 2, 3);
  EXPECT_EQ(text_of([&](WCHAR* dst, int chars) { result = QvAudio_GetAttribsText(&wfx.Format, dst, chars); }),
            "Unknown");
}

TEST_F(FormatText, BareHeadersAreNotReadBeyondTheirEnd) {
  WCHAR text[64];
  const std::unique_ptr<BYTE[]> bare(new BYTE[16]);
  const auto attribs = [&](const WAVEFORMATEXTENSIBLE& wfx) {
    std::memcpy(bare.get(), &wfx, 16);
    return QvAudio_GetAttribsText(reinterpret_cast<const WAVEFORMATEX*>(bare.get()), text, 64);
  };
  EXPECT_EQ(attribs(header(1, 44100, 16, 2)), S_OK);
  EXPECT_EQ(utf8(text), "44,100 Hz, 16 Bit, Stereo");
  // PCM whose block align makes it count as compressed: described by the system, if it can.
  WAVEFORMATEXTENSIBLE odd = header(1, 44100, 12, 2);
  odd.Format.nBlockAlign = 3;
  const HRESULT result = attribs(odd);
  EXPECT_EQ(result == S_OK, utf8(text) != "Unknown");
}

TEST_F(FormatText, UsersLanguageAndSeparators) {
  QvText_SetUserLocale(&kGerman);
  const WAVEFORMATEXTENSIBLE wfx = header(3, 44100, 32, 4);
  const auto attribs = [&](WCHAR* dst, int chars) { QvAudio_GetAttribsText(&wfx.Format, dst, chars); };
  EXPECT_EQ(text_of(attribs), "44.100 Hz; 32 Bit (IEEE-Gleitkomma); 4 Kanäle");
  QvLanguage_Set(QVLANGUAGE_JAPANESE);
  EXPECT_EQ(text_of(attribs), "44.100 Hz; 32 ビット (IEEE 浮動小数点); 4 チャンネル");
}

TEST_F(FormatText, BuffersOfEverySize) {
  const WAVEFORMATEXTENSIBLE wfx = header(1, 44100, 16, 2);
  const qv::WString whole = QV_TEXT("44,100 Hz, 16 Bit, Stereo");
  for (int chars = 1; chars < 30; ++chars) {
    WCHAR text[32];
    std::fill(std::begin(text), std::end(text), QV_TEXT('~'));
    EXPECT_EQ(QvAudio_GetAttribsText(&wfx.Format, text, chars), S_OK);
    EXPECT_EQ(qv::WString(text), whole.substr(0, static_cast<size_t>(chars) - 1));
    EXPECT_EQ(text[chars], QV_TEXT('~'));
  }
  WCHAR untouched = QV_TEXT('~');
  for (const int chars : {0, -1}) {
    EXPECT_EQ(QvAudio_GetAttribsText(&wfx.Format, &untouched, chars), S_OK);
    EXPECT_EQ(QvAudio_GetTagText(0xFFFF, &untouched, chars), E_FAIL);
    EXPECT_EQ(QvAudio_GetSampleTypeText(QVSAMPLE_PCM16, &untouched, chars), S_OK);
  }
  EXPECT_EQ(untouched, QV_TEXT('~'));
  EXPECT_EQ(QvAudio_GetAttribsText(&wfx.Format, nullptr, 64), S_OK);
  EXPECT_EQ(QvAudio_GetTagText(1, nullptr, 64), S_OK);
  EXPECT_EQ(QvAudio_GetSampleTypeText(static_cast<QVSAMPLETYPE>(5), nullptr, 64), E_FAIL);
}

template <class Each>
void for_each_language(Each&& each) {
  for (uint32_t language = 0; language < QVLANGUAGE_COUNT; ++language) {
    SCOPED_TRACE(language);
    ASSERT_EQ(QvLanguage_Set(static_cast<QVLANGUAGE>(language)), S_OK);
    each();
  }
}

// The numbers of a text, in order; what is left of a directive counts as a fault.
std::string numbers_of(const std::string& text) {
  std::string numbers;
  for (const char character : text) {
    if (character == '%' || character == '$') return "a directive is left in: " + text;
    if (character >= '0' && character <= '9')
      numbers += character;
    else if (!numbers.empty() && numbers.back() != ' ')
      numbers += ' ';
  }
  return numbers;
}

TEST_F(FormatText, EveryTranslationPutsItsArgumentsInPlace) {
  QVUSERLOCALE plain = kEnglish;
  plain.thousand[0] = 0;
  QvText_SetUserLocale(&plain);
  for_each_language([] {
    for (const WORD tag : {WORD{1}, WORD{3}}) {
      const WAVEFORMATEXTENSIBLE wfx = header(tag, 44100, 32, 7);
      const std::string text =
          text_of([&](WCHAR* dst, int chars) { QvAudio_GetAttribsText(&wfx.Format, dst, chars); }) + ".";
      EXPECT_EQ(numbers_of(text), "44100 32 7 ") << text;
    }
    for (const QVSAMPLETYPE type : {QVSAMPLE_PCM24, QVSAMPLE_PCM24IN32, QVSAMPLE_BE24, QVSAMPLE_RA24}) {
      const std::string text = text_of([&](WCHAR* dst, int chars) { QvAudio_GetSampleTypeText(type, dst, chars); });
      EXPECT_EQ(numbers_of(text + "."), "24 ") << text;
    }
  });
}

TEST_F(FormatText, EveryLanguageSaysUnknownInItsOwnWord) {
  std::set<std::string> words;
  for_each_language(
      [&] { words.insert(text_of([](WCHAR* dst, int chars) { QvAudio_GetTagText(0xFFFF, dst, chars); })); });
  EXPECT_EQ(words.size(), size_t{QVLANGUAGE_COUNT});
}

} // namespace
