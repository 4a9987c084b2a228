#include "kernel/time/number_reader.h"

#include "kernel/text/user_locale.h"

#include <charconv>
#include <cstddef>

namespace qv::kernel {

namespace {

/// The place behind `separator`, where that stands between `text` and a digit; else null. An empty separator stands
/// nowhere.
const WCHAR* behind(const WCHAR* text, const WCHAR* separator) {
  if (*separator == 0) return nullptr;
  for (; *separator != 0; ++separator, ++text)
    if (*text != *separator) return nullptr;
  return is_digit(*text) ? text : nullptr;
}

/// A number's digits as std::from_chars takes them. Whole digits beyond a double's range make it infinite; the fraction
/// is cut where no double can tell.
class DecimalText {
public:
  void add_whole(WCHAR digit) {
    if (length_ == 0 && digit == QV_TEXT('0')) return;
    if (length_ == kMaxWhole)
      is_infinite_ = true;
    else
      put(static_cast<char>(digit));
  }
  void start_fraction() { put('.'); }
  void add_fraction(WCHAR digit) {
    if (length_ < kCapacity) put(static_cast<char>(digit));
  }
  double value() const {
    if (is_infinite_) return std::numeric_limits<double>::infinity();
    double value = 0.0;
    std::from_chars(text_, text_ + length_, value);
    return value;
  }

private:
  static constexpr size_t kMaxWhole = 308;
  static constexpr size_t kCapacity = kMaxWhole + 64;

  void put(char character) { text_[length_++] = character; }

  char text_[kCapacity];
  size_t length_ = 0;
  bool is_infinite_ = false;
};

} // namespace

NumberReader::NumberReader(const WCHAR* text) : at_(text) { QvText_GetUserLocale(&locale_); }

template <class Take>
void NumberReader::whole_part(Take take) {
  while (is_digit(*at_)) {
    for (; is_digit(*at_); ++at_)
      take(*at_);
    const WCHAR* next = behind(at_, locale_.thousand);
    if (!next) return;
    at_ = next;
  }
}

const WCHAR* NumberReader::behind_decimal_separator() const {
  if (const WCHAR* text = behind(at_, decimal_separator(locale_))) return text;
  return behind(at_, QV_TEXT("."));
}

int64_t NumberReader::integer() {
  int64_t value = 0;
  whole_part([&value](WCHAR digit) { value = with_digit(value, digit); });
  return value;
}

double NumberReader::real() {
  DecimalText text;
  whole_part([&text](WCHAR digit) { text.add_whole(digit); });
  if (const WCHAR* fraction = behind_decimal_separator()) {
    text.start_fraction();
    for (at_ = fraction; is_digit(*at_); ++at_)
      text.add_fraction(*at_);
  }
  return text.value();
}

} // namespace qv::kernel
