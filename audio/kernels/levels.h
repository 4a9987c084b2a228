// The kernel levels, written once: what they are called, what they ask of a processor, how wide their vectors are.
//
// A source that is compiled once for each level is given QV_LEVEL, the level's name. It names what it offers by
// QV_AT_LEVEL; a header declares that for all levels in one line, and a caller looks it up:
//
//     using Product = double(const double* a, const double* b, size_t count);
//     QV_FOR_LEVELS(Product, product);                                       // product_sse2, product_avx2, ...
//     double QV_AT_LEVEL(product)(const double* a, ...) {...}                // in the source
//     Product* const product = at_level<Product>({QV_LEVELS_OF(product)});   // in the caller
#pragma once

#include "qv/cpu.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

/// LEVEL(enumerator, name, loops, support, vector bytes, arguments...): in the order of QVKERNELLEVEL, which goes by
/// width. `support` are the bits of the support word that the level needs. `loops` is the level whose loops of filters
/// and resampling it runs: the generic level has none of its own, for its vectors would be those of the next one.
#define QV_KERNEL_LEVELS(LEVEL, ...)                                                                                   \
  LEVEL(QVKERNELLEVEL_GENERIC, generic, sse2, 0, 16, __VA_ARGS__)                                                      \
  LEVEL(QVKERNELLEVEL_SSE2, sse2, sse2, QVCPU_SSE2, 16, __VA_ARGS__)                                                   \
  LEVEL(QVKERNELLEVEL_AVX2, avx2, avx2, QVCPU_SSE2 | QVCPU_AVX, 32, __VA_ARGS__)                                       \
  LEVEL(QVKERNELLEVEL_AVX512, avx512, avx512, QVCPU_SSE2 | QVCPU_AVX, 64, __VA_ARGS__)

#define QV_JOINED(name, level) name##_##level
#define QV_NAME_AT(name, level) QV_JOINED(name, level)
#define QV_AT_LEVEL(name) QV_NAME_AT(name, QV_LEVEL)

#define QV_LOOPS_DECLARED(level, kernels, loops, support, vector_bytes, type, name) type name##_##loops;
#define QV_FOR_LEVELS(type, name) QV_KERNEL_LEVELS(QV_LOOPS_DECLARED, type, name) static_assert(true)

#define QV_LOOPS_LISTED(level, kernels, loops, support, vector_bytes, name) name##_##loops,
#define QV_LEVELS_OF(name) QV_KERNEL_LEVELS(QV_LOOPS_LISTED, name)

namespace qv::audio {

struct KernelLevel {
  QVKERNELLEVEL level;
  std::string_view name;
  uint32_t support;
  size_t vector_bytes;
};

#define QV_LEVEL_ROW(level, name, loops, support, vector_bytes, ...) KernelLevel{level, #name, support, vector_bytes},
inline constexpr std::array kKernelLevels = {QV_KERNEL_LEVELS(QV_LEVEL_ROW, )};

constexpr bool levels_are_in_order() {
  for (size_t i = 0; i < kKernelLevels.size(); ++i)
    if (kKernelLevels[i].level != i) return false;
  return true;
}
static_assert(levels_are_in_order());

constexpr size_t vector_bytes_of(std::string_view level) {
  for (const KernelLevel& row : kKernelLevels)
    if (row.name == level) return row.vector_bytes;
  return 0;
}

#ifdef QV_LEVEL
#define QV_QUOTED(level) #level
#define QV_NAME_OF(level) QV_QUOTED(level)
/// The vector size of the level that the source is compiled for.
inline constexpr size_t kVectorBytes = vector_bytes_of(QV_NAME_OF(QV_LEVEL));
#endif

/// The level in force, kept by cpu_support.cpp: a word that kernels can read on every call.
extern std::atomic<uint32_t> kernel_level;

/// A pointer for each level; null where a level has no such thing.
template <class T>
using LevelTable = std::array<T*, kKernelLevels.size()>;

/// What a table has for the level in force.
template <class T>
T* at_level(const LevelTable<T>& table) {
  return table[kernel_level.load(std::memory_order_relaxed)];
}

} // namespace qv::audio
