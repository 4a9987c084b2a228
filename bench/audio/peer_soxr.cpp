#include "bench/audio/groups.h"

#include <soxr.h>

namespace bench {

Conversion soxr_conversion(bool best, DWORD src_rate, DWORD dst_rate, DWORD frames, Buffer from, Buffer to) {
  soxr_error_t error = nullptr;
  const soxr_quality_spec_t quality = soxr_quality_spec(best ? SOXR_VHQ : SOXR_HQ, 0);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  const std::shared_ptr<soxr> state(soxr_create(src_rate, dst_rate, 2, &error, nullptr, &quality, &runtime),
                                    soxr_delete);
  if (error) return nullptr;
  return [=] {
    size_t used = 0;
    size_t made = 0;
    soxr_process(state.get(), from->data(), frames, &used, to->data(), size_t{frames} * 2, &made);
  };
}

} // namespace bench
