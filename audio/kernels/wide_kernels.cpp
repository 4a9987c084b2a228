// The AVX2 and AVX-512 levels: this file is compiled once for each, with QV_KERNEL_TABLE naming the table.
#include "audio/kernels/table_builder.h"
#include "audio/kernels/wide_copy.h"
#include "audio/kernels/wide_mix.h"

namespace qv::audio {
namespace {

template <class Dst, class Src>
struct Copy {
  static constexpr QVAUDIO_COPYFUNC value = wide_copy<Dst, Src>;
};

template <class Dst, class Src>
struct Mix {
  static constexpr QVAUDIO_MIXFUNC value = wide_mix<Dst, Src>;
};

} // namespace

const KernelTable QV_KERNEL_TABLE = kernel_table<Copy, Mix>();

} // namespace qv::audio
