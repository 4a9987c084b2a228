// Tables of kernels, indexed by the rows of the sample types: destination first, then source.
#pragma once

#include "audio/kernels/levels.h"
#include "audio/kernels/sample_access.h"

#include "qv/audio_kernels.h"

#include <array>
#include <utility>

namespace qv::audio {
namespace {

/// {make<layout 0>(), make<layout 1>(), ...} of the first kCount layouts.
template <size_t kCount, class Make>
constexpr auto for_types(Make make) {
  const auto make_all = [&]<size_t... kRows>(std::index_sequence<kRows...>) {
    return std::array{make.template operator()<SampleLayout<kSampleTypes[kRows].type>>()...};
  };
  return make_all(std::make_index_sequence<kCount>{});
}

/// table[d][s] = make<layout d, layout s>().
template <size_t kCount, class Make>
constexpr auto for_pairs(Make make) {
  return for_types<kCount>([&]<class Dst>() {
    return for_types<kCount>([&]<class Src>() { return make.template operator()<Dst, Src>(); });
  });
}

/// A table's entry for a type, or null for a type that it does not have.
template <class T, size_t kCount>
constexpr T entry_of(const std::array<T, kCount>& table, QVSAMPLETYPE type) {
  const int index = sample_type_index(type, kCount);
  return index < 0 ? T{} : table[static_cast<size_t>(index)];
}

template <class Row, size_t kCount>
constexpr auto entry_of(const std::array<Row, kCount>& table, QVSAMPLETYPE dst, QVSAMPLETYPE src) {
  const int index = sample_type_index(dst, kCount);
  return index < 0 ? typename Row::value_type{} : entry_of(table[static_cast<size_t>(index)], src);
}

} // namespace

/// The kernels of one level.
struct KernelTable {
  std::array<std::array<QVAUDIO_COPYFUNC, kCopiedTypes>, kCopiedTypes> copy;
  std::array<std::array<QVAUDIO_MIXFUNC, kMixedTypes>, kMixedTypes> mix;
};

#define QV_KERNELS_DECLARED(level, name, ...) extern const KernelTable kernels_##name;
QV_KERNEL_LEVELS(QV_KERNELS_DECLARED, )
#undef QV_KERNELS_DECLARED

/// The largest count that a kernel takes.
inline constexpr uint64_t kMaxKernelCount = 0x7FFFFFFF;

} // namespace qv::audio
