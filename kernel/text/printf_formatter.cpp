#include "kernel/text/printf_formatter.h"

#include "kernel/rounding.h"
#include "kernel/text/printf_field.h"
#include "kernel/text/user_locale.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace qv::kernel {

void TextFormatter::write(const WCHAR* format) {
  while (!sink_.is_full()) {
    const WCHAR* plain = format;
    while (*format != 0 && *format != QV_TEXT('%') && *format != QV_TEXT('$'))
      ++format;
    sink_.write(plain, static_cast<size_t>(format - plain));
    if (*format == 0) return;
    format = *format == QV_TEXT('%') ? write_conversion(format) : write_directive(format);
  }
}

const WCHAR* TextFormatter::write_conversion(const WCHAR* format) {
  Conversion conversion;
  const WCHAR* end = parse_conversion(format + 1, conversion);
  if (conversion.type == 0) {
    sink_.write(format, static_cast<size_t>(end - format));
    return end;
  }
  take_fields(conversion);
  if (is_plain_integer(conversion)) {
    write_plain_integer(conversion);
    return end;
  }
  switch (conversion.type) {
  case QV_TEXT('%'): sink_.put(QV_TEXT('%')); break;
  case QV_TEXT('n'): arguments_.next_pointer(); break;
  case QV_TEXT('p'): write_pointer(conversion); break;
  case QV_TEXT('s'):
  case QV_TEXT('S'): write_string(sink_, conversion, arguments_.next_pointer()); break;
  case QV_TEXT('c'):
  case QV_TEXT('C'): write_character(sink_, conversion, arguments_.next_int()); break;
  default: {
    NumberText number;
    take_number(conversion, number);
    write_number(sink_, conversion, number);
  }
  }
  return end;
}

const WCHAR* TextFormatter::write_directive(const WCHAR* format) {
  switch (format[1]) {
  case QV_TEXT('$'): sink_.put(QV_TEXT('$')); return format + 2;
  case QV_TEXT(':'): write_clock_separator(&ClockCharacters::time, &ClockSeparators::time); return format + 2;
  case QV_TEXT('*'): write_clock_separator(&ClockCharacters::decimal, &ClockSeparators::decimal); return format + 2;
  case QV_TEXT(','): sink_.write_terminated(locale().list); return format + 2;
  case QV_TEXT('&'):
  case QV_TEXT('!'): return write_token(format);
  default: return write_localized(format);
  }
}

void TextFormatter::write_clock_separator(WCHAR ClockCharacters::*character, WCHAR (ClockSeparators::*text)[8]) {
  const ClockCharacters characters = clock_characters();
  if (characters.*character != 0)
    sink_.put(characters.*character);
  else
    sink_.write_terminated(clock_separators().*text);
}

const WCHAR* TextFormatter::write_token(const WCHAR* format) {
  const bool musical = format[1] == QV_TEXT('&');
  Token token = Token::kCount;
  switch (format[2]) {
  case QV_TEXT(':'): token = musical ? Token::kMeasureBeat : Token::kTimecodeWhole; break;
  case QV_TEXT('.'): token = musical ? Token::kBeatTick : Token::kTimecodeNonDrop; break;
  case QV_TEXT(','): token = musical ? Token::kCount : Token::kTimecodeDrop; break;
  default: break;
  }
  if (token == Token::kCount) {
    sink_.put(QV_TEXT('$'));
    return format + 1;
  }
  sink_.write_terminated(token_text(token).text);
  return format + 3;
}

const WCHAR* TextFormatter::write_localized(const WCHAR* format) {
  Conversion conversion;
  const WCHAR* end = parse_conversion(format + 1, conversion);
  if (!is_numeric(conversion.type)) {
    sink_.put(QV_TEXT('$'));
    return format + 1;
  }
  take_fields(conversion);
  NumberText number;
  take_number(conversion, number);
  write_localized_number(sink_, conversion, number, locale());
  return end;
}

void TextFormatter::write_pointer(Conversion conversion) {
  const uint64_t address = reinterpret_cast<uintptr_t>(arguments_.next_pointer());
  conversion.type = QV_TEXT('X');
  conversion.alternate = false;
  conversion.precision = 16;
  NumberText number;
  format_integer(conversion, false, address, number);
  write_number(sink_, conversion, number);
}

void TextFormatter::take_fields(Conversion& conversion) {
  if (conversion.width_is_argument) {
    const int width = arguments_.next_int();
    if (width < 0) conversion.left = true;
    // Clamped before the sign goes: the most negative number has no positive twin.
    conversion.width = std::abs(std::clamp(width, -kFieldLimit, kFieldLimit));
  }
  if (conversion.precision_is_argument) conversion.precision = std::clamp(arguments_.next_int(), -1, kFieldLimit);
}

void TextFormatter::take_number(const Conversion& conversion, NumberText& number) {
  switch (conversion.type) {
  case QV_TEXT('d'):
  case QV_TEXT('i'): {
    const int64_t value = arguments_.next_signed(conversion.size);
    const uint64_t bits = static_cast<uint64_t>(value);
    format_integer(conversion, value < 0, value < 0 ? 0 - bits : bits, number);
    break;
  }
  case QV_TEXT('o'):
  case QV_TEXT('u'):
  case QV_TEXT('x'):
  case QV_TEXT('X'): format_integer(conversion, false, arguments_.next_unsigned(conversion.size), number); break;
  default: format_double(conversion, arguments_.next_double(), number);
  }
}

void TextFormatter::write_plain_integer(const Conversion& conversion) {
  const bool is_signed = conversion.type != QV_TEXT('u');
  const int64_t value = is_signed ? arguments_.next_signed(conversion.size)
                                  : static_cast<int64_t>(arguments_.next_unsigned(conversion.size));
  const bool negative = is_signed && value < 0;
  const auto bits = static_cast<uint64_t>(value);
  qv::kernel::write_plain_integer(sink_, conversion, negative, negative ? 0 - bits : bits);
}

int64_t Arguments::next_integer() {
  const Number number = next_number();
  return number.is_double ? truncated(number.real) : number.integer;
}

const QVUSERLOCALE& TextFormatter::locale() {
  if (!has_locale_) QvText_GetUserLocale(&locale_);
  has_locale_ = true;
  return locale_;
}

} // namespace qv::kernel

int QvPrintF(WCHAR* dst, const WCHAR* format, ...) {
  va_list list;
  va_start(list, format);
  const int count = QvCchVPrintF(dst, INT_MAX, format, list);
  va_end(list);
  return count;
}

int QvCchPrintF(WCHAR* dst, int capacity, const WCHAR* format, ...) {
  va_list list;
  va_start(list, format);
  const int count = QvCchVPrintF(dst, capacity, format, list);
  va_end(list);
  return count;
}

int QvCchVPrintF(WCHAR* dst, int capacity, const WCHAR* format, va_list list) {
  using namespace qv::kernel;
  if (!dst || capacity < 1) return 0;
  Sink sink(dst, static_cast<size_t>(capacity) - 1);
  Arguments arguments(list);
  TextFormatter formatter(sink, arguments);
  if (format) formatter.write(format);
  return sink.finish();
}
