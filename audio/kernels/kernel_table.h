// The kernels of one level, as tables indexed by the rows of the sample type table: destination first, then source.
#pragma once

#include "audio/kernels/levels.h"
#include "audio/sample_type_table.h"

#include "qv/audio_kernels.h"

#include <array>

namespace qv::audio {

inline constexpr int kCopyTypes = static_cast<int>(kSampleTypes.size());

struct KernelTable {
  std::array<std::array<QVAUDIO_COPYFUNC, kCopyTypes>, kCopyTypes> copy;
  std::array<std::array<QVAUDIO_MIXFUNC, kMixedSampleTypes>, kMixedSampleTypes> mix;
};

#define QV_KERNELS_DECLARED(level, name, ...) extern const KernelTable kernels_##name;
QV_KERNEL_LEVELS(QV_KERNELS_DECLARED, )

} // namespace qv::audio
