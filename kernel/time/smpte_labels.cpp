// Timecode: labels, frame counts and times, and the dial of 24 hours.
#include "kernel/time/smpte_labels.h"

using namespace qv::kernel;

namespace {

constexpr DWORD kHoursKept = 32; // stepping looks at five bits of the hours, as they stand in MIDI time code

DWORD last_frame(DWORD format) {
  return (is_smpte_format(format) ? kSmpteRates[format - 1].counted : kSmpteRates[QVSMPTE_FMT_30 - 1].counted) - 1;
}

void step_hours_forward(_smpteval* label) {
  label->hours = label->hours % kHoursKept + 1;
  if (label->hours > 23) label->hours = 0;
}

void step_hours_back(_smpteval* label) {
  label->hours %= kHoursKept;
  label->hours = label->hours == 0 ? 23 : label->hours - 1;
}

} // namespace

DWORD QVSMPTE_SMPTEToFrameCount(const _smpteval* label) { return frame_count_of(*label); }

DWORD QVSMPTE_FrameCountToSMPTE(_smpteval* label, DWORD count) {
  write_label(*label, count);
  return 0;
}

DWORD QVSMPTE_NanoToSMPTE(QVNANOTIME time, _smpteval* label) {
  write_label_of_time(*label, time);
  return 0;
}

QVNANOTIME QVSMPTE_SMPTEToNanos(const _smpteval* label) { return time_of_label(*label); }

QVNANOTIME QVSMPTE_SmpteLikeToNanos(double rate, const _smpteval* label) {
  const double seconds = (label->hours * 60.0 + label->minutes) * 60.0 + label->seconds;
  return time_of_frame_start((seconds * rate + label->frames) / rate);
}

void QVSMPTE_AddSMPTE(_smpteval* a, const _smpteval* b) {
  const uint64_t sum = uint64_t{frame_count_of(*a)} + frame_count_of(*b);
  const uint64_t reduced = is_smpte_format(a->format) ? sum % kSmpteRates[a->format - 1].dial : sum;
  write_label(*a, static_cast<DWORD>(reduced));
}

void QVSMPTE_SubtractSMPTE(_smpteval* a, const _smpteval* b) {
  if (!is_smpte_format(a->format)) return;
  const auto difference = static_cast<int32_t>(frame_count_of(*a) - frame_count_of(*b));
  const int64_t dial = kSmpteRates[a->format - 1].dial;
  const int64_t reduced = difference >= 0 ? difference % dial : dial - -int64_t{difference} % dial;
  write_label(*a, static_cast<DWORD>(reduced));
}

void QVSMPTE_IncrementByFrame(_smpteval* label, DWORD) {
  if (++label->frames <= last_frame(label->format)) return;
  label->frames = 0;
  if (++label->seconds < 60) return;
  label->seconds = 0;
  ++label->minutes;
  if (label->format == QVSMPTE_FMT_2997DF && label->minutes % 10 != 0) label->frames = 2;
  if (label->minutes < 60) return;
  label->minutes = 0;
  step_hours_forward(label);
}

void QVSMPTE_DeccrementByFrame(_smpteval* label, DWORD) {
  if (label->frames-- != 0) return;
  label->frames = last_frame(label->format);
  if (label->seconds-- != 0) return;
  label->seconds = 59;
  const bool hours_change = label->minutes-- == 0;
  if (hours_change) {
    label->minutes = 59;
    step_hours_back(label);
  }
  // A step back into a minute that drops labels lands on its frame 31: the two that its start lacks are added at its
  // end. Format 5 does the same, though it drops none.
  const bool steps_by_two = label->format == QVSMPTE_FMT_2997DF || label->format == QVSMPTE_FMT_2997ND;
  if (steps_by_two && (hours_change || label->minutes % 10 != 0)) label->frames += 2;
}

int QVSMPTE_SMPTECompare(const _smpteval* a, const _smpteval* b) {
  constexpr DWORD _smpteval::*kFields[] = {&_smpteval::hours, &_smpteval::minutes, &_smpteval::seconds,
                                           &_smpteval::frames};
  for (const auto field : kFields)
    if (a->*field != b->*field) return a->*field > b->*field ? 1 : -1;
  return 0;
}
