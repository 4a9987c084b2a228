// Labels, frame counts and times.
#include "kernel/time/smpte_labels.h"

using namespace qv::kernel;

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
  return truncated((seconds * rate + label->frames) / rate * 1e7 + 0.999);
}
