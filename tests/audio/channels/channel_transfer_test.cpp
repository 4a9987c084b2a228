// Operations between the channels of two buffers, for every pair of types, against a model of frames.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_channels.h"

using model::Buffer;
using model::expect_equal;
using model::for_every_pair;
using model::Layout;

namespace {

constexpr DWORD kFrames = 300; // more than one block of the engine

} // namespace

TEST(ChannelTransfer, MapsPlaceChannelsAndLeaveOthers) {
  const LONG map[] = {2, -1, 0, 7};
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer src(s, 4, 1), dst(d, 3, 2), expected(d, 3, 2), all(d, 4, 3), all_expected(d, 4, 3);
    ASSERT_EQ(QvAudio_CopyChannels(&dst.format, dst.data(), &src.format, src.data(), kFrames, map), S_OK);
    expect_equal(dst, expected.take(2, src, 0).take(0, src, 2));
    ASSERT_EQ(QvAudio_CopyChannels(&all.format, all.data(), &src.format, src.data(), kFrames, nullptr), S_OK);
    for (size_t c = 0; c < 4; ++c)
      all_expected.take(c, src, c);
    expect_equal(all, all_expected);
  });
}

TEST(ChannelTransfer, OneChannelToOneAllAndManyMono) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer src(s, 3, 1), one(d, 2, 2), one_expected(d, 2, 2), all(d, 2, 3), all_expected(d, 2, 3);
    Buffer mono_a(d, 1, 4), mono_b(d, 1, 5), second(d, 1, 4), third(d, 1, 5);
    ASSERT_EQ(QvAudio_CopyChannelToChannel(&one.format, one.data(), 1, &src.format, src.data(), 2, kFrames), S_OK);
    expect_equal(one, one_expected.take(1, src, 2));
    ASSERT_EQ(QvAudio_CopyChannelToAll(&all.format, all.data(), &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(all, all_expected.take(0, src, 1).take(1, src, 1));
    void* monos[] = {mono_a.data(), nullptr, mono_b.data()};
    ASSERT_EQ(QvAudio_CopyChannelToMultiMono(&mono_a.format, monos, 3, &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(mono_a, second.take(0, src, 1));
    expect_equal(mono_b, third.take(0, src, 1));
    void* pair[] = {mono_a.data(), mono_b.data()};
    ASSERT_EQ(QvAudio_CopyChannelToMultiMono2(&mono_a.format, pair, 2, &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(mono_a, second);
    expect_equal(mono_b, third.take(0, src, 2));
  });
}

TEST(ChannelTransfer, ChannelChangesKeepDuplicateSilenceAndAverage) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer two(s, 2, 1), mono(s, 1, 2), four(s, 4, 3), wide(d, 3, 4), wide_expected(d, 3, 4), both(d, 2, 6),
        both_expected(d, 2, 6), averaged(d, 2, 8), averaged_expected(d, 2, 8);
    for (size_t f = 0; f < kFrames; ++f) {
      wide_expected.set(f, 2, 0.0);
      for (size_t c = 0; c < 2; ++c)
        averaged_expected.set(f, c, (0.0 + four.value(f, c) + four.value(f, c + 2)) / 2.0);
    }
    ASSERT_EQ(QvAudio_ChannelChange(&wide.format, wide.data(), &two.format, two.data(), kFrames), S_OK);
    expect_equal(wide, wide_expected.take(0, two, 0).take(1, two, 1));
    ASSERT_EQ(QvAudio_ChannelChangeAvg(&both.format, both.data(), &mono.format, mono.data(), kFrames), S_OK);
    expect_equal(both, both_expected.take(0, mono, 0).take(1, mono, 0));
    ASSERT_EQ(QvAudio_ChannelChangeAvg(&averaged.format, averaged.data(), &four.format, four.data(), kFrames), S_OK);
    expect_equal(averaged, averaged_expected);
  });
}

TEST(ChannelTransfer, ChannelChangeInPlaceDropsChannels) {
  Buffer four(model::kLayouts[2], 4, 1), two(model::kLayouts[2], 2, 2);
  Buffer original = four;
  ASSERT_EQ(QvAudio_ChannelChange(&two.format, four.data(), &four.format, four.data(), kFrames), S_OK);
  std::copy_n(four.bytes.begin(), two.bytes.size() - 1, two.bytes.begin());
  Buffer expected(model::kLayouts[2], 2, 2);
  expect_equal(two, expected.take(0, original, 0).take(1, original, 1));
}

TEST(ChannelTransfer, MixesChannelsWithGains) {
  const LONG map[] = {1, 0};
  const double gains[] = {0.5, 0.25};
  Buffer src(model::kLayouts[1], 2, 1), big(model::kLayouts[8], 2, 3);
  for (const bool plain : {false, true}) {
    Buffer dst(model::kLayouts[4], 2, 2), expected(model::kLayouts[4], 2, 2);
    for (size_t f = 0; f < kFrames; ++f)
      for (size_t c = 0; c < 2; ++c) {
        const size_t to = plain ? c : 1 - c;
        expected.set(f, to, expected.value(f, to) + src.value(f, c) * (plain ? 1.0 : gains[c]));
      }
    ASSERT_EQ(QvAudio_MixChannels(&dst.format, dst.data(), &src.format, src.data(), kFrames, plain ? nullptr : map,
                                  plain ? nullptr : gains),
              S_OK);
    expect_equal(dst, expected);
  }
  EXPECT_EQ(QvAudio_MixChannels(&big.format, big.data(), &src.format, src.data(), 1, nullptr, nullptr), E_NOTIMPL);
}

TEST(ChannelTransfer, StereoJoinsAndSplits) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer left(s, 1, 1), right(s, 1, 2), stereo(d, 2, 3), expected(d, 2, 3);
    ASSERT_EQ(
        QvAudio_InterleaveStereoEx(&stereo.format, stereo.data(), &left.format, left.data(), right.data(), kFrames),
        S_OK);
    expect_equal(stereo, expected.take(0, left, 0).take(1, right, 0));
    Buffer split_left(s, 1, 5), split_right(s, 1, 6), back_left(s, 1, 5), back_right(s, 1, 6);
    ASSERT_EQ(QvAudio_DeInterleaveStereoEx(&left.format, split_left.data(), split_right.data(), &stereo.format,
                                           stereo.data(), kFrames),
              S_OK);
    expect_equal(split_left, back_left.take(0, stereo, 0));
    expect_equal(split_right, back_right.take(0, stereo, 1));
  });
}

TEST(ChannelTransfer, RefusesWhatDoesNotExist) {
  Buffer src(model::kLayouts[1], 2, 1), dst(model::kLayouts[1], 2, 2);
  WAVEFORMATEX compressed;
  QvAudio_InitWfxFlex(&compressed, 0x55, 48000, 0, 2, 0, sizeof compressed);
  void* const monos[] = {dst.data(), dst.data()};
  EXPECT_EQ(QvAudio_CopyChannelToChannel(&dst.format, dst.data(), 2, &src.format, src.data(), 0, 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_CopyChannelToChannel(&dst.format, dst.data(), 0, &src.format, src.data(), 9, 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_CopyChannelToAll(&dst.format, dst.data(), &src.format, src.data(), 2, 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_CopyChannelToMultiMono2(&dst.format, monos, 2, &src.format, src.data(), 1, 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_CopyChannelToChannel(&compressed, dst.data(), 0, &src.format, src.data(), 0, 1), E_NOTIMPL);
  EXPECT_EQ(QvAudio_ChannelChange(&dst.format, nullptr, &src.format, src.data(), 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_CopyChannelToChannel(&compressed, nullptr, 5, &src.format, nullptr, 5, 0), S_OK);
}
