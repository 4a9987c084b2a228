#include "kernel/shared_value.h"
#include "qv/text.h"

#include <atomic>
#include <iterator>

namespace {

using qv::kernel::SharedValue;

// What holds where the system does not answer.
constexpr QVUSERLOCALE kEnglish = {QV_TEXT("en-US"), QV_TEXT(":"), QV_TEXT("."),
                                   QV_TEXT(","),     QV_TEXT(","), QV_TEXT("3;0")};

constinit SharedValue<QVUSERLOCALE> locale_in_force(kEnglish);
constinit std::atomic<bool> locale_is_read = false;

template <size_t Capacity>
void read_value(LCTYPE type, WCHAR (&field)[Capacity]) {
  WCHAR text[96]; // the longest locale name has 85 characters
  const int count = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, static_cast<int>(std::size(text)));
  if (count <= 0) return;
  size_t i = 0;
  for (; i + 1 < Capacity && text[i] != 0; ++i)
    field[i] = text[i];
  field[i] = 0;
}

QVUSERLOCALE user_settings() {
  QVUSERLOCALE locale = kEnglish;
  read_value(LOCALE_SNAME, locale.name);
  read_value(LOCALE_STIME, locale.time);
  read_value(LOCALE_SDECIMAL, locale.decimal);
  read_value(LOCALE_STHOUSAND, locale.thousand);
  read_value(LOCALE_SLIST, locale.list);
  read_value(LOCALE_SGROUPING, locale.grouping);
  return locale;
}

template <size_t Capacity>
void terminate(WCHAR (&field)[Capacity]) {
  field[Capacity - 1] = 0;
}

QVUSERLOCALE terminated(QVUSERLOCALE locale) {
  terminate(locale.name);
  terminate(locale.time);
  terminate(locale.decimal);
  terminate(locale.thousand);
  terminate(locale.list);
  terminate(locale.grouping);
  return locale;
}

void put_in_force(const QVUSERLOCALE& locale, bool only_the_first) {
  locale_in_force.update([&](QVUSERLOCALE& value) {
    if (only_the_first && locale_is_read.load(std::memory_order_relaxed)) return;
    value = locale;
    locale_is_read.store(true, std::memory_order_release);
  });
}

} // namespace

void QvText_GetUserLocale(QVUSERLOCALE* locale) {
  if (!locale) return;
  if (!locale_is_read.load(std::memory_order_acquire)) put_in_force(user_settings(), true);
  *locale = locale_in_force.load();
}

void QvText_SetUserLocale(const QVUSERLOCALE* locale) {
  put_in_force(locale ? terminated(*locale) : user_settings(), false);
}
