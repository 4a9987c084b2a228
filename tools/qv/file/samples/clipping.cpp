#include "tools/qv/file/samples/clipping.h"

#include "tools/qv/failure.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qv::tool {

namespace {

bool is_float(QVSAMPLETYPE type) { return type == QVSAMPLE_FLOAT32 || type == QVSAMPLE_FLOAT64; }

/// Whether any of some codes is the first or the last of its type. Without a branch, and counted in the type itself, so
/// that it runs in vectors.
template <class Code>
bool has_limit(const void* samples, size_t count, Code low, Code high) {
  const auto* const codes = static_cast<const Code*>(samples);
  Code found = 0;
  for (size_t k = 0; k < count; ++k)
    found = static_cast<Code>(found | (codes[k] == low) | (codes[k] == high));
  return found != 0;
}

/// Whether any of some numbers comes near full scale after a factor.
template <class Number, class Mask>
bool has_loud(const void* samples, size_t count, float factor) {
  const auto* const numbers = static_cast<const Number*>(samples);
  const Number loud = static_cast<Number>(0.99 / static_cast<double>(factor)); // below the last code of 8 bits
  Mask found = 0;
  for (size_t k = 0; k < count; ++k)
    found |= Mask{std::fabs(numbers[k]) >= loud};
  return found != 0;
}

bool has_limit24(const void* samples, size_t count) {
  const auto* const bytes = static_cast<const BYTE*>(samples);
  bool found = false;
  for (size_t k = 0; k < count; ++k) {
    const int code = bytes[3 * k] | bytes[3 * k + 1] << 8 | bytes[3 * k + 2] << 16;
    found |= code == 0x7FFFFF || code == 0x800000;
  }
  return found;
}

/// Whether any sample stands at full scale: others are not clipped.
bool has_full_scale(QVSAMPLETYPE type, const void* samples, size_t count) {
  switch (type) {
  case QVSAMPLE_PCM8: return has_limit<BYTE>(samples, count, 0, 0xFF);
  case QVSAMPLE_PCM16: return has_limit<int16_t>(samples, count, INT16_MIN, INT16_MAX);
  case QVSAMPLE_PCM24: return has_limit24(samples, count);
  default: return has_limit<int32_t>(samples, count, INT32_MIN, INT32_MAX);
  }
}

} // namespace

ClippingCount::ClippingCount(QVSAMPLETYPE to, QVSAMPLETYPE from, float factor)
    : to_(to), from_(from), factor_(factor),
      is_possible_(!is_float(to) && (factor > 1.0f || is_float(from) ||
                                     QvAudio_BitsFromSampleType(from) > QvAudio_BitsFromSampleType(to))) {}

void ClippingCount::add(const void* converted, const void* samples, size_t count) {
  if (!is_possible_ || !may_have_clipped(converted, samples, count)) return;
  if (from_ == QVSAMPLE_FLOAT64 && factor_ == 1.0f) return count_doubles(static_cast<const double*>(samples), count);
  doubles_.resize(std::max(doubles_.size(), count));
  QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, from_)(doubles_.data(), samples, static_cast<LONG>(count), factor_);
  count_doubles(doubles_.data(), count);
}

bool ClippingCount::may_have_clipped(const void* converted, const void* samples, size_t count) const {
  if (from_ == QVSAMPLE_FLOAT32) return has_loud<float, int32_t>(samples, count, factor_);
  if (from_ == QVSAMPLE_FLOAT64) return has_loud<double, int64_t>(samples, count, factor_);
  return !converted || has_full_scale(to_, converted, count);
}

void ClippingCount::count_doubles(const double* samples, size_t count) {
  // What rounds to a code beyond the last one; a tie goes to the even code, which at the lower end exists.
  const double half_step = std::ldexp(1.0, -static_cast<int>(QvAudio_BitsFromSampleType(to_)));
  for (size_t k = 0; k < count; ++k)
    clipped_ += samples[k] >= 1.0 - half_step || samples[k] < -1.0 - half_step;
}

void warn_of_clipping(const std::string& name, uint64_t samples) {
  if (samples == 0) return;
  print_warning(name, std::to_string(samples) + (samples == 1 ? " sample was" : " samples were") +
                          " too loud and clipped at full scale");
}

} // namespace qv::tool
