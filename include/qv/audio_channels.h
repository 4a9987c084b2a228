// Channel operations on interleaved buffers: pick, place, swap, silence and re-arrange channels.
//
// Samples are converted between formats by the rule of qv/audio_kernels.h with gain 1.0; between equal types bytes
// move. `frames` counts frames; channels count from 0. Source and destination do not overlap unless said. All
// functions may be called from any thread.
//
// Results: S_OK, also for 0 frames, when buffers and channels are not looked at; E_NOTIMPL for a format (or pair)
// without kernels, which serve the types 16 to 19, 32, 33, 48, 49 and 64 to 66; E_INVALIDARG for a channel that does
// not exist or a null buffer. Formats are not null, even for 0 frames.
#pragma once

#include "qv/audio_records.h"

// ---- kernels -------------------------------------------------------------------------------------------------------

// Kernels check nothing: with frames below 1 they do nothing; otherwise the channels exist and no buffer is null.
// Lookups return null for a pair that is not served.

/// Copies one channel of `frames` frames.
using QVAUDIO_COPYCHANNELSFUNC = void (*)(void* dst, DWORD dstChannels, DWORD dstChannel, const void* src,
                                          DWORD srcChannels, DWORD srcChannel, LONG frames);
/// Mixes one channel of `frames` frames into another with a gain, by the mix rule for one channel.
using QVAUDIO_MIXCHANNELSFUNC = void (*)(void* dst, DWORD dstChannels, DWORD dstChannel, const void* src,
                                         DWORD srcChannels, DWORD srcChannel, LONG frames, double gain);
/// Joins two mono buffers into a stereo one.
using QVAUDIO_INTERLEAVEFUNC = void (*)(void* dst, const void* left, const void* right, LONG frames);
/// Splits a stereo buffer into two mono ones.
using QVAUDIO_DEINTERLEAVEFUNC = void (*)(void* left, void* right, const void* src, LONG frames);

QV_FUNCTION QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType);
QV_FUNCTION QVAUDIO_COPYCHANNELSFUNC QvAudio_GetCopyChannelsFunction(const WAVEFORMATEX* dstFormat,
                                                                     const WAVEFORMATEX* srcFormat);
/// The pairs of the mix family (no big-endian types).
QV_FUNCTION QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType);
QV_FUNCTION QVAUDIO_MIXCHANNELSFUNC QvAudio_GetMixChannelsFunction(const WAVEFORMATEX* dstFormat,
                                                                   const WAVEFORMATEX* srcFormat);
/// dstFormat describes the stereo side of an interleaving, srcFormat that of a splitting; the other is the mono side.
QV_FUNCTION QVAUDIO_INTERLEAVEFUNC QvAudio_GetStereoInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                                       const WAVEFORMATEX* srcFormat);
QV_FUNCTION QVAUDIO_DEINTERLEAVEFUNC QvAudio_GetStereoDeInterleaveFunction(const WAVEFORMATEX* dstFormat,
                                                                           const WAVEFORMATEX* srcFormat);

// ---- between channels of two buffers -------------------------------------------------------------------------------

/// Source channel i goes to destination channel map[i] where that exists; other entries (-1) drop the channel, and
/// destination channels that no entry names stay as they are. `map` has an entry per source channel; a null map copies
/// all channels (QvAudio_Copy, gain 1.0, with its results: buffers are not checked for null).
QV_FUNCTION HRESULT QvAudio_CopyChannels(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                         const void* src, DWORD frames, const LONG* map);
/// Mixes source channel i into destination channel map[i] with gains[i], both with an entry per source channel; a null
/// map keeps each channel's number, null gains are 1.0. The pairs of the mix family; E_INVALIDARG also beyond 2^31 - 1
/// frames.
QV_FUNCTION HRESULT QvAudio_MixChannels(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                        const void* src, DWORD frames, const LONG* map, const double* gains);
/// One source channel into every channel of dst.
QV_FUNCTION HRESULT QvAudio_CopyChannelToAll(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                             const void* src, DWORD srcChannel, DWORD frames);
/// One source channel into one channel of dst.
QV_FUNCTION HRESULT QvAudio_CopyChannelToChannel(const WAVEFORMATEX* dstFormat, void* dst, DWORD dstChannel,
                                                 const WAVEFORMATEX* srcFormat, const void* src, DWORD srcChannel,
                                                 DWORD frames);
/// One source channel into each of `count` mono buffers (null entries are passed over; a null `dsts` is E_INVALIDARG; a
/// count of 0 does nothing). dstFormat gives their type.
QV_FUNCTION HRESULT QvAudio_CopyChannelToMultiMono(const WAVEFORMATEX* dstFormat, void* const* dsts, DWORD count,
                                                   const WAVEFORMATEX* srcFormat, const void* src, DWORD srcChannel,
                                                   DWORD frames);
/// Source channel firstChannel + i into mono buffer i, for `count` buffers, as above; E_INVALIDARG unless all those
/// channels exist.
QV_FUNCTION HRESULT QvAudio_CopyChannelToMultiMono2(const WAVEFORMATEX* dstFormat, void* const* dsts, DWORD count,
                                                    const WAVEFORMATEX* srcFormat, const void* src, DWORD firstChannel,
                                                    DWORD frames);
/// From one channel count to another: common channels are kept, mono is copied to every channel, surplus source
/// channels are dropped, and new channels are silent. In place (dst is src) when dst has the same type and no more
/// channels.
QV_FUNCTION HRESULT QvAudio_ChannelChange(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                          const void* src, DWORD frames);
/// The same, but surplus source channels are averaged in: destination channel i is the average of the source channels
/// i, i + n, i + 2n, ... for n destination channels (stereo to mono is the average of both).
QV_FUNCTION HRESULT QvAudio_ChannelChangeAvg(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                             const void* src, DWORD frames);

// ---- one format, other shape ---------------------------------------------------------------------------------------

/// One channel of src into a mono buffer of the same sample type.
QV_FUNCTION HRESULT QvAudio_ExtractChannel(const WAVEFORMATEX* format, void* dst, const void* src, DWORD channel,
                                           DWORD frames);
QV_API HRESULT QvAudio_ExtractChannel(QVSAMPLETYPE type, DWORD channels, void* dst, const void* src, DWORD channel,
                                      DWORD frames);
/// Channels firstChannel and firstChannel + 1, which must both exist, into a stereo buffer.
QV_FUNCTION HRESULT QvAudio_ExtractChannelPair(const WAVEFORMATEX* format, void* dst, const void* src,
                                               DWORD firstChannel, DWORD frames);
/// A mono buffer into one channel of dst; the others stay.
QV_FUNCTION HRESULT QvAudio_InsertChannel(const WAVEFORMATEX* format, void* dst, const void* src, DWORD channel,
                                          DWORD frames);
/// Two mono buffers of the format's type into a stereo one, and back, whatever the format's channels are. E_INVALIDARG
/// also beyond 2^31 - 1 frames.
QV_FUNCTION HRESULT QvAudio_InterleaveStereo(const WAVEFORMATEX* format, void* dst, const void* left, const void* right,
                                             DWORD frames);
QV_FUNCTION HRESULT QvAudio_DeInterleaveStereo(const WAVEFORMATEX* format, void* left, void* right, const void* src,
                                               DWORD frames);
/// The same with a conversion.
QV_FUNCTION HRESULT QvAudio_InterleaveStereoEx(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                               const void* left, const void* right, DWORD frames);
QV_FUNCTION HRESULT QvAudio_DeInterleaveStereoEx(const WAVEFORMATEX* dstFormat, void* left, void* right,
                                                 const WAVEFORMATEX* srcFormat, const void* src, DWORD frames);
/// Exchanges left and right of a two-channel buffer: in place, or on the way to another buffer. E_INVALIDARG for any
/// other channel count.
QV_FUNCTION HRESULT QvAudio_SwapStereoChannels(const WAVEFORMATEX* format, void* buffer, DWORD frames);
QV_FUNCTION HRESULT QvAudio_CopySwapStereoChannels(const WAVEFORMATEX* format, void* dst, const void* src,
                                                   DWORD frames);

// ---- in place ------------------------------------------------------------------------------------------------------

/// Fills block align x frames bytes: 0x80 for type 16, 0 for the other served types. E_FAIL for any other type, also
/// for 0 frames.
QV_FUNCTION HRESULT QvAudio_FillSilence(const WAVEFORMATEX* format, void* buffer, DWORD frames);
/// Silences one channel, with the same bytes and the same E_FAIL.
QV_FUNCTION HRESULT QvAudio_FillSilenceChannel(const WAVEFORMATEX* format, void* buffer, DWORD channel, DWORD frames);
/// The same; E_NOTIMPL for a type that is not served.
QV_FUNCTION HRESULT QvAudio_MuteChannel(const WAVEFORMATEX* format, void* buffer, DWORD channel, DWORD frames);
QV_API HRESULT QvAudio_MuteChannel(QVSAMPLETYPE type, DWORD channels, void* buffer, DWORD channel, DWORD frames);
/// Every channel becomes the average of all channels. Without channels nothing is done.
QV_FUNCTION HRESULT QvAudio_MonoChannel(const WAVEFORMATEX* format, void* buffer, DWORD frames);
/// Repeats one frame (block align bytes at `sample`) over the buffer.
QV_FUNCTION HRESULT QvAudio_FillWithSample(const WAVEFORMATEX* format, void* buffer, const void* sample, DWORD frames);
/// Puts the frames into reverse order.
QV_FUNCTION HRESULT QvAudio_Reverse(const WAVEFORMATEX* format, void* buffer, DWORD frames);

// ---- on records ----------------------------------------------------------------------------------------------------
// The functions above take a _qvwaveformat in place of any header.

QV_ON_RECORDS(QvAudio_GetCopyChannelsFunction)
QV_ON_RECORDS(QvAudio_GetMixChannelsFunction)
QV_ON_RECORDS(QvAudio_GetStereoInterleaveFunction)
QV_ON_RECORDS(QvAudio_GetStereoDeInterleaveFunction)
QV_ON_RECORDS(QvAudio_CopyChannels)
QV_ON_RECORDS(QvAudio_MixChannels)
QV_ON_RECORDS(QvAudio_CopyChannelToAll)
QV_ON_RECORDS(QvAudio_CopyChannelToChannel)
QV_ON_RECORDS(QvAudio_CopyChannelToMultiMono)
QV_ON_RECORDS(QvAudio_CopyChannelToMultiMono2)
QV_ON_RECORDS(QvAudio_ChannelChange)
QV_ON_RECORDS(QvAudio_ChannelChangeAvg)
QV_ON_RECORDS(QvAudio_ExtractChannel)
QV_ON_RECORDS(QvAudio_ExtractChannelPair)
QV_ON_RECORDS(QvAudio_InsertChannel)
QV_ON_RECORDS(QvAudio_InterleaveStereo)
QV_ON_RECORDS(QvAudio_DeInterleaveStereo)
QV_ON_RECORDS(QvAudio_InterleaveStereoEx)
QV_ON_RECORDS(QvAudio_DeInterleaveStereoEx)
QV_ON_RECORDS(QvAudio_SwapStereoChannels)
QV_ON_RECORDS(QvAudio_CopySwapStereoChannels)
QV_ON_RECORDS(QvAudio_FillSilence)
QV_ON_RECORDS(QvAudio_FillSilenceChannel)
QV_ON_RECORDS(QvAudio_MuteChannel)
QV_ON_RECORDS(QvAudio_MonoChannel)
QV_ON_RECORDS(QvAudio_FillWithSample)
QV_ON_RECORDS(QvAudio_Reverse)
