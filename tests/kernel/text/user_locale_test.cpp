#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

class UserLocale : public LocaleTest {};

TEST_F(UserLocale, NullReturnsToTheUsersSettings) {
  QvText_SetUserLocale(nullptr);
  QVUSERLOCALE locale;
  QvText_GetUserLocale(&locale);
  struct Row {
    LCTYPE type;
    const WCHAR* field;
    size_t capacity;
  };
  const Row rows[] = {{LOCALE_SNAME, locale.name, 16},      {LOCALE_STIME, locale.time, 8},
                      {LOCALE_SDECIMAL, locale.decimal, 8}, {LOCALE_STHOUSAND, locale.thousand, 8},
                      {LOCALE_SLIST, locale.list, 8},       {LOCALE_SGROUPING, locale.grouping, 16}};
  for (const Row& row : rows) {
    WCHAR value[96];
    ASSERT_GT(GetLocaleInfoW(LOCALE_USER_DEFAULT, row.type, value, 96), 0);
    EXPECT_EQ(utf8(row.field), utf8(value).substr(0, row.capacity - 1)) << row.type;
  }
}

TEST_F(UserLocale, UnterminatedFieldsAreCut) {
  QVUSERLOCALE full;
  auto* const first = reinterpret_cast<WCHAR*>(&full);
  std::fill(first, first + sizeof full / sizeof(WCHAR), QV_TEXT('3'));
  QvText_SetUserLocale(&full);
  QVUSERLOCALE read;
  QvText_GetUserLocale(&read);
  EXPECT_EQ(utf8(read.name), std::string(15, '3'));
  EXPECT_EQ(utf8(read.decimal), std::string(7, '3'));
  EXPECT_EQ(utf8(read.grouping), std::string(15, '3'));
  EXPECT_EQ(formatted(QV_TEXT("$:")), std::string(7, '3'));
}

QVUSERLOCALE filled_with(WCHAR character) {
  QVUSERLOCALE locale;
  auto* const first = reinterpret_cast<WCHAR*>(&locale);
  std::fill(first, first + sizeof locale / sizeof(WCHAR), character);
  // Terminated, so that what is read back is the same to the byte.
  locale.name[15] = locale.time[7] = locale.decimal[7] = locale.thousand[7] = locale.list[7] = locale.grouping[15] = 0;
  return locale;
}

// A reader sees one locale or the other, never a mixture.
TEST_F(UserLocale, ReadersNeverSeeHalfAChange) {
  const QVUSERLOCALE locales[] = {filled_with(QV_TEXT('a')), filled_with(QV_TEXT('b'))};
  QvText_SetUserLocale(&locales[0]);
  std::atomic<bool> reading = false;
  std::atomic<bool> written = false;
  std::thread writer([&] {
    while (!reading)
      std::this_thread::yield();
    for (int i = 0; i < 200000; ++i)
      QvText_SetUserLocale(&locales[i % 2]);
    written = true;
  });
  int mixtures = 0;
  while (!written) {
    QVUSERLOCALE read;
    QvText_GetUserLocale(&read);
    reading = true;
    mixtures += std::memcmp(&read, &locales[0], sizeof read) != 0 && std::memcmp(&read, &locales[1], sizeof read) != 0;
  }
  writer.join();
  EXPECT_EQ(mixtures, 0);
}

} // namespace
