// Resampling of float stereo, against libsamplerate and soxr.
#include "qv/resample.h"

#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include "qv/cpu.h"

#include <string>

namespace bench {
namespace {

constexpr DWORD kFrames = 44100;
constexpr DWORD kRate = 44100;

struct Row {
  const char* name;
  DWORD dst_rate;
  DWORD flags;
  bool over_linear; ///< of libsamplerate, otherwise over its fastest sinc and soxr
  double least;     ///< over libsamplerate
};

Conversion converter(const Row& row, Buffer from, Buffer to) {
  HQVRESAMPLE handle = nullptr;
  if (QvAudio_ResampleOpen(&handle, QVSAMPLE_FLOAT32, kRate, row.dst_rate, 2, row.flags) != S_OK) std::abort();
  const std::shared_ptr<QVRESAMPLE> kept(handle, QvAudio_ResampleClose);
  return [=] { QvAudio_ResampleEx(kept.get(), to->data(), from->data(), kFrames); };
}

/// `own`: with the library's own filter also where soxr does the work.
Conversion best_stream(DWORD dst_rate, bool own, Buffer from, Buffer to) {
  HQVRESAMPLE2 handle = nullptr;
  if (QvAudio_Resample2Open(&handle, QVSAMPLE_FLOAT32, kRate, dst_rate, 2, QVRESAMPLE2_BEST) != S_OK) std::abort();
  const std::shared_ptr<QVRESAMPLE2> kept(handle, QvAudio_Resample2Close);
  if (own && QvAudio_Resample2SetRates(handle, kRate, dst_rate) != S_OK) std::abort();
  return [=] {
    DWORD written = 0;
    DWORD used = 0;
    QvAudio_Resample2Process(kept.get(), to->data(), kFrames * 2, &written, from->data(), kFrames, &used);
  };
}

void add_best(DWORD dst_rate) {
  const Buffer from = make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 2);
  const Buffer to = make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 4);
  Group group{"resample: best to " + std::to_string(dst_rate), best_stream(dst_rate, false, from, to), {}};
  if (Conversion theirs = soxr_conversion(true, kRate, dst_rate, kFrames, from, to))
    group.others.push_back({"soxr, very high quality", std::move(theirs), 0.8});
  group.others.push_back({"our own filter", best_stream(dst_rate, true, from, to), 0.9});
  add(std::move(group));
}

} // namespace

void add_resampling() {
  const bool is_wide = QvGetKernelLevel() == QVKERNELLEVEL_AVX512;
  const double over_fastest = is_wide ? 8.0 : 6.0;
  const Row rows[] = {
      {"linear to 48,000", 48000, QVRESAMPLE_LINEAR, true, 5.0},
      {"linear to 32,000", 32000, QVRESAMPLE_LINEAR, true, 5.0},
      {"linear, low-pass of order 4, to 32,000", 32000, QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS4, true, 1.5},
      {"sinc to 48,000", 48000, QVRESAMPLE_SINC, false, over_fastest},
      {"sinc to 32,000", 32000, QVRESAMPLE_SINC, false, over_fastest},
  };
  for (const Row& row : rows) {
    const Buffer from = make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 2);
    const Buffer to = make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 4);
    Group group{std::string("resample: ") + row.name, converter(row, from, to), {}};
    if (Conversion theirs = samplerate_conversion(row.over_linear, kRate, row.dst_rate, kFrames, from, to))
      group.others.push_back(
          {row.over_linear ? "libsamplerate, linear" : "libsamplerate, fastest sinc", std::move(theirs), row.least});
    Conversion high = row.over_linear ? nullptr : soxr_conversion(false, kRate, row.dst_rate, kFrames, from, to);
    if (high) group.others.push_back({"soxr, high quality", std::move(high), 1.0});
    add(std::move(group));
  }
  add_best(48000);
  add_best(32000);
}

} // namespace bench
