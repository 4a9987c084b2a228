// Mixing in cache: traffic (two buffers read, one written) over that of a memory copy, and 16 bits over the scalar
// build.
#include "audio/kernels/kernel_tables.h"
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include "qv/cpu.h"

#include <bit>
#include <cstring>
#include <string>

namespace bench {
namespace {

constexpr size_t kSamples = 8192;
// A mix moves three buffers where a copy moves two.
constexpr double kTrafficScale = 1.5;

void add_float_mix(UINT channels) {
  // Frames in a power of two, as engines have them.
  const size_t count = std::bit_floor(kSamples / channels) * channels;
  const auto from = make_samples(QVSAMPLE_FLOAT32, count);
  const auto to = make_samples(QVSAMPLE_FLOAT32, count);
  const auto gains = std::make_shared<std::vector<double>>(channels, 1e-9);
  const auto kernel = QvAudio_GetMixFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32);
  const bool doubles = channels < 3;
  add(Group{(doubles ? "mix in double, channels " : "mix in single, channels ") + std::to_string(channels),
            [=] { kernel(to->data(), from->data(), static_cast<LONG>(count), channels, gains->data()); },
            {{"memcpy", [=] { std::memcpy(to->data(), from->data(), count * sizeof(float)); }}}});
}

void add_short_mix(double gain, const char* name) {
  const auto from = make_samples(QVSAMPLE_PCM16, kSamples);
  const auto to = make_samples(QVSAMPLE_PCM16, kSamples);
  const auto run = [=](QVAUDIO_MIXFUNC kernel) {
    return [=] { kernel(to->data(), from->data(), static_cast<LONG>(kSamples), 2, &gain); };
  };
  add(Group{std::string("mix of 16 bits, ") + name,
            run(QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_PCM16)),
            {{"scalar", run(qv::audio::kernels_generic.mix[1][1]), 8.0}}});
}

} // namespace

void add_mixes() {
  for (const UINT channels : {1u, 2u, 3u, 5u, 6u, 8u})
    add_float_mix(channels);
  add_short_mix(1.0, "gain 1");
  add_short_mix(0.7, "gain 0.7");
  const double least = QvGetKernelLevel() == QVKERNELLEVEL_AVX512 ? 0.5 : 0.3;
  add(Summary{"Float mixing, sums in double, traffic over that of memcpy", "mix in double", "memcpy", kTrafficScale,
              least, 0.0, 0.0});
  add(Summary{"Float mixing, sums in single, traffic over that of memcpy", "mix in single", "memcpy", kTrafficScale,
              0.8, 0.0, 0.0});
}

} // namespace bench
