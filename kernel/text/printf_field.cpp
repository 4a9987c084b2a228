#include "kernel/text/printf_field.h"

#include "kernel/text/user_locale.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

namespace qv::kernel {
namespace {

using View = std::basic_string_view<WCHAR>;

int zeros_of(const Conversion& conversion, const NumberText& number) {
  const int written = number.prefix_length + number.leading_zeros + number.length;
  const bool fills = conversion.zero && !conversion.left && number.may_fill;
  return number.leading_zeros + (fills ? std::max(conversion.width - written, 0) : 0);
}

size_t spaces_of(const Conversion& conversion, size_t length) {
  const size_t width = static_cast<size_t>(conversion.width);
  return width > length ? width - length : 0;
}

void write_grouped(Sink& sink, const NumberText& number, int zeros, const DigitGrouping& grouping, View separator) {
  const int digits = zeros + number.integer_digits;
  for (int i = 0; i < digits && !sink.is_full(); ++i) {
    if (i > 0 && grouping.separates(digits - i)) sink.write(separator.data(), separator.size());
    sink.put(i < zeros ? QV_TEXT('0') : static_cast<WCHAR>(number.digits[i - zeros]));
  }
}

bool is_ansi(const Conversion& conversion) {
  const bool capital = conversion.type == QV_TEXT('S') || conversion.type == QV_TEXT('C');
  return conversion.size == ArgumentSize::kShort || (capital && conversion.size == ArgumentSize::kNone);
}

template <class Character>
size_t bounded_length(const Character* text, size_t limit) {
  size_t length = 0;
  while (length < limit && text[length] != 0)
    ++length;
  return length;
}

void write_wide(Sink& sink, const Conversion& conversion, const WCHAR* text, size_t count) {
  const size_t width = static_cast<size_t>(conversion.width);
  const size_t spaces = width > count ? width - count : 0;
  if (!conversion.left) sink.fill(QV_TEXT(' '), spaces);
  sink.write(text, count);
  if (conversion.left) sink.fill(QV_TEXT(' '), spaces);
}

// Returns how many characters were written to `text`, which has room for one per byte: no code page needs more.
size_t convert(const char* bytes, size_t count, WCHAR* text) {
  const int room = static_cast<int>(count);
  const int converted = count == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, bytes, room, text, room);
  return static_cast<size_t>(std::max(converted, 0));
}

void write_ansi(Sink& sink, const Conversion& conversion, const char* bytes, size_t count) {
  if (count > kFieldLimit) {
    const std::unique_ptr<WCHAR[]> text(new (std::nothrow) WCHAR[count]);
    if (text) return write_wide(sink, conversion, text.get(), convert(bytes, count, text.get()));
    count = kFieldLimit;
  }
  WCHAR text[kFieldLimit] = {};
  write_wide(sink, conversion, text, convert(bytes, count, text));
}

} // namespace

void write_number(Sink& sink, const Conversion& conversion, const NumberText& number) {
  const int zeros = zeros_of(conversion, number);
  const size_t spaces = spaces_of(conversion, static_cast<size_t>(number.prefix_length + zeros + number.length));
  if (!conversion.left) sink.fill(QV_TEXT(' '), spaces);
  sink.write(number.prefix, static_cast<size_t>(number.prefix_length));
  sink.fill(QV_TEXT('0'), static_cast<size_t>(zeros));
  sink.write(number.digits, static_cast<size_t>(number.length));
  if (conversion.left) sink.fill(QV_TEXT(' '), spaces);
}

bool is_plain_integer(const Conversion& conversion) {
  const bool decimal =
      conversion.type == QV_TEXT('u') || conversion.type == QV_TEXT('d') || conversion.type == QV_TEXT('i');
  return decimal && conversion.precision < 0 && !conversion.left && !conversion.plus && !conversion.space;
}

void write_plain_integer(Sink& sink, const Conversion& conversion, bool negative, uint64_t magnitude) {
  WCHAR digits[20];
  WCHAR* const end = digits + std::size(digits);
  WCHAR* begin = end;
  do {
    *--begin = static_cast<WCHAR>(QV_TEXT('0') + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  const auto length = static_cast<size_t>(end - begin);
  const size_t fill = spaces_of(conversion, length + (negative ? 1 : 0));
  if (!conversion.zero) sink.fill(QV_TEXT(' '), fill);
  if (negative) sink.put(QV_TEXT('-'));
  if (conversion.zero) sink.fill(QV_TEXT('0'), fill);
  for (; begin != end; ++begin)
    sink.put(*begin);
}

void write_localized_number(Sink& sink, const Conversion& conversion, const NumberText& number,
                            const QVUSERLOCALE& locale) {
  const View separator = locale.thousand;
  const View decimal = number.has_point ? View(decimal_separator(locale)) : View();
  const DigitGrouping grouping(number.may_group && !separator.empty() ? locale.grouping : QV_TEXT(""));
  const int zeros = zeros_of(conversion, number);
  const int rest_start = number.integer_digits + (number.has_point ? 1 : 0);
  const size_t rest = static_cast<size_t>(number.length - rest_start);

  const int whole_digits = zeros + number.integer_digits;
  const size_t separators = static_cast<size_t>(grouping.separators(whole_digits));
  const size_t length =
      static_cast<size_t>(number.prefix_length + whole_digits) + separators * separator.size() + decimal.size() + rest;
  const size_t spaces = spaces_of(conversion, length);

  if (!conversion.left) sink.fill(QV_TEXT(' '), spaces);
  sink.write(number.prefix, static_cast<size_t>(number.prefix_length));
  write_grouped(sink, number, zeros, grouping, separator);
  sink.write(decimal.data(), decimal.size());
  sink.write(number.digits + rest_start, rest);
  if (conversion.left) sink.fill(QV_TEXT(' '), spaces);
}

void write_string(Sink& sink, const Conversion& conversion, const void* text) {
  // What lies beyond the width and the room left cannot change the outcome.
  const size_t limit = conversion.precision >= 0 ? static_cast<size_t>(conversion.precision)
                                                 : std::max(sink.left(), static_cast<size_t>(conversion.width));
  if (text && is_ansi(conversion)) {
    const char* bytes = static_cast<const char*>(text);
    write_ansi(sink, conversion, bytes, bounded_length(bytes, limit));
  } else {
    const WCHAR* wide = text ? static_cast<const WCHAR*>(text) : QV_TEXT("(null)");
    write_wide(sink, conversion, wide, bounded_length(wide, limit));
  }
}

void write_character(Sink& sink, const Conversion& conversion, int character) {
  if (is_ansi(conversion)) {
    const char byte = static_cast<char>(character);
    write_ansi(sink, conversion, &byte, 1);
  } else {
    const WCHAR wide = static_cast<WCHAR>(character);
    write_wide(sink, conversion, &wide, 1);
  }
}

} // namespace qv::kernel
