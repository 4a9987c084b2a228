#include "kernel/text/printf_field.h"

#include "kernel/text/digit_grouping.h"

#include <algorithm>
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

const WCHAR* decimal_separator(const QVUSERLOCALE& locale) {
  const View decimal = locale.decimal;
  const View thousand = locale.thousand;
  if (decimal != thousand) return locale.decimal;
  return thousand == View(QV_TEXT(".")) ? QV_TEXT(",") : QV_TEXT(".");
}

} // namespace qv::kernel
