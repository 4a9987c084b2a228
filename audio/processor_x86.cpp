// Intel 64 and IA-32 Architectures Software Developer's Manual, vol. 2A: CPUID leaves 1 (tables 3-10 and 3-11) and 7.
#include "audio/processor.h"

#include <cpuid.h>

namespace qv::audio {
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

} // namespace

Processor detect_processor() {
  constexpr uint64_t kAvxState = 0x6;     // XMM and YMM
  constexpr uint64_t kAvx512State = 0xE6; // and the opmask and ZMM state
  constexpr uint32_t kAvx2 = bit(5);
  constexpr uint32_t kAvx512 = bit(16) | bit(17) | bit(28) | bit(30) | bit(31); // F, DQ, CD, BW, VL
  const Registers leaf1 = cpuid(1);
  const uint32_t leaf7 = cpuid(7).ebx;
  const uint64_t state = saved_state(leaf1);
  const bool avx_saved = (state & kAvxState) == kAvxState;
  // 64-bit systems always save the SSE state.
  Processor found = {0, QVCPU_SSE | QVCPU_SSE2 | QVCPU_SSE3 | QVCPU_SSSE3 | QVCPU_SSE41 | QVCPU_SSE42,
                     QVKERNELLEVEL_GENERIC};
  for (const FeatureBit& row : kLeaf1)
    if ((leaf1.*row.source & row.mask) == row.mask) found.features |= row.feature;
  if (avx_saved) found.saved |= QVCPU_AVX;

  if (found.features & QVCPU_SSE2) found.widest = QVKERNELLEVEL_SSE2;
  if (!avx_saved || (found.features & QVCPU_AVX) == 0 || (leaf7 & kAvx2) == 0) return found;
  found.widest = QVKERNELLEVEL_AVX2;
  if ((leaf7 & kAvx512) == kAvx512 && (state & kAvx512State) == kAvx512State) found.widest = QVKERNELLEVEL_AVX512;
  return found;
}

} // namespace qv::audio
