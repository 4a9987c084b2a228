// One-shot copies and mixes: what they return, and records in place of headers.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

namespace {

const int16_t kSource[] = {16384, -16384, 8192, -32768};
const double kGains[] = {1.0, 1.0};

const WAVEFORMATEX kFloats = model::format_of(QVSAMPLE_FLOAT32, 2), kShorts = model::format_of(QVSAMPLE_PCM16, 2),
                   kBig = model::format_of(QVSAMPLE_BE16, 2), kCompressed = model::format_of(QVSAMPLE_NONE, 2);

} // namespace

TEST(OneShot, CopiesAndMixes) {
  for (const bool mixes : {false, true}) {
    float result[4] = {};
    const auto run = [&](const WAVEFORMATEX& dst, const WAVEFORMATEX& src, DWORD frames) {
      return mixes ? QvAudio_Mix(&dst, result, &src, kSource, frames, kGains)
                   : QvAudio_Copy(&dst, result, &src, kSource, frames, 1.0f);
    };
    EXPECT_EQ(run(kFloats, kShorts, 2), S_OK);
    EXPECT_EQ(std::vector<float>(result, result + 4), (std::vector<float>{0.5f, -0.5f, 0.25f, -1.0f}));
    EXPECT_EQ(run(kBig, kShorts, 2), mixes ? E_NOTIMPL : S_OK);
    EXPECT_EQ(run(kFloats, kCompressed, 2), E_NOTIMPL);
    EXPECT_EQ(run(kFloats, kCompressed, 0), S_OK);
    EXPECT_EQ(run(kFloats, kShorts, 0x40000000), E_INVALIDARG);
  }
  for (const auto& [dst, src] : {std::pair{QVSAMPLE_RA16, QVSAMPLE_PCM16}, {QVSAMPLE_PCM16, QVSAMPLE_NONE}})
    EXPECT_FALSE(QvAudio_GetCopyFunction2(dst, src) || QvAudio_GetMixFunction2(dst, src));
  EXPECT_FALSE(QvAudio_GetMixFunction2(QVSAMPLE_BE16, QVSAMPLE_PCM16));
  EXPECT_FALSE(QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_BE32));
}

TEST(OneShot, RecordsMixWithHeadersByReferenceAndPointer) {
  _qvwaveformat floats, shorts;
  floats.Init(sizeof floats, kFloats);
  shorts.Init(sizeof shorts, kShorts);
  const auto expect_copied = [](const auto& dst, const auto& src) {
    float result[2] = {};
    EXPECT_EQ(QvAudio_Copy(dst, result, src, kSource, 1, 1.0f), S_OK);
    EXPECT_EQ(result[1], -0.5f);
    EXPECT_EQ(QvAudio_GetCopyFunction(dst, src), QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM16));
  };
  expect_copied(&kFloats, shorts);
  expect_copied(floats, &shorts);
  expect_copied(&floats, &kShorts);
}

TEST(OneShot, FunctionsHaveAnAddress) {
  const auto copy = &QvAudio_Copy;
  const auto lookup = &QvAudio_GetMixExFunction;
  const auto peaks = &QvAudio_FindPeaks;
  const auto reverse = &QvAudio_Reverse;
  const auto change = &QvAudio_ChannelChange;
  // It has a form without a header, too.
  HRESULT (*const mute)(const WAVEFORMATEX*, void*, DWORD, DWORD) = &QvAudio_MuteChannel;
  EXPECT_TRUE(copy && lookup && peaks && reverse && change && mute);
}
