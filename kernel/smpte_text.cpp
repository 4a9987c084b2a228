#include "kernel/smpte_text.h"

#include "kernel/digit_runs.h"
#include "kernel/smpte_rates.h"

namespace qv::kernel {

namespace {

constexpr int kMostNumbers = 4;

const WCHAR* end_without_spaces(const WCHAR* text) {
  const WCHAR* end = text;
  for (; *text != 0; ++text)
    if (!is_white(*text)) end = text + 1;
  return end;
}

void shift_in(_smpteval* label, DWORD number) {
  label->hours = label->minutes;
  label->minutes = label->seconds;
  label->seconds = label->frames;
  label->frames = number;
}

void normalise(_smpteval* label) {
  if (is_smpte_format(label->format)) {
    const uint32_t counted = kSmpteRates[label->format - 1].counted;
    label->seconds += label->frames / counted;
    label->frames %= counted;
  }
  label->minutes += label->seconds / 60;
  label->seconds %= 60;
  label->hours += label->minutes / 60;
  label->minutes %= 60;
  label->hours %= 24;
}

} // namespace

SmpteReading read_smpte(const WCHAR* text, _smpteval* label) {
  const DWORD format = label->format;
  *label = {};
  label->format = format;
  const WCHAR* const end = end_without_spaces(text);
  const WCHAR* at = text;
  const WCHAR* run_end = text;
  int numbers = 0;
  while (numbers < kMostNumbers) {
    while (at != end && !is_digit(*at))
      ++at;
    if (at == end) break;
    // Pairs from the right: only the first number of a run can have a single digit.
    const WCHAR* const run = skip_digits(at);
    for (; at != run && numbers < kMostNumbers; ++numbers) {
      const WCHAR* const pair = at + ((run - at) % 2 != 0 ? 1 : 2);
      shift_in(label, static_cast<DWORD>(digits_value(at, pair)));
      at = pair;
    }
    run_end = at;
  }
  if (numbers < kMostNumbers) {
    if (end != text && !is_digit(end[-1])) shift_in(label, 0);
    at = end;
  }
  normalise(label);
  return {run_end, at == end ? WCHAR{0} : *at};
}

} // namespace qv::kernel

WCHAR QVSMPTE_TextToSMPTE(const WCHAR* text, _smpteval* label) {
  return qv::kernel::read_smpte(text, label).stopped_at;
}
