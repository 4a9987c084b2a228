// A cascade of sections over a block, for one channel (double) or two at once (a vector of two doubles).
//
// A section's next state waits for its last one, some eight cycles; sections that follow each other wait for each other
// too. So two sections run side by side, the second a sample behind the first, which hides the wait: the samples, and
// what is computed from them, are the same as section after section. With more of them the states leave the registers,
// and four took half as long again.
#pragma once

#include "audio/filter/iir_design.h"
#include "audio/kernels/double_pair.h"

#include <algorithm>
#include <cstddef>

namespace qv::audio {

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

/// `Count` sections side by side. read(k) answers input k, write(k, value) takes output k, when inputs up to k +
/// Count - 1 have been read.
template <int Count, class Value, class Read, class Write>
void run_sections(const IirSection* sections, IirState<Value>* states, size_t frames, Read read, Write write) {
  IirSection section[Count];
  IirState<Value> state[Count];
  Value between[Count] = {}; // what section s made in the last step
  for (int s = 0; s < Count; ++s) {
    section[s] = sections[s];
    state[s] = states[s];
  }
  // At step t section s works on sample t - s. At both ends some have none.
  constexpr size_t kBehind = Count - 1;
  const auto partly = [&](size_t t) {
    for (size_t s = Count; s-- > 0;) {
      if (t < s || t - s >= frames) continue;
      between[s] = iir_step(section[s], state[s], s == 0 ? read(t) : between[s - 1]);
      if (s == kBehind) write(t - s, between[s]);
    }
  };
  for (size_t t = 0; t < kBehind; ++t)
    partly(t);
  size_t k = 0;
  for (; k + kBehind < frames; ++k) {
    for (size_t s = Count; s-- > 1;)
      between[s] = iir_step(section[s], state[s], between[s - 1]);
    between[0] = iir_step(section[0], state[0], read(k + kBehind));
    write(k, between[kBehind]);
  }
  for (size_t t = std::max(k + kBehind, kBehind); t < frames + kBehind; ++t)
    partly(t);
  for (int s = 0; s < Count; ++s)
    states[s] = state[s];
}

inline constexpr DWORD kMostSideBySide = 2;
inline constexpr size_t kIirBlockFrames = 256;

/// One section or two.
template <class Value, class Read, class Write>
void run_group(DWORD count, const IirSection* sections, IirState<Value>* states, size_t frames, Read read,
               Write write) {
  if (count == 1) {
    run_sections<1>(sections, states, frames, read, write);
  } else {
    run_sections<2>(sections, states, frames, read, write);
  }
}

/// All sections, two by two, block after block.
template <class Value, class Read, class Write>
void run_cascade(const IirDesign& design, IirState<Value>* states, size_t frames, Read read, Write write) {
  const IirSection* const sections = design.sections.data();
  if (design.count <= kMostSideBySide) {
    run_group(design.count, sections, states, frames, read, write);
    return;
  }
  Value block[kIirBlockFrames];
  const auto from_block = [&](size_t k) { return block[k]; };
  const auto to_block = [&](size_t k, Value value) { block[k] = value; };
  const DWORD last = (design.count - 1) / kMostSideBySide * kMostSideBySide;
  for (size_t start = 0; start < frames; start += kIirBlockFrames) {
    const size_t count = frames - start < kIirBlockFrames ? frames - start : kIirBlockFrames;
    run_group(
        kMostSideBySide, sections, states, count, [&](size_t k) { return read(start + k); }, to_block);
    for (DWORD s = kMostSideBySide; s < last; s += kMostSideBySide)
      run_group(kMostSideBySide, sections + s, states + s, count, from_block, to_block);
    run_group(design.count - last, sections + last, states + last, count, from_block,
              [&](size_t k, Value value) { write(start + k, value); });
  }
}

} // namespace qv::audio
