// The generic level: the reference itself.
#include "audio/kernels/reference_kernels.h"

#include "audio/kernels/kernel_tables.h"

namespace qv::audio {

const KernelTable kernels_generic = {
    for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return reference_copy<Dst, Src>; }),
    for_pairs<kMixedTypes>([]<class Dst, class Src>() { return reference_mix<Dst, Src>; })};

} // namespace qv::audio
