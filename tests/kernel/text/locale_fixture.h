// Locales for tests that need one: whatever the user's is, it is in force again afterwards.
#pragma once

#include "qv/language.h"
#include "qv/text.h"

#include <gtest/gtest.h>

inline constexpr QVUSERLOCALE kEnglish = {QV_TEXT("en-US"), QV_TEXT(":"), QV_TEXT("."),
                                          QV_TEXT(","),     QV_TEXT(","), QV_TEXT("3;0")};
inline constexpr QVUSERLOCALE kGerman = {QV_TEXT("de-DE"), QV_TEXT(":"), QV_TEXT(","),
                                         QV_TEXT("."),     QV_TEXT(";"), QV_TEXT("3;0")};
inline constexpr QVUSERLOCALE kFrench = {QV_TEXT("fr-FR"),  QV_TEXT(":"), QV_TEXT(","),
                                         QV_TEXT("\u202F"), QV_TEXT(";"), QV_TEXT("3;0")};
inline constexpr QVUSERLOCALE kHindi = {QV_TEXT("hi-IN"), QV_TEXT(":"), QV_TEXT("."),
                                        QV_TEXT(","),     QV_TEXT(","), QV_TEXT("3;2;0")};
inline constexpr QVUSERLOCALE kFinnish = {QV_TEXT("fi-FI"),  QV_TEXT("."), QV_TEXT(","),
                                          QV_TEXT("\u00A0"), QV_TEXT(";"), QV_TEXT("3;0")};

/// Writes a text and its terminator into a field of a locale.
template <size_t Capacity>
void set(WCHAR (&field)[Capacity], const WCHAR* text) {
  qv::WString(text).append(1, WCHAR{0}).copy(field, Capacity);
}

class LocaleTest : public testing::Test {
protected:
  void SetUp() override { QvText_SetUserLocale(&kEnglish); }
  void TearDown() override {
    QvText_SetUserLocale(nullptr);
    QvLanguage_Set(QVLANGUAGE_COUNT);
  }
};
