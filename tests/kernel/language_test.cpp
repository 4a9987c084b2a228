#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

namespace {

class Language : public LocaleTest {
protected:
  static void use_locale(const WCHAR* name) {
    QVUSERLOCALE locale = kEnglish;
    std::fill(std::begin(locale.name), std::end(locale.name), WCHAR{0});
    qv::WString(name).copy(locale.name, 15);
    QvText_SetUserLocale(&locale);
  }
};

TEST_F(Language, FollowsTheLocale) {
  struct Case {
    const WCHAR* name;
    QVLANGUAGE language;
  };
  const Case cases[] = {
      {QV_TEXT("en-US"), QVLANGUAGE_ENGLISH},    {QV_TEXT("en-GB"), QVLANGUAGE_ENGLISH},
      {QV_TEXT("de-AT"), QVLANGUAGE_GERMAN},     {QV_TEXT("fr"), QVLANGUAGE_FRENCH},
      {QV_TEXT("es-MX"), QVLANGUAGE_SPANISH},    {QV_TEXT("it-IT"), QVLANGUAGE_ITALIAN},
      {QV_TEXT("pt-BR"), QVLANGUAGE_PORTUGUESE}, {QV_TEXT("nl-BE"), QVLANGUAGE_DUTCH},
      {QV_TEXT("sv-SE"), QVLANGUAGE_SWEDISH},    {QV_TEXT("da-DK"), QVLANGUAGE_DANISH},
      {QV_TEXT("nb-NO"), QVLANGUAGE_NORWEGIAN},  {QV_TEXT("nn-NO"), QVLANGUAGE_NORWEGIAN},
      {QV_TEXT("fi-FI"), QVLANGUAGE_FINNISH},    {QV_TEXT("pl-PL"), QVLANGUAGE_POLISH},
      {QV_TEXT("cs-CZ"), QVLANGUAGE_CZECH},      {QV_TEXT("ru-RU"), QVLANGUAGE_RUSSIAN},
      {QV_TEXT("tr-TR"), QVLANGUAGE_TURKISH},    {QV_TEXT("ja-JP"), QVLANGUAGE_JAPANESE},
      {QV_TEXT("ko-KR"), QVLANGUAGE_KOREAN},     {QV_TEXT("zh-Hant-TW"), QVLANGUAGE_CHINESE},
      {QV_TEXT("DE_de"), QVLANGUAGE_GERMAN},     {QV_TEXT("fil-PH"), QVLANGUAGE_ENGLISH},
      {QV_TEXT("hu-HU"), QVLANGUAGE_ENGLISH},    {QV_TEXT(""), QVLANGUAGE_ENGLISH},
      {QV_TEXT("d"), QVLANGUAGE_ENGLISH},
  };
  for (const Case& each : cases) {
    use_locale(each.name);
    EXPECT_EQ(QvLanguage_Get(), each.language) << utf8(each.name);
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
