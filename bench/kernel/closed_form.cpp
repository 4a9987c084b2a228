#include "bench/kernel/closed_form.h"

namespace bench {

void closed_form_label(uint32_t count, PlainLabel* label) {
  const uint32_t tens = count / 17982;
  const uint32_t rest = count % 17982;
  count += 18 * tens + (rest > 1 ? 2 * ((rest - 2) / 1798) : 0);
  label->frames = count % 30;
  label->seconds = count / 30 % 60;
  label->minutes = count / 1800 % 60;
  label->hours = count / 108000 % 24;
}

uint32_t closed_form_count(const PlainLabel* label) {
  const uint32_t minutes = 60 * label->hours + label->minutes;
  return (minutes * 60 + label->seconds) * 30 + label->frames - 2 * (minutes - minutes / 10);
}

} // namespace bench
