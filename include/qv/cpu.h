// Processor support: what the processor can do, and what kernel lookups may use of it.
//
// The word has one bit per feature and the processor class in its low four bits. Detection runs once, on first use.
// The setters are meant for start-up, before any kernel is looked up; they take no lock. Kernels that were handed out
// stay valid whatever is allowed later.
#pragma once

#include "qv/win32.h"

/// Feature bits (CPUID leaf 1; Intel 64 and IA-32 Architectures Software Developer's Manual, vol. 2A).
enum : uint32_t {
  QVCPU_CLASS_MASK = 0xF,
  QVCPU_MMX = 0x10,
  QVCPU_SSE = 0x20,
  QVCPU_SSE2 = 0x40,
  QVCPU_SSE3 = 0x80,
  QVCPU_SSSE3 = 0x100,
  QVCPU_SSE41 = 0x200,
  QVCPU_SSE42 = 0x400,
  QVCPU_AVX = 0x800,
  QVCPU_CMOV = 0x1000,
  QVCPU_FCMOV = 0x2000, ///< CMOV together with an FPU
  QVCPU_TSC = 0x4000,
};

/// Values of the class nibble.
enum : uint32_t { QVCPU_CLASS_GENERIC = 0, QVCPU_CLASS_MMX = 4, QVCPU_CLASS_SSE = 5, QVCPU_CLASS_SSE2 = 6 };

/// (mask, or all bits when mask is 0) AND allowed AND detected, then OR the class.
QV_FUNCTION uint32_t QvGetCPUSupport(uint32_t mask);

/// Adds bits to the allowed mask. Returns 1.
QV_FUNCTION uint32_t QvAllowCPUSupport(uint32_t bits);

/// Takes bits from the allowed mask. Returns 1.
QV_FUNCTION uint32_t QvDisallowCPUSupport(uint32_t bits);

/// Replaces bits 0x10 to 0x800 of the allowed mask and returns 1; returns 0 and changes nothing when `bits` has
/// anything outside 0xFF0.
QV_FUNCTION uint32_t QvOnlyAllowCPUSupport(uint32_t bits);

/// Clears the low nibble of the allowed mask, then sets the class from the allowed (not the detected) bits: 4 with
/// MMX, 5 with SSE, 6 with SSE2, the highest winning. Returns 1.
QV_FUNCTION uint32_t QvSetCPUClassBySupport();

/// (mask, or all bits when mask is 0) AND what the operating system saves on a context switch: the SSE bits (0x20 to
/// 0x400), and 0x800 when XGETBV shows that the AVX state is saved.
QV_FUNCTION uint32_t QvGetOSSupport(uint32_t mask);

/// Logical processors of the machine, at least 1.
QV_FUNCTION uint32_t QvGetProcessorCount();

/// What the loops inside the kernels run on.
enum QVKERNELLEVEL : uint32_t {
  QVKERNELLEVEL_GENERIC, ///< no vector instructions asked for
  QVKERNELLEVEL_SSE2,    ///< 0x40 detected and allowed
  QVKERNELLEVEL_AVX2,    ///< AVX2 present, 0x800 detected and allowed
  QVKERNELLEVEL_AVX512   ///< AVX-512 F, BW, DQ and VL present, 0x800 detected and allowed
};

/// The level in force. Every level gives the same results bit for bit.
QV_FUNCTION QVKERNELLEVEL QvGetKernelLevel();

/// Lowers the level to at most this one, for the whole process (tests, measurements). It never raises it above what
/// the support word permits.
QV_FUNCTION void QvLimitKernelLevel(QVKERNELLEVEL highest);
