// Numbers as users write them: with the locale's grouping and decimal separators.
#pragma once

#include "qv/text.h"

#include <cstdint>

namespace qv::kernel {

class NumberReader {
public:
  /// Reads from `text` on, in the locale in force.
  explicit NumberReader(const WCHAR* text);

  /// Where reading goes on: behind the last digit that was read.
  const WCHAR* position() const { return at_; }
  void move_to(const WCHAR* text) { at_ = text; }

  /// Digits with grouping separators between them; 0 where there is no digit. The largest number where it is out of
  /// range.
  int64_t integer();
  /// The same with a fraction. Digits beyond those that a double can show are not looked at.
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
