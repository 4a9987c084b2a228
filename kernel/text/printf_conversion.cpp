#include "kernel/text/printf_conversion.h"

namespace qv::kernel {
namespace {

constexpr bool is_digit(WCHAR character) { return character >= QV_TEXT('0') && character <= QV_TEXT('9'); }

const WCHAR* parse_flags(const WCHAR* text, Conversion& conversion) {
  for (;; ++text) {
    switch (*text) {
    case QV_TEXT('-'): conversion.left = true; break;
    case QV_TEXT('+'): conversion.plus = true; break;
    case QV_TEXT(' '): conversion.space = true; break;
    case QV_TEXT('#'): conversion.alternate = true; break;
    case QV_TEXT('0'): conversion.zero = true; break;
    default: return text;
    }
  }
}

// Reads a width or precision, which is a number or "*". Digits that would pass the limit are read and not counted.
const WCHAR* parse_field(const WCHAR* text, int& value, bool& is_argument) {
  if (*text == QV_TEXT('*')) {
    is_argument = true;
    return text + 1;
  }
  value = 0;
  for (; is_digit(*text); ++text) {
    value = value * 10 + (*text - QV_TEXT('0'));
    if (value > kFieldLimit) value = kFieldLimit;
  }
  return text;
}

const WCHAR* parse_size(const WCHAR* text, ArgumentSize& size) {
  switch (*text) {
  case QV_TEXT('h'):
    size = text[1] == QV_TEXT('h') ? ArgumentSize::kChar : ArgumentSize::kShort;
    return text + (text[1] == QV_TEXT('h') ? 2 : 1);
  case QV_TEXT('l'):
    size = text[1] == QV_TEXT('l') ? ArgumentSize::k64 : ArgumentSize::kLong;
    return text + (text[1] == QV_TEXT('l') ? 2 : 1);
  case QV_TEXT('j'): size = ArgumentSize::k64; return text + 1;
  case QV_TEXT('z'):
  case QV_TEXT('t'): size = ArgumentSize::kPointer; return text + 1;
  case QV_TEXT('I'):
    if (text[1] == QV_TEXT('6') && text[2] == QV_TEXT('4')) {
      size = ArgumentSize::k64;
      return text + 3;
    }
    if (text[1] == QV_TEXT('3') && text[2] == QV_TEXT('2')) {
      size = ArgumentSize::k32;
      return text + 3;
    }
    size = ArgumentSize::kPointer;
    return text + 1;
  default: return text;
  }
}

bool is_known(WCHAR type, ArgumentSize size) {
  switch (type) {
  case QV_TEXT('d'):
  case QV_TEXT('i'):
  case QV_TEXT('o'):
  case QV_TEXT('u'):
  case QV_TEXT('x'):
  case QV_TEXT('X'):
  case QV_TEXT('n'):
  case QV_TEXT('p'):
  case QV_TEXT('%'): return true;
  case QV_TEXT('e'):
  case QV_TEXT('E'):
  case QV_TEXT('f'):
  case QV_TEXT('F'):
  case QV_TEXT('g'):
  case QV_TEXT('G'):
  case QV_TEXT('a'):
  case QV_TEXT('A'): return size == ArgumentSize::kNone || size == ArgumentSize::kLong;
  case QV_TEXT('s'):
  case QV_TEXT('S'):
  case QV_TEXT('c'):
  case QV_TEXT('C'): return size == ArgumentSize::kNone || size == ArgumentSize::kShort || size == ArgumentSize::kLong;
  default: return false;
  }
}

} // namespace

const WCHAR* parse_conversion(const WCHAR* text, Conversion& conversion) {
  text = parse_flags(text, conversion);
  text = parse_field(text, conversion.width, conversion.width_is_argument);
  if (*text == QV_TEXT('.')) text = parse_field(text + 1, conversion.precision, conversion.precision_is_argument);
  text = parse_size(text, conversion.size);
  if (!is_known(*text, conversion.size)) return text;
  conversion.type = *text;
  return text + 1;
}

bool is_numeric(WCHAR type) {
  switch (type) {
  case 0:
  case QV_TEXT('n'):
  case QV_TEXT('p'):
  case QV_TEXT('%'):
  case QV_TEXT('s'):
  case QV_TEXT('S'):
  case QV_TEXT('c'):
  case QV_TEXT('C'): return false;
  default: return true;
  }
}

} // namespace qv::kernel
