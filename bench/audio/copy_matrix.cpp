// Every copy pair: in cache against the scalar build, and on 64 MiB against the traffic of a memory copy.
#include "audio/kernels/kernel_tables.h"
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace bench {
namespace {

using qv::audio::kSampleTypes;

constexpr size_t kCachedSamples = 8192;
constexpr size_t kLargeBytes = size_t{64} << 20;

std::string pair_name(size_t dst, size_t src) {
  const auto name = [](size_t row) { return std::to_string(static_cast<uint32_t>(kSampleTypes[row].type)); };
  return name(dst) + "<-" + name(src);
}

void add_cached_pair(size_t d, size_t s, float gain, const char* prefix) {
  const auto from = make_samples(kSampleTypes[s].type, kCachedSamples);
  const auto to = make_samples(kSampleTypes[d].type, kCachedSamples);
  const auto ours = QvAudio_GetCopyFunction2(kSampleTypes[d].type, kSampleTypes[s].type);
  const auto scalar = qv::audio::kernels_generic.copy[d][s];
  const auto runner = [=](QVAUDIO_COPYFUNC kernel) {
    return [=] { kernel(to->data(), from->data(), static_cast<LONG>(kCachedSamples), gain); };
  };
  // Equal types are moved by the library; the scalar build of their rule is a plain loop.
  const auto scalar_equal = [=] {
    auto* target = to->data();
    const auto* source = from->data();
    const size_t bytes = kSampleTypes[d].bytes;
    for (size_t i = 0; i < kCachedSamples; ++i) {
      for (size_t b = 0; b < bytes; ++b)
        target[i * bytes + b] = source[i * bytes + b];
      asm volatile("" ::: "memory");
    }
  };
  const bool moved = d == s && gain == 1.0f;
  add(Group{prefix + pair_name(d, s),
            runner(ours),
            {{"scalar", moved ? std::function<void()>(scalar_equal) : runner(scalar)}}});
}

/// The larger of the two buffers has 64 MiB. The memory copy moves as many bytes in all as the conversion reads and
/// writes, so that the ratio is that of their traffic.
void add_large_pair(size_t d, size_t s, uint8_t* to, uint8_t* from) {
  const size_t wider = std::max(kSampleTypes[d].bytes, kSampleTypes[s].bytes);
  const size_t count = kLargeBytes / wider;
  const size_t traffic = count * (kSampleTypes[d].bytes + kSampleTypes[s].bytes);
  const auto kernel = QvAudio_GetCopyFunction2(kSampleTypes[d].type, kSampleTypes[s].type);
  add(Group{"large " + pair_name(d, s),
            [=] { kernel(to, from, static_cast<LONG>(count), 1.0f); },
            {{"memcpy", [=] { std::memcpy(to, from, traffic / 2); }}}});
}

} // namespace

void add_copy_matrix() {
  static std::vector<uint8_t> to(kLargeBytes + 64, 0);
  static std::vector<uint8_t> from(kLargeBytes + 64, 0);
  for (size_t d = 0; d < qv::audio::kCopiedTypes; ++d) {
    for (size_t s = 0; s < qv::audio::kCopiedTypes; ++s) {
      add_cached_pair(d, s, 1.0f, "cached ");
      add_cached_pair(d, s, 0.5f, "gained ");
      add_large_pair(d, s, to.data(), from.data());
    }
  }
  add(Summary{"All pairs in cache over the scalar build", "cached ", "scalar", 1.0, 3.0, 0.0, 6.0});
  add(Summary{"All pairs in cache with a gain over the scalar build", "gained ", "scalar", 1.0, 3.0, 0.0, 6.0});
  add(Summary{"All pairs on 64 MiB, traffic over that of memcpy", "large ", "memcpy", 1.0, 0.65, 0.8, 0.0});
}

} // namespace bench
