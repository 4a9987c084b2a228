// A function per sample type, in the order of the sample type table.
#pragma once

#include "audio/kernels/table_builder.h"

namespace qv::audio {
namespace {

/// Of<layout>::value for each layout.
template <class Function, template <class> class Of>
constexpr auto function_table() {
  return []<size_t... kRows>(std::index_sequence<kRows...>) {
    return std::array<Function, sizeof...(kRows)>{Of<std::tuple_element_t<kRows, Layouts>>::value...};
  }
  (std::make_index_sequence<kSampleTypes.size()>{});
}

} // namespace
} // namespace qv::audio
