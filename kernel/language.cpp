#include "qv/language.h"

#include "qv/text.h"

#include <atomic>

namespace {

struct LanguageName {
  WCHAR code[3]; // ISO 639-1
  QVLANGUAGE language;
};

constexpr LanguageName kLanguages[] = {
    {QV_TEXT("en"), QVLANGUAGE_ENGLISH},   {QV_TEXT("de"), QVLANGUAGE_GERMAN},
    {QV_TEXT("fr"), QVLANGUAGE_FRENCH},    {QV_TEXT("es"), QVLANGUAGE_SPANISH},
    {QV_TEXT("it"), QVLANGUAGE_ITALIAN},   {QV_TEXT("pt"), QVLANGUAGE_PORTUGUESE},
    {QV_TEXT("nl"), QVLANGUAGE_DUTCH},     {QV_TEXT("sv"), QVLANGUAGE_SWEDISH},
    {QV_TEXT("da"), QVLANGUAGE_DANISH},    {QV_TEXT("nb"), QVLANGUAGE_NORWEGIAN},
    {QV_TEXT("nn"), QVLANGUAGE_NORWEGIAN}, {QV_TEXT("no"), QVLANGUAGE_NORWEGIAN},
    {QV_TEXT("fi"), QVLANGUAGE_FINNISH},   {QV_TEXT("pl"), QVLANGUAGE_POLISH},
    {QV_TEXT("cs"), QVLANGUAGE_CZECH},     {QV_TEXT("ru"), QVLANGUAGE_RUSSIAN},
    {QV_TEXT("tr"), QVLANGUAGE_TURKISH},   {QV_TEXT("ja"), QVLANGUAGE_JAPANESE},
    {QV_TEXT("ko"), QVLANGUAGE_KOREAN},    {QV_TEXT("zh"), QVLANGUAGE_CHINESE},
};

// The language that was set for the process; QVLANGUAGE_COUNT: none, the user's locale decides.
constinit std::atomic<QVLANGUAGE> language_set = QVLANGUAGE_COUNT;

constexpr WCHAR lower(WCHAR character) {
  const bool upper = character >= QV_TEXT('A') && character <= QV_TEXT('Z');
  return upper ? static_cast<WCHAR>(character + 32) : character;
}

// The language of a locale name: "de", "de-DE" and "DE_at" are German; English for names that are not known, as "deu".
QVLANGUAGE language_of_locale(const WCHAR* name) {
  if (name[0] == 0 || name[1] == 0) return QVLANGUAGE_ENGLISH;
  if (name[2] != 0 && name[2] != QV_TEXT('-') && name[2] != QV_TEXT('_')) return QVLANGUAGE_ENGLISH;
  for (const LanguageName& row : kLanguages)
    if (row.code[0] == lower(name[0]) && row.code[1] == lower(name[1])) return row.language;
  return QVLANGUAGE_ENGLISH;
}

} // namespace

QVLANGUAGE QvLanguage_Get() {
  const QVLANGUAGE set = language_set.load(std::memory_order_relaxed);
  if (set != QVLANGUAGE_COUNT) return set;
  QVUSERLOCALE locale;
  QvText_GetUserLocale(&locale);
  return language_of_locale(locale.name);
}

HRESULT QvLanguage_Set(QVLANGUAGE language) {
  if (language > QVLANGUAGE_COUNT) return E_INVALIDARG;
  language_set.store(language, std::memory_order_relaxed);
  return S_OK;
}

const WCHAR* QvLanguage_Text(const QVSTRINGRECORD* record) {
  if (!record) return nullptr;
  const WCHAR* text = record->text[QvLanguage_Get()];
  return text ? text : record->text[QVLANGUAGE_ENGLISH];
}
