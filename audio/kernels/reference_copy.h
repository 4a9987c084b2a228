// The copy kernels in plain C++: the definition that every faster variant equals bit for bit.
#pragma once

#include "audio/kernels/sample_access.h"

namespace qv::audio {
namespace {

/// Samples [0, count) converted one by one; kUnity leaves the multiplication out.
template <class Dst, class Src, bool kUnity>
void reference_copy_run(uint8_t* dst, const uint8_t* src, size_t count, [[maybe_unused]] double gain) {
  for (size_t n = 0; n < count; ++n) {
    const size_t i = runs_backward<Dst, Src>() ? count - 1 - n : n;
    double value = load_normalised<Src>(src + i * Src::bytes);
    if constexpr (!kUnity) value *= gain;
    store_normalised<Dst>(dst + i * Dst::bytes, value);
  }
}

template <class Dst, class Src>
void reference_copy(void* dst, const void* src, LONG count, float gain) {
  if (count <= 0) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  if (gain != 1.0f)
    reference_copy_run<Dst, Src, false>(to, from, samples, static_cast<double>(gain));
  else if constexpr (Dst::type == Src::type)
    std::memmove(to, from, samples * Dst::bytes);
  else
    reference_copy_run<Dst, Src, true>(to, from, samples, 1.0);
}

} // namespace
} // namespace qv::audio
