// Converters of the first generation: counts and positions in closed form, samples against a model, quality on sines.
#include "tests/audio/resample/sine_fit.h"

#include "qv/audio_kernels.h"
#include "qv/cpu.h"
#include "qv/resample.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <vector>

namespace {

using std::numbers::pi;

/// Closes it at the end.
class Converter {
public:
  Converter(QVSAMPLETYPE type, DWORD src_rate, DWORD dst_rate, DWORD channels, DWORD flags) {
    EXPECT_EQ(QvAudio_ResampleOpen(&handle_, type, src_rate, dst_rate, channels, flags), S_OK);
  }
  ~Converter() { QvAudio_ResampleClose(handle_); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  operator HQVRESAMPLE() const { return handle_; }

private:
  HQVRESAMPLE handle_ = nullptr;
};

struct Rates {
  DWORD src, dst;
};

constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {44100, 22050}, {22050, 44100}, {8000, 192000},
                            {192000, 8000}, {44100, 44099}, {44099, 44100}, {11025, 48000}, {96000, 44100}};

std::vector<double> noise(size_t count) {
  std::mt19937 random(5);
  std::vector<double> samples(count);
  for (double& sample : samples)
    sample = static_cast<float>(random()) / 4294967296.0f - 0.5f;
  return samples;
}

/// All of `input` in blocks of the sizes that `next` tells.
template <class Sample, class Next>
std::vector<Sample> converted(const Converter& converter, const std::vector<Sample>& input, DWORD channels, Rates rates,
                              Next next) {
  std::vector<Sample> output;
  const size_t frames = input.size() / channels;
  for (size_t at = 0; at < frames;) {
    const auto count = static_cast<DWORD>(std::min<size_t>(next(), frames - at));
    std::vector<Sample> block(input.begin() + static_cast<ptrdiff_t>(at * channels),
                              input.begin() + static_cast<ptrdiff_t>((at + count) * channels));
    std::vector<Sample> room((size_t{count} * rates.dst / rates.src + 3 + rates.dst / rates.src) * channels);
    const DWORD made = QvAudio_ResampleEx(converter, room.data(), block.data(), count);
    EXPECT_LE(made * channels, room.size());
    room.resize(size_t{made} * channels);
    output.insert(output.end(), room.begin(), room.end());
    at += count;
  }
  return output;
}

TEST(Resample, CountsOfTheDocumentedBlocks) {
  std::vector<float> src(300);
  std::vector<float> dst(300);
  const Converter down(QVSAMPLE_FLOAT32, 44100, 22050, 1, 0);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 100), 50u);
  const Converter asked(QVSAMPLE_FLOAT32, 44100, 22050, 1, QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(asked, 50), 100u);
  EXPECT_EQ(QvAudio_ResampleEx(asked, dst.data(), src.data(), 50), 50u);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(asked), 100u);
  const Converter up(QVSAMPLE_FLOAT32, 22050, 44100, 1, QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(up, 100), 51u);
  EXPECT_EQ(QvAudio_ResampleGetSrcFromDst(up, 100), 51u);
  EXPECT_EQ(QvAudio_ResampleEx(up, dst.data(), src.data(), 100), 100u);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(up), 50u);
  EXPECT_EQ(QvAudio_ResampleGetDstPos(up), 100u);
  EXPECT_EQ(QvAudio_ResampleGetDstFromSrc(up, 51), 102u);
  EXPECT_EQ(QvAudio_ResampleGetExactDstFromSrc(up, 0), 0u);
  // Far behind a block: 192,000 frames a second, of which 17.4 are one of 11,025.
  const Converter ahead(QVSAMPLE_FLOAT32, 192000, 11025, 1, 0);
  EXPECT_EQ(QvAudio_ResampleEx(ahead, dst.data(), src.data(), 2), 1u);
  EXPECT_EQ(QvAudio_ResampleGetDstFromSrc(ahead, 1), 0u) << "15.4 source frames have to pass first";
  // The kernel alone leaves a converter at any phase: here at -10.
  const Converter late(QVSAMPLE_FLOAT32, 1, 2, 1, QVRESAMPLE_SINC);
  const Converter lower(QVSAMPLE_FLOAT32, 2, 1, 1, QVRESAMPLE_SINC);
  for (HQVRESAMPLE each : {HQVRESAMPLE(late), HQVRESAMPLE(lower)})
    QvAudio_Resample_Sinc(QVSAMPLE_FLOAT32, 1, dst.data(), 0, src.data(), 10, each);
  EXPECT_EQ(QvAudio_ResampleGetExactDstFromSrc(late, 1), 12u) << "1 x 2 + 10, not 2 x 10";
  EXPECT_EQ(QvAudio_ResampleGetSrcFromDst(lower, 1), 0u);
}

TEST(Resample, ALittleOfAFrameIsNone) {
  // The second output stands 1e-6 or 1e-8 of a frame behind the next source frame.
  const struct {
    Rates rates;
    DWORD frames, read;
  } rows[] = {{{1'000'001, 1'000'000}, 1, 2}, {{100'000'001, 100'000'000}, 1, 1}, {{100'000'001, 100'000'000}, 2, 3}};
  for (const auto& row : rows) {
    const Converter converter(QVSAMPLE_FLOAT32, row.rates.src, row.rates.dst, 1, QVRESAMPLE_OUTPUT_DRIVEN);
    EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(converter, row.frames), row.read) << row.rates.src;
  }
}

TEST(Resample, PositionsNeverDrift) {
  std::mt19937 random(11);
  std::vector<uint8_t> src(20'000);
  std::vector<uint8_t> dst(20'000);
  for (const Rates& rates : kRates)
    for (const DWORD driven : {DWORD{0}, DWORD{QVRESAMPLE_OUTPUT_DRIVEN}}) {
      const Converter converter(QVSAMPLE_PCM8, rates.src, rates.dst, 1, driven);
      for (int block = 0; block < 50'000; ++block) {
        const DWORD count = 1 + random() % 20;
        const DWORD made = QvAudio_ResampleEx(converter, dst.data(), src.data(), count);
        ASSERT_LE(made, count * 25 + 2);
        if (driven != 0) ASSERT_EQ(made, count);
        const double expected =
            static_cast<double>(QvAudio_ResampleGetSrcPos(converter)) * rates.dst / rates.src; // the closed form
        const auto position = static_cast<double>(QvAudio_ResampleGetDstPos(converter));
        // Within a frame of either side.
        ASSERT_LE(std::fabs(position - expected), 1.0 + 2.0 * std::max(1.0, static_cast<double>(rates.dst) / rates.src))
            << rates.src << " to " << rates.dst << ", block " << block;
      }
    }
}

/// What a block of an input-driven converter makes, by the letter: an integer count, shortened or lengthened until the
/// last output stands where it has to. `phase` is in parts of a source frame, rates.dst of which are one.
int64_t frames_by_the_letter(int64_t count, int64_t phase, const Rates& rates) {
  const int64_t src = rates.src;
  const int64_t dst = rates.dst;
  int64_t frames = (count * dst * dst - phase * src) / (src * dst);
  if (src <= dst)
    while (frames * src + phase > (count - 1) * dst)
      --frames;
  else
    while ((frames * src + phase) / dst < count - 1)
      ++frames;
  return std::max<int64_t>(frames, 0);
}

TEST(Resample, OutputsStandWhereTheyShould) {
  // On a ramp linear interpolation tells its position.
  for (const Rates& rates : kRates)
    for (const DWORD driven : {DWORD{0}, DWORD{QVRESAMPLE_OUTPUT_DRIVEN}}) {
      std::mt19937 random(2);
      const Converter converter(QVSAMPLE_FLOAT64, rates.src, rates.dst, 2, driven);
      size_t at = 0;
      size_t made = 0;
      for (int block = 0; block < 400; ++block) {
        const DWORD count = 1 + random() % 60;
        const DWORD readable = driven != 0 ? QvAudio_ResampleGetExactSrcFromDst(converter, count) : count;
        // By the letter: an integer part, which may be a frame less than what is read.
        const double inverse = static_cast<double>(rates.src) / rates.dst;
        const double phase = static_cast<double>(made) * inverse - static_cast<double>(at);
        const double letter = count * inverse + phase + 0.499999985;
        const DWORD told = QvAudio_ResampleGetSrcFromDst(converter, count);
        if (std::fabs(letter - std::nearbyint(letter)) > 1e-6)
          ASSERT_EQ(told, static_cast<DWORD>(letter) + (inverse < 1.0 ? 1 : 0));
        const double frames_told = static_cast<double>(count) / inverse - phase;
        if (std::fabs(frames_told - std::nearbyint(frames_told)) > 1e-6)
          ASSERT_EQ(QvAudio_ResampleGetDstFromSrc(converter, count), static_cast<DWORD>(std::max(frames_told, 0.0)));
        const DWORD exact = QvAudio_ResampleGetExactDstFromSrc(converter, count);
        if (driven != 0) ASSERT_TRUE(readable == told || readable == told + 1) << readable << " " << told;
        std::vector<double> src(size_t{readable} * 2);
        for (size_t k = 0; k < readable; ++k) {
          src[2 * k] = static_cast<double>(at + k);
          src[2 * k + 1] = -static_cast<double>(at + k);
        }
        std::vector<double> dst(size_t{count} * 2 * 30 + 64);
        const DWORD frames = QvAudio_ResampleEx(converter, dst.data(), src.data(), count);
        if (driven == 0) {
          const auto parts = static_cast<int64_t>(made * rates.src) - static_cast<int64_t>(at * rates.dst);
          ASSERT_EQ(frames, exact);
          ASSERT_EQ(frames, frames_by_the_letter(count, parts, rates))
              << rates.src << " to " << rates.dst << ", block " << block;
          ASSERT_LE(frames, count / inverse + 2.0);
        }
        for (size_t k = 0; k < frames; ++k) {
          const double expected = static_cast<double>(made + k) * rates.src / rates.dst;
          ASSERT_NEAR(dst[2 * k], expected, 1e-9 * (1.0 + expected))
              << rates.src << " " << rates.dst << " " << made + k;
          ASSERT_EQ(dst[2 * k + 1], -dst[2 * k]);
        }
        made += frames;
        at = QvAudio_ResampleGetSrcPos(converter);
      }
      EXPECT_EQ(made, QvAudio_ResampleGetDstPos(converter));
    }
}

TEST(Resample, BlocksDoNotMatter) {
  constexpr DWORD kChannels = 3;
  constexpr size_t kFrames = 441 * 64;
  const std::vector<double> input = noise(kFrames * kChannels);
  for (const Rates& rates : kRates)
    for (const DWORD flags :
         {DWORD{0}, DWORD{QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS6}, DWORD{QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4}}) {
      const Converter whole(QVSAMPLE_FLOAT64, rates.src, rates.dst, kChannels, flags);
      const std::vector<double> expected = converted(whole, input, kChannels, rates, [] { return kFrames; });
      for (const size_t block : {1, 7, 64, 441}) {
        SCOPED_TRACE(testing::Message() << rates.src << " to " << rates.dst << " flags " << flags << " block "
                                        << block);
        const Converter parts(QVSAMPLE_FLOAT64, rates.src, rates.dst, kChannels, flags);
        const std::vector<double> result = converted(parts, input, kChannels, rates, [=] { return block; });
        ASSERT_EQ(result.size(), expected.size());
        double worst = 0.0;
        for (size_t k = 0; k < result.size(); ++k)
          worst = std::max(worst, std::fabs(result[k] - expected[k]));
        EXPECT_LE(worst, 1e-12);
      }
    }
}

/// The sinc by its formula, without a table of fractions or history.
double sinc_model(const std::vector<double>& frames, double position) {
  const auto entry = [](int k) {
    const double x = k * 13.0 * pi / 1000.0;
    const double y = x / 13.0 + pi;
    return k == 0 ? 1.0
                  : std::sin(x) / x *
                        (0.35875 - 0.48829 * std::cos(y) + 0.14128 * std::cos(2 * y) - 0.01168 * std::cos(3 * y));
  };
  const double whole = std::floor(position);
  double sum = 0.0;
  for (int tap = 0; tap < 25; ++tap) {
    const double at = std::fabs(12.0 - (position - whole) - tap) * 1000.0 / 13.0;
    const int index = std::min(static_cast<int>(at), 998);
    const double frame = whole - tap;
    if (frame < 0.0) continue;
    sum += frames[static_cast<size_t>(frame)] * (entry(index) + (entry(index + 1) - entry(index)) * (at - index));
  }
  return sum;
}

TEST(Resample, TheSincByItsFormula) {
  const std::vector<double> input = noise(500);
  for (const Rates& rates : {Rates{44100, 48000}, Rates{48000, 44100}, Rates{44099, 44100}, Rates{1000, 3000}}) {
    const Converter converter(QVSAMPLE_FLOAT64, rates.src, rates.dst, 1, QVRESAMPLE_SINC);
    const std::vector<double> result = converted(converter, input, 1, rates, [] { return 77; });
    ASSERT_GT(result.size(), 100u);
    for (size_t k = 0; k < result.size(); ++k)
      ASSERT_NEAR(result[k], sinc_model(input, static_cast<double>(k) * rates.src / rates.dst), 1e-11) << k;
  }
}

/// The same at all levels.
template <class Sample>
void expect_equal_levels(QVSAMPLETYPE type, Rates rates, DWORD channels, DWORD flags) {
  std::vector<double> values = noise(3000);
  for (size_t k = 0; k < values.size(); k += 7)
    values[k] *= 1e20; // beside it others are lost: which of two frames an output stands at is seen
  const std::vector<Sample> input(values.begin(), values.end());
  std::vector<Sample> expected;
  for (const QVKERNELLEVEL level : {QVKERNELLEVEL_SSE2, QVKERNELLEVEL_AVX2, QVKERNELLEVEL_AVX512}) {
    QvLimitKernelLevel(level);
    const Converter converter(type, rates.src, rates.dst, channels, flags);
    std::mt19937 random(1);
    const std::vector<Sample> result = converted(converter, input, channels, rates, [&] { return 1 + random() % 40; });
    if (expected.empty()) expected = result;
    EXPECT_TRUE(result == expected) << rates.src << " to " << rates.dst << " level " << level;
  }
  QvLimitKernelLevel(QVKERNELLEVEL_AVX512);
}

TEST(Resample, LevelsAreEqualToTheBit) {
  expect_equal_levels<double>(QVSAMPLE_FLOAT64, {44100, 48000}, 3, QVRESAMPLE_SINC);
  for (const Rates& rates : kRates)
    expect_equal_levels<float>(QVSAMPLE_FLOAT32, rates, 2, QVRESAMPLE_LINEAR);
  expect_equal_levels<float>(QVSAMPLE_FLOAT32, {0xFFFFFFFF, 0xFFFFFFFE}, 2, QVRESAMPLE_LINEAR);
}

TEST(Resample, EverySampleType) {
  constexpr DWORD kChannels = 2;
  constexpr DWORD kFrames = 300;
  const std::vector<double> input = noise(kFrames * kChannels);
  for (const QVSAMPLETYPE type :
       {QVSAMPLE_PCM8, QVSAMPLE_PCM16, QVSAMPLE_PCM24, QVSAMPLE_PCM32, QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64,
        QVSAMPLE_PCM24IN32, QVSAMPLE_PCM8SIGNED, QVSAMPLE_BE16, QVSAMPLE_BE24, QVSAMPLE_BE32}) {
    SCOPED_TRACE(type);
    const size_t bytes = QvAudio_BytesFromSampleType(type);
    std::vector<uint8_t> src(input.size() * bytes);
    QvAudio_GetCopyFunction2(type, QVSAMPLE_FLOAT64)(src.data(), input.data(), static_cast<LONG>(input.size()), 1.0f);
    std::vector<double> exact(input.size());
    QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, type)(exact.data(), src.data(), static_cast<LONG>(exact.size()), 1.0f);
    std::vector<double> between;
    for (DWORD k = 0; k < 500; ++k)
      for (DWORD channel = 0; channel < kChannels; ++channel) {
        const double position = k * 0.5;
        const double* const frame = &exact[static_cast<size_t>(position) * kChannels + channel];
        between.push_back(frame[0] + (frame[kChannels] - frame[0]) * (position - std::floor(position)));
      }
    std::vector<uint8_t> expected(between.size() * bytes);
    QvAudio_GetCopyFunction2(type, QVSAMPLE_FLOAT64)(expected.data(), between.data(), static_cast<LONG>(between.size()),
                                                     1.0f);
    // Integer types have no sinc: 3 is taken for 2, without a low-pass.
    const bool is_float = type == QVSAMPLE_FLOAT32 || type == QVSAMPLE_FLOAT64;
    const Converter converter(type, 24000, 48000, kChannels,
                              is_float ? QVRESAMPLE_FILTERED : QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4);
    std::vector<uint8_t> dst(2 * src.size());
    EXPECT_GE(QvAudio_ResampleEx(converter, dst.data(), src.data(), kFrames), 500u);
    dst.resize(expected.size());
    EXPECT_TRUE(dst == expected);
  }
}

TEST(Resample, EqualRatesCopy) {
  std::vector<float> src = {1, 2, 3, 4, 5, 6};
  std::vector<float> dst(7, 9.0f);
  const Converter unknown_quality(QVSAMPLE_FLOAT32, 48000, 48000, 2, 15);
  EXPECT_EQ(QvAudio_ResampleGetExactDstFromSrc(unknown_quality, 2), 2u);
  EXPECT_EQ(QvAudio_ResampleEx(unknown_quality, dst.data(), src.data(), 2), 2u);
  EXPECT_EQ(dst, (std::vector<float>{1, 2, 3, 4, 9, 9, 9}));
  const Converter converter(QVSAMPLE_FLOAT32, 48000, 48000, 2, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4);
  EXPECT_EQ(QvAudio_ResampleEx(converter, dst.data(), src.data(), 3), 3u);
  EXPECT_EQ(dst, (std::vector<float>{1, 2, 3, 4, 5, 6, 9}));
  EXPECT_EQ(QvAudio_ResampleEx(converter, src.data(), src.data(), 3), 3u);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(converter), 6u);
  QvAudio_ResampleSetSrcPos(converter, 100);
  QvAudio_ResampleSetSrcOffset(converter, 11);
  QvAudio_ResampleSetDstPos(converter, 200);
  QvAudio_ResampleSetDstOffset(converter, 22);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(converter), 111u);
  EXPECT_EQ(QvAudio_ResampleGetDstPos(converter), 222u);
}

TEST(Resample, FittedAndWhole) {
  const Converter converter(QVSAMPLE_FLOAT64, 1, 2, 1, 0);
  std::vector<double> src = {0, 3, 6, 9};
  std::vector<double> dst(7, -1.0);
  EXPECT_EQ(QvAudio_ResampleStupid(converter, dst.data(), 6, src.data(), 4), 6u);
  const double expected[] = {0, 2, 4, 6, 8, 9, -1};
  for (size_t k = 0; k < dst.size(); ++k)
    EXPECT_NEAR(dst[k], expected[k], 1e-12) << k;
  EXPECT_EQ(QvAudio_ResampleStupid(converter, src.data(), 4, src.data(), 4), 4u);
  EXPECT_EQ(QvAudio_ResampleStupid(converter, dst.data(), 4, src.data(), 4), 4u);
  EXPECT_EQ(dst[3], 9.0);
  EXPECT_EQ(QvAudio_ResampleStupid(nullptr, dst.data(), 4, src.data(), 3), 0xFFFFFFFF);

  WAVEFORMATEX format;
  QvAudio_InitWfx(&format, 48000, QVSAMPLE_FLOAT32, 1);
  std::vector<float> ramp(100);
  for (size_t k = 0; k < ramp.size(); ++k)
    ramp[k] = static_cast<float>(k);
  std::vector<float> twice(201, -1.0f);
  EXPECT_EQ(QvAudio_Resample(&format, twice.data(), 200, ramp.data(), 100), 0);
  EXPECT_EQ(twice[197], 98.5f);
  EXPECT_EQ(twice[200], -1.0f);
  for (DWORD from = 1; from <= 100; from += 3)
    for (DWORD to = 1; to <= 100; ++to) {
      std::fill(twice.begin(), twice.end(), -1.0f);
      QvAudio_Resample(&format, twice.data(), to, ramp.data(), from);
      ASSERT_EQ(twice[to], -1.0f) << from << " to " << to;
    }
  EXPECT_EQ(QvAudio_Resample(&format, twice.data(), 200, ramp.data(), 0), 0);
  EXPECT_EQ(QvAudio_Resample(&format, twice.data(), 0, ramp.data(), 100), 0);
}

TEST(Resample, TheFrameBeforeABlockCanBeSet) {
  const Converter converter(QVSAMPLE_FLOAT64, 1, 2, 2, QVRESAMPLE_OUTPUT_DRIVEN);
  std::vector<double> src(20, 1.0);
  std::vector<double> dst(20);
  EXPECT_EQ(QvAudio_ResampleEx(converter, dst.data(), src.data(), 1), 1u); // the next stands half a frame before
  QvAudio_ResampleStuffPrevSample(converter, 3.0, -3.0);
  EXPECT_EQ(QvAudio_ResampleEx(converter, dst.data(), src.data(), 2), 2u);
  EXPECT_EQ(dst[0], 2.0);
  EXPECT_EQ(dst[1], -1.0);
  EXPECT_EQ(dst[2], 1.0);
}

TEST(Resample, BadParameters) {
  HQVRESAMPLE handle = nullptr;
  const auto open = [&](QVSAMPLETYPE type, DWORD src, DWORD dst, DWORD channels) {
    handle = reinterpret_cast<HQVRESAMPLE>(1);
    return QvAudio_ResampleOpen(&handle, type, src, dst, channels, 0);
  };
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 0, 1, 1), E_INVALIDARG);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 0, 1), E_INVALIDARG);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 1, 0), E_INVALIDARG);
  EXPECT_EQ(open(static_cast<QVSAMPLETYPE>(5), 1, 1, 1), E_INVALIDARG);
  EXPECT_EQ(QvAudio_ResampleOpen(nullptr, QVSAMPLE_FLOAT32, 1, 1, 1, 0), E_INVALIDARG);
  EXPECT_EQ(QvAudio_ResampleReset(nullptr, QVSAMPLE_FLOAT32, 1, 1, 1, 0), E_INVALIDARG);
  QvAudio_ResampleClose(nullptr);
  float sample = 0.0f;
  const Converter unknown(QVSAMPLE_FLOAT32, 1, 2, 1, 7);
  EXPECT_EQ(QvAudio_ResampleEx(unknown, &sample, &sample, 1), 0u);
  EXPECT_EQ(QvAudio_ResampleGetExactDstFromSrc(unknown, 100), 0u);

  WAVEFORMATEX one, other;
  QvAudio_InitWfx(&one, 44100, QVSAMPLE_PCM16, 2);
  QvAudio_InitWfx(&other, 48000, QVSAMPLE_PCM16, 2);
  ASSERT_EQ(QvAudio_ResampleOpenEx(&handle, &other, &one, QVRESAMPLE_OUTPUT_DRIVEN), S_OK);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(handle, 480), 442u);
  EXPECT_EQ(QvAudio_ResampleResetEx(handle, &one, &other, QVRESAMPLE_OUTPUT_DRIVEN), S_OK);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(handle, 441), 480u);
  other.nChannels = 1;
  EXPECT_EQ(QvAudio_ResampleResetEx(handle, &one, &other, 0), E_INVALIDARG);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(handle, 441), 480u) << "as it was";
  QvAudio_ResampleClose(handle);
}

TEST(Resample, ExtremeRatiosEnd) {
  std::vector<float> src(10);
  std::vector<float> dst(16);
  const Converter up(QVSAMPLE_FLOAT32, 1, 0xFFFFFFFF, 1, QVRESAMPLE_SINC | QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleEx(up, dst.data(), src.data(), 16), 16u);
  const Converter down(QVSAMPLE_FLOAT32, 0xFFFFFFFF, 1, 1, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS6);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 10), 1u);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 10), 0u);
}

// ---- quality ------------------------------------------------------------------------------------------------------

/// What is left of a sine after a conversion, in dB below it, without the first frames.
double residual(Rates rates, double hertz, DWORD flags) {
  std::vector<double> input(rates.src);
  for (size_t k = 0; k < input.size(); ++k)
    input[k] = std::sin(2.0 * pi * hertz * static_cast<double>(k) / rates.src);
  const Converter converter(QVSAMPLE_FLOAT64, rates.src, rates.dst, 1, flags);
  std::vector<double> result = converted(converter, input, 1, rates, [] { return 1000; });
  result = {result.begin() + 1000, result.end()};
  return sine_fit::residual_decibels(result, hertz / rates.dst);
}

TEST(Resample, SinesStayClean) {
  EXPECT_LT(residual({44100, 48000}, 1000.0, QVRESAMPLE_SINC), -100.0);
  EXPECT_LT(residual({48000, 44100}, 1000.0, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS6), -100.0);
  EXPECT_LT(residual({44100, 96000}, 1000.0, QVRESAMPLE_SINC), -100.0);
  EXPECT_LT(residual({44100, 48000}, 1000.0, QVRESAMPLE_LINEAR), -50.0);
}

TEST(Resample, TheLowPassKeepsAliasesDown) {
  // 15 kHz do not fit 22,050 Hz: what is left of them would be heard at 7,050 Hz.
  const auto level = [](DWORD flags) {
    std::vector<double> input(44100);
    for (size_t k = 0; k < input.size(); ++k)
      input[k] = std::sin(2.0 * pi * 15000.0 * static_cast<double>(k) / 44100.0);
    const Converter converter(QVSAMPLE_FLOAT64, 44100, 22050, 1, flags);
    std::vector<double> result = converted(converter, input, 1, {44100, 22050}, [] { return 1000; });
    result = {result.begin() + 1000, result.end()};
    return sine_fit::amplitude_decibels(result, 7050.0 / 22050.0);
  };
  EXPECT_GT(level(QVRESAMPLE_SINC), -1.0);
  EXPECT_LT(level(QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS2), -5.0);
  EXPECT_LT(level(QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4), -26.0);
  EXPECT_LT(level(QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS6), -46.0);
}

} // namespace
