// Fills a KernelTable from two templates that name a kernel for a pair of layouts.
#pragma once

#include "audio/kernels/kernel_table.h"
#include "audio/kernels/sample_access.h"

#include <tuple>
#include <utility>

namespace qv::audio {
namespace {

/// The layouts in the order of the sample type table.
using Layouts = std::tuple<Pcm8, Pcm16, Pcm24, Pcm32, Float32, Float64, Pcm24In32, Pcm8Signed, Be16, Be24, Be32>;

template <size_t... kRows>
constexpr bool in_table_order(std::index_sequence<kRows...>) {
  return ((std::tuple_element_t<kRows, Layouts>::type == kSampleTypes[kRows].type &&
           std::tuple_element_t<kRows, Layouts>::bytes == static_cast<int>(kSampleTypes[kRows].bytes)) &&
          ...);
}
static_assert(in_table_order(std::make_index_sequence<kSampleTypes.size()>{}));

/// matrix[d][s] = Kernel<layout d, layout s>::value for the first kCount layouts.
template <template <class, class> class Kernel, class Function, size_t kCount>
constexpr std::array<std::array<Function, kCount>, kCount> kernel_matrix() {
  std::array<std::array<Function, kCount>, kCount> matrix{};
  [&]<size_t... kCells>(std::index_sequence<kCells...>) {
    ((matrix[kCells / kCount][kCells % kCount] = Kernel<std::tuple_element_t<kCells / kCount, Layouts>,
                                                        std::tuple_element_t<kCells % kCount, Layouts>>::value),
     ...);
  }
  (std::make_index_sequence<kCount * kCount>{});
  return matrix;
}

template <template <class, class> class Copy, template <class, class> class Mix>
constexpr KernelTable kernel_table() {
  return {kernel_matrix<Copy, QVAUDIO_COPYFUNC, kCopyTypes>(),
          kernel_matrix<Mix, QVAUDIO_MIXFUNC, kMixedSampleTypes>()};
}

} // namespace
} // namespace qv::audio
