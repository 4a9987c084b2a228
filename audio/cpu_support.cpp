// The processor-support word and the level that kernels run on.
#include "audio/kernel_level.h"

#include "qv/cpu.h"

#include <algorithm>
#include <atomic>
#include <cpuid.h>

namespace {

struct Registers {
  uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers cpuid(uint32_t leaf) {
  Registers registers;
  if (!__get_cpuid_count(leaf, 0, &registers.eax, &registers.ebx, &registers.ecx, &registers.edx)) return {};
  return registers;
}

constexpr uint32_t bit(int number) { return 1u << number; }

struct FeatureBit {
  uint32_t feature;
  uint32_t Registers::*source;
  uint32_t mask;
};

// No instruction is tried out to confirm SSE: this is 64-bit code, which the compiler already lets use it.
// CPUID leaf 1: Intel 64 and IA-32 Architectures Software Developer's Manual, vol. 2A, tables 3-10 and 3-11.
constexpr FeatureBit kLeaf1[] = {
    {QVCPU_MMX, &Registers::edx, bit(23)},   {QVCPU_SSE, &Registers::edx, bit(25)},
    {QVCPU_SSE2, &Registers::edx, bit(26)},  {QVCPU_SSE3, &Registers::ecx, bit(0)},
    {QVCPU_SSSE3, &Registers::ecx, bit(9)},  {QVCPU_SSE41, &Registers::ecx, bit(19)},
    {QVCPU_SSE42, &Registers::ecx, bit(20)}, {QVCPU_AVX, &Registers::ecx, bit(28)},
    {QVCPU_CMOV, &Registers::edx, bit(15)},  {QVCPU_FCMOV, &Registers::edx, bit(15) | bit(0)},
    {QVCPU_TSC, &Registers::edx, bit(4)},
};

/// XCR0, or 0 where the system does not use XSAVE.
uint64_t saved_state(const Registers& leaf1) {
  if ((leaf1.ecx & bit(27)) == 0) return 0;
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return uint64_t{high} << 32 | low;
}

struct Detected {
  uint32_t features = 0;
  uint32_t system = 0;
  uint32_t processors = 1;
  QVKERNELLEVEL widest = QVKERNELLEVEL_GENERIC; ///< what processor and system have, whatever is allowed
};

Detected detect() {
  constexpr uint64_t kAvxState = 0x6;     // XMM and YMM
  constexpr uint64_t kAvx512State = 0xE6; // and the opmask and ZMM state
  constexpr uint32_t kAvx2 = bit(5);
  constexpr uint32_t kAvx512 = bit(16) | bit(17) | bit(28) | bit(30) | bit(31); // F, DQ, CD, BW, VL
  Detected found;
  const Registers leaf1 = cpuid(1);
  for (const FeatureBit& row : kLeaf1)
    if ((leaf1.*row.source & row.mask) == row.mask) found.features |= row.feature;
  const uint64_t state = saved_state(leaf1);
  // 64-bit systems always save the SSE state.
  found.system = QVCPU_SSE | QVCPU_SSE2 | QVCPU_SSE3 | QVCPU_SSSE3 | QVCPU_SSE41 | QVCPU_SSE42;
  const bool avx_saved = (state & kAvxState) == kAvxState;
  if (avx_saved) found.system |= QVCPU_AVX;

  if (found.features & QVCPU_SSE2) found.widest = QVKERNELLEVEL_SSE2;
  const uint32_t leaf7 = cpuid(7).ebx;
  if (avx_saved && (found.features & QVCPU_AVX) && (leaf7 & kAvx2)) {
    found.widest = QVKERNELLEVEL_AVX2;
    if ((leaf7 & kAvx512) == kAvx512 && (state & kAvx512State) == kAvx512State) found.widest = QVKERNELLEVEL_AVX512;
  }
  SYSTEM_INFO machine;
  GetSystemInfo(&machine);
  found.processors = std::max<uint32_t>(1, machine.dwNumberOfProcessors);
  return found;
}

const Detected& detected() {
  static const Detected found = detect();
  return found;
}

// Set at start-up by intent, but read by every kernel call: atomics cost nothing here and spare readers a data race.
std::atomic<uint32_t> allowed{0xFFFFFFFF};
std::atomic<uint32_t> processor_class{QVCPU_CLASS_GENERIC};
std::atomic<uint32_t> highest_level{QVKERNELLEVEL_AVX512};

uint32_t all_if_zero(uint32_t mask) { return mask == 0 ? 0xFFFFFFFF : mask; }

QVKERNELLEVEL permitted_level() {
  const uint32_t support = detected().features & allowed.load(std::memory_order_relaxed);
  QVKERNELLEVEL level = detected().widest;
  if ((support & QVCPU_AVX) == 0) level = std::min(level, QVKERNELLEVEL_SSE2);
  if ((support & QVCPU_SSE2) == 0) level = QVKERNELLEVEL_GENERIC;
  return std::min(level, static_cast<QVKERNELLEVEL>(highest_level.load(std::memory_order_relaxed)));
}

void publish_level() { qv::audio::kernel_level.store(permitted_level(), std::memory_order_relaxed); }

/// Kernels read the level without asking whether detection ran, so it runs when the library is loaded.
const bool level_published = (publish_level(), true);

} // namespace

namespace qv::audio {
std::atomic<uint32_t> kernel_level{QVKERNELLEVEL_GENERIC};
}

uint32_t QvGetCPUSupport(uint32_t mask) {
  return (all_if_zero(mask) & allowed.load(std::memory_order_relaxed) & detected().features) |
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

uint32_t QvGetOSSupport(uint32_t mask) { return all_if_zero(mask) & detected().system; }

uint32_t QvGetProcessorCount() { return detected().processors; }

QVKERNELLEVEL QvGetKernelLevel() { return permitted_level(); }

void QvLimitKernelLevel(QVKERNELLEVEL highest) {
  highest_level.store(highest, std::memory_order_relaxed);
  publish_level();
}
