// Conversions in cache (4096 stereo frames) over what other programs take.
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include <string>

namespace bench {
namespace {

constexpr size_t kFrames = 4096;
constexpr size_t kCount = kFrames * 2;

struct Row {
  const char* name;
  QVSAMPLETYPE dst;
  QVSAMPLETYPE src;
  float gain;
  double over_swresample;
  double over_sndfile;
  double over_gstreamer;
};

constexpr Row kRows[] = {
    {"float from 16", QVSAMPLE_FLOAT32, QVSAMPLE_PCM16, 1.0f, 1.5, 0.0, 0.0},
    {"16 from float", QVSAMPLE_PCM16, QVSAMPLE_FLOAT32, 1.0f, 0.9, 4.0, 0.0},
    {"16 from float, gain 0.7", QVSAMPLE_PCM16, QVSAMPLE_FLOAT32, 0.7f, 0.0, 4.0, 0.0},
    {"24 from float", QVSAMPLE_PCM24, QVSAMPLE_FLOAT32, 1.0f, 0.0, 8.0, 0.0},
    {"float from 24", QVSAMPLE_FLOAT32, QVSAMPLE_PCM24, 1.0f, 0.0, 8.0, 0.0},
    {"big-endian 16 from float", QVSAMPLE_BE16, QVSAMPLE_FLOAT32, 1.0f, 0.0, 8.0, 0.0},
    {"float from big-endian 16", QVSAMPLE_FLOAT32, QVSAMPLE_BE16, 1.0f, 0.0, 8.0, 0.0},
    {"big-endian 24 from float", QVSAMPLE_BE24, QVSAMPLE_FLOAT32, 1.0f, 0.0, 8.0, 0.0},
    {"float from big-endian 24", QVSAMPLE_FLOAT32, QVSAMPLE_BE24, 1.0f, 0.0, 8.0, 0.0},
    {"big-endian 32 from float", QVSAMPLE_BE32, QVSAMPLE_FLOAT32, 1.0f, 0.0, 8.0, 0.0},
    {"float from big-endian 32", QVSAMPLE_FLOAT32, QVSAMPLE_BE32, 1.0f, 0.0, 8.0, 0.0},
    {"float from 8", QVSAMPLE_FLOAT32, QVSAMPLE_PCM8, 1.0f, 2.5, 0.0, 0.0},
    {"16 from double", QVSAMPLE_PCM16, QVSAMPLE_FLOAT64, 1.0f, 4.0, 0.0, 0.0},
    {"32 from double", QVSAMPLE_PCM32, QVSAMPLE_FLOAT64, 1.0f, 4.0, 0.0, 0.0},
    {"double from float", QVSAMPLE_FLOAT64, QVSAMPLE_FLOAT32, 1.0f, 1.0, 0.0, 1.0},
    {"float from double", QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64, 1.0f, 1.0, 0.0, 1.0},
};

Conversion sndfile_conversion(const Row& row, const Buffer& to, const Buffer& from) {
  if (row.src == QVSAMPLE_FLOAT32) return sndfile_write(row.dst, from, kCount);
  if (row.dst == QVSAMPLE_FLOAT32) return sndfile_read(row.src, to, from, kCount);
  return nullptr;
}

} // namespace

void add_peers() {
  for (const Row& row : kRows) {
    const auto to = make_samples(row.dst, kCount);
    const auto from = make_samples(row.src, kCount);
    const auto kernel = QvAudio_GetCopyFunction2(row.dst, row.src);
    Group group{std::string("peers: ") + row.name,
                [=, gain = row.gain] { kernel(to->data(), from->data(), static_cast<LONG>(kCount), gain); },
                {}};
    const auto consider = [&](const char* name, Conversion conversion, double least) {
      if (conversion) group.others.push_back({name, std::move(conversion), least});
    };
    if (row.gain == 1.0f) {
      consider("libswresample", swresample_conversion(row.dst, row.src, to, from, kFrames), row.over_swresample);
      consider("the GStreamer audio converter", gstreamer_conversion(row.dst, row.src, to, from, kFrames),
               row.over_gstreamer);
    }
    consider("libsndfile", sndfile_conversion(row, to, from), row.over_sndfile);
    add(std::move(group));
  }
}

// A peer that this build lacks converts nothing.
#if !defined(QV_BENCH_swresample)
Conversion swresample_conversion(QVSAMPLETYPE, QVSAMPLETYPE, Buffer, Buffer, size_t) { return nullptr; }
#endif
#if !defined(QV_BENCH_gstreamer)
Conversion gstreamer_conversion(QVSAMPLETYPE, QVSAMPLETYPE, Buffer, Buffer, size_t) { return nullptr; }
#endif
#if !defined(QV_BENCH_sndfile)
Conversion sndfile_write(QVSAMPLETYPE, Buffer, size_t) { return nullptr; }
Conversion sndfile_read(QVSAMPLETYPE, Buffer, Buffer, size_t) { return nullptr; }
#endif
#if !defined(QV_BENCH_avfilter)
Conversion avfilter_lowpass(DWORD, DWORD, Buffer) { return nullptr; }
#endif
#if !defined(QV_BENCH_samplerate)
Conversion samplerate_conversion(bool, DWORD, DWORD, DWORD, Buffer, Buffer) { return nullptr; }
#endif
#if !defined(QV_BENCH_soxr)
Conversion soxr_conversion(bool, DWORD, DWORD, DWORD, Buffer, Buffer) { return nullptr; }
#endif

} // namespace bench
