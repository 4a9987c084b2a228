// The library's texts in the user's language.
//
// A text is one record with a translation per language; a missing translation falls back to English. The language
// follows the user's locale until it is set.
#pragma once

#include "qv/win32.h"

/// Languages of the string records, English first.
enum QVLANGUAGE : uint32_t {
  QVLANGUAGE_ENGLISH,
  QVLANGUAGE_GERMAN,
  QVLANGUAGE_FRENCH,
  QVLANGUAGE_SPANISH,
  QVLANGUAGE_ITALIAN,
  QVLANGUAGE_PORTUGUESE,
  QVLANGUAGE_DUTCH,
  QVLANGUAGE_SWEDISH,
  QVLANGUAGE_DANISH,
  QVLANGUAGE_NORWEGIAN,
  QVLANGUAGE_FINNISH,
  QVLANGUAGE_POLISH,
  QVLANGUAGE_CZECH,
  QVLANGUAGE_RUSSIAN,
  QVLANGUAGE_TURKISH,
  QVLANGUAGE_JAPANESE,
  QVLANGUAGE_KOREAN,
  QVLANGUAGE_CHINESE,
  QVLANGUAGE_COUNT
};

/// One text in every language; text[QVLANGUAGE_ENGLISH] is never null, others may be (English is shown then).
struct QVSTRINGRECORD {
  const WCHAR* text[QVLANGUAGE_COUNT];
};

/// The language in force.
QV_FUNCTION QVLANGUAGE QvLanguage_Get();

/// Sets the language for the whole process; QVLANGUAGE_COUNT returns to the user's locale. E_INVALIDARG beyond.
QV_FUNCTION HRESULT QvLanguage_Set(QVLANGUAGE language);

/// The record's text in the language in force, English where it has none. Static; never null for a record of the
/// library. Null for a null record.
QV_FUNCTION const WCHAR* QvLanguage_Text(const QVSTRINGRECORD* record);
