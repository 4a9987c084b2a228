// Kernels that measure: root mean square, mean square, and peaks per channel.
#include "audio/kernels/direct.h"
#include "audio/kernels/table_builder.h"

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

/// 16-bit: the 0.5, the truncation and the wrap to 16 bits are what callers have always seen.
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

template <size_t... kRows>
constexpr std::array<MeasureRow, sizeof...(kRows)> measure_rows(std::index_sequence<kRows...>) {
  return {{{calc_rms<std::tuple_element_t<kRows, Layouts>>, calc_pre_rms<std::tuple_element_t<kRows, Layouts>>,
            find_peaks<std::tuple_element_t<kRows, Layouts>>}...}};
}

constexpr auto kMeasures = measure_rows(std::make_index_sequence<kMixedSampleTypes>{});

MeasureRow row_for(const WAVEFORMATEX* format) {
  const int index = mixed_type_index(QvAudio_GetSampleType(format));
  return index < 0 ? MeasureRow{} : kMeasures[static_cast<size_t>(index)];
}

/// Runs a kernel, or answers why not.
template <class Kernel, class... Arguments>
HRESULT measure(Kernel kernel, const WAVEFORMATEX* format, DWORD frames, Arguments... arguments) {
  if (!kernel) return E_NOTIMPL;
  if (frames > kMostKernelCount) return E_INVALIDARG;
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
  switch (bits) {
  case 8: return Pcm8::full_scale;
  case 16: return Pcm16::full_scale;
  case 24: return Pcm24::full_scale;
  case 32: return Pcm32::full_scale;
  default: return 1.0;
  }
}
