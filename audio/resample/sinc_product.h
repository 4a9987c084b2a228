// The innermost loops of a filter over frames: a function for each kernel level, all with the same results to the bit.
#pragma once

#include <cstddef>

namespace qv::audio {

/// The doubles of a row that goes with two channels side by side: a weight for each of 25 frames, twice, and zeros.
inline constexpr size_t kSincRow = 56;

/// Sums of the products of kSincRow doubles, of even and odd places.
using PairProduct = void (*)(double (&sums)[2], const double* frames, const double* row);
void pair_product_sse2(double (&sums)[2], const double* frames, const double* row);
void pair_product_avx2(double (&sums)[2], const double* frames, const double* row);
void pair_product_avx512(double (&sums)[2], const double* frames, const double* row);

/// The sum of the products of `count` doubles, a multiple of 8.
using Product = double (*)(const double* frames, const double* row, size_t count);
double product_sse2(const double* frames, const double* row, size_t count);
double product_avx2(const double* frames, const double* row, size_t count);
double product_avx512(const double* frames, const double* row, size_t count);

/// Those of the level in force.
PairProduct pair_product();
Product product();

} // namespace qv::audio
