// Numbers in a text: plain runs of decimal digits, and numbers as users write them.
#pragma once

#include "qv/text.h"

#include <cstdint>
#include <limits>

namespace qv::kernel {

inline bool is_digit(WCHAR character) { return character >= QV_TEXT('0') && character <= QV_TEXT('9'); }

/// Whether a character is white space of ASCII, or one of the spaces that locales group digits with.
inline bool is_white(WCHAR character) {
  return character == QV_TEXT(' ') || (character >= QV_TEXT('\t') && character <= QV_TEXT('\r')) ||
         character == QV_TEXT('\u00A0') || character == QV_TEXT('\u2009') || character == QV_TEXT('\u202F');
}

inline const WCHAR* skip_white(const WCHAR* text) {
  while (is_white(*text))
    ++text;
  return text;
}

inline const WCHAR* skip_digits(const WCHAR* text) {
  while (is_digit(*text))
    ++text;
  return text;
}

/// `value` with one more digit at its end; the largest number where that is out of range.
inline int64_t with_digit(int64_t value, WCHAR digit) {
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  const int64_t last = digit - QV_TEXT('0');
  return value > (kMax - last) / 10 ? kMax : value * 10 + last;
}

/// The number that the digits from `begin` to `end` make.
inline int64_t digits_value(const WCHAR* begin, const WCHAR* end) {
  int64_t value = 0;
  for (; begin != end; ++begin)
    value = with_digit(value, *begin);
  return value;
}

/// Reads numbers with the locale's grouping and decimal separators.
class NumberReader {
public:
  /// Reads from `text` on, in the locale in force.
  explicit NumberReader(const WCHAR* text);

  /// The place behind the last digit that was read, where reading goes on.
  const WCHAR* position() const { return at_; }
  void move_to(const WCHAR* text) { at_ = text; }

  /// Digits with grouping separators between them; 0 where there is no digit. The largest number where it is out of
  /// range.
  int64_t integer();
  /// A number like integer()'s with a fraction. Digits beyond those that a double can show are not looked at.
  double real();

private:
  /// Calls `take` for each digit of the number's whole part.
  template <class Take>
  void whole_part(Take take);
  const WCHAR* behind_decimal_separator() const;

  QVUSERLOCALE locale_;
  const WCHAR* at_;
};

} // namespace qv::kernel
