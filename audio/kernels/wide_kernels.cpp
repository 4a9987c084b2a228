// The levels whose kernels are written in vectors of any width: compiled once for each.
#include "audio/kernels/kernel_tables.h"
#include "audio/kernels/wide_copy.h"
#include "audio/kernels/wide_mix.h"

namespace qv::audio {

const KernelTable QV_AT_LEVEL(kernels) = {
    for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return wide_copy<Dst, Src>; }),
    for_pairs<kMixedTypes>([]<class Dst, class Src>() { return wide_mix<Dst, Src>; })};

} // namespace qv::audio
