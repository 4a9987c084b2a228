// Sample rates as 80-bit extended numbers.
#include "qv/iff.h"

#include <cstdint>

namespace {

constexpr WORD kBias = 16'383;
constexpr WORD kSign = 0x8000;
constexpr DWORD kRateOfNegatives = 44'100;
/// Doubling stops above it: files with larger rates are known by the first double above.
constexpr double kDoubledWhile = 96'000.0;

} // namespace

DWORD aiff_ConvertRate(WORD exponent, WORD mantissa1, WORD mantissa2, WORD mantissa3, WORD mantissa4) {
  if ((exponent & kSign) != 0) return kRateOfNegatives;
  const double fraction =
      ((mantissa1 & 0x7FFF) + (mantissa2 + (mantissa3 + mantissa4 / 65'536.0) / 65'536.0) / 65'536.0) / 32'768.0;
  double value = ((mantissa1 & 0x8000) != 0 ? 1.0 : 0.0) + fraction;
  // A number below 1 wraps to a large count, and is doubled until it is large.
  const auto doublings = static_cast<uint16_t>(exponent - kBias);
  for (uint32_t i = 0; i < doublings && value <= kDoubledWhile; ++i)
    value *= 2.0;
  return static_cast<DWORD>(value);
}

void aiff_CreateRate(DWORD rate, WORD* exponent, WORD* mantissa1, WORD* mantissa2, WORD* mantissa3, WORD* mantissa4) {
  double value = rate;
  WORD doublings = 0;
  for (; value >= 2.0; value /= 2.0)
    ++doublings;
  *exponent = static_cast<WORD>(kBias + doublings);
  const bool has_one = value >= 1.0;
  double rest = (has_one ? value - 1.0 : value) * 32'768.0;
  *mantissa1 = static_cast<WORD>((has_one ? 0x8000 : 0) | static_cast<WORD>(rest));
  for (WORD* word : {mantissa2, mantissa3, mantissa4}) {
    rest = (rest - static_cast<WORD>(rest)) * 65'536.0;
    *word = static_cast<WORD>(rest);
  }
}
