#include "audio/kernels/level.h"
#include "audio/resample/sinc_product.h"

namespace qv::audio {

PairProducts pair_products() { return at_level(pair_products_sse2, pair_products_avx2, pair_products_avx512); }
Product product() { return at_level(product_sse2, product_avx2, product_avx512); }

} // namespace qv::audio
