// Linear convolution of two sequences.
#include "qv/fir.h"

#include <cstddef>

HRESULT fnConvolution(double* dst, const double* a, DWORD aCount, const double* b, DWORD bCount) {
  if (!dst || !a || !b || aCount == 0 || bCount == 0) return E_INVALIDARG;
  const size_t count = size_t{aCount} + bCount - 1;
  for (size_t k = 0; k < count; ++k)
    dst[k] = 0.0;
  for (size_t i = 0; i < aCount; ++i)
    for (size_t j = 0; j < bCount; ++j)
      dst[i + j] += a[i] * b[j];
  return S_OK;
}
