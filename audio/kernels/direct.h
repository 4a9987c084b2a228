// What the one-shot operations share.
#pragma once

#include "qv/win32.h"

namespace qv::audio {

/// The largest count that a kernel takes.
inline constexpr uint64_t kMostKernelCount = 0x7FFFFFFF;

} // namespace qv::audio
