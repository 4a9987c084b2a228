// All 64 mix kernels on every level, against the model.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

#include <gtest/gtest.h>

using model::Layout;

namespace {

/// One mixed sample by the rule.
void expected_mix(const Layout& dst, uint8_t* to, const Layout& src, const uint8_t* from, double gain, UINT channels) {
  if (dst.is_float && src.is_float && dst.bytes == 4 && src.bytes == 4 && channels > 2) {
    const auto product = static_cast<float>(model::read(src, from)) * static_cast<float>(gain);
    const float sum = static_cast<float>(model::read(dst, to)) + product;
    std::memcpy(to, &sum, 4);
  } else if (dst.is_float) {
    model::write(dst, to, model::read(dst, to) + model::read(src, from) * gain);
  } else {
    const int64_t added = model::to_integer(dst, model::read(src, from) * gain);
    model::write_integer(dst, to, model::clamp_to(dst, model::read_integer(dst, to) + added));
  }
}

enum class Gains { kUnity, kUsual, kExtreme };

std::vector<double> make_gains(UINT channels, Gains kind) {
  constexpr double kExtremes[] = {1e308, 5e-324, -1e300, 1e-310, std::numeric_limits<double>::infinity(), 3e-308, -0.0};
  std::vector<double> gains(channels, 1.0);
  for (UINT i = 0; i < channels && kind != Gains::kUnity; ++i)
    gains[i] = kind == Gains::kUsual ? 0.1 + 0.37 * i - (i % 3) : kExtremes[(i + channels) % std::size(kExtremes)];
  return gains;
}

void check_mix(const Layout& dst, const Layout& src, size_t count, UINT channels, Gains kind, int level) {
  const auto source = model::make_samples(src, count, 5 + channels, true);
  auto target = model::make_samples(dst, count, 17 + static_cast<uint32_t>(count), true);
  auto expected = target;
  const std::vector<double> gains = make_gains(channels, kind);
  const bool integers = !dst.is_float && !src.is_float;
  for (size_t i = 0; i < count; ++i) {
    expected_mix(dst, expected.data() + i * static_cast<size_t>(dst.bytes), src,
                 source.data() + i * static_cast<size_t>(src.bytes), gains[integers ? 0 : i % channels], channels);
  }
  const auto kernel = QvAudio_GetMixFunction2(dst.type, src.type);
  ASSERT_NE(kernel, nullptr);
  kernel(target.data(), source.data(), static_cast<LONG>(count), channels, gains.data());
  for (size_t i = 0; i < count; ++i) {
    const size_t at = i * static_cast<size_t>(dst.bytes);
    ASSERT_TRUE(model::same_sample(dst, target.data() + at, expected.data() + at))
        << dst.name << " from " << src.name << ", level " << level << ", count " << count << ", channels " << channels
        << ", sample " << i;
  }
  ASSERT_EQ(target.back(), expected.back()) << "wrote behind the end";
}

} // namespace

TEST(MixKernels, EveryPairOnEveryLevelEqualsTheModel) {
  model::on_every_level([](int level) {
    for (const Layout& dst : model::kMixable) {
      for (const Layout& src : model::kMixable) {
        for (const Gains kind : {Gains::kUnity, Gains::kUsual, Gains::kExtreme}) {
          for (size_t count = 0; count <= 67; ++count) {
            const UINT channels = 1 + static_cast<UINT>(count % 6);
            ASSERT_NO_FATAL_FAILURE(check_mix(dst, src, count, channels, kind, level));
          }
          for (const UINT channels : {1u, 2u, 3u, 6u, 8u, 24u, 63u, 64u, 65u, 200u})
            ASSERT_NO_FATAL_FAILURE(check_mix(dst, src, 1003, channels, kind, level));
        }
      }
    }
  });
}

TEST(MixKernels, SixteenBitSaturatesAndTakesOneGain) {
  model::on_every_level([](int) {
    const auto kernel = QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_PCM16);
    int16_t target[] = {30000, -30000, 100, 200};
    const int16_t source[] = {30000, -30000, 1000, 2000};
    const double unity[] = {1.0, 1.0};
    kernel(target, source, 4, 2, unity);
    EXPECT_EQ(target[0], 32767);
    EXPECT_EQ(target[1], -32768);
    EXPECT_EQ(target[3], 2200);
    int16_t scaled[] = {0, 0};
    const double gains[] = {0.5, 1.0};
    kernel(scaled, source + 2, 2, 2, gains);
    EXPECT_EQ(scaled[0], 500);
    EXPECT_EQ(scaled[1], 1000);
    const double bad[] = {std::nan(""), 1.0};
    kernel(scaled, source + 2, 2, 2, bad);
    EXPECT_EQ(scaled[0], 500) << "a gain that is no number adds nothing";
  });
}

TEST(MixKernels, IntegersIntoThemselvesStay) {
  model::on_every_level([](int) {
    int16_t samples[] = {1000, 2000, 3000};
    const double gain = 1.0;
    QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_PCM16)(samples, samples, 3, 1, &gain);
    EXPECT_EQ(samples[0], 1000);
    float floats[] = {0.25f, 0.5f};
    QvAudio_GetMixFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32)(floats, floats, 2, 1, &gain);
    EXPECT_EQ(floats[1], 1.0f);
  });
}

TEST(MixKernels, LookupsAndOneShotResults) {
  EXPECT_EQ(QvAudio_GetMixFunction2(QVSAMPLE_BE16, QVSAMPLE_PCM16), nullptr);
  EXPECT_EQ(QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_BE32), nullptr);
  WAVEFORMATEX shorts, big;
  QvAudio_InitWfx(&shorts, 48000, QVSAMPLE_PCM16, 2);
  QvAudio_InitWfx(&big, 48000, QVSAMPLE_BE16, 2);
  int16_t target[] = {1, 2, 3, 4};
  const int16_t source[] = {10, 20, 30, 40};
  const double gains[] = {1.0, 1.0};
  EXPECT_EQ(QvAudio_Mix(&shorts, target, &shorts, source, 2, gains), S_OK);
  EXPECT_EQ(target[3], 44);
  EXPECT_EQ(QvAudio_Mix(&big, target, &shorts, source, 2, gains), E_NOTIMPL);
  EXPECT_EQ(QvAudio_Mix(&big, target, &shorts, source, 0, gains), S_OK);
  EXPECT_EQ(QvAudio_Mix(&shorts, target, &shorts, source, 0x40000000, gains), E_INVALIDARG);
}
