// All 64 mix kernels on every level, against the model.
#include "tests/audio/every_level.h"
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

using model::Layout;

namespace {

/// One mixed sample by the rule.
void expected_mix(const Layout& dst, uint8_t* to, const Layout& src, const uint8_t* from, double gain, UINT channels) {
  if (dst.type == QVSAMPLE_FLOAT32 && src.type == QVSAMPLE_FLOAT32 && channels > 2) {
    const auto product = static_cast<float>(model::read(src, from)) * static_cast<float>(gain);
    const float sum = static_cast<float>(model::read(dst, to)) + product;
    std::memcpy(to, &sum, 4);
  } else if (model::is_float(dst)) {
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

void check_mix(const Layout& dst, const Layout& src, size_t count, UINT channels, Gains kind) {
  const auto source = model::make_samples(src, count, 5 + channels, true);
  auto target = model::make_samples(dst, count, 17 + static_cast<uint32_t>(count), true);
  auto expected = target;
  const std::vector<double> gains = make_gains(channels, kind);
  const bool integers = !model::is_float(dst) && !model::is_float(src);
  for (size_t i = 0; i < count; ++i)
    expected_mix(dst, expected.data() + i * dst.bytes, src, source.data() + i * src.bytes,
                 gains[integers ? 0 : i % channels], channels);
  const auto kernel = QvAudio_GetMixFunction2(dst.type, src.type);
  ASSERT_NE(kernel, nullptr);
  kernel(target.data(), source.data(), static_cast<LONG>(count), channels, gains.data());
  for (size_t i = 0; i < count; ++i)
    ASSERT_TRUE(model::same_sample(dst, target.data() + i * dst.bytes, expected.data() + i * dst.bytes))
        << "count " << count << ", channels " << channels << ", sample " << i;
  ASSERT_EQ(target.back(), expected.back()) << "wrote behind the end";
}

} // namespace

TEST(MixKernels, EveryPairOnEveryLevelEqualsTheModel) {
  on_every_level([](QVKERNELLEVEL) {
    model::for_every_pair<qv::audio::kMixedTypes>([](const Layout& dst, const Layout& src) {
      for (const Gains kind : {Gains::kUnity, Gains::kUsual, Gains::kExtreme}) {
        for (size_t count = 0; count <= 67; ++count)
          ASSERT_NO_FATAL_FAILURE(check_mix(dst, src, count, 1 + static_cast<UINT>(count % 6), kind));
        for (const UINT channels : {1u, 2u, 3u, 6u, 8u, 24u, 63u, 64u, 65u, 200u})
          ASSERT_NO_FATAL_FAILURE(check_mix(dst, src, 1003, channels, kind));
      }
    });
  });
}

TEST(MixKernels, SixteenBitSaturatesTakesOneGainAndLeavesItselfAlone) {
  on_every_level([](QVKERNELLEVEL) {
    using Shorts = std::vector<int16_t>;
    const auto kernel = QvAudio_GetMixFunction2(QVSAMPLE_PCM16, QVSAMPLE_PCM16);
    const Shorts source = {30000, -30000, 1000, 2000};
    const double unity[] = {1.0, 1.0};
    const double gains[] = {0.5, 1.0};
    const double bad[] = {std::nan(""), 1.0};
    Shorts target = source;
    target[3] = 200;
    kernel(target.data(), source.data(), 4, 2, unity);
    EXPECT_EQ(target, (Shorts{32767, -32768, 2000, 2200}));
    Shorts scaled(2);
    kernel(scaled.data(), source.data() + 2, 2, 2, gains);
    EXPECT_EQ(scaled, (Shorts{500, 1000}));
    kernel(scaled.data(), source.data() + 2, 2, 2, bad);
    EXPECT_EQ(scaled, (Shorts{500, 1000})) << "a gain that is no number adds nothing";
    kernel(scaled.data(), scaled.data(), 2, 1, unity);
    EXPECT_EQ(scaled, (Shorts{500, 1000})) << "into itself";
    float floats[] = {0.25f, 0.5f};
    QvAudio_GetMixFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32)(floats, floats, 2, 1, unity);
    EXPECT_EQ(floats[1], 1.0f);
  });
}
