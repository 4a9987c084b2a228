// One printf conversion, read from a format.
#pragma once

#include "qv/win32.h"

#include <cstdint>

namespace qv::kernel {

/// The size that stands between the precision and the conversion character.
enum class ArgumentSize : uint8_t { kNone, kChar, kShort, kLong, k32, k64, kPointer };

struct Conversion {
  bool left = false;
  bool plus = false;
  bool space = false;
  bool alternate = false;
  bool zero = false;
  bool width_is_argument = false;
  bool precision_is_argument = false;
  ArgumentSize size = ArgumentSize::kNone;
  int width = 0;
  int precision = -1; ///< -1: none given
  WCHAR type = 0;     ///< 0: incomplete or unknown
};

/// Widths and precisions beyond this count as this.
inline constexpr int kFieldLimit = 512;

/// Reads the conversion whose "%" or "$" stands before `text`. Returns the character after it; for an incomplete or
/// unknown one the first character that does not belong to it.
const WCHAR* parse_conversion(const WCHAR* text, Conversion& conversion);

/// Whether a conversion takes a number ("d", "u", "x", "f", ...), so that "$" may stand before it.
bool is_numeric(WCHAR type);

} // namespace qv::kernel
