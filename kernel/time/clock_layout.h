// Texts like "01:02:03.456": three fields of two digits, and a fourth of two or three or none, with a separator before
// each but the first. A format string that asks for just that becomes a layout when the library is compiled, and is
// written without the formatter.
#pragma once

#include "kernel/text/printf_sink.h"
#include "kernel/text/user_locale.h"

#include <array>
#include <cstdint>

namespace qv::kernel {

struct DigitPair {
  WCHAR tens, ones;
};

constexpr std::array<DigitPair, 100> make_digit_pairs() {
  std::array<DigitPair, 100> pairs{};
  for (int i = 0; i < 100; ++i)
    pairs[i] = {static_cast<WCHAR>(QV_TEXT('0') + i / 10), static_cast<WCHAR>(QV_TEXT('0') + i % 10)};
  return pairs;
}
inline constexpr std::array<DigitPair, 100> kDigitPairs = make_digit_pairs();

/// value < 100.
inline WCHAR* write_two_digits(WCHAR* out, uint32_t value) {
  const DigitPair pair = kDigitPairs[value];
  out[0] = pair.tens;
  out[1] = pair.ones;
  return out + 2;
}

/// value < 1000.
inline WCHAR* write_three_digits(WCHAR* out, uint32_t value) {
  *out = static_cast<WCHAR>(QV_TEXT('0') + value / 100);
  return write_two_digits(out + 1, value % 100);
}

class ClockLayout {
public:
  /// "%02u", a separator, "%02u", the same separator, "%02u", and perhaps another separator with "%02u" or "%03u".
  /// Separators are "$:", "$*" or a plain character. Any other format makes it unusable.
  constexpr explicit ClockLayout(const WCHAR* format) {
    const auto next_is = [&format](WCHAR character) { return *format == character && (++format, true); };
    const auto field = [&]() -> uint8_t {
      if (!next_is(QV_TEXT('%')) || !next_is(QV_TEXT('0'))) return 0;
      const uint8_t digits = *format == QV_TEXT('2') ? 2 : *format == QV_TEXT('3') ? 3 : 0;
      return digits != 0 && (++format, next_is(QV_TEXT('u'))) ? digits : 0;
    };
    const auto separator = [&]() -> Separator {
      if (next_is(QV_TEXT('$'))) {
        const WCHAR which = *format;
        if (which != 0) ++format;
        return {which == QV_TEXT(':') ? Source::kTime : which == QV_TEXT('*') ? Source::kDecimal : Source::kNone, 0};
      }
      if (*format == 0 || *format == QV_TEXT('%')) return {Source::kNone, 0};
      return {Source::kCharacter, *format++};
    };
    if (field() != 2) return;
    between_ = separator();
    if (field() != 2 || separator() != between_ || field() != 2) return;
    if (*format != 0) {
      last_ = separator();
      last_digits_ = field();
      if (last_.source == Source::kNone || last_digits_ == 0) return;
    }
    usable_ = between_.source != Source::kNone && *format == 0;
  }

  constexpr bool is_usable() const { return usable_; }

  /// Writes three of the values, or all four where the layout has as many fields. False, and nothing written, where a
  /// value has more digits than its field, the sink is nearly full, or a locale's separator is not one character.
  bool write(Sink& sink, uint32_t first, uint32_t second, uint32_t third, uint32_t last) const;

private:
  enum class Source : uint8_t { kNone, kCharacter, kTime, kDecimal };
  struct Separator {
    Source source = Source::kNone;
    WCHAR character = 0;
    constexpr bool operator==(const Separator&) const = default;
  };

  Separator between_;
  Separator last_;
  uint8_t last_digits_ = 0;
  bool usable_ = false;
};

inline bool ClockLayout::write(Sink& sink, uint32_t first, uint32_t second, uint32_t third, uint32_t last) const {
  constexpr size_t kMaxCharacters = 12;
  WCHAR* const start = sink.room_for(kMaxCharacters);
  const uint32_t last_limit = last_digits_ == 3 ? 1000 : 100;
  if (!start || first >= 100 || second >= 100 || third >= 100) return false;
  if (last_digits_ != 0 && last >= last_limit) return false;

  const ClockCharacters locale = clock_characters();
  const auto character = [&locale](const Separator& separator) {
    switch (separator.source) {
    case Source::kTime: return locale.time;
    case Source::kDecimal: return locale.decimal;
    default: return separator.character;
    }
  };
  const WCHAR between = character(between_);
  if (between == 0) return false;
  WCHAR* out = write_two_digits(start, first);
  *out++ = between;
  out = write_two_digits(out, second);
  *out++ = between;
  out = write_two_digits(out, third);
  if (last_digits_ != 0) {
    const WCHAR before_last = character(last_);
    if (before_last == 0) return false;
    *out++ = before_last;
    out = last_digits_ == 3 ? write_three_digits(out, last) : write_two_digits(out, last);
  }
  sink.advance(static_cast<size_t>(out - start));
  return true;
}

} // namespace qv::kernel
