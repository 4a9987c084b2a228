// Kernels that measure: root mean square, mean square, and peaks per channel.
#include "audio/kernels/kernel_tables.h"

#include <cmath>
#include <limits>

namespace qv::audio {
namespace {

__extension__ using Wide = __int128; // 32-bit samples square to 2^62

/// Sum of squares of every stride-th sample, from the last to the first.
template <class Layout>
auto sum_of_squares(const uint8_t* first, size_t stride_bytes, int frames) {
  if constexpr (Layout::is_float) {
    double sum = 0.0;
    for (int64_t i = int64_t{frames} - 1; i >= 0; --i) {
      const double value = load_normalised<Layout>(first + static_cast<size_t>(i) * stride_bytes);
      sum += value * value;
    }
    return sum;
  } else {
    using Sum = std::conditional_t<(Layout::bytes <= 2), int64_t, Wide>;
    Sum sum = 0;
    for (int64_t i = int64_t{frames} - 1; i >= 0; --i) {
      const int64_t value = load_integer<Layout>(first + static_cast<size_t>(i) * stride_bytes);
      sum += static_cast<Sum>(value * value);
    }
    return sum;
  }
}

int64_t divisor(int frames) { return frames < 1 ? 1 : frames; }

/// The mean square in the normalised scale.
template <class Layout>
double mean_square(const uint8_t* first, size_t stride_bytes, int frames) {
  const auto sum = sum_of_squares<Layout>(first, stride_bytes, frames);
  return static_cast<double>(sum) / static_cast<double>(divisor(frames)) / (Layout::full_scale * Layout::full_scale);
}

/// The root mean square of 16-bit samples: the added 0.5, the truncation and the wrap to 16 bits are what callers have
/// always seen.
float root_mean_square_16(const uint8_t* first, size_t stride_bytes, int frames) {
  const int64_t mean = sum_of_squares<Pcm16>(first, stride_bytes, frames) / divisor(frames);
  const auto root = static_cast<int32_t>(std::sqrt(static_cast<double>(mean) + 0.5));
  return static_cast<float>(static_cast<int16_t>(root)) * 3.0517578125e-5f;
}

template <class Layout>
void calc_rms(int channels, const void* buffer, int frames, float* results) {
  const auto* first = static_cast<const uint8_t*>(buffer);
  const size_t stride = static_cast<size_t>(channels < 0 ? 0 : channels) * Layout::bytes;
  for (int channel = 0; channel < channels; ++channel, first += Layout::bytes)
    if constexpr (Layout::type == QVSAMPLE_PCM16)
      results[channel] = root_mean_square_16(first, stride, frames);
    else
      results[channel] = static_cast<float>(std::sqrt(mean_square<Layout>(first, stride, frames)));
}

template <class Layout>
void calc_pre_rms(int channels, const void* buffer, int frames, double* results) {
  const auto* first = static_cast<const uint8_t*>(buffer);
  const size_t stride = static_cast<size_t>(channels < 0 ? 0 : channels) * Layout::bytes;
  for (int channel = 0; channel < channels; ++channel, first += Layout::bytes)
    results[channel] = mean_square<Layout>(first, stride, frames);
}

template <class Layout>
void find_peaks(int channels, DWORD option, const void* buffer, int frames, float* results) {
  constexpr double kNone = std::numeric_limits<double>::infinity();
  const auto* first = static_cast<const uint8_t*>(buffer);
  const size_t stride = static_cast<size_t>(channels < 0 ? 0 : channels) * Layout::bytes;
  for (int channel = 0; channel < channels; ++channel, first += Layout::bytes) {
    double low = kNone;
    double high = -kNone;
    bool any = false;
    for (int i = 0; i < frames; ++i) {
      double value = load_normalised<Layout>(first + static_cast<size_t>(i) * stride);
      if (option == 1) value = std::fabs(value);
      if (value != value) continue;
      any = true;
      low = value < low ? value : low;
      high = value > high ? value : high;
    }
    results[channel * 2] = any ? static_cast<float>(low) : 0.0f;
    results[channel * 2 + 1] = any ? static_cast<float>(high) : 0.0f;
  }
}

struct MeasureRow {
  QVAUDIO_RMSFUNC rms;
  QVAUDIO_PRERMSFUNC pre_rms;
  QVAUDIO_FINDPEAKSFUNC peaks;
};

constexpr auto kMeasures = for_types<kMixedTypes>([]<class Layout>() {
  return MeasureRow{calc_rms<Layout>, calc_pre_rms<Layout>, find_peaks<Layout>};
});

MeasureRow row_for(const WAVEFORMATEX* format) { return entry_of(kMeasures, QvAudio_GetSampleType(format)); }

/// Runs a kernel, or returns why not.
template <class Kernel, class... Arguments>
HRESULT measure(Kernel kernel, const WAVEFORMATEX* format, DWORD frames, Arguments... arguments) {
  if (!kernel) return E_NOTIMPL;
  if (frames > kMaxKernelCount) return E_INVALIDARG;
  kernel(format->nChannels, arguments...);
  return S_OK;
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

QVAUDIO_RMSFUNC QvAudio_GetCalcRMSFunction(const WAVEFORMATEX* format) { return row_for(format).rms; }

QVAUDIO_PRERMSFUNC QvAudio_GetCalcPreRMSFunction(const WAVEFORMATEX* format) { return row_for(format).pre_rms; }

QVAUDIO_FINDPEAKSFUNC QvAudio_GetFindPeaksFunction(const WAVEFORMATEX* format) { return row_for(format).peaks; }

HRESULT QvAudio_CalcRMS(const WAVEFORMATEX* format, const void* buffer, DWORD frames, float* results) {
  if (frames == 0) return S_OK;
  return measure(row_for(format).rms, format, frames, buffer, static_cast<int>(frames), results);
}

HRESULT QvAudio_CalcPreRMS(const WAVEFORMATEX* format, const void* buffer, DWORD frames, double* results) {
  if (frames == 0) return S_OK;
  return measure(row_for(format).pre_rms, format, frames, buffer, static_cast<int>(frames), results);
}

HRESULT QvAudio_FindPeaks(const WAVEFORMATEX* format, DWORD option, const void* buffer, DWORD frames, float* results) {
  if (frames == 0) return S_OK;
  return measure(row_for(format).peaks, format, frames, option, buffer, static_cast<int>(frames), results);
}

double QvAudio_GetNormalizeFactor(uint32_t bits) {
  for (const SampleTypeRow& row : kSampleTypes)
    if (row.tag == WAVE_FORMAT_PCM && row.container_bits == bits) return static_cast<double>(int64_t{1} << (bits - 1));
  return 1.0;
}
