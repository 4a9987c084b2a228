// The innermost loop of a filter over frames: one function for each kernel level.
#pragma once

#include <cstddef>

namespace qv::audio {

/// Sums of the products of `count` doubles, of even and odd places. count: a multiple of 8.
using SincProduct = void (*)(double (&sums)[2], const double* frames, const double* row, size_t count);
void sinc_product_sse2(double (&sums)[2], const double* frames, const double* row, size_t count);
void sinc_product_avx2(double (&sums)[2], const double* frames, const double* row, size_t count);
void sinc_product_avx512(double (&sums)[2], const double* frames, const double* row, size_t count);

/// That of the level in force.
SincProduct sinc_product();

} // namespace qv::audio
