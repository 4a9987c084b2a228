// The groups of the audio benchmarks, and the material that they share.
#pragma once

#include "qv/audio_kernels.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace bench {

void add_copy_matrix();
void add_mixes();
void add_peers();
void add_filters();
void add_resampling();

/// Memory that begins on a cache line, each buffer at another offset within its page: how fast a copy is must not hang
/// on where the allocator happened to put it.
class Samples {
public:
  explicit Samples(size_t bytes) : memory_(bytes + 2 * kPage) {
    static size_t placed = 0;
    const auto address = reinterpret_cast<uintptr_t>(memory_.data());
    offset_ = kPage - address % kPage + placed++ % 4 * (kPage / 4);
  }
  uint8_t* data() { return memory_.data() + offset_; }

private:
  static constexpr size_t kPage = 4096;
  std::vector<uint8_t> memory_;
  size_t offset_;
};
using Buffer = std::shared_ptr<Samples>;

/// Plausible samples, so that no float is a NaN and few integers clamp.
inline Buffer make_samples(QVSAMPLETYPE type, size_t count) {
  std::vector<double> wave(count);
  std::mt19937 random(1);
  for (double& value : wave)
    value = (static_cast<double>(random()) - 2147483648.0) / 2147483648.0;
  auto buffer = std::make_shared<Samples>(count * QvAudio_BytesFromSampleType(type));
  QvAudio_GetCopyFunction2(type, QVSAMPLE_FLOAT64)(buffer->data(), wave.data(), static_cast<LONG>(count), 0.9f);
  return buffer;
}

/// A conversion by another program: null where that program or the pair is not there.
using Conversion = std::function<void()>;
Conversion swresample_conversion(QVSAMPLETYPE dst, QVSAMPLETYPE src, Buffer to, Buffer from, size_t frames);
Conversion gstreamer_conversion(QVSAMPLETYPE dst, QVSAMPLETYPE src, Buffer to, Buffer from, size_t frames);
/// Floats to a file of the type in memory, clipping; and back.
Conversion sndfile_write(QVSAMPLETYPE file, Buffer floats, size_t count);
Conversion sndfile_read(QVSAMPLETYPE file, Buffer floats, Buffer samples, size_t count);
/// So many low-passes of second order behind each other, on stereo floats.
Conversion avfilter_lowpass(DWORD sections, DWORD frames, Buffer from);
/// Stereo floats to another rate.
Conversion samplerate_conversion(bool linear, DWORD src_rate, DWORD dst_rate, DWORD frames, Buffer from, Buffer to);
/// `best`: its very high quality, otherwise its high one.
Conversion soxr_conversion(bool best, DWORD src_rate, DWORD dst_rate, DWORD frames, Buffer from, Buffer to);

} // namespace bench
