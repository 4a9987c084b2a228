// Kernels that copy, mix, join and split channels.
#include "audio/channels/channel_view.h"
#include "audio/kernels/kernel_tables.h"
#include "audio/kernels/reference_kernels.h"

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

constexpr auto kCopyChannels = for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return copy_channels<Dst, Src>; });
constexpr auto kMixChannels = for_pairs<kMixedTypes>([]<class Dst, class Src>() { return mix_channels<Dst, Src>; });
constexpr auto kInterleave = for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return interleave<Dst, Src>; });
constexpr auto kDeInterleave = for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return deinterleave<Dst, Src>; });

/// The kernel of a pair of headers.
template <class Table>
auto kernel_of(const Table& table, const WAVEFORMATEX* dst, const WAVEFORMATEX* src) {
  return entry_of(table, QvAudio_GetSampleType(dst), QvAudio_GetSampleType(src));
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return entry_of(kCopyChannels, dstType, srcType);
}

QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return kernel_of(kCopyChannels, dstFormat, srcFormat);
}

QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return entry_of(kMixChannels, dstType, srcType);
}

QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return kernel_of(kMixChannels, dstFormat, srcFormat);
}

QVAUDIO_INTERLEAVEFUNC QvAudio_GetStereoInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                           const WAVEFORMATEX* srcFormat) {
  return kernel_of(kInterleave, dstFormat, srcFormat);
}

QVAUDIO_DEINTERLEAVEFUNC QvAudio_GetStereoDeInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                               const WAVEFORMATEX* srcFormat) {
  return kernel_of(kDeInterleave, dstFormat, srcFormat);
}
