// Text between UTF-16 and bytes: code page 1252 and UTF-8.
#include "qv/win32.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr UINT kCodePage1252 = 1252;

// Codes 80 to 9F as the characters that they show; a space stands where the code page defines none.
constexpr WCHAR kShown[] = QV_TEXT("€ ‚ƒ„…†‡ˆ‰Š‹Œ Ž  ‘’“”•–—˜™š›œ žŸ");
static_assert(sizeof kShown / sizeof(WCHAR) == 33);

WCHAR character_of(int code) {
  if (code < 0x80 || code > 0x9F) return static_cast<WCHAR>(code);
  const WCHAR shown = kShown[code - 0x80];
  return shown == QV_TEXT(' ') ? static_cast<WCHAR>(code) : shown;
}

TEST(CodePage1252, MapsAll256CodesBothWays) {
  for (int code = 0; code < 256; ++code) {
    const char octet = static_cast<char>(code);
    WCHAR character = 0xFFFF;
    ASSERT_EQ(MultiByteToWideChar(kCodePage1252, 0, &octet, 1, &character, 1), 1);
    EXPECT_EQ(character, character_of(code)) << code;
    char back = '~';
    BOOL used_fallback = TRUE;
    ASSERT_EQ(WideCharToMultiByte(kCodePage1252, 0, &character, 1, &back, 1, nullptr, &used_fallback), 1);
    EXPECT_EQ(back, octet) << code;
    EXPECT_FALSE(used_fallback) << code;
  }
}

TEST(CodePage1252, WhatItLacksIsReplaced) {
  const WCHAR text[] = QV_TEXT("a\u4E2Db\u0416c");
  char bytes[16] = {};
  BOOL used_fallback = FALSE;
  EXPECT_EQ(WideCharToMultiByte(kCodePage1252, 0, text, -1, bytes, 16, nullptr, &used_fallback), 6);
  EXPECT_STREQ(bytes, "a?b?c");
  EXPECT_TRUE(used_fallback);
  EXPECT_EQ(WideCharToMultiByte(kCodePage1252, 0, text, 5, bytes, 16, "_", nullptr), 5);
  EXPECT_STREQ(bytes, "a_b_c");
  // No character of the code page lies outside 16 bits: each half is replaced.
  const WCHAR pair[] = {0xD834, 0xDD1E};
  EXPECT_EQ(WideCharToMultiByte(kCodePage1252, 0, pair, 2, bytes, 16, nullptr, &used_fallback), 2);
  EXPECT_EQ(std::string(bytes, 2), "??");
}

std::string to_utf8(const std::vector<WCHAR>& text) {
  std::string bytes(text.size() * 3, '~');
  const int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                        static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<size_t>(count));
  return bytes;
}

std::vector<WCHAR> from_utf8(const std::string& bytes) {
  std::vector<WCHAR> text(bytes.size());
  const int count = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(),
                                        static_cast<int>(text.size()));
  text.resize(static_cast<size_t>(count));
  return text;
}

// The definition of UTF-8 (RFC 3629, section 3), as bits.
std::string model_utf8(uint32_t c) {
  const auto octet = [](uint32_t value) { return static_cast<char>(value); };
  if (c < 0x80) return {octet(c)};
  if (c < 0x800) return {octet(0xC0 + c / 64), octet(0x80 + c % 64)};
  if (c < 0x10000) return {octet(0xE0 + c / 4096), octet(0x80 + c / 64 % 64), octet(0x80 + c % 64)};
  return {octet(0xF0 + c / 262144), octet(0x80 + c / 4096 % 64), octet(0x80 + c / 64 % 64), octet(0x80 + c % 64)};
}

TEST(Utf8, EveryCharacterGoesBothWays) {
  std::vector<WCHAR> text;
  std::string bytes;
  for (uint32_t c = 0; c < 0x110000; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    bytes += model_utf8(c);
    if (c >= 0x10000) text.push_back(static_cast<WCHAR>(0xD800 + (c - 0x10000) / 0x400));
    text.push_back(static_cast<WCHAR>(c < 0x10000 ? c : 0xDC00 + c % 0x400));
  }
  EXPECT_TRUE(to_utf8(text) == bytes);
  EXPECT_TRUE(from_utf8(bytes) == text);
}

struct Malformed {
  std::string bytes;
  size_t replacements;
  std::vector<WCHAR> others;
};

const Malformed kMalformed[] = {
    // Tables 3-8 to 3-11 of the Unicode standard.
    {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", 8, {0x41}},
    {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", 8, {0x41}},
    {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", 7, {0x41, 0x42}},
    {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", 4, {0x41}},
    {"\x80", 1, {}},
    {"a\xE2\x82", 1, {0x61}}, // cut short by the end
    {"\xF0\x9F\x98\x80\xF0", 1, {0xD83D, 0xDE00}},
};

TEST(Utf8, MalformedBytesAreRefusedOnDemandOrReplaced) {
  for (const Malformed& each : kMalformed) {
    WCHAR text[16];
    const int count = static_cast<int>(each.bytes.size());
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, each.bytes.data(), count, text, 16), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
#ifndef _WIN32 // Systems differ in how many replacements they write.
    std::vector<WCHAR> others = from_utf8(each.bytes);
    EXPECT_EQ(std::erase(others, 0xFFFD), each.replacements);
    EXPECT_EQ(others, each.others);
#endif
  }
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(to_utf8({0xD800}), replacement) << "half a pair";
  EXPECT_EQ(to_utf8({0xDC00, 0x61}), replacement + "a");
  EXPECT_EQ(to_utf8({0xD83D, 0x61}), replacement + "a");
  EXPECT_EQ(to_utf8({0xD83D, 0xD83D, 0xDE00}), replacement + "\xF0\x9F\x98\x80");
}

/// Expects a call to have failed with an error, and clears that.
void expect_failed(int result, DWORD error) {
  EXPECT_EQ(result, 0);
  EXPECT_EQ(GetLastError(), error);
  SetLastError(ERROR_SUCCESS);
}

TEST(CodePages, CountsAndCapacities) {
  const struct {
    UINT code_page;
    const char* bytes;
    const WCHAR* text;
  } cases[] = {{kCodePage1252, "a\x80z", QV_TEXT("a€z")}, {CP_UTF8, "a\xE2\x82\xACz", QV_TEXT("a€z")}};
  for (const auto& [code_page, octets, characters] : cases) {
    const int bytes = static_cast<int>(std::char_traits<char>::length(octets));
    EXPECT_EQ(MultiByteToWideChar(code_page, 0, octets, -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(code_page, 0, octets, bytes, nullptr, 0), 3);
    EXPECT_EQ(WideCharToMultiByte(code_page, 0, characters, -1, nullptr, 0, nullptr, nullptr), bytes + 1);
    WCHAR text[8] = {0, 0, 0, 7};
    EXPECT_EQ(MultiByteToWideChar(code_page, 0, octets, bytes, text, 3), 3);
    EXPECT_EQ(text[3], 7) << "no terminator is added";
    expect_failed(MultiByteToWideChar(code_page, 0, octets, -1, text, 3), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(text[3], 7);
    char back[8] = {};
    expect_failed(WideCharToMultiByte(code_page, 0, characters, -1, back, bytes, nullptr, nullptr),
                  ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(back[bytes], 0);
    EXPECT_EQ(WideCharToMultiByte(code_page, 0, characters, -1, back, bytes + 1, nullptr, nullptr), bytes + 1);
    EXPECT_STREQ(back, octets);
    expect_failed(MultiByteToWideChar(code_page, 0, octets, 0, text, 8), ERROR_INVALID_PARAMETER);
  }
  expect_failed(MultiByteToWideChar(64321, 0, "a", 1, nullptr, 0), ERROR_INVALID_PARAMETER);
}

} // namespace
