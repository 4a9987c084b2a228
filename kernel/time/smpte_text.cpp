// Reading timecode text.
#include "kernel/time/number_reader.h"
#include "kernel/time/smpte_labels.h"

namespace qv::kernel {

namespace {

constexpr int kMaxNumbers = 4;
constexpr int kFourPairs = 11; ///< characters of four pairs with separators between them

/// The end of the text but for the spaces there. Other white space is a separator.
const WCHAR* end_without_spaces(const WCHAR* text) {
  const WCHAR* end = text;
  for (; *text != 0; ++text)
    if (*text != QV_TEXT(' ')) end = text + 1;
  return end;
}

void shift_in(_smpteval* label, DWORD number) {
  label->hours = label->minutes;
  label->minutes = label->seconds;
  label->seconds = label->frames;
  label->frames = number;
}

/// Carries what `field` holds beyond `limit` into the next field. Few fields do: the others are spared the division.
void carry(DWORD& field, uint32_t limit, DWORD& next) {
  if (field < limit) return;
  next += field / limit;
  field %= limit;
}

void normalise(_smpteval* label) {
  if (is_smpte_format(label->format)) carry(label->frames, kSmpteRates[label->format - 1].counted, label->seconds);
  carry(label->seconds, 60, label->minutes);
  carry(label->minutes, 60, label->hours);
  label->hours %= 24;
}

/// Reads the texts that are most frequent, "01:02:03:04" with any separators and nothing around them, at one look.
/// Returns false for any other text.
bool read_four_pairs(const WCHAR* text, _smpteval* label) {
  constexpr int kPair = 3;
  DWORD numbers[kMaxNumbers];
  for (int i = 0; i < kMaxNumbers; ++i) {
    const WCHAR* const pair = text + i * kPair;
    const bool is_last = i + 1 == kMaxNumbers;
    if (!is_digit(pair[0]) || !is_digit(pair[1]) || is_digit(pair[2]) || (pair[2] == 0) != is_last) return false;
    numbers[i] = (pair[0] - QV_TEXT('0')) * 10u + (pair[1] - QV_TEXT('0'));
  }
  label->hours = numbers[0];
  label->minutes = numbers[1];
  label->seconds = numbers[2];
  label->frames = numbers[3];
  label->reserved = 0;
  return true;
}

} // namespace

SmpteReading read_smpte(const WCHAR* text, _smpteval* label) {
  if (read_four_pairs(text, label)) {
    normalise(label);
    return {text + kFourPairs, 0};
  }
  const DWORD format = label->format;
  *label = {};
  label->format = format;
  const WCHAR* const end = end_without_spaces(text);
  const WCHAR* at = text;
  int numbers = 0;
  while (numbers < kMaxNumbers) {
    while (at != end && !is_digit(*at))
      ++at;
    if (at == end) break;
    // Pairs from the right: only the first number of a run can have a single digit.
    const WCHAR* const run = skip_digits(at);
    for (; at != run && numbers < kMaxNumbers; ++numbers) {
      const WCHAR* const pair = at + ((run - at) % 2 != 0 ? 1 : 2);
      shift_in(label, static_cast<DWORD>(digits_value(at, pair)));
      at = pair;
    }
  }
  if (numbers < kMaxNumbers) {
    if (end != text && !is_digit(end[-1])) shift_in(label, 0);
    at = end;
  }
  normalise(label);
  return {numbers == 0 ? text : at, at == end ? WCHAR{0} : *at};
}

} // namespace qv::kernel

WCHAR QVSMPTE_TextToSMPTE(const WCHAR* text, _smpteval* label) {
  return qv::kernel::read_smpte(text, label).stopped_at;
}
