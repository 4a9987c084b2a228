#include "kernel/text/user_locale.h"

#include "kernel/shared_value.h"

#include "qv/list.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string_view>

using namespace qv::kernel;

namespace {

// The values that hold where the system does not answer.
constexpr QVUSERLOCALE kEnglish = {QV_TEXT("en-US"), QV_TEXT(":"), QV_TEXT("."),
                                   QV_TEXT(","),     QV_TEXT(","), QV_TEXT("3;0")};

constexpr ClockSeparators kEnglishClock = {QV_TEXT(":"), QV_TEXT(".")};

// The locale in force and its clock separators, copied from locale_list() for readers that take no lock.
constinit SharedValue<QVUSERLOCALE> locale_in_force(kEnglish);
constinit SharedValue<ClockSeparators> clock_in_force(kEnglishClock);
constinit std::atomic<bool> locale_is_read = false;

uint32_t packed(const ClockSeparators& clock) {
  const bool are_characters =
      clock.time[0] != 0 && clock.time[1] == 0 && clock.decimal[0] != 0 && clock.decimal[1] == 0;
  return are_characters ? uint32_t{clock.time[0]} << 16 | clock.decimal[0] : 0;
}

/// The process's list of the locale in force, its only item, which is read and replaced behind the list's lock. Null
/// when there was no memory for it.
tQVLIST* locale_list() {
  static tQVLIST* const list = [] {
    tQVLIST* made = nullptr;
    QvList_CreateExZ(&made, sizeof(QVUSERLOCALE), 4, 4, QVLIST_OPT_ARRAY | QVLIST_OPT_THREADSAFE, 0, 0, 0);
    return made;
  }();
  return list;
}

class LocaleLock {
public:
  LocaleLock() : list_(locale_list()) {
    if (list_) EnterCriticalSection(&list_->lock);
  }
  LocaleLock(const LocaleLock&) = delete;
  LocaleLock& operator=(const LocaleLock&) = delete;
  ~LocaleLock() {
    if (list_) LeaveCriticalSection(&list_->lock);
  }

private:
  tQVLIST* list_;
};

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

/// Replaces the locale in force. The caller holds the lock.
void put_in_force(const QVUSERLOCALE& locale) {
  if (tQVLIST* list = locale_list()) {
    QvList_DeleteList(list, 0, -1, 0);
    QvList_InsertList(list, 0, &locale, 1);
  }
  ClockSeparators clock = {};
  std::copy_n(locale.time, std::size(clock.time), clock.time);
  std::basic_string_view<WCHAR>(decimal_separator(locale)).copy(clock.decimal, std::size(clock.decimal) - 1);
  locale_in_force.update([&](QVUSERLOCALE& value) { value = locale; });
  clock_in_force.update([&](ClockSeparators& value) { value = clock; });
  packed_clock_characters.store(packed(clock), std::memory_order_relaxed);
  locale_is_read.store(true, std::memory_order_release);
}

} // namespace

namespace qv::kernel {

constinit std::atomic<uint32_t> packed_clock_characters = 0;

void read_locale_once() {
  if (locale_is_read.load(std::memory_order_acquire)) return;
  const LocaleLock lock;
  if (!locale_is_read.load(std::memory_order_relaxed)) put_in_force(user_settings());
}

ClockSeparators clock_separators() {
  read_locale_once();
  return clock_in_force.load();
}

const WCHAR* decimal_separator(const QVUSERLOCALE& locale) {
  using View = std::basic_string_view<WCHAR>;
  const View decimal = locale.decimal;
  const View thousand = locale.thousand;
  if (decimal != thousand) return locale.decimal;
  return thousand == View(QV_TEXT(".")) ? QV_TEXT(",") : QV_TEXT(".");
}

DigitGrouping::DigitGrouping(const WCHAR* sizes) {
  int last_size = 0;
  int end = 0;
  for (; count_ < kMaxGroups && *sizes >= QV_TEXT('0') && *sizes <= QV_TEXT('9'); sizes += 2) {
    const int size = *sizes - QV_TEXT('0');
    if (size == 0) {
      repeat_ = last_size;
      return;
    }
    last_size = size;
    end += size;
    ends_[count_++] = end;
    if (sizes[1] != QV_TEXT(';')) return;
  }
}

bool DigitGrouping::separates(int digits_that_follow) const {
  if (count_ == 0) return false;
  const int last = ends_[count_ - 1];
  if (digits_that_follow > last) return repeat_ != 0 && (digits_that_follow - last) % repeat_ == 0;
  for (int i = 0; i < count_; ++i)
    if (ends_[i] == digits_that_follow) return true;
  return false;
}

int DigitGrouping::separators(int digits) const {
  int separators = 0;
  for (int i = 0; i < count_ && ends_[i] < digits; ++i)
    ++separators;
  if (repeat_ != 0 && digits > ends_[count_ - 1]) separators += (digits - 1 - ends_[count_ - 1]) / repeat_;
  return separators;
}

} // namespace qv::kernel

void QvText_GetUserLocale(QVUSERLOCALE* locale) {
  if (!locale) return;
  read_locale_once();
  *locale = locale_in_force.load();
}

void QvText_SetUserLocale(const QVUSERLOCALE* locale) {
  const LocaleLock lock;
  put_in_force(locale ? terminated(*locale) : user_settings());
}
