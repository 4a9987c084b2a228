// Drop-frame timecode in the usual few lines, in a shared library of its own: called as the library is called.
#pragma once

#include <cstdint>

namespace bench {

struct PlainLabel {
  uint32_t hours, minutes, seconds, frames;
};

#define QV_BENCH_PEER __attribute__((visibility("default")))

/// count < frames of a day.
QV_BENCH_PEER void closed_form_label(uint32_t count, PlainLabel* label);
QV_BENCH_PEER uint32_t closed_form_count(const PlainLabel* label);

} // namespace bench
