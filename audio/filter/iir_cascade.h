// A cascade of sections over a block, for one channel (double) or two at once (a vector of two doubles).
//
// A section's next state waits for its last one, some eight cycles; sections that follow each other wait for each other
// too. So up to four sections run side by side, each one sample behind the one before it, which hides the wait: the
// samples, and what is computed from them, are the same as section after section.
#pragma once

#include "audio/filter/iir_design.h"

#include <cstddef>

namespace qv::audio {

using PairOfDoubles = double __attribute__((vector_size(16)));

/// The two state values of a section.
template <class Value>
struct IirState {
  Value w1, w2;
};

template <class Value>
inline Value iir_step(const IirSection& section, IirState<Value>& state, Value x) {
  // What does not depend on the last step comes first.
  const Value w = (x + state.w2 * section.c2) + state.w1 * section.c1;
  const Value y = (state.w2 * section.b2 + state.w1 * section.b1) + w * section.b0;
  state.w2 = state.w1;
  state.w1 = w;
  return y;
}

/// `Count` sections side by side, in place.
template <int Count, class Value>
void run_sections(const IirSection* sections, IirState<Value>* states, Value* samples, size_t frames) {
  IirSection section[Count];
  IirState<Value> state[Count];
  Value between[Count] = {}; // what section s made in the last step
  for (int s = 0; s < Count; ++s) {
    section[s] = sections[s];
    state[s] = states[s];
  }
  // At step t section s works on sample t - s. At both ends some have none.
  const auto partly = [&](size_t t) {
    for (int s = Count; s-- > 0;) {
      if (t < static_cast<size_t>(s) || t - static_cast<size_t>(s) >= frames) continue;
      between[s] = iir_step(section[s], state[s], s == 0 ? samples[t] : between[s - 1]);
      if (s == Count - 1) samples[t - (Count - 1)] = between[s];
    }
  };
  size_t t = 0;
  for (; t < Count - 1 && t < frames + Count - 1; ++t)
    partly(t);
  for (; t < frames; ++t) {
    for (int s = Count; s-- > 1;)
      between[s] = iir_step(section[s], state[s], between[s - 1]);
    between[0] = iir_step(section[0], state[0], samples[t]);
    samples[t - (Count - 1)] = between[Count - 1];
  }
  for (; t < frames + Count - 1; ++t)
    partly(t);
  for (int s = 0; s < Count; ++s)
    states[s] = state[s];
}

/// All sections, four side by side, and what remains.
template <class Value>
void run_cascade(const IirDesign& design, IirState<Value>* states, Value* samples, size_t frames) {
  const IirSection* const sections = design.sections.data();
  DWORD s = 0;
  for (; s + 4 <= design.count; s += 4)
    run_sections<4>(sections + s, states + s, samples, frames);
  switch (design.count - s) {
  case 3: run_sections<3>(sections + s, states + s, samples, frames); break;
  case 2: run_sections<2>(sections + s, states + s, samples, frames); break;
  case 1: run_sections<1>(sections + s, states + s, samples, frames); break;
  default: break;
  }
}

} // namespace qv::audio
