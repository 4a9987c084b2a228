// Operations on one buffer, and between buffers of one format, for every type.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_channels.h"

using model::Buffer;
using model::expect_equal;
using model::Layout;

static constexpr DWORD kFrames = 301; // more than one block of the engine, and odd

TEST(ChannelInPlace, SilenceIsMidScaleOnlyForUnsignedBytes) {
  for (const Layout& layout : model::kLayouts) {
    SCOPED_TRACE(layout.name);
    Buffer all(layout, 2, 21, kFrames), one = all, muted = all, typed = all, expected = all, expected_one = all;
    const WAVEFORMATEX format = all.format;
    std::memset(expected.data(), layout.type == QVSAMPLE_PCM8 ? 0x80 : 0, expected.bytes.size() - 1);
    expected_one.take(1, expected, 1);
    ASSERT_EQ(QvAudio_FillSilence(&format, all.data(), kFrames), S_OK);
    EXPECT_EQ(all.bytes, expected.bytes);
    ASSERT_EQ(QvAudio_FillSilenceChannel(&format, one.data(), 1, kFrames), S_OK);
    EXPECT_EQ(one.bytes, expected_one.bytes);
    ASSERT_EQ(QvAudio_MuteChannel(&format, muted.data(), 1, kFrames), S_OK);
    EXPECT_EQ(muted.bytes, expected_one.bytes);
    ASSERT_EQ(QvAudio_MuteChannel(layout.type, 2, typed.data(), 1, kFrames), S_OK);
    EXPECT_EQ(typed.bytes, expected_one.bytes);
    EXPECT_EQ(QvAudio_MuteChannel(&format, muted.data(), 2, kFrames), E_INVALIDARG);
  }
  WAVEFORMATEX compressed;
  QvAudio_InitWfxFlex(&compressed, 0x55, 48000, 0, 2, 0, sizeof compressed);
  uint8_t octet = 1;
  EXPECT_EQ(QvAudio_FillSilence(&compressed, &octet, 1), E_FAIL);
  EXPECT_EQ(QvAudio_FillSilenceChannel(&compressed, &octet, 0, 1), E_FAIL);
  EXPECT_EQ(QvAudio_MuteChannel(&compressed, &octet, 0, 1), E_NOTIMPL);
}

TEST(ChannelInPlace, MonoIsTheAverageInEveryChannel) {
  for (const Layout& layout : model::kLayouts) {
    Buffer samples(layout, 3, 21, kFrames), expected = samples;
    ASSERT_EQ(QvAudio_MonoChannel(&samples.format, samples.data(), kFrames), S_OK);
    for (size_t f = 0; f < kFrames; ++f) {
      const double sum = expected.value(f, 0) + expected.value(f, 1) + expected.value(f, 2);
      for (size_t c = 0; c < 3; ++c)
        expected.set(f, c, sum / 3);
    }
    ASSERT_NO_FATAL_FAILURE(expect_equal(samples, expected));
  }
}

TEST(ChannelInPlace, SwapsFillsReversesExtractsAndInserts) {
  for (const Layout& layout : model::kLayouts) {
    SCOPED_TRACE(layout.name);
    Buffer before(layout, 2, 21, kFrames), swapped = before, copied = before, reversed = before, filled = before;
    Buffer right(layout, 1, 22, kFrames), pair(layout, 2, 23, kFrames), inserted = before;
    const WAVEFORMATEX format = before.format;
    ASSERT_EQ(QvAudio_SwapStereoChannels(&format, swapped.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_CopySwapStereoChannels(&format, copied.data(), before.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_Reverse(&format, reversed.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_FillWithSample(&format, filled.data(), before.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_ExtractChannel(&format, right.data(), before.data(), 1, kFrames), S_OK);
    ASSERT_EQ(QvAudio_ExtractChannelPair(&format, pair.data(), before.data(), 0, kFrames), S_OK);
    ASSERT_EQ(QvAudio_InsertChannel(&format, inserted.data(), right.data(), 0, kFrames), S_OK);
    Buffer other = before, backward = before, same = before, doubled = before, only = right;
    other.take(0, before, 1).take(1, before, 0);
    doubled.take(0, before, 1);
    only.take(0, before, 1);
    for (size_t f = 0; f < kFrames; ++f)
      for (size_t c = 0; c < 2; ++c) {
        backward.convert(f, c, layout, before.sample(kFrames - 1 - f, c));
        same.convert(f, c, layout, before.sample(0, c));
      }
    for (const auto& [result, expected] : {std::pair{&swapped, &other},
                                           {&copied, &other},
                                           {&reversed, &backward},
                                           {&filled, &same},
                                           {&inserted, &doubled},
                                           {&right, &only},
                                           {&pair, &before}})
      EXPECT_TRUE(std::equal(result->bytes.begin(), result->bytes.end() - 1, expected->bytes.begin()));
    EXPECT_EQ(QvAudio_ExtractChannelPair(&format, pair.data(), before.data(), 1, kFrames), E_INVALIDARG);
    EXPECT_EQ(QvAudio_InsertChannel(&format, inserted.data(), right.data(), 2, kFrames), E_INVALIDARG);
  }
  const WAVEFORMATEX mono = model::format_of(QVSAMPLE_PCM16, 1);
  int16_t sample = 1;
  EXPECT_EQ(QvAudio_SwapStereoChannels(&mono, &sample, 1), E_INVALIDARG);
}
