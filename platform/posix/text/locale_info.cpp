#include "platform/posix/text/text_output.h"

#include "qv/win32.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <langinfo.h>
#include <locale.h>
#include <new>
#include <string>
#include <string_view>

namespace qv::platform {
namespace {

/// The name that the environment gives for a category ("LC_NUMERIC"); empty for none.
std::string locale_name(const char* category) {
  for (const char* variable : {"LC_ALL", category, "LANG"}) {
    const char* name = std::getenv(variable);
    if (name && *name) return name;
  }
  return {};
}

/// The part "de_DE" of a name such as "de_DE.UTF-8@euro"; empty for the C and POSIX locales and for what is no name.
std::string_view language_and_country(std::string_view name) {
  name = name.substr(0, name.find_first_of(".@"));
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  const bool is_name = name.size() >= 2 && name.size() < 84 && name.find_first_not_of(kLetters) == name.npos;
  return is_name && name != "POSIX" ? name : std::string_view();
}

/// One locale of the C library; without one (not installed, C, POSIX) everything is as for en-US.
class CategoryLocale {
public:
  CategoryLocale(const char* category, int mask) {
    const std::string name = locale_name(category);
    if (language_and_country(name).empty()) return;
    // The category's texts are in the code set of the same locale.
    handle_ = newlocale(mask | LC_CTYPE_MASK, name.c_str(), locale_t{});
  }
  ~CategoryLocale() {
    if (handle_) freelocale(handle_);
  }
  CategoryLocale(const CategoryLocale&) = delete;
  CategoryLocale& operator=(const CategoryLocale&) = delete;

  explicit operator bool() const { return handle_ != locale_t{}; }

  const char* bytes(nl_item item) const { return nl_langinfo_l(item, handle_); }

  /// A text of the category as UTF-16.
  WString text(nl_item item) const {
    const char* source = bytes(item);
    wchar_t wide[64];
    std::mbstate_t state{};
    const locale_t before = uselocale(handle_);
    const size_t count = std::mbsrtowcs(wide, &source, std::size(wide), &state);
    uselocale(before);
    WString text;
    if (count == static_cast<size_t>(-1)) return text;
    for (const wchar_t character : std::wstring_view(wide, count))
      append(text, static_cast<uint32_t>(character));
    return text;
  }

private:
  static void append(WString& text, uint32_t character) {
    if (character >= 0x10000) text.push_back(static_cast<WCHAR>(0xD7C0 + (character >> 10)));
    text.push_back(static_cast<WCHAR>(character < 0x10000 ? character : 0xDC00 + (character & 0x3FF)));
  }

  locale_t handle_{};
};

WString name_text() {
  const std::string name = locale_name("LC_MESSAGES");
  const std::string_view part = language_and_country(name);
  if (part.empty()) return QV_TEXT("en-US");
  WString text(part.begin(), part.end());
  for (WCHAR& character : text)
    character = character == QV_TEXT('_') ? QV_TEXT('-') : character;
  return text;
}

WString decimal_text() {
  const CategoryLocale locale("LC_NUMERIC", LC_NUMERIC_MASK);
  const WString text = locale ? locale.text(RADIXCHAR) : WString();
  return text.empty() ? QV_TEXT(".") : text;
}

WString thousand_text() {
  const CategoryLocale locale("LC_NUMERIC", LC_NUMERIC_MASK);
  return locale ? locale.text(THOUSEP) : QV_TEXT(",");
}

// The C library's group sizes repeat the last one unless CHAR_MAX ends them; the published form says "0" for that.
WString grouping_text() {
  const CategoryLocale locale("LC_NUMERIC", LC_NUMERIC_MASK);
  if (!locale) return QV_TEXT("3;0");
#ifdef GROUPING
  const std::string_view sizes = locale.bytes(GROUPING);
#else
  const std::string_view sizes = *locale.bytes(THOUSEP) ? "\3" : "";
#endif
  WString text;
  char last = 0;
  bool repeats = !sizes.empty();
  for (size_t i = 0; i < sizes.size(); ++i) {
    repeats = sizes[i] > 0 && sizes[i] <= 9;
    if (!repeats) break;
    const bool is_repetition = sizes[i] == last && sizes.find_first_not_of(last, i) == sizes.npos;
    if (!is_repetition) text += {static_cast<WCHAR>(QV_TEXT('0') + sizes[i]), QV_TEXT(';')};
    last = sizes[i];
  }
  if (text.empty()) return QV_TEXT("0");
  if (repeats) return text + QV_TEXT('0');
  text.pop_back();
  return text;
}

/// The separator between hour and minute in the locale's format ("%H:%M:%S", "%T", "%k.%M.%S"); ":" where letters stand
/// there ("%H h %M").
WString time_text() {
  const CategoryLocale locale("LC_TIME", LC_TIME_MASK);
  if (!locale) return QV_TEXT(":");
  const std::string_view format = locale.bytes(T_FMT);
  const size_t hour = format.find_first_of("HIkl");
  if (hour == format.npos || hour + 1 >= format.size()) return QV_TEXT(":");
  constexpr std::string_view kSeparators = ".:,-/";
  const char separator = format[hour + 1];
  if (kSeparators.find(separator) == kSeparators.npos) return QV_TEXT(":");
  return WString(1, static_cast<WCHAR>(separator));
}

WString list_text() { return decimal_text() == QV_TEXT(",") ? QV_TEXT(";") : QV_TEXT(","); }

struct Row {
  LCTYPE type;
  WString (*text)();
};

constexpr Row kRows[] = {
    {LOCALE_SNAME, name_text},         {LOCALE_SLIST, list_text},         {LOCALE_SDECIMAL, decimal_text},
    {LOCALE_STHOUSAND, thousand_text}, {LOCALE_SGROUPING, grouping_text}, {LOCALE_STIME, time_text},
};

int hand_out(const WString& value, WCHAR* text, int capacity) {
  TextOutput<WCHAR> output(text, capacity);
  for (const WCHAR character : value)
    output.put(character);
  output.put(0);
  return output.finish();
}

} // namespace
} // namespace qv::platform

int GetLocaleInfoW(LCID locale, LCTYPE type, WCHAR* text, int capacity) {
  using namespace qv::platform;
  if (locale != LOCALE_USER_DEFAULT || capacity < 0 || (!text && capacity > 0))
    return fail_with(ERROR_INVALID_PARAMETER);
  const Row* row =
      std::find_if(std::begin(kRows), std::end(kRows), [type](const Row& each) { return each.type == type; });
  if (row == std::end(kRows)) return fail_with(ERROR_INVALID_PARAMETER);
  try {
    return hand_out(row->text(), text, capacity);
  } catch (const std::bad_alloc&) {
    return fail_with(ERROR_NOT_ENOUGH_MEMORY);
  }
}
