// Formats in words: the English texts, the translations' arguments, and buffers of every size.
#include "tests/audio/headers.h"
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <regex>
#include <set>

namespace {

class FormatText : public LocaleTest {};

using Said = std::pair<std::string, HRESULT>;

template <class Function, class Subject>
Said said(Function function, const Subject& subject) {
  WCHAR text[256] = {QV_TEXT('~'), 0};
  const HRESULT result = function(subject, text, 256);
  return {utf8(text), result};
}
Said tag_text(uint32_t tag) { return said(QvAudio_GetTagText, tag); }
Said type_text(uint32_t type) { return said(QvAudio_GetSampleTypeText, static_cast<QVSAMPLETYPE>(type)); }
Said attribs(const Header& header) {
  return said([](const Header& of, WCHAR* dst, int chars) { return QvAudio_GetAttribsText(&of.plain(), dst, chars); },
              header);
}
Said attribs(const _qvwaveformat& record) {
  return said([](const _qvwaveformat& of, WCHAR* dst, int n) { return QvAudio_GetAttribsText(of, dst, n); }, record);
}

using Row = std::pair<uint32_t, const char*>;

TEST_F(FormatText, TagsAndSampleTypes) {
  const Row tags[] = {{1, "PCM"},
                      {3, "PCM (float)"},
                      {0xFE00, "PCM (unpacked)"},
                      {0xFE01, "PCM (signed)"},
                      {0xFE02, "PCM (big endian)"}};
  for (const Row& row : tags)
    EXPECT_EQ(tag_text(row.first), Said(row.second, S_OK));
  for (const uint32_t tag : {0xFE03u, 0xFFFFu, 0x10001u})
    EXPECT_EQ(tag_text(tag), Said("Unknown", E_FAIL));
  const Row types[] = {{0, ""},
                       {16, "8 Bit"},
                       {17, "16 Bit"},
                       {18, "24 Bit"},
                       {19, "32 Bit"},
                       {32, "32 Bit (IEEE Float)"},
                       {33, "64 Bit (IEEE Float)"},
                       {48, "24 Bit (Unpacked)"},
                       {49, "8 Bit (Signed)"},
                       {64, "16 Bit (MAC)"},
                       {65, "24 Bit (MAC)"},
                       {66, "32 Bit (MAC)"},
                       {128, "16 Bit (RA)"},
                       {129, "24 Bit (RA)"}};
  for (const Row& row : types)
    EXPECT_EQ(type_text(row.first), Said(row.second, S_OK));
  for (const uint32_t type : {15u, 20u, 130u, 0xFFFFFFFFu})
    EXPECT_EQ(type_text(type), Said("", E_FAIL));
}

TEST_F(FormatText, AttribsOfHeaders) {
  const std::pair<Header, const char*> rows[] = {
      {plain_header(1, 44100, 16, 2), "44,100 Hz, 16 Bit, Stereo"},
      {plain_header(1, 8000, 8, 1), "8,000 Hz, 8 Bit, Mono"},
      {plain_header(3, 192000, 32, 3), "192,000 Hz, 32 Bit (IEEE Float), 3 Channel"},
      {plain_header(0xFE02, 44100, 24, 2), "44,100 Hz, 24 Bit, Stereo"},
      {plain_header(1, 48000, 16, 6), "48,000 Hz, 16 Bit, 6 Channel"},
      {extensible_header(1, 24, 6, 0x3F), "48,000 Hz, 24 Bit, 5.1"},
      {extensible_header(1, 24, 6, 0x60F), "48,000 Hz, 24 Bit, 5.1"},
      {extensible_header(1, 24, 6, 0xFF), "48,000 Hz, 24 Bit, 6 Channel"},
      {extensible_header(3, 32, 8, 0xFF), "48,000 Hz, 32 Bit (IEEE Float), 7.1"},
      {extensible_header(3, 64, 8, 0x63F), "48,000 Hz, 64 Bit (IEEE Float), 7.1"},
      {extensible_header(1, 16, 8, 0x3F), "48,000 Hz, 16 Bit, 8 Channel"},
      {extensible_header(1, 16, 2, 0x60F), "48,000 Hz, 16 Bit, Stereo"},
      {plain_header(1, 0, 16, 0), "0 Hz, 16 Bit, 0 Channel"}};
  for (const auto& row : rows)
    EXPECT_EQ(attribs(row.first), Said(row.second, S_OK));
  for (const Header& undescribed : {plain_header(0xFFFF, 44100, 0, 2), extensible_header(0x55, 0, 2, 3)})
    EXPECT_EQ(attribs(undescribed), Said("Unknown", E_FAIL));
}

TEST_F(FormatText, AttribsOfRecords) {
  QVWAVEFORMATBUFFER room;
  room.format.Init(44100, QVSAMPLE_PCM16, 2, 0, sizeof room);
  EXPECT_EQ(attribs(room.format).first, "44,100 Hz, 16 Bit, Stereo");
  room.format.Init(96000, QVSAMPLE_FLOAT32, 6, 0x60F, sizeof room);
  EXPECT_EQ(attribs(room.format).first, "96,000 Hz, 32 Bit (IEEE Float), 5.1");
  room.format.Init(sizeof room, extensible_header(1, 16, 6, 0x3F).plain());
  EXPECT_EQ(attribs(room.format).first, "48,000 Hz, 16 Bit, 5.1");
  // A private layout is uncompressed, whatever header it came from.
  for (const DWORD flags : {DWORD{0}, DWORD{QVWAVEFORMAT_EXTENSIBLE}}) {
    room.format.Init(48000, QVSAMPLE_PCM24IN32, 2, 0, sizeof room);
    room.format.flags |= flags;
    EXPECT_EQ(attribs(room.format).first, "48,000 Hz, 32 Bit, Stereo");
  }
}

TEST_F(FormatText, BareHeadersAreNotReadBeyondTheirEnd) {
  WCHAR text[64];
  const std::unique_ptr<BYTE[]> bare(new BYTE[16]);
  const auto result_of = [&](const Header& header) {
    std::memcpy(bare.get(), &header, 16);
    return QvAudio_GetAttribsText(reinterpret_cast<const WAVEFORMATEX*>(bare.get()), text, 64);
  };
  EXPECT_EQ(result_of(plain_header(1, 44100, 16, 2)), S_OK);
  EXPECT_EQ(utf8(text), "44,100 Hz, 16 Bit, Stereo");
  // PCM whose block align makes it count as compressed: described by the system, if it can.
  Header odd = plain_header(1, 44100, 12, 2);
  odd.plain().nBlockAlign = 3;
  const HRESULT result = result_of(odd);
  EXPECT_EQ(result == S_OK, utf8(text) != "Unknown");
}

TEST_F(FormatText, UsersLanguageAndSeparators) {
  QvText_SetUserLocale(&kGerman);
  const Header header = plain_header(3, 44100, 32, 4);
  EXPECT_EQ(attribs(header).first, "44.100 Hz; 32 Bit (IEEE-Gleitkomma); 4 Kanäle");
  QvLanguage_Set(QVLANGUAGE_JAPANESE);
  EXPECT_EQ(attribs(header).first, "44.100 Hz; 32 ビット (IEEE 浮動小数点); 4 チャンネル");
}

TEST_F(FormatText, BuffersOfEverySize) {
  const Header header = plain_header(1, 44100, 16, 2);
  const qv::WString whole = QV_TEXT("44,100 Hz, 16 Bit, Stereo");
  for (int chars = 1; chars < 30; ++chars) {
    WCHAR text[32];
    std::fill(std::begin(text), std::end(text), QV_TEXT('~'));
    EXPECT_EQ(QvAudio_GetAttribsText(&header.plain(), text, chars), S_OK);
    EXPECT_EQ(qv::WString(text), whole.substr(0, static_cast<size_t>(chars) - 1));
    EXPECT_EQ(text[chars], QV_TEXT('~'));
  }
  WCHAR untouched = QV_TEXT('~');
  for (const auto& [dst, chars] : {std::pair{&untouched, 0}, {&untouched, -1}, {static_cast<WCHAR*>(nullptr), 64}}) {
    EXPECT_EQ(QvAudio_GetAttribsText(&header.plain(), dst, chars), S_OK);
    EXPECT_EQ(QvAudio_GetTagText(0xFFFF, dst, chars), E_FAIL);
    EXPECT_EQ(QvAudio_GetTagText(1, dst, chars), S_OK);
    EXPECT_EQ(QvAudio_GetSampleTypeText(QVSAMPLE_PCM16, dst, chars), S_OK);
    EXPECT_EQ(QvAudio_GetSampleTypeText(static_cast<QVSAMPLETYPE>(5), dst, chars), E_FAIL);
  }
  EXPECT_EQ(untouched, QV_TEXT('~'));
}

template <class Each>
void for_each_language(Each&& each) {
  for (uint32_t language = 0; language < QVLANGUAGE_COUNT; ++language) {
    SCOPED_TRACE(language);
    ASSERT_EQ(QvLanguage_Set(static_cast<QVLANGUAGE>(language)), S_OK);
    each();
  }
}

TEST_F(FormatText, EveryTranslationPutsItsArgumentsInPlace) {
  QVUSERLOCALE plain = kEnglish;
  plain.thousand[0] = 0;
  QvText_SetUserLocale(&plain);
  std::set<std::string> unknown;
  for_each_language([&] {
    unknown.insert(tag_text(0xFFFF).first);
    const std::regex three("[^0-9%$]*44100[^0-9%$]+32[^0-9%$]+7[^0-9%$]*"), one("[^0-9%$]*24[^0-9%$]*");
    for (const WORD tag : {WORD{1}, WORD{3}})
      EXPECT_TRUE(std::regex_match(attribs(plain_header(tag, 44100, 32, 7)).first, three));
    for (const QVSAMPLETYPE type : {QVSAMPLE_PCM24, QVSAMPLE_PCM24IN32, QVSAMPLE_BE24, QVSAMPLE_RA24})
      EXPECT_TRUE(std::regex_match(type_text(type).first, one));
  });
  EXPECT_EQ(unknown.size(), size_t{QVLANGUAGE_COUNT}) << "each says it in its own word";
}

} // namespace
