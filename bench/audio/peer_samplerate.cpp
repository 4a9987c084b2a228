#include "bench/audio/groups.h"

#include <cstdlib>
#include <samplerate.h>

namespace bench {

Conversion samplerate_conversion(bool linear, DWORD src_rate, DWORD dst_rate, DWORD frames, Buffer from, Buffer to) {
  int error = 0;
  const std::shared_ptr<SRC_STATE> state(src_new(linear ? SRC_LINEAR : SRC_SINC_FASTEST, 2, &error), src_delete);
  if (!state) return nullptr;
  return [=] {
    SRC_DATA data{};
    data.data_in = reinterpret_cast<const float*>(from->data());
    data.data_out = reinterpret_cast<float*>(to->data());
    data.input_frames = static_cast<long>(frames);
    data.output_frames = static_cast<long>(frames) * 2;
    data.src_ratio = static_cast<double>(dst_rate) / src_rate;
    if (src_process(state.get(), &data) != 0) std::abort();
  };
}

} // namespace bench
