// A number as ASCII digits, before the locale and the width have their say.
#pragma once

#include "kernel/text/printf_conversion.h"

#include <cstdint>

namespace qv::kernel {

struct NumberText {
  // 309 digits before the point and 512 after it are the longest.
  static constexpr int kCapacity = 1024;

  char prefix[4]; ///< sign and "0x"
  int prefix_length = 0;
  int leading_zeros = 0;  ///< written between the prefix and the digits
  int integer_digits = 0; ///< of `digits`, before the point or the exponent
  int length = 0;         ///< of `digits`
  bool has_point = false; ///< digits[integer_digits] is "."
  bool may_fill = true;   ///< flag "0" applies
  bool may_group = true;  ///< decimal digits
  char digits[kCapacity];
};

/// Digits for the conversions d i u o x X.
void format_integer(const Conversion& conversion, bool negative, uint64_t magnitude, NumberText& number);

/// Digits for the conversions e E f F g G a A.
void format_double(const Conversion& conversion, double value, NumberText& number);

} // namespace qv::kernel
