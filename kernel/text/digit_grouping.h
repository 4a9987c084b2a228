// Where a locale puts separators between the digits of a number.
#pragma once

#include "qv/win32.h"

namespace qv::kernel {

class DigitGrouping {
public:
  /// From group sizes counted from the right: "3;0" repeats 3 for ever, "3;2;0" repeats 2 after one 3, "3" makes one
  /// group; "0", an empty text and anything that is no such list group nothing.
  explicit DigitGrouping(const WCHAR* sizes);

  /// Whether a separator stands where this many digits follow.
  bool separates(int digits_that_follow) const;

  /// Separators in a number of this many digits.
  int separators(int digits) const;

private:
  static constexpr int kMost = 8;
  int ends_[kMost] = {}; // digits to the right of each separator, ascending
  int count_ = 0;
  int repeat_ = 0; // the size that goes on after the last, or 0
};

} // namespace qv::kernel
