// Operations between the channels of two buffers, for every pair of types, against a model of frames.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

#include <gtest/gtest.h>

using model::Layout;

namespace {

constexpr DWORD kFrames = 300; // more than one block of the engine

struct Buffer {
  const Layout& layout;
  WAVEFORMATEX format;
  std::vector<uint8_t> bytes;

  Buffer(const Layout& of, WORD channels, uint32_t seed) : layout(of) {
    QvAudio_InitWfx(&format, 48000, of.type, channels);
    bytes = model::make_samples(of, size_t{kFrames} * channels, seed, true);
  }
  uint8_t* sample(size_t frame, size_t channel) {
    return bytes.data() + (frame * format.nChannels + channel) * static_cast<size_t>(layout.bytes);
  }
  void* data() { return bytes.data(); }
};

/// The sample that a copy of one sample gives.
void convert(const Layout& dst, uint8_t* to, const Layout& src, const uint8_t* from) {
  if (dst.type == src.type)
    std::memcpy(to, from, static_cast<size_t>(dst.bytes));
  else
    model::write(dst, to, model::read(src, from));
}

void expect_equal(Buffer& result, Buffer& expected, const Layout& src, const char* what) {
  for (size_t frame = 0; frame < kFrames; ++frame) {
    for (size_t channel = 0; channel < result.format.nChannels; ++channel) {
      ASSERT_TRUE(model::same_sample(result.layout, result.sample(frame, channel), expected.sample(frame, channel)))
          << what << ": " << result.layout.name << " from " << src.name << ", frame " << frame << ", channel "
          << channel;
    }
  }
}

/// Runs a body for every pair of types.
template <class Body>
void for_every_pair(Body body) {
  for (const Layout& dst : model::kLayouts) {
    for (const Layout& src : model::kLayouts) {
      body(dst, src);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

} // namespace

TEST(ChannelTransfer, MapsPlaceChannelsAndLeaveOthers) {
  const LONG map[] = {2, -1, 0, 7};
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer src(s, 4, 1), dst(d, 3, 2), expected(d, 3, 2);
    for (size_t f = 0; f < kFrames; ++f) {
      convert(d, expected.sample(f, 2), s, src.sample(f, 0));
      convert(d, expected.sample(f, 0), s, src.sample(f, 2));
    }
    ASSERT_EQ(QvAudio_CopyChannels(&dst.format, dst.data(), &src.format, src.data(), kFrames, map), S_OK);
    expect_equal(dst, expected, s, "map");
  });
}

TEST(ChannelTransfer, OneChannelToOneAllAndManyMono) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer src(s, 3, 1), one(d, 2, 2), one_expected(d, 2, 2), all(d, 2, 3), all_expected(d, 2, 3);
    Buffer mono_a(d, 1, 4), mono_b(d, 1, 5), mono_expected(d, 1, 6), third(d, 1, 7);
    for (size_t f = 0; f < kFrames; ++f) {
      convert(d, one_expected.sample(f, 1), s, src.sample(f, 2));
      convert(d, all_expected.sample(f, 0), s, src.sample(f, 1));
      convert(d, all_expected.sample(f, 1), s, src.sample(f, 1));
      convert(d, mono_expected.sample(f, 0), s, src.sample(f, 1));
      convert(d, third.sample(f, 0), s, src.sample(f, 2));
    }
    ASSERT_EQ(QvAudio_CopyChannelToChannel(&one.format, one.data(), 1, &src.format, src.data(), 2, kFrames), S_OK);
    expect_equal(one, one_expected, s, "one");
    ASSERT_EQ(QvAudio_CopyChannelToAll(&all.format, all.data(), &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(all, all_expected, s, "all");
    void* monos[] = {mono_a.data(), nullptr, mono_b.data()};
    ASSERT_EQ(QvAudio_CopyChannelToMultiMono(&mono_a.format, monos, 3, &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(mono_a, mono_expected, s, "mono");
    expect_equal(mono_b, mono_expected, s, "mono");
    void* pair[] = {mono_a.data(), mono_b.data()};
    ASSERT_EQ(QvAudio_CopyChannelToMultiMono2(&mono_a.format, pair, 2, &src.format, src.data(), 1, kFrames), S_OK);
    expect_equal(mono_a, mono_expected, s, "split");
    expect_equal(mono_b, third, s, "split");
  });
}

TEST(ChannelTransfer, ChannelChangesKeepDuplicateSilenceAndAverage) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer two(s, 2, 1), mono(s, 1, 2), four(s, 4, 3);
    Buffer wide(d, 3, 4), wide_expected(d, 3, 5), both(d, 2, 6), both_expected(d, 2, 7), averaged(d, 2, 8),
        averaged_expected(d, 2, 9);
    for (size_t f = 0; f < kFrames; ++f) {
      for (size_t c = 0; c < 2; ++c) {
        convert(d, wide_expected.sample(f, c), s, two.sample(f, c));
        convert(d, both_expected.sample(f, c), s, mono.sample(f, 0));
        model::write(d, averaged_expected.sample(f, c),
                     (0.0 + model::read(s, four.sample(f, c)) + model::read(s, four.sample(f, c + 2))) / 2.0);
      }
      model::write(d, wide_expected.sample(f, 2), 0.0);
    }
    ASSERT_EQ(QvAudio_ChannelChange(&wide.format, wide.data(), &two.format, two.data(), kFrames), S_OK);
    expect_equal(wide, wide_expected, s, "wider");
    ASSERT_EQ(QvAudio_ChannelChangeAvg(&both.format, both.data(), &mono.format, mono.data(), kFrames), S_OK);
    expect_equal(both, both_expected, s, "from mono");
    ASSERT_EQ(QvAudio_ChannelChangeAvg(&averaged.format, averaged.data(), &four.format, four.data(), kFrames), S_OK);
    expect_equal(averaged, averaged_expected, s, "averaged");
  });
}

TEST(ChannelTransfer, ChannelChangeInPlaceDropsChannels) {
  Buffer four(model::kLayouts[2], 4, 1), two(model::kLayouts[2], 2, 2);
  Buffer original = four;
  ASSERT_EQ(QvAudio_ChannelChange(&two.format, four.data(), &four.format, four.data(), kFrames), S_OK);
  for (size_t f = 0; f < kFrames; ++f)
    ASSERT_EQ(std::memcmp(four.bytes.data() + f * 6, original.sample(f, 0), 6), 0) << f;
}

TEST(ChannelTransfer, MixesChannelsWithGains) {
  const auto& floats = model::kLayouts[4];
  const auto& shorts = model::kLayouts[1];
  Buffer src(shorts, 2, 1), dst(floats, 2, 2), expected(floats, 2, 2);
  const LONG map[] = {1, 0};
  const double gains[] = {0.5, 0.25};
  for (size_t f = 0; f < kFrames; ++f) {
    for (size_t c = 0; c < 2; ++c) {
      uint8_t* to = expected.sample(f, static_cast<size_t>(map[c]));
      model::write(floats, to, model::read(floats, to) + model::read(shorts, src.sample(f, c)) * gains[c]);
    }
  }
  ASSERT_EQ(QvAudio_MixChannels(&dst.format, dst.data(), &src.format, src.data(), kFrames, map, gains), S_OK);
  expect_equal(dst, expected, shorts, "mix");
  Buffer big(model::kLayouts[8], 2, 3);
  EXPECT_EQ(QvAudio_MixChannels(&big.format, big.data(), &src.format, src.data(), 1, nullptr, nullptr), E_NOTIMPL);
}

TEST(ChannelTransfer, StereoJoinsAndSplits) {
  for_every_pair([&](const Layout& d, const Layout& s) {
    Buffer left(s, 1, 1), right(s, 1, 2), stereo(d, 2, 3), expected(d, 2, 4);
    for (size_t f = 0; f < kFrames; ++f) {
      convert(d, expected.sample(f, 0), s, left.sample(f, 0));
      convert(d, expected.sample(f, 1), s, right.sample(f, 0));
    }
    ASSERT_EQ(
        QvAudio_InterleaveStereoEx(&stereo.format, stereo.data(), &left.format, left.data(), right.data(), kFrames),
        S_OK);
    expect_equal(stereo, expected, s, "join");
    Buffer split_left(s, 1, 5), split_right(s, 1, 6), back_left(s, 1, 7), back_right(s, 1, 7);
    for (size_t f = 0; f < kFrames; ++f) {
      convert(s, back_left.sample(f, 0), d, stereo.sample(f, 0));
      convert(s, back_right.sample(f, 0), d, stereo.sample(f, 1));
    }
    ASSERT_EQ(QvAudio_DeInterleaveStereoEx(&left.format, split_left.data(), split_right.data(), &stereo.format,
                                           stereo.data(), kFrames),
              S_OK);
    expect_equal(split_left, back_left, d, "split");
    expect_equal(split_right, back_right, d, "split");
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
