// RMS, mean squares and peaks.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

TEST(Measure, EveryTypeAgreesWithTheModel) {
  constexpr DWORD kFrames = 777;
  constexpr WORD kChannels = 3;
  for (const model::Layout& layout : model::kMixable) {
    SCOPED_TRACE(layout.name);
    model::Buffer samples(layout, kChannels, 9, kFrames);
    std::mt19937 random(9);
    for (size_t i = 0; i < kFrames * kChannels; ++i)
      samples.set(i / kChannels, i % kChannels,
                  (random() / 2147483648.0 - 1.0) / (1.0 + static_cast<double>(i % kChannels)));
    float rms[kChannels], peaks[kChannels * 2], magnitudes[kChannels * 2];
    double mean_squares[kChannels];
    ASSERT_EQ(QvAudio_CalcRMS(&samples.format, samples.data(), kFrames, rms), S_OK);
    ASSERT_EQ(QvAudio_CalcPreRMS(&samples.format, samples.data(), kFrames, mean_squares), S_OK);
    ASSERT_EQ(QvAudio_FindPeaks(&samples.format, 0, samples.data(), kFrames, peaks), S_OK);
    ASSERT_EQ(QvAudio_FindPeaks(&samples.format, 1, samples.data(), kFrames, magnitudes), S_OK);
    for (size_t c = 0; c < kChannels; ++c) {
      double low = 2, high = -2, least = 2, largest = 0;
      long double sum = 0; // from the first frame to the last
      for (size_t i = 0; i < kFrames; ++i) {
        const double value = samples.value(i, c);
        sum += static_cast<long double>(value) * value;
        low = std::min(low, value);
        high = std::max(high, value);
        least = std::min(least, std::fabs(value));
        largest = std::max(largest, std::fabs(value));
      }
      const auto mean = static_cast<double>(sum / kFrames);
      EXPECT_NEAR(mean_squares[c], mean, 1e-12);
      EXPECT_NEAR(rms[c], std::sqrt(mean), layout.type == QVSAMPLE_PCM16 ? 1.0 / 32768 : 1e-7);
      EXPECT_EQ(peaks[c * 2], static_cast<float>(low));
      EXPECT_EQ(peaks[c * 2 + 1], static_cast<float>(high));
      EXPECT_EQ(magnitudes[c * 2], static_cast<float>(least));
      EXPECT_EQ(magnitudes[c * 2 + 1], static_cast<float>(largest));
    }
  }
}

TEST(Measure, SixteenBitRmsMovesInStepsAndWraps) {
  const WAVEFORMATEX format = model::format_of(QVSAMPLE_PCM16, 2);
  const struct {
    int16_t left, right;
    float expected_left, expected_right;
  } rows[] = {{16384, -32768, 0.5f, -1.0f}, {3, -3, 3.0f / 32768, 3.0f / 32768}, {0, 32767, 0.0f, 32767.0f / 32768}};
  float results[2];
  for (const auto& row : rows) {
    std::vector<int16_t> samples(200, row.left);
    for (size_t i = 1; i < samples.size(); i += 2)
      samples[i] = row.right;
    ASSERT_EQ(QvAudio_CalcRMS(&format, samples.data(), 100, results), S_OK);
    EXPECT_EQ(results[0], row.expected_left);
    EXPECT_EQ(results[1], row.expected_right);
  }
  // The mean of {2, 1} is 5 / 2 = 2, and the root of 2.5 is cut to 1.
  const int16_t uneven[] = {2, 0, 1, 0};
  ASSERT_EQ(QvAudio_CalcRMS(&format, uneven, 2, results), S_OK);
  EXPECT_EQ(results[0], 1.0f / 32768);
}

TEST(Measure, FullScale32BitDoesNotOverflow) {
  const WAVEFORMATEX format = model::format_of(QVSAMPLE_PCM32, 1);
  const std::vector<int32_t> samples(100000, std::numeric_limits<int32_t>::min());
  float result = 0;
  ASSERT_EQ(QvAudio_CalcRMS(&format, samples.data(), 100000, &result), S_OK);
  EXPECT_EQ(result, 1.0f);
}

TEST(Measure, EdgesOfTheOneShots) {
  const WAVEFORMATEX floats = model::format_of(QVSAMPLE_FLOAT32, 1);
  const WAVEFORMATEX big = model::format_of(QVSAMPLE_BE16, 1);
  const float nothing_but_nan[] = {std::nanf(""), std::nanf("")};
  float peaks[2] = {7, 7};
  EXPECT_EQ(QvAudio_FindPeaks(&floats, 0, nothing_but_nan, 2, peaks), S_OK);
  EXPECT_EQ(peaks[0], 0.0f);
  const float some_nan[] = {std::nanf(""), -0.5f, std::nanf("")};
  EXPECT_EQ(QvAudio_FindPeaks(&floats, 0, some_nan, 3, peaks), S_OK);
  EXPECT_EQ(peaks[0], -0.5f);
  EXPECT_EQ(peaks[1], -0.5f);
  float untouched = 7;
  EXPECT_EQ(QvAudio_CalcRMS(&big, peaks, 0, &untouched), S_OK);
  EXPECT_EQ(QvAudio_CalcRMS(&big, peaks, 1, &untouched), E_NOTIMPL);
  EXPECT_EQ(untouched, 7.0f);
  EXPECT_EQ(QvAudio_GetFindPeaksFunction(&big), nullptr);
  // The kernel counts fewer than one frame as one.
  const QVAUDIO_RMSFUNC rms = QvAudio_GetCalcRMSFunction(&floats);
  rms(1, peaks, 0, &untouched);
  EXPECT_EQ(untouched, 0.0f);
}

TEST(Measure, NormalizeFactors) {
  const std::pair<uint32_t, double> rows[] = {{0, 1.0},           {8, 128.0}, {16, 32768.0}, {24, 8388608.0},
                                              {32, 2147483648.0}, {20, 1.0},  {64, 1.0}};
  for (const auto& [bits, factor] : rows)
    EXPECT_EQ(QvAudio_GetNormalizeFactor(bits), factor) << bits;
}
