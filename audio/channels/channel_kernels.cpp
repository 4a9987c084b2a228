// Kernels that copy, mix, join and split channels.
#include "audio/channels/channel_view.h"
#include "audio/kernels/reference_mix.h"
#include "audio/kernels/table_builder.h"

#include "qv/audio_channels.h"

namespace qv::audio {
namespace {

template <class Dst, class Src>
void copy_channels(void* dst, DWORD dstChannels, DWORD dstChannel, const void* src, DWORD srcChannels, DWORD srcChannel,
                   LONG frames) {
  if (frames <= 0) return;
  copy_channel(ChannelView(Dst::type, dstChannels, dst).channel(dstChannel),
               ChannelView(Src::type, srcChannels, src).channel(srcChannel), static_cast<size_t>(frames));
}

template <class Dst, class Src>
void mix_channels(void* dst, DWORD dstChannels, DWORD dstChannel, const void* src, DWORD srcChannels, DWORD srcChannel,
                  LONG frames, double gain) {
  auto* to = static_cast<uint8_t*>(dst) + size_t{dstChannel} * Dst::bytes;
  const auto* from = static_cast<const uint8_t*>(src) + size_t{srcChannel} * Src::bytes;
  for (LONG i = 0; i < frames; ++i) {
    reference_mix_sample<Dst, Src>(to, from, gain);
    to += size_t{dstChannels} * Dst::bytes;
    from += size_t{srcChannels} * Src::bytes;
  }
}

template <class Dst, class Src>
void interleave(void* dst, const void* left, const void* right, LONG frames) {
  copy_channels<Dst, Src>(dst, 2, 0, left, 1, 0, frames);
  copy_channels<Dst, Src>(dst, 2, 1, right, 1, 0, frames);
}

template <class Dst, class Src>
void deinterleave(void* left, void* right, const void* src, LONG frames) {
  copy_channels<Dst, Src>(left, 1, 0, src, 2, 0, frames);
  copy_channels<Dst, Src>(right, 1, 0, src, 2, 1, frames);
}

template <class Dst, class Src>
struct CopyChannels {
  static constexpr QVAUDIO_COPYCHANNELSFUNC value = copy_channels<Dst, Src>;
};
template <class Dst, class Src>
struct MixChannels {
  static constexpr QVAUDIO_MIXCHANNELSFUNC value = mix_channels<Dst, Src>;
};
template <class Dst, class Src>
struct Interleave {
  static constexpr QVAUDIO_INTERLEAVEFUNC value = interleave<Dst, Src>;
};
template <class Dst, class Src>
struct DeInterleave {
  static constexpr QVAUDIO_DEINTERLEAVEFUNC value = deinterleave<Dst, Src>;
};

constexpr auto kCopyChannels = kernel_matrix<CopyChannels, QVAUDIO_COPYCHANNELSFUNC, kCopyTypes>();
constexpr auto kMixChannels = kernel_matrix<MixChannels, QVAUDIO_MIXCHANNELSFUNC, kMixedSampleTypes>();
constexpr auto kInterleave = kernel_matrix<Interleave, QVAUDIO_INTERLEAVEFUNC, kCopyTypes>();
constexpr auto kDeInterleave = kernel_matrix<DeInterleave, QVAUDIO_DEINTERLEAVEFUNC, kCopyTypes>();

template <class Matrix>
auto kernel_of(const Matrix& matrix, int dst, int src) {
  return dst < 0 || src < 0 ? nullptr : matrix[static_cast<size_t>(dst)][static_cast<size_t>(src)];
}

int index_of(const WAVEFORMATEX* format) { return sample_type_index(QvAudio_GetSampleType(format)); }

} // namespace
} // namespace qv::audio

using namespace qv::audio;

QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return kernel_of(kCopyChannels, sample_type_index(dstType), sample_type_index(srcType));
}

QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return kernel_of(kCopyChannels, index_of(dstFormat), index_of(srcFormat));
}

QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return kernel_of(kMixChannels, mixed_type_index(dstType), mixed_type_index(srcType));
}

QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return QvAudio_GetMixChannelsFunction2(QvAudio_GetSampleType(dstFormat), QvAudio_GetSampleType(srcFormat));
}

QVAUDIO_INTERLEAVEFUNC QvAudio_GetStereoInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                           const WAVEFORMATEX* srcFormat) {
  return kernel_of(kInterleave, index_of(dstFormat), index_of(srcFormat));
}

QVAUDIO_DEINTERLEAVEFUNC QvAudio_GetStereoDeInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                               const WAVEFORMATEX* srcFormat) {
  return kernel_of(kDeInterleave, index_of(dstFormat), index_of(srcFormat));
}
