// The generic level: the reference itself.
#include "audio/kernels/reference_copy.h"
#include "audio/kernels/reference_mix.h"
#include "audio/kernels/table_builder.h"

namespace qv::audio {
namespace {

template <class Dst, class Src>
struct Copy {
  static constexpr QVAUDIO_COPYFUNC value = reference_copy<Dst, Src>;
};

template <class Dst, class Src>
struct Mix {
  static constexpr QVAUDIO_MIXFUNC value = reference_mix<Dst, Src>;
};

} // namespace

const KernelTable kernels_generic = kernel_table<Copy, Mix>();

} // namespace qv::audio
