// The levels whose kernels are written in vectors of any width: compiled once for each.
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

const KernelTable QV_AT_LEVEL(kernels) = kernel_table<Copy, Mix>();

} // namespace qv::audio
