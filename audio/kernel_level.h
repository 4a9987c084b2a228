// The level that kernels run on, as one word that they can read on every call.
#pragma once

#include "qv/cpu.h"

#include <atomic>

namespace qv::audio {

/// A QVKERNELLEVEL, kept by cpu_support.cpp.
extern std::atomic<uint32_t> kernel_level;

inline uint32_t current_kernel_level() { return kernel_level.load(std::memory_order_relaxed); }

} // namespace qv::audio
