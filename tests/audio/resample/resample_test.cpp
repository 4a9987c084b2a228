// Converters of the first generation: counts and positions in closed form, samples against a model, quality on sines.
#include "tests/audio/every_level.h"
#include "tests/audio/resample/sine_fit.h"
#include "tests/audio/resample/stream_checks.h"

#include "qv/audio_kernels.h"
#include "qv/resample.h"

namespace {

using std::numbers::pi;

struct Rates {
  DWORD src, dst;
};

constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {44100, 22050}, {22050, 44100}, {8000, 192000},
                            {192000, 8000}, {44100, 44099}, {44099, 44100}, {11025, 48000}, {96000, 44100}};

/// Closes it at the end.
class Converter {
public:
  Converter(QVSAMPLETYPE type, Rates rates, DWORD channels, DWORD flags) : rates_(rates), channels_(channels) {
    EXPECT_EQ(QvAudio_ResampleOpen(&handle_, type, rates.src, rates.dst, channels, flags), S_OK);
  }
  ~Converter() { QvAudio_ResampleClose(handle_); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  operator HQVRESAMPLE() const { return handle_; }

  /// What becomes of all of `input`, in blocks of the sizes that `next` tells.
  template <class Sample, class Next>
  std::vector<Sample> run(const std::vector<Sample>& input, Next next) const {
    std::vector<Sample> output;
    for (auto at = input.begin(); at != input.end();) {
      const auto left = static_cast<size_t>(input.end() - at) / channels_;
      const auto count = static_cast<DWORD>(std::min<size_t>(next(), left));
      std::vector<Sample> block(at, at + count * channels_);
      std::vector<Sample> room((size_t{count} * rates_.dst / rates_.src + 2) * channels_);
      const DWORD made = QvAudio_ResampleEx(handle_, room.data(), block.data(), count);
      EXPECT_LE(made * channels_, room.size());
      output.insert(output.end(), room.begin(), room.begin() + made * channels_);
      at += count * channels_;
    }
    return output;
  }

private:
  HQVRESAMPLE handle_ = nullptr;
  Rates rates_;
  ptrdiff_t channels_;
};

TEST(Resample, CountsOfTheDocumentedBlocks) {
  std::vector<float> src(300);
  std::vector<float> dst(300);
  const Converter down(QVSAMPLE_FLOAT32, {44100, 22050}, 1, 0);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 100), 50u);
  const Converter asked(QVSAMPLE_FLOAT32, {44100, 22050}, 1, QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(asked, 50), 100u);
  EXPECT_EQ(QvAudio_ResampleEx(asked, dst.data(), src.data(), 50), 50u);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(asked), 100u);
  const Converter up(QVSAMPLE_FLOAT32, {22050, 44100}, 1, QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(up, 100), 51u);
  EXPECT_EQ(QvAudio_ResampleGetSrcFromDst(up, 100), 51u);
  EXPECT_EQ(QvAudio_ResampleEx(up, dst.data(), src.data(), 100), 100u);
  EXPECT_EQ(QvAudio_ResampleGetSrcPos(up), 50u);
  EXPECT_EQ(QvAudio_ResampleGetDstPos(up), 100u);
  EXPECT_EQ(QvAudio_ResampleGetDstFromSrc(up, 51), 102u);
  // Far behind a block: 192,000 frames a second, of which 17.4 are one of 11,025.
  const Converter ahead(QVSAMPLE_FLOAT32, {192000, 11025}, 1, 0);
  EXPECT_EQ(QvAudio_ResampleEx(ahead, dst.data(), src.data(), 2), 1u);
  EXPECT_EQ(QvAudio_ResampleGetDstFromSrc(ahead, 1), 0u) << "15.4 source frames have to pass first";
  // The kernel alone leaves a converter at any phase: here at -10.
  const Converter late(QVSAMPLE_FLOAT32, {1, 2}, 1, QVRESAMPLE_SINC);
  const Converter lower(QVSAMPLE_FLOAT32, {2, 1}, 1, QVRESAMPLE_SINC);
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
    const Converter converter(QVSAMPLE_FLOAT32, row.rates, 1, QVRESAMPLE_OUTPUT_DRIVEN);
    EXPECT_EQ(QvAudio_ResampleGetExactSrcFromDst(converter, row.frames), row.read) << row.rates.src;
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
      const Converter converter(QVSAMPLE_FLOAT64, rates, 2, driven);
      size_t at = 0;
      size_t made = 0;
      for (int block = 0; block < 2000; ++block) {
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
        if (driven != 0) {
          ASSERT_EQ(frames, count);
        } else {
          const auto parts = static_cast<int64_t>(made * rates.src) - static_cast<int64_t>(at * rates.dst);
          ASSERT_EQ(frames, exact);
          ASSERT_EQ(frames, frames_by_the_letter(count, parts, rates))
              << rates.src << " to " << rates.dst << ", block " << block;
          ASSERT_LE(frames, count / inverse + 2.0);
        }
        for (size_t k = 0; k < frames; ++k) {
          // Behind a block of one frame an output may stand behind the next one's last frame: it takes that one's
          // value.
          const double expected =
              std::min(static_cast<double>(made + k) * rates.src / rates.dst, static_cast<double>(at + readable - 1));
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
  const auto input = stream::noise<double>(500);
  for (const Rates& rates : {Rates{44100, 48000}, Rates{48000, 44100}, Rates{44099, 44100}, Rates{1000, 3000}}) {
    const Converter converter(QVSAMPLE_FLOAT64, rates, 1, QVRESAMPLE_SINC);
    const std::vector<double> result = converter.run(input, [] { return 77; });
    ASSERT_GT(result.size(), 100u);
    for (size_t k = 0; k < result.size(); ++k)
      ASSERT_NEAR(result[k], sinc_model(input, static_cast<double>(k) * rates.src / rates.dst), 1e-11) << k;
  }
}

/// One block or many, and any level: the same to the bit.
template <class Sample>
void expect_same(QVSAMPLETYPE type, Rates rates, DWORD channels, DWORD flags) {
  auto input = stream::noise<Sample>(441 * 16 * channels);
  for (size_t k = 0; k < input.size(); k += 7)
    input[k] *= Sample{1e20f}; // beside it others are lost: which of two frames an output stands at is seen
  const auto result = [&](size_t block) {
    std::mt19937 random(1);
    return Converter(type, rates, channels, flags).run(input, [&] { return block == 0 ? 2 + random() % 40 : block; });
  };
  const std::vector<Sample> expected = result(input.size());
  on_every_level([&](QVKERNELLEVEL) {
    for (const size_t block : {0, 1, 7, 64, 441})
      EXPECT_TRUE(result(block) == expected)
          << rates.src << " to " << rates.dst << " flags " << flags << " blocks of " << block;
  });
}

TEST(Resample, NeitherBlocksNorLevelsMatter) {
  for (const Rates& rates : kRates) {
    expect_same<float>(QVSAMPLE_FLOAT32, rates, 2, QVRESAMPLE_LINEAR);
    expect_same<double>(QVSAMPLE_FLOAT64, rates, 3, QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS6);
    expect_same<double>(QVSAMPLE_FLOAT64, rates, 3, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4);
  }
  expect_same<float>(QVSAMPLE_FLOAT32, {0xFFFFFFFF, 0xFFFFFFFE}, 2, QVRESAMPLE_LINEAR);
}

/// Between two sample types, by a copy kernel.
template <class To, class From>
std::vector<To> copied(QVSAMPLETYPE to, QVSAMPLETYPE from, const std::vector<From>& src) {
  const size_t samples = src.size() * sizeof(From) / QvAudio_BytesFromSampleType(from);
  std::vector<To> dst(samples * QvAudio_BytesFromSampleType(to) / sizeof(To));
  QvAudio_GetCopyFunction2(to, from)(dst.data(), src.data(), static_cast<LONG>(samples), 1.0f);
  return dst;
}

TEST(Resample, EverySampleType) {
  for (const QVSAMPLETYPE type :
       {QVSAMPLE_PCM8, QVSAMPLE_PCM16, QVSAMPLE_PCM24, QVSAMPLE_PCM32, QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64,
        QVSAMPLE_PCM24IN32, QVSAMPLE_PCM8SIGNED, QVSAMPLE_BE16, QVSAMPLE_BE24, QVSAMPLE_BE32}) {
    auto src = copied<uint8_t>(type, QVSAMPLE_FLOAT64, stream::noise<double>(600));
    const auto exact = copied<double>(QVSAMPLE_FLOAT64, type, src);
    std::vector<double> between; // of two channels, a frame and the middle between it and the next
    for (size_t frame = 0; frame < 250; ++frame)
      for (const double position : {0.0, 0.5})
        for (const size_t at : {2 * frame, 2 * frame + 1})
          between.push_back(exact[at] + (exact[at + 2] - exact[at]) * position);
    const auto expected = copied<uint8_t>(type, QVSAMPLE_FLOAT64, between);
    // Integer types have no sinc: 3 is taken for 2, without a low-pass.
    const bool is_float = type == QVSAMPLE_FLOAT32 || type == QVSAMPLE_FLOAT64;
    const Converter converter(type, {24000, 48000}, 2,
                              is_float ? QVRESAMPLE_FILTERED : QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4);
    std::vector<uint8_t> dst(2 * src.size());
    EXPECT_GE(QvAudio_ResampleEx(converter, dst.data(), src.data(), 300), 500u);
    dst.resize(expected.size());
    EXPECT_TRUE(dst == expected) << type;
  }
}

TEST(Resample, EqualRatesCopy) {
  std::vector<float> src = {1, 2, 3, 4, 5, 6};
  std::vector<float> dst(7, 9.0f);
  const Converter unknown_quality(QVSAMPLE_FLOAT32, {48000, 48000}, 2, 15);
  EXPECT_EQ(QvAudio_ResampleGetExactDstFromSrc(unknown_quality, 2), 2u);
  EXPECT_EQ(QvAudio_ResampleEx(unknown_quality, dst.data(), src.data(), 2), 2u);
  EXPECT_EQ(dst, (std::vector<float>{1, 2, 3, 4, 9, 9, 9}));
  const Converter converter(QVSAMPLE_FLOAT32, {48000, 48000}, 2, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4);
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
  const Converter converter(QVSAMPLE_FLOAT64, {1, 2}, 1, 0);
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
  const Converter converter(QVSAMPLE_FLOAT64, {1, 2}, 2, QVRESAMPLE_OUTPUT_DRIVEN);
  std::vector<double> src(20, 1.0);
  std::vector<double> dst(4);
  EXPECT_EQ(QvAudio_ResampleEx(converter, dst.data(), src.data(), 1), 1u); // the next stands half a frame before
  QvAudio_ResampleStuffPrevSample(converter, 3.0, -3.0);
  EXPECT_EQ(QvAudio_ResampleEx(converter, dst.data(), src.data(), 2), 2u);
  EXPECT_EQ(dst, (std::vector<double>{2.0, -1.0, 1.0, 1.0}));
}

TEST(Resample, BadParameters) {
  HQVRESAMPLE handle = nullptr;
  const struct {
    DWORD type, src, dst, channels;
  } rows[] = {{QVSAMPLE_FLOAT32, 0, 1, 1}, {QVSAMPLE_FLOAT32, 1, 0, 1}, {QVSAMPLE_FLOAT32, 1, 1, 0}, {5, 1, 1, 1}};
  for (const auto& row : rows) {
    handle = reinterpret_cast<HQVRESAMPLE>(1);
    EXPECT_EQ(QvAudio_ResampleOpen(&handle, static_cast<QVSAMPLETYPE>(row.type), row.src, row.dst, row.channels, 0),
              E_INVALIDARG)
        << &row - rows;
    EXPECT_EQ(handle, nullptr);
  }
  EXPECT_EQ(QvAudio_ResampleOpen(nullptr, QVSAMPLE_FLOAT32, 1, 1, 1, 0), E_INVALIDARG);
  EXPECT_EQ(QvAudio_ResampleReset(nullptr, QVSAMPLE_FLOAT32, 1, 1, 1, 0), E_INVALIDARG);
  QvAudio_ResampleClose(nullptr);
  float sample = 0.0f;
  const Converter unknown(QVSAMPLE_FLOAT32, {1, 2}, 1, 7);
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
  const Converter up(QVSAMPLE_FLOAT32, {1, 0xFFFFFFFF}, 1, QVRESAMPLE_SINC | QVRESAMPLE_OUTPUT_DRIVEN);
  EXPECT_EQ(QvAudio_ResampleEx(up, dst.data(), src.data(), 16), 16u);
  const Converter down(QVSAMPLE_FLOAT32, {0xFFFFFFFF, 1}, 1, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS6);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 10), 1u);
  EXPECT_EQ(QvAudio_ResampleEx(down, dst.data(), src.data(), 10), 0u);
}

TEST(Resample, TheLowPassKeepsAliasesDown) {
  // 15 kHz do not fit 22,050 Hz: what is left of them would be heard at 7,050 Hz.
  const auto level = [](DWORD flags) {
    const Converter converter(QVSAMPLE_FLOAT64, {44100, 22050}, 1, flags);
    const auto result = converter.run(sine_fit::sine(44100.0, 15'000.0, 44100), [] { return 1000; });
    return sine_fit::amplitude_decibels({result.begin() + 1000, result.end()}, 7050.0 / 22050.0);
  };
  EXPECT_GT(level(QVRESAMPLE_SINC), -1.0);
  EXPECT_LT(level(QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS2), -5.0);
  EXPECT_LT(level(QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS4), -26.0);
  EXPECT_LT(level(QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS6), -46.0);
}

} // namespace
