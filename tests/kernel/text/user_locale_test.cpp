// The locale in force, and the language that follows it.
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using UserLocale = LocaleTest;

QVUSERLOCALE filled_with(WCHAR character) {
  QVUSERLOCALE locale;
  auto* const first = reinterpret_cast<WCHAR*>(&locale);
  std::fill(first, first + sizeof locale / sizeof(WCHAR), character);
  return locale;
}

/// The locale in force as one text, its fields one after the other.
qv::WString in_force() {
  QVUSERLOCALE locale;
  QvText_GetUserLocale(&locale);
  return {reinterpret_cast<const WCHAR*>(&locale), sizeof locale / sizeof(WCHAR)};
}

constexpr std::pair<LCTYPE, size_t> kFields[] = {{LOCALE_SNAME, 16},    {LOCALE_STIME, 8}, {LOCALE_SDECIMAL, 8},
                                                 {LOCALE_STHOUSAND, 8}, {LOCALE_SLIST, 8}, {LOCALE_SGROUPING, 16}};

TEST_F(UserLocale, NullReturnsToTheUsersSettings) {
  QvText_SetUserLocale(nullptr);
  const qv::WString locale = in_force();
  const WCHAR* field = locale.c_str();
  for (const auto& [type, capacity] : kFields) {
    WCHAR value[96];
    ASSERT_GT(GetLocaleInfoW(LOCALE_USER_DEFAULT, type, value, 96), 0);
    EXPECT_EQ(utf8(field), utf8(value).substr(0, capacity - 1)) << type;
    field += capacity;
  }
}

TEST_F(UserLocale, UnterminatedFieldsAreCut) {
  const QVUSERLOCALE full = filled_with(QV_TEXT('3'));
  QvText_SetUserLocale(&full);
  std::string expected;
  for (const auto& [type, capacity] : kFields)
    expected += std::string(capacity - 1, '3') + '\0';
  EXPECT_EQ(utf8(in_force()), expected);
  EXPECT_EQ(formatted(QV_TEXT("$:")), std::string(7, '3'));
}

// A reader sees one locale or the other, never a mixture.
TEST_F(UserLocale, ReadersNeverSeeHalfAChange) {
  const QVUSERLOCALE locales[] = {filled_with(QV_TEXT('a')), filled_with(QV_TEXT('b'))};
  QvText_SetUserLocale(&locales[0]);
  std::atomic<bool> reading = false, written = false;
  std::thread writer([&] {
    while (!reading)
      std::this_thread::yield();
    for (int i = 0; i < 200000; ++i)
      QvText_SetUserLocale(&locales[i % 2]);
    written = true;
  });
  int mixtures = 0;
  while (!written) {
    const qv::WString read = in_force();
    reading = true;
    mixtures += read.find_first_not_of({read[0], WCHAR{0}}) != qv::WString::npos;
  }
  writer.join();
  EXPECT_EQ(mixtures, 0);
}

using Language = LocaleTest;

void use_locale(const WCHAR* name) {
  QVUSERLOCALE locale = kEnglish;
  set(locale.name, name);
  QvText_SetUserLocale(&locale);
}

TEST_F(Language, FollowsTheLocale) {
  const std::pair<const WCHAR*, QVLANGUAGE> cases[] = {
      {QV_TEXT("en-GB"), QVLANGUAGE_ENGLISH},      {QV_TEXT("de-AT"), QVLANGUAGE_GERMAN},
      {QV_TEXT("fr"), QVLANGUAGE_FRENCH},          {QV_TEXT("nb-NO"), QVLANGUAGE_NORWEGIAN},
      {QV_TEXT("nn-NO"), QVLANGUAGE_NORWEGIAN},    {QV_TEXT("ko-KR"), QVLANGUAGE_KOREAN},
      {QV_TEXT("zh-Hant-TW"), QVLANGUAGE_CHINESE}, {QV_TEXT("DE_de"), QVLANGUAGE_GERMAN},
      {QV_TEXT("fil-PH"), QVLANGUAGE_ENGLISH},     {QV_TEXT("hu-HU"), QVLANGUAGE_ENGLISH},
      {QV_TEXT(""), QVLANGUAGE_ENGLISH},           {QV_TEXT("d"), QVLANGUAGE_ENGLISH},
  };
  for (const auto& [name, language] : cases) {
    use_locale(name);
    EXPECT_EQ(QvLanguage_Get(), language) << utf8(name);
  }
}

TEST_F(Language, SetOverridesTheLocaleUntilItIsReturned) {
  use_locale(QV_TEXT("de-DE"));
  EXPECT_EQ(QvLanguage_Set(QVLANGUAGE_KOREAN), S_OK);
  EXPECT_EQ(QvLanguage_Get(), QVLANGUAGE_KOREAN);
  EXPECT_EQ(QvLanguage_Set(static_cast<QVLANGUAGE>(QVLANGUAGE_COUNT + 1)), E_INVALIDARG);
  EXPECT_EQ(QvLanguage_Get(), QVLANGUAGE_KOREAN);
  EXPECT_EQ(QvLanguage_Set(QVLANGUAGE_COUNT), S_OK);
  EXPECT_EQ(QvLanguage_Get(), QVLANGUAGE_GERMAN);
}

TEST_F(Language, MissingTranslationsFallBackToEnglish) {
  QVSTRINGRECORD record = {};
  record.text[QVLANGUAGE_ENGLISH] = QV_TEXT("yes");
  record.text[QVLANGUAGE_CZECH] = QV_TEXT("ano");
  QvLanguage_Set(QVLANGUAGE_CZECH);
  EXPECT_EQ(utf8(QvLanguage_Text(&record)), "ano");
  QvLanguage_Set(QVLANGUAGE_POLISH);
  EXPECT_EQ(utf8(QvLanguage_Text(&record)), "yes");
  EXPECT_EQ(QvLanguage_Text(nullptr), nullptr);
}

} // namespace
