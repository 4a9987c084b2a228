// The sums of a convolution: a function for each kernel level, all with the same results to the bit.
#pragma once

#include <cstddef>

namespace qv::audio {

/// dst[k] is the sum of coefficients[i] * x[i + k], in the order of i, for `count` k, a multiple of 8.
using FirOutputs = void (*)(double* dst, size_t count, const double* coefficients, size_t taps, const double* x);
void fir_outputs_sse2(double* dst, size_t count, const double* coefficients, size_t taps, const double* x);
void fir_outputs_avx2(double* dst, size_t count, const double* coefficients, size_t taps, const double* x);
void fir_outputs_avx512(double* dst, size_t count, const double* coefficients, size_t taps, const double* x);

} // namespace qv::audio
