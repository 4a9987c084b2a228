// The processor-support word and the level that kernels run on.
#include "audio/kernels/levels.h"
#include "audio/processor.h"

#include "qv/cpu.h"

#include <algorithm>
#include <atomic>

namespace {

using qv::audio::kKernelLevels;

const qv::audio::Processor& processor() {
  static const qv::audio::Processor found = qv::audio::detect_processor();
  return found;
}

// Set at start-up by intent, but read by every kernel call: atomics cost nothing here and spare readers a data race.
std::atomic<uint32_t> allowed{0xFFFFFFFF};
std::atomic<uint32_t> processor_class{QVCPU_CLASS_GENERIC};
std::atomic<uint32_t> highest_level{kKernelLevels.back().level};

uint32_t all_if_zero(uint32_t mask) { return mask == 0 ? 0xFFFFFFFF : mask; }

QVKERNELLEVEL permitted_level() {
  const uint32_t support = processor().features & allowed.load(std::memory_order_relaxed);
  uint32_t level = std::min<uint32_t>(processor().widest, highest_level.load(std::memory_order_relaxed));
  while ((kKernelLevels[level].support & ~support) != 0)
    --level; // the generic level needs nothing
  return kKernelLevels[level].level;
}

void publish_level() { qv::audio::kernel_level.store(permitted_level(), std::memory_order_relaxed); }

/// Kernels read the level without asking whether detection ran, so it runs when the library is loaded.
const bool level_published = (publish_level(), true);

} // namespace

namespace qv::audio {
std::atomic<uint32_t> kernel_level{QVKERNELLEVEL_GENERIC};
}

uint32_t QvGetCPUSupport(uint32_t mask) {
  return (all_if_zero(mask) & allowed.load(std::memory_order_relaxed) & processor().features) |
         processor_class.load(std::memory_order_relaxed);
}

uint32_t QvAllowCPUSupport(uint32_t bits) {
  allowed.fetch_or(bits, std::memory_order_relaxed);
  publish_level();
  return 1;
}

uint32_t QvDisallowCPUSupport(uint32_t bits) {
  allowed.fetch_and(~bits, std::memory_order_relaxed);
  publish_level();
  return 1;
}

uint32_t QvOnlyAllowCPUSupport(uint32_t bits) {
  constexpr uint32_t kSelectable = 0xFF0;
  if (bits & ~kSelectable) return 0;
  allowed.store((allowed.load(std::memory_order_relaxed) & ~kSelectable) | bits, std::memory_order_relaxed);
  publish_level();
  return 1;
}

uint32_t QvSetCPUClassBySupport() {
  allowed.fetch_and(~uint32_t{QVCPU_CLASS_MASK}, std::memory_order_relaxed);
  const uint32_t bits = allowed.load(std::memory_order_relaxed);
  uint32_t chosen = QVCPU_CLASS_GENERIC;
  if (bits & QVCPU_MMX) chosen = QVCPU_CLASS_MMX;
  if (bits & QVCPU_SSE) chosen = QVCPU_CLASS_SSE;
  if (bits & QVCPU_SSE2) chosen = QVCPU_CLASS_SSE2;
  processor_class.store(chosen, std::memory_order_relaxed);
  return 1;
}

uint32_t QvGetOSSupport(uint32_t mask) { return all_if_zero(mask) & processor().saved; }

uint32_t QvGetProcessorCount() {
  static const uint32_t count = [] {
    SYSTEM_INFO machine;
    GetSystemInfo(&machine);
    return std::max<uint32_t>(1, machine.dwNumberOfProcessors);
  }();
  return count;
}

QVKERNELLEVEL QvGetKernelLevel() { return permitted_level(); }

void QvLimitKernelLevel(QVKERNELLEVEL highest) {
  highest_level.store(highest, std::memory_order_relaxed);
  publish_level();
}
