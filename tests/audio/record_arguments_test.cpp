// Records in place of headers, and the addresses of the functions that take them.
#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

#include <gtest/gtest.h>
#include <tuple>

TEST(RecordArguments, EveryFunctionHasAnAddress) {
  const auto addresses = std::make_tuple(
      &QvAudio_GetCopyFunction, &QvAudio_Copy, &QvAudio_GetMixFunction, &QvAudio_Mix, &QvAudio_GetMixExFunction,
      &QvAudio_MixEx, &QvAudio_GetCalcRMSFunction, &QvAudio_GetCalcPreRMSFunction, &QvAudio_GetFindPeaksFunction,
      &QvAudio_CalcRMS, &QvAudio_CalcPreRMS, &QvAudio_FindPeaks, &QvAudio_GetCopyChannelsFunction,
      &QvAudio_GetMixChannelsFunction, &QvAudio_GetStereoInterleaveFunction, &QvAudio_GetStereoDeInterleaveFunction,
      &QvAudio_CopyChannels, &QvAudio_MixChannels, &QvAudio_CopyChannelToAll, &QvAudio_CopyChannelToChannel,
      &QvAudio_CopyChannelToMultiMono, &QvAudio_CopyChannelToMultiMono2, &QvAudio_ChannelChange,
      &QvAudio_ChannelChangeAvg, &QvAudio_ExtractChannelPair, &QvAudio_InsertChannel, &QvAudio_InterleaveStereo,
      &QvAudio_DeInterleaveStereo, &QvAudio_InterleaveStereoEx, &QvAudio_DeInterleaveStereoEx,
      &QvAudio_SwapStereoChannels, &QvAudio_CopySwapStereoChannels, &QvAudio_FillSilence, &QvAudio_FillSilenceChannel,
      &QvAudio_MonoChannel, &QvAudio_FillWithSample, &QvAudio_Reverse);
  std::apply([](auto... each) { EXPECT_TRUE((each && ...)); }, addresses);
  using Mute = HRESULT (*)(const WAVEFORMATEX*, void*, DWORD, DWORD);
  using Extract = HRESULT (*)(const WAVEFORMATEX*, void*, const void*, DWORD, DWORD);
  EXPECT_TRUE(static_cast<Mute>(&QvAudio_MuteChannel) && static_cast<Extract>(&QvAudio_ExtractChannel));
}

TEST(RecordArguments, MixWithHeadersByReferenceAndPointer) {
  _qvwaveformat shorts, floats;
  shorts.Init(48000, QVSAMPLE_PCM16, 2, 0, sizeof shorts);
  floats.Init(48000, QVSAMPLE_FLOAT32, 2, 0, sizeof floats);
  WAVEFORMATEX header;
  QvAudio_InitWfx(&header, 48000, QVSAMPLE_FLOAT32, 2);
  const int16_t source[] = {16384, -8192};
  const auto copied = [&](auto dst_format, const auto& src_format) {
    float result[2] = {};
    EXPECT_EQ(QvAudio_Copy(dst_format, result, src_format, source, 1, 1.0f), S_OK);
    return result[0] == 0.5f && result[1] == -0.25f;
  };
  EXPECT_TRUE(copied(&header, shorts));
  EXPECT_TRUE(copied(floats, &shorts));
  EXPECT_TRUE(copied(&floats, shorts));
  EXPECT_EQ(QvAudio_GetCopyFunction(&header, shorts), QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM16));
  float muted[2] = {1.0f, 1.0f};
  EXPECT_EQ(QvAudio_MuteChannel(floats, muted, 1, 1), S_OK);
  EXPECT_EQ(muted[1], 0.0f);
}
