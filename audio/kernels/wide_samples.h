// Vectors of samples: loading, storing and converting them, for the instruction set that the file is compiled for.
//
// A step handles kLanes samples, as many as a vector of 32-bit integers holds. Every function has internal linkage
// (see sample_access.h), and equals the reference bit for bit.
#pragma once

// Only the base instructions of each set are asked for; processor support is checked for no more.
#define HWY_DISABLE_BMI2_FMA
#define HWY_DISABLE_F16C
#define HWY_DISABLE_PCLMUL_AES
#define HWY_COMPILE_ONLY_STATIC
// Highway's own checks would need its run-time library.
#define HWY_IS_DEBUG_BUILD 0

#include "audio/kernels/sample_access.h"

#include <hwy/highway.h>

namespace qv::audio {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Int32Tag = hn::ScalableTag<int32_t>;
using Uint8Tag = hn::ScalableTag<uint8_t>;
using FloatTag = hn::ScalableTag<float>;
using DoubleTag = hn::ScalableTag<double>;
using HalfInt32Tag = hn::Half<Int32Tag>;
using HalfFloatTag = hn::Half<FloatTag>;
using Ints = hn::Vec<Int32Tag>;
using HalfInts = hn::Vec<HalfInt32Tag>;
using Floats = hn::Vec<FloatTag>;
using DoubleVector = hn::Vec<DoubleTag>;

inline constexpr Int32Tag kInts;
inline constexpr FloatTag kFloats;
inline constexpr DoubleTag kDoubles;
inline constexpr HalfInt32Tag kHalfInts;
inline constexpr HalfFloatTag kHalfFloats;

inline constexpr size_t kLanes = HWY_MAX_BYTES / sizeof(int32_t);

/// kLanes doubles.
struct Doubles {
  DoubleVector low;
  DoubleVector high;
};

// ---- byte shuffles -------------------------------------------------------------------------------------------------

// Patterns are per 16-byte block; 0x80 makes a zero.
alignas(16) inline constexpr uint8_t kSwap16[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
alignas(16) inline constexpr uint8_t kSwap32[16] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
// Four packed 24-bit samples to the upper three bytes of four words; and the lower three bytes of four words, packed.
alignas(16) inline constexpr uint8_t kUnpack24[16] = {0x80, 0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11};
alignas(16) inline constexpr uint8_t kUnpack24Big[16] = {0x80, 2, 1, 0, 0x80, 5, 4, 3, 0x80, 8, 7, 6, 0x80, 11, 10, 9};
alignas(16) inline constexpr uint8_t kPack24[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
alignas(16) inline constexpr uint8_t kPack24Big[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0x80, 0x80, 0x80, 0x80};

template <class Tag>
HWY_INLINE hn::Vec<Tag> shuffle_bytes(Tag tag, hn::Vec<Tag> v, const uint8_t* pattern) {
  const hn::Repartition<uint8_t, Tag> bytes;
  return hn::BitCast(tag, hn::TableLookupBytesOr0(hn::BitCast(bytes, v), hn::LoadDup128(bytes, pattern)));
}

#if HWY_MAX_BYTES == 32
// Eight packed samples (24 bytes): the second block is loaded from byte 8, so that nothing is read behind them, and its
// four samples begin at its byte 4.
HWY_INLINE Ints load_packed24(const uint8_t* memory, bool big) {
  const hn::Half<Uint8Tag> block;
  const Uint8Tag bytes;
  const auto raw = hn::Combine(bytes, hn::LoadU(block, memory + 8), hn::LoadU(block, memory));
  const auto offset = hn::Combine(bytes, hn::Set(block, 4), hn::Zero(block));
  const auto pattern = hn::Add(hn::LoadDup128(bytes, big ? kUnpack24Big : kUnpack24), offset); // 0x84 is a zero too
  return hn::ShiftRight<8>(hn::BitCast(kInts, hn::TableLookupBytesOr0(raw, pattern)));
}

HWY_INLINE void store_packed24(Ints v, uint8_t* memory, bool big) {
  alignas(32) static constexpr int32_t kClose[8] = {0, 1, 2, 4, 5, 6, 7, 7};
  const auto packed = shuffle_bytes(kInts, v, big ? kPack24Big : kPack24);
  const auto closed = hn::TableLookupLanes(packed, hn::SetTableIndices(kInts, kClose));
  const hn::Half<Uint8Tag> block;
  const auto bytes = hn::BitCast(Uint8Tag(), closed);
  hn::StoreU(hn::LowerHalf(block, bytes), block, memory);
  hn::StoreU(hn::LowerHalf(hn::Half<decltype(block)>(), hn::UpperHalf(block, bytes)), hn::Half<decltype(block)>(),
             memory + 16);
}
#elif HWY_MAX_BYTES == 64
// Sixteen packed samples (48 bytes), from two overlapping loads of 32.
HWY_INLINE Ints load_packed24(const uint8_t* memory, bool big) {
  alignas(64) static constexpr int32_t kSpread[16] = {0, 1, 2, 2, 3, 4, 5, 5, 10, 11, 12, 12, 13, 14, 15, 15};
  const hn::Half<Uint8Tag> half;
  const auto raw = hn::Combine(Uint8Tag(), hn::LoadU(half, memory + 16), hn::LoadU(half, memory));
  const auto spread = hn::TableLookupLanes(hn::BitCast(kInts, raw), hn::SetTableIndices(kInts, kSpread));
  return hn::ShiftRight<8>(shuffle_bytes(kInts, spread, big ? kUnpack24Big : kUnpack24));
}

HWY_INLINE void store_packed24(Ints v, uint8_t* memory, bool big) {
  alignas(64) static constexpr int32_t kClose[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
  const auto packed = shuffle_bytes(kInts, v, big ? kPack24Big : kPack24);
  const auto closed = hn::TableLookupLanes(packed, hn::SetTableIndices(kInts, kClose));
  const auto bytes = hn::BitCast(Uint8Tag(), closed);
  const hn::Half<Uint8Tag> half;
  const hn::Half<decltype(half)> quarter;
  hn::StoreU(hn::LowerHalf(half, bytes), half, memory);
  hn::StoreU(hn::LowerHalf(quarter, hn::UpperHalf(half, bytes)), quarter, memory + 32);
}
#else
#error "packed 24-bit samples need a way into vectors of this width"
#endif

// ---- integers ------------------------------------------------------------------------------------------------------

template <class Layout>
HWY_INLINE Ints load_integers(const uint8_t* memory) {
  constexpr bool kBig = Layout::encoding == Encoding::kBigEndian;
  if constexpr (Layout::bytes == 1) {
    const hn::Rebind<int8_t, Int32Tag> narrow;
    auto raw = hn::LoadU(narrow, reinterpret_cast<const int8_t*>(memory));
    if constexpr (Layout::encoding == Encoding::kOffset) raw = hn::Xor(raw, hn::Set(narrow, int8_t{-128}));
    return hn::PromoteTo(kInts, raw);
  } else if constexpr (Layout::bytes == 2) {
    const hn::Rebind<int16_t, Int32Tag> narrow;
    auto raw = hn::LoadU(narrow, reinterpret_cast<const int16_t*>(memory));
    if constexpr (kBig) raw = shuffle_bytes(narrow, raw, kSwap16);
    return hn::PromoteTo(kInts, raw);
  } else if constexpr (Layout::bytes == 3) {
    return load_packed24(memory, kBig);
  } else {
    auto raw = hn::LoadU(kInts, reinterpret_cast<const int32_t*>(memory));
    if constexpr (kBig) raw = shuffle_bytes(kInts, raw, kSwap32);
    return raw;
  }
}

/// Stores values that are in the layout's range; 8 and 16 bits saturate.
template <class Layout>
HWY_INLINE void store_integers(Ints v, uint8_t* memory) {
  constexpr bool kBig = Layout::encoding == Encoding::kBigEndian;
  if constexpr (Layout::bytes == 1) {
    const hn::Rebind<int8_t, Int32Tag> narrow;
    auto raw = hn::DemoteTo(narrow, v);
    if constexpr (Layout::encoding == Encoding::kOffset) raw = hn::Xor(raw, hn::Set(narrow, int8_t{-128}));
    hn::StoreU(raw, narrow, reinterpret_cast<int8_t*>(memory));
  } else if constexpr (Layout::bytes == 2) {
    const hn::Rebind<int16_t, Int32Tag> narrow;
    auto raw = hn::DemoteTo(narrow, v);
    if constexpr (kBig) raw = shuffle_bytes(narrow, raw, kSwap16);
    hn::StoreU(raw, narrow, reinterpret_cast<int16_t*>(memory));
  } else if constexpr (Layout::bytes == 3) {
    store_packed24(v, memory, kBig);
  } else {
    if constexpr (kBig) v = shuffle_bytes(kInts, v, kSwap32);
    hn::StoreU(v, kInts, reinterpret_cast<int32_t*>(memory));
  }
}

template <class Layout>
HWY_INLINE Ints clamp_to_range(Ints v) {
  constexpr auto kHigh = static_cast<int32_t>((int64_t{1} << (Layout::bits - 1)) - 1);
  return hn::Max(hn::Min(v, hn::Set(kInts, kHigh)), hn::Set(kInts, -kHigh - 1));
}

/// Integers of one layout in the scale of another: shifted, or rounded to nearest with ties to even, and clamped.
template <class Dst, class Src>
HWY_INLINE Ints rescale(Ints v) {
  constexpr int kDown = Src::bits - Dst::bits;
  // The container of 24 bits in 32 holds more than its samples should.
  constexpr bool kMayExceed = Src::bytes * 8 > Src::bits;
  const auto raw = v;
  if constexpr (kMayExceed) v = clamp_to_range<Src>(v);
  if constexpr (kDown < 0) {
    const auto scaled = hn::ShiftLeft<-kDown>(v);
    // What exceeds the source's range exceeds the destination's, whose limit is finer.
    if constexpr (kMayExceed) return hn::IfThenElse(hn::Gt(raw, v), hn::Set(kInts, INT32_MAX), scaled);
    return scaled;
  } else if constexpr (kDown == 0) {
    return v;
  } else {
    constexpr int32_t kBelowHalf = static_cast<int32_t>((int64_t{1} << (kDown - 1)) - 1);
    constexpr int32_t kHigh = static_cast<int32_t>((int64_t{1} << (Dst::bits - 1)) - 1);
    const auto quotient = hn::ShiftRight<kDown>(v);
    const auto bias = hn::Add(hn::And(quotient, hn::Set(kInts, 1)), hn::Set(kInts, kBelowHalf));
    Ints rounded;
    if constexpr (Src::bits < 32) {
      rounded = hn::ShiftRight<kDown>(hn::Add(v, bias));
    } else {
      // The sum could overflow: only what is shifted out is added up.
      constexpr int32_t kMask = static_cast<int32_t>((int64_t{1} << kDown) - 1);
      rounded = hn::Add(quotient, hn::ShiftRight<kDown>(hn::Add(hn::And(v, hn::Set(kInts, kMask)), bias)));
    }
    return hn::Min(rounded, hn::Set(kInts, kHigh));
  }
}

// ---- floating point ------------------------------------------------------------------------------------------------

template <class Layout>
HWY_INLINE Floats floats_from_integers(Ints v) {
  // Exact up to 24 bits, and rounded once from 32: scaling by a power of two changes nothing.
  return hn::Mul(hn::ConvertTo(kFloats, v), hn::Set(kFloats, static_cast<float>(1.0 / Layout::full_scale)));
}

HWY_INLINE Doubles doubles_of(HalfInts low, HalfInts high) {
  return {hn::PromoteTo(kDoubles, low), hn::PromoteTo(kDoubles, high)};
}

HWY_INLINE Doubles multiplied(Doubles v, Doubles factors) {
  return {hn::Mul(v.low, factors.low), hn::Mul(v.high, factors.high)};
}

HWY_INLINE Doubles same_factor(double factor) {
  const auto all = hn::Set(kDoubles, factor);
  return {all, all};
}

// Nearest integers, ties to even; 0 where `keep` is false. What exceeds the range becomes anything, which spares the
// instructions by which Highway saturates.
#if HWY_ARCH_X86 && HWY_MAX_BYTES == 32
HWY_INLINE Ints nearest_or_zero(hn::Mask<FloatTag> keep, Floats v) {
  return Ints{_mm256_cvtps_epi32(hn::IfThenElseZero(keep, v).raw)};
}
HWY_INLINE HalfInts nearest_or_zero(hn::Mask<DoubleTag> keep, DoubleVector v) {
  return HalfInts{_mm256_cvtpd_epi32(hn::IfThenElseZero(keep, v).raw)};
}
#elif HWY_ARCH_X86 && HWY_MAX_BYTES == 64
HWY_INLINE Ints nearest_or_zero(hn::Mask<FloatTag> keep, Floats v) {
  return Ints{_mm512_maskz_cvtps_epi32(keep.raw, v.raw)};
}
HWY_INLINE HalfInts nearest_or_zero(hn::Mask<DoubleTag> keep, DoubleVector v) {
  return HalfInts{_mm512_maskz_cvtpd_epi32(keep.raw, v.raw)};
}
#else
HWY_INLINE Ints nearest_or_zero(hn::Mask<FloatTag> keep, Floats v) {
  return hn::NearestInt(hn::IfThenElseZero(keep, v));
}
HWY_INLINE HalfInts nearest_or_zero(hn::Mask<DoubleTag> keep, DoubleVector v) {
  return hn::DemoteTo(kHalfInts, hn::Round(hn::IfThenElseZero(keep, v)));
}
#endif

// Conversions to integers round to nearest with ties to even; a NaN becomes 0. What exceeds the range downward becomes
// the most negative 32-bit integer where kCut is false: right for stores of 8 and 16 bits, which saturate.

/// The integers of floats, in single precision: scaling by a power of two and clamping are exact there, so the result
/// is that of doubles.
template <class Layout, bool kCut>
HWY_INLINE Ints integers_from_floats(Floats v) {
  v = hn::Mul(v, hn::Set(kFloats, static_cast<float>(Layout::full_scale)));
  // 32 bits: the instruction saturates downward by itself, and no float lies between 2^31 - 128 and 2^31.
  if constexpr (Layout::bits == 32) return hn::NearestInt(hn::IfThenElseZero(hn::Eq(v, v), v));
  auto cut = hn::Min(v, hn::Set(kFloats, static_cast<float>(Layout::full_scale - 1.0)));
  if constexpr (kCut) cut = hn::Max(cut, hn::Set(kFloats, static_cast<float>(-Layout::full_scale)));
  return nearest_or_zero(hn::Eq(v, v), cut);
}

template <class Layout, bool kCut>
HWY_INLINE HalfInts half_integers_from_doubles(DoubleVector v) {
  auto cut = hn::Min(v, hn::Set(kDoubles, Layout::full_scale - 1.0));
  if constexpr (kCut) cut = hn::Max(cut, hn::Set(kDoubles, -Layout::full_scale));
  return nearest_or_zero(hn::Eq(v, v), cut);
}

/// The integers of doubles that are in their scale.
template <class Layout, bool kCut>
HWY_INLINE Ints integers_from_doubles(Doubles v) {
  return hn::Combine(kInts, half_integers_from_doubles<Layout, kCut>(v.high),
                     half_integers_from_doubles<Layout, kCut>(v.low));
}

/// Whether values for a store must be cut to the range first.
template <class Layout>
inline constexpr bool kCutBeforeStore = Layout::bits == 24;

/// Whether samples are 32-bit words as they stand in memory: halves of a step are then loaded and stored apart, which
/// spares taking vectors to pieces.
template <class Layout>
inline constexpr bool kPlainWords = Layout::bytes == 4 && Layout::encoding == Encoding::kInteger;

/// Samples as doubles: integers in their own scale, not normalised.
template <class Layout>
HWY_INLINE Doubles load_doubles(const uint8_t* memory) {
  constexpr size_t kHalf = kLanes / 2;
  if constexpr (Layout::bytes == 8) {
    const auto* doubles = reinterpret_cast<const double*>(memory);
    return {hn::LoadU(kDoubles, doubles), hn::LoadU(kDoubles, doubles + kHalf)};
  } else if constexpr (Layout::is_float) {
    const auto* floats = reinterpret_cast<const float*>(memory);
    return {hn::PromoteTo(kDoubles, hn::LoadU(kHalfFloats, floats)),
            hn::PromoteTo(kDoubles, hn::LoadU(kHalfFloats, floats + kHalf))};
  } else if constexpr (kPlainWords<Layout>) {
    const auto* words = reinterpret_cast<const int32_t*>(memory);
    return doubles_of(hn::LoadU(kHalfInts, words), hn::LoadU(kHalfInts, words + kHalf));
  } else {
    const Ints v = load_integers<Layout>(memory);
    return doubles_of(hn::LowerHalf(kHalfInts, v), hn::UpperHalf(kHalfInts, v));
  }
}

/// Stores doubles in the scale of the destination's integers.
template <class Layout>
HWY_INLINE void store_doubles(Doubles v, uint8_t* memory) {
  constexpr size_t kHalf = kLanes / 2;
  constexpr bool kCut = kCutBeforeStore<Layout>;
  if constexpr (Layout::bytes == 8) {
    auto* doubles = reinterpret_cast<double*>(memory);
    hn::StoreU(v.low, kDoubles, doubles);
    hn::StoreU(v.high, kDoubles, doubles + kHalf);
  } else if constexpr (Layout::is_float) {
    auto* floats = reinterpret_cast<float*>(memory);
    hn::StoreU(hn::DemoteTo(kHalfFloats, v.low), kHalfFloats, floats);
    hn::StoreU(hn::DemoteTo(kHalfFloats, v.high), kHalfFloats, floats + kHalf);
  } else if constexpr (kPlainWords<Layout>) {
    auto* words = reinterpret_cast<int32_t*>(memory);
    hn::StoreU(half_integers_from_doubles<Layout, kCut>(v.low), kHalfInts, words);
    hn::StoreU(half_integers_from_doubles<Layout, kCut>(v.high), kHalfInts, words + kHalf);
  } else {
    store_integers<Layout>(integers_from_doubles<Layout, kCut>(v), memory);
  }
}

} // namespace
} // namespace qv::audio
