#include "kernel/text/printf_number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace qv::kernel {
namespace {

void add_sign(const Conversion& conversion, bool negative, NumberText& number) {
  if (negative)
    number.prefix[number.prefix_length++] = '-';
  else if (conversion.plus)
    number.prefix[number.prefix_length++] = '+';
  else if (conversion.space)
    number.prefix[number.prefix_length++] = ' ';
}

void add_hexadecimal_mark(bool upper, NumberText& number) {
  number.prefix[number.prefix_length++] = '0';
  number.prefix[number.prefix_length++] = upper ? 'X' : 'x';
}

void make_upper(NumberText& number) {
  for (int i = 0; i < number.length; ++i)
    if (number.digits[i] >= 'a' && number.digits[i] <= 'z') number.digits[i] = static_cast<char>(number.digits[i] - 32);
}

int base_of(WCHAR type) {
  if (type == QV_TEXT('o')) return 8;
  return type == QV_TEXT('x') || type == QV_TEXT('X') ? 16 : 10;
}

// The decimal exponent of the value after an "e" conversion of this precision has rounded it.
int decimal_exponent(double value, int precision) {
  char text[kFieldLimit + 16];
  const char* end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, precision).ptr;
  const char* exponent = end;
  while (exponent[-1] != 'e')
    --exponent;
  if (*exponent == '+') ++exponent;
  int answer = 0;
  std::from_chars(exponent, end, answer);
  return answer;
}

// "#g" keeps the zeros at the end, which std::to_chars cannot do by itself.
char* write_general_with_zeros(double value, int precision, char* begin, char* end) {
  const int significant = std::max(precision, 1);
  const int exponent = decimal_exponent(value, significant - 1);
  if (exponent < -4 || exponent >= significant)
    return std::to_chars(begin, end, value, std::chars_format::scientific, significant - 1).ptr;
  return std::to_chars(begin, end, value, std::chars_format::fixed, significant - 1 - exponent).ptr;
}

char* write_digits(const Conversion& conversion, double value, char* begin, char* end) {
  const int precision = conversion.precision < 0 ? 6 : conversion.precision;
  switch (conversion.type) {
  case QV_TEXT('f'):
  case QV_TEXT('F'): return std::to_chars(begin, end, value, std::chars_format::fixed, precision).ptr;
  case QV_TEXT('e'):
  case QV_TEXT('E'): return std::to_chars(begin, end, value, std::chars_format::scientific, precision).ptr;
  case QV_TEXT('a'):
  case QV_TEXT('A'):
    if (conversion.precision < 0) return std::to_chars(begin, end, value, std::chars_format::hex).ptr;
    return std::to_chars(begin, end, value, std::chars_format::hex, precision).ptr;
  default:
    if (conversion.alternate) return write_general_with_zeros(value, precision, begin, end);
    return std::to_chars(begin, end, value, std::chars_format::general, precision).ptr;
  }
}

// Finds the point or the exponent; flag "#" puts a point where there is none.
void place_point(const Conversion& conversion, bool hexadecimal, NumberText& number) {
  char* const end = number.digits + number.length;
  char* const stop = std::find_if(number.digits, end, [hexadecimal](char character) {
    return character == '.' || character == (hexadecimal ? 'p' : 'e');
  });
  number.integer_digits = static_cast<int>(stop - number.digits);
  number.has_point = stop != end && *stop == '.';
  if (conversion.alternate && !number.has_point) {
    std::memmove(stop + 1, stop, static_cast<size_t>(end - stop));
    *stop = '.';
    ++number.length;
    number.has_point = true;
  }
}

} // namespace

void format_integer(const Conversion& conversion, bool negative, uint64_t magnitude, NumberText& number) {
  const bool is_signed = conversion.type == QV_TEXT('d') || conversion.type == QV_TEXT('i');
  const int base = base_of(conversion.type);
  if (is_signed) add_sign(conversion, negative, number);
  if (magnitude != 0 || conversion.precision != 0) {
    const char* end = std::to_chars(number.digits, number.digits + NumberText::kCapacity, magnitude, base).ptr;
    number.length = static_cast<int>(end - number.digits);
  }
  number.leading_zeros = std::max(conversion.precision - number.length, 0);
  if (conversion.alternate) {
    const bool starts_with_zero = number.leading_zeros > 0 || (number.length > 0 && number.digits[0] == '0');
    if (base == 8 && !starts_with_zero) number.leading_zeros = 1;
    if (base == 16 && magnitude != 0) add_hexadecimal_mark(conversion.type == QV_TEXT('X'), number);
  }
  if (conversion.type == QV_TEXT('X')) make_upper(number);
  number.integer_digits = number.length;
  number.may_fill = conversion.precision < 0;
  number.may_group = base == 10;
}

void format_double(const Conversion& conversion, double value, NumberText& number) {
  const bool hexadecimal = conversion.type == QV_TEXT('a') || conversion.type == QV_TEXT('A');
  const bool upper = conversion.type >= QV_TEXT('A') && conversion.type <= QV_TEXT('G');
  add_sign(conversion, std::signbit(value), number);
  number.may_group = !hexadecimal;
  if (std::isfinite(value)) {
    if (hexadecimal) add_hexadecimal_mark(upper, number);
    const char* end =
        write_digits(conversion, std::fabs(value), number.digits, number.digits + NumberText::kCapacity - 1);
    number.length = static_cast<int>(end - number.digits);
    place_point(conversion, hexadecimal, number);
  } else {
    std::memcpy(number.digits, std::isnan(value) ? "nan" : "inf", 3);
    number.length = 3;
    number.may_fill = false;
  }
  if (upper) make_upper(number);
}

} // namespace qv::kernel
