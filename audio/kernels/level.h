// A function that is compiled for each kernel level: the one of the level in force.
#pragma once

#include "qv/cpu.h"

namespace qv::audio {

template <class Function>
Function at_level(Function sse2, Function avx2, Function avx512) {
  switch (QvGetKernelLevel()) {
  case QVKERNELLEVEL_AVX512: return avx512;
  case QVKERNELLEVEL_AVX2: return avx2;
  default: return sse2;
  }
}

} // namespace qv::audio
