#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_channels.h"

#include <gtest/gtest.h>

using model::Layout;

namespace {

constexpr DWORD kFrames = 301;
constexpr WORD kChannels = 2;

WAVEFORMATEX format_of(const Layout& layout, WORD channels = kChannels) {
  WAVEFORMATEX format;
  QvAudio_InitWfx(&format, 48000, layout.type, channels);
  return format;
}

std::vector<uint8_t> samples_of(const Layout& layout, size_t channels = kChannels) {
  return model::make_samples(layout, kFrames * channels, 21, true);
}

} // namespace

TEST(ChannelInPlace, SilenceIsMidScaleOnlyForUnsignedBytes) {
  for (const Layout& layout : model::kLayouts) {
    const WAVEFORMATEX format = format_of(layout);
    const uint8_t silent = layout.type == QVSAMPLE_PCM8 ? 0x80 : 0;
    const auto bytes = static_cast<size_t>(layout.bytes);
    auto all = samples_of(layout), one = all, muted = all, typed = all;
    all.back() = 0x77; // behind the last frame
    ASSERT_EQ(QvAudio_FillSilence(&format, all.data(), kFrames), S_OK);
    for (size_t i = 0; i + 1 < all.size(); ++i)
      ASSERT_EQ(all[i], silent) << layout.name;
    EXPECT_EQ(all.back(), 0x77);
    const auto before = one;
    ASSERT_EQ(QvAudio_FillSilenceChannel(&format, one.data(), 1, kFrames), S_OK);
    ASSERT_EQ(QvAudio_MuteChannel(&format, muted.data(), 1, kFrames), S_OK);
    ASSERT_EQ(QvAudio_MuteChannel(layout.type, kChannels, typed.data(), 1, kFrames), S_OK);
    EXPECT_EQ(one, muted);
    EXPECT_EQ(one, typed);
    for (size_t f = 0; f < kFrames; ++f) {
      ASSERT_EQ(std::memcmp(&one[f * 2 * bytes], &before[f * 2 * bytes], bytes), 0) << "the other channel stays";
      for (size_t b = 0; b < bytes; ++b)
        ASSERT_EQ(one[(f * 2 + 1) * bytes + b], silent) << layout.name;
    }
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
    const WAVEFORMATEX format = format_of(layout, 3);
    auto samples = samples_of(layout, 3);
    const auto before = samples;
    const auto bytes = static_cast<size_t>(layout.bytes);
    ASSERT_EQ(QvAudio_MonoChannel(&format, samples.data(), kFrames), S_OK);
    for (size_t f = 0; f < kFrames; ++f) {
      double sum = 0;
      for (size_t c = 0; c < 3; ++c)
        sum += model::read(layout, &before[(f * 3 + c) * bytes]);
      uint8_t expected[8];
      model::write(layout, expected, sum / 3);
      for (size_t c = 0; c < 3; ++c) {
        ASSERT_TRUE(model::same_sample(layout, &samples[(f * 3 + c) * bytes], expected))
            << layout.name << " frame " << f;
      }
    }
  }
}

TEST(ChannelInPlace, SwapsFillsReversesAndExtracts) {
  for (const Layout& layout : model::kLayouts) {
    const WAVEFORMATEX format = format_of(layout);
    const auto bytes = static_cast<size_t>(layout.bytes);
    const auto before = samples_of(layout);
    const auto frame_at = [&](const std::vector<uint8_t>& of, size_t f) { return &of[f * 2 * bytes]; };
    auto swapped = before, copied = before, reversed = before, filled = before;
    ASSERT_EQ(QvAudio_SwapStereoChannels(&format, swapped.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_CopySwapStereoChannels(&format, copied.data(), before.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_Reverse(&format, reversed.data(), kFrames), S_OK);
    ASSERT_EQ(QvAudio_FillWithSample(&format, filled.data(), before.data(), kFrames), S_OK);
    EXPECT_EQ(swapped, copied);
    std::vector<uint8_t> left(kFrames * bytes), pair(kFrames * 2 * bytes + 1);
    ASSERT_EQ(QvAudio_ExtractChannel(&format, left.data(), before.data(), 1, kFrames), S_OK);
    ASSERT_EQ(QvAudio_ExtractChannelPair(&format, pair.data(), before.data(), 0, kFrames), S_OK);
    EXPECT_EQ(std::memcmp(pair.data(), before.data(), kFrames * 2 * bytes), 0);
    for (size_t f = 0; f < kFrames; ++f) {
      ASSERT_EQ(std::memcmp(frame_at(swapped, f), frame_at(before, f) + bytes, bytes), 0);
      ASSERT_EQ(std::memcmp(frame_at(swapped, f) + bytes, frame_at(before, f), bytes), 0);
      ASSERT_EQ(std::memcmp(frame_at(reversed, f), frame_at(before, kFrames - 1 - f), 2 * bytes), 0);
      ASSERT_EQ(std::memcmp(frame_at(filled, f), before.data(), 2 * bytes), 0);
      ASSERT_EQ(std::memcmp(&left[f * bytes], frame_at(before, f) + bytes, bytes), 0);
    }
    auto inserted = before;
    ASSERT_EQ(QvAudio_InsertChannel(&format, inserted.data(), left.data(), 0, kFrames), S_OK);
    ASSERT_EQ(std::memcmp(inserted.data(), left.data(), bytes), 0);
    EXPECT_EQ(QvAudio_ExtractChannelPair(&format, pair.data(), before.data(), 1, kFrames), E_INVALIDARG);
    EXPECT_EQ(QvAudio_InsertChannel(&format, inserted.data(), left.data(), 2, kFrames), E_INVALIDARG);
  }
  const WAVEFORMATEX mono = format_of(model::kLayouts[1], 1);
  int16_t sample = 1;
  EXPECT_EQ(QvAudio_SwapStereoChannels(&mono, &sample, 1), E_INVALIDARG);
}
