#include "audio/resample/sinc_product.h"

#include "qv/cpu.h"

namespace qv::audio {

PairProducts pair_products() {
  switch (QvGetKernelLevel()) {
  case QVKERNELLEVEL_AVX512: return pair_products_avx512;
  case QVKERNELLEVEL_AVX2: return pair_products_avx2;
  default: return pair_products_sse2;
  }
}

Product product() {
  switch (QvGetKernelLevel()) {
  case QVKERNELLEVEL_AVX512: return product_avx512;
  case QVKERNELLEVEL_AVX2: return product_avx2;
  default: return product_sse2;
  }
}

} // namespace qv::audio
