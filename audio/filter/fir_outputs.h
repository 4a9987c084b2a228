// The loop of non-recursive filters: a function for each kernel level, all with the same results to the bit.
#pragma once

#include "audio/kernels/levels.h"

#include <cstddef>

namespace qv::audio {

/// Makes dst[k] the sum of coefficients[i] * x[i + k], in the order of i, for k from 0 to count - 1. `count` is a
/// multiple of 8.
using FirOutputs = void(double* dst, size_t count, const double* coefficients, size_t taps, const double* x);
QV_FOR_LEVELS(FirOutputs, fir_outputs);

} // namespace qv::audio
