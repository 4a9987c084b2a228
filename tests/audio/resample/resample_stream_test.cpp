// Streaming converters: counts, timing, changes of the rates, and quality; averages of groups of frames.
#include "tests/audio/resample/sine_fit.h"

#include "qv/audio_kernels.h"
#include "qv/resample.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace {

using std::numbers::pi;

constexpr QVRESAMPLE2_QUALITY kQualities[] = {QVRESAMPLE2_LINEAR, QVRESAMPLE2_FILTERED, QVRESAMPLE2_SINC,
                                              QVRESAMPLE2_BEST};

class Stream {
public:
  Stream(QVSAMPLETYPE type, DWORD src_rate, DWORD dst_rate, DWORD channels, QVRESAMPLE2_QUALITY quality)
      : frame_bytes_(channels * QvAudio_BytesFromSampleType(type)) {
    EXPECT_EQ(QvAudio_Resample2Open(&handle_, type, src_rate, dst_rate, channels, quality), S_OK);
  }
  ~Stream() { QvAudio_Resample2Close(handle_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  operator HQVRESAMPLE2() const { return handle_; }

  /// Gives all bytes in pieces of their own memory, so that a read behind them is seen; takes what comes.
  std::vector<uint8_t> give(const std::vector<uint8_t>& bytes, DWORD most_given, DWORD most_taken) {
    std::vector<uint8_t> result;
    for (size_t at = 0; at < bytes.size();) {
      const size_t count = std::min(bytes.size() - at, size_t{1 + random_() % most_given} * frame_bytes_);
      const std::vector<uint8_t> piece(bytes.begin() + static_cast<ptrdiff_t>(at),
                                       bytes.begin() + static_cast<ptrdiff_t>(at + count));
      at += frame_bytes_ * step(result, piece.data(), static_cast<DWORD>(count / frame_bytes_), most_taken);
    }
    return result;
  }
  void flush(std::vector<uint8_t>& result, DWORD most_taken) {
    for (size_t before = result.size() + 1; before != result.size();) {
      before = result.size();
      step(result, nullptr, 0, most_taken);
    }
  }

private:
  DWORD step(std::vector<uint8_t>& result, const uint8_t* src, DWORD count, DWORD most_taken) {
    const DWORD room = 1 + random_() % most_taken;
    std::vector<uint8_t> dst(room * frame_bytes_);
    DWORD written = 99;
    DWORD used = 99;
    EXPECT_EQ(QvAudio_Resample2Process(handle_, dst.data(), room, &written, src, count, &used), S_OK);
    EXPECT_LE(written, room);
    EXPECT_LE(used, count);
    EXPECT_TRUE(written == room || used == count);
    result.insert(result.end(), dst.begin(), dst.begin() + static_cast<ptrdiff_t>(written * frame_bytes_));
    return used;
  }

  size_t frame_bytes_;
  std::mt19937 random_{7};
  HQVRESAMPLE2 handle_ = nullptr;
};

std::vector<uint8_t> as_bytes(const std::vector<double>& samples) {
  const auto* const first = reinterpret_cast<const uint8_t*>(samples.data());
  return {first, first + samples.size() * sizeof(double)};
}

std::vector<double> as_doubles(const std::vector<uint8_t>& bytes) {
  std::vector<double> samples(bytes.size() / sizeof(double));
  std::memcpy(samples.data(), bytes.data(), bytes.size());
  return samples;
}

std::vector<double> sine(DWORD rate, double hertz, size_t frames) {
  std::vector<double> samples(frames);
  for (size_t k = 0; k < frames; ++k)
    samples[k] = std::sin(2.0 * pi * hertz * static_cast<double>(k) / rate);
  return samples;
}

/// `own`: with the library's own filter also where soxr does the best quality.
std::vector<double> converted(const std::vector<double>& input, DWORD src, DWORD dst, QVRESAMPLE2_QUALITY quality,
                              bool own = false) {
  Stream stream(QVSAMPLE_FLOAT64, src, dst, 1, quality);
  if (own && QvAudio_Resample2SetRates(stream, src, dst) != S_OK) ADD_FAILURE();
  std::vector<uint8_t> result = stream.give(as_bytes(input), 3000, 3000);
  stream.flush(result, 3000);
  return as_doubles(result);
}

struct Rates {
  DWORD src, dst;
};
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {44100, 22050}, {22050, 44100},
                            {8000, 192000}, {192000, 8000}, {44100, 44099}, {48000, 48000},
                            {1, 3},         {4096, 1},      {192000, 11025}};

TEST(ResampleStream, FramesInAllAndAnyPieces) {
  std::mt19937 random(4);
  constexpr DWORD kChannels = 3;
  for (const Rates& rates : kRates)
    for (const QVRESAMPLE2_QUALITY quality : kQualities)
      for (const size_t frames : {1, 2, 100, 3001}) {
        if (quality == QVRESAMPLE2_BEST && rates.src == 4096 && frames != 3001) continue;
        SCOPED_TRACE(testing::Message() << rates.src << " to " << rates.dst << " quality " << quality << " " << frames);
        std::vector<double> input(frames * kChannels);
        for (double& sample : input)
          sample = static_cast<double>(random()) / 4294967296.0 - 0.5;
        std::vector<uint8_t> results[2];
        for (const DWORD most : {DWORD{5}, DWORD{10'000}}) {
          Stream stream(QVSAMPLE_FLOAT64, rates.src, rates.dst, kChannels, quality);
          std::vector<uint8_t>& result = results[most == 5 ? 0 : 1];
          result = stream.give(as_bytes(input), most, most);
          stream.flush(result, most);
          const auto in_all =
              static_cast<size_t>(std::floor(static_cast<double>(frames) * rates.dst / rates.src + 0.5));
          EXPECT_EQ(result.size(), in_all * kChannels * sizeof(double));
          EXPECT_EQ(QvAudio_Resample2GetSrcPos(stream), frames);
          EXPECT_EQ(QvAudio_Resample2GetDstPos(stream), in_all);
        }
        EXPECT_TRUE(results[0] == results[1]);
      }
}

TEST(ResampleStream, OutputIsInTimeWithInput) {
  for (const Rates& rates : {Rates{44100, 48000}, Rates{48000, 44100}, Rates{44100, 96000}, Rates{44099, 44100}})
    for (const QVRESAMPLE2_QUALITY quality : {QVRESAMPLE2_LINEAR, QVRESAMPLE2_BEST}) {
      // 440 Hz: linear interpolation is off by less than 0.001 of it.
      const std::vector<double> result = converted(sine(rates.src, 440.0, 5000), rates.src, rates.dst, quality);
      for (size_t k = 500; k + 500 < result.size(); ++k)
        ASSERT_NEAR(result[k], std::sin(2.0 * pi * 440.0 * static_cast<double>(k) / rates.dst), 1e-3) << k;
    }
  // The whole sinc is in time too; a low-pass before it would shift the phase.
  const std::vector<double> result = converted(sine(44100, 440.0, 5000), 44100, 48000, QVRESAMPLE2_SINC);
  for (size_t k = 500; k + 500 < result.size(); ++k)
    ASSERT_NEAR(result[k], std::sin(2.0 * pi * 440.0 * static_cast<double>(k) / 48000), 1e-4) << k;
}

TEST(ResampleStream, LatencyAndNeeds) {
  for (const Rates& rates : kRates)
    for (const QVRESAMPLE2_QUALITY quality : kQualities) {
      if (quality == QVRESAMPLE2_BEST && rates.src == 4096) continue;
      SCOPED_TRACE(testing::Message() << rates.src << " to " << rates.dst << " quality " << quality);
      const Stream stream(QVSAMPLE_FLOAT64, rates.src, rates.dst, 1, quality);
      const DWORD latency = QvAudio_Resample2GetLatency(stream);
      EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(stream, 0), 0u);
      EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(stream, 1), latency);
      std::vector<double> src(20'000);
      std::vector<double> dst(1000);
      DWORD written = 0;
      DWORD used = 0;
      // Just as many as are said to be needed, and one less.
      for (const DWORD wanted : {1u, 3u, 1u, 4u}) {
        const DWORD needed = QvAudio_Resample2GetSrcFromDst(stream, wanted);
        if (needed > 0) {
          QvAudio_Resample2Process(stream, dst.data(), wanted, &written, src.data(), needed - 1, &used);
          EXPECT_LT(written, wanted);
          QvAudio_Resample2Process(stream, dst.data(), wanted - written, &used, src.data(), 1, &written);
        } else {
          QvAudio_Resample2Process(stream, dst.data(), wanted, &written, src.data(), 0, &used);
          EXPECT_EQ(written, wanted);
        }
      }
      EXPECT_EQ(QvAudio_Resample2GetDstPos(stream), 9u);
    }
}

TEST(ResampleStream, RatesChangeWithoutABreak) {
  for (const QVRESAMPLE2_QUALITY quality : {QVRESAMPLE2_LINEAR, QVRESAMPLE2_SINC, QVRESAMPLE2_BEST}) {
    // On a slow sine: the time of an output is the sum of the steps before it.
    Stream stream(QVSAMPLE_FLOAT64, 44100, 48000, 1, quality);
    const std::vector<double> input = sine(44100, 100.0, 30'000);
    const Rates changes[] = {{44100, 48100}, {44100, 60000}, {44100, 88200}, {44100, 44100}, {44100, 50000}};
    double time = 0.0;
    double step = 44100.0 / 48000.0;
    size_t given = 0;
    double worst = 0.0;
    for (const Rates& next : changes) {
      std::vector<uint8_t> piece = as_bytes(
          {input.begin() + static_cast<ptrdiff_t>(given), input.begin() + static_cast<ptrdiff_t>(given + 5003)});
      given += 5003;
      for (const double sample : as_doubles(stream.give(piece, 700, 700))) {
        if (time > 300.0) worst = std::max(worst, std::fabs(sample - std::sin(2.0 * pi * 100.0 * time / 44100.0)));
        time += step;
      }
      ASSERT_EQ(QvAudio_Resample2SetRates(stream, next.src, next.dst), S_OK);
      step = static_cast<double>(next.src) / next.dst;
    }
    EXPECT_LT(worst, 1e-4) << quality;
    EXPECT_EQ(QvAudio_Resample2GetSrcPos(stream), given);
    EXPECT_EQ(QvAudio_Resample2SetRates(stream, 0, 1), E_INVALIDARG);
  }
}

TEST(ResampleStream, TheBestQuality) {
  const struct {
    Rates rates;
    double hertz;
  } clean[] = {{{44100, 48000}, 1000.0},   {{44100, 48000}, 19'900.0}, {{48000, 44100}, 1000.0},
               {{48000, 44100}, 19'900.0}, {{44100, 96000}, 997.0},    {{96000, 44100}, 19'900.0},
               {{44100, 44099}, 997.0}};
  for (const bool own : {false, true}) {
    for (const auto& each : clean) {
      SCOPED_TRACE(testing::Message() << each.rates.src << " to " << each.rates.dst << ", " << each.hertz << " Hz, own "
                                      << own);
      std::vector<double> result =
          converted(sine(each.rates.src, each.hertz, 20'000), each.rates.src, each.rates.dst, QVRESAMPLE2_BEST, own);
      result = {result.begin() + 1000, result.end() - 1000};
      EXPECT_LT(sine_fit::residual_decibels(result, each.hertz / each.rates.dst), -118.0);
      // Flat to 0.907 of 22,050 Hz.
      EXPECT_NEAR(sine_fit::amplitude_decibels(result, each.hertz / each.rates.dst), 0.0, own ? 0.001 : 0.01);
    }
    for (const double hertz : {22'060.0, 23'000.0, 30'000.0, 44'000.0}) {
      const std::vector<double> result = converted(sine(96000, hertz, 40'000), 96000, 44100, QVRESAMPLE2_BEST, own);
      double power = 0.0;
      for (size_t k = 1000; k + 1000 < result.size(); ++k)
        power += result[k] * result[k];
      EXPECT_LT(10.0 * std::log10(2.0 * power / static_cast<double>(result.size() - 2000)), -120.0) << hertz;
    }
  }
}

TEST(ResampleStream, BothFiltersOfTheBestQualityAgree) {
  for (const Rates& rates : {Rates{44100, 48000}, Rates{48000, 44100}, Rates{44100, 96000}, Rates{44100, 44099}}) {
    std::vector<double> input = sine(rates.src, 997.0, 20'000);
    const std::vector<double> higher = sine(rates.src, 14'500.0, input.size());
    for (size_t k = 0; k < input.size(); ++k)
      input[k] += higher[k];
    const std::vector<double> default_filter = converted(input, rates.src, rates.dst, QVRESAMPLE2_BEST);
    const std::vector<double> own = converted(input, rates.src, rates.dst, QVRESAMPLE2_BEST, true);
    ASSERT_EQ(own.size(), default_filter.size());
    double worst = 0.0;
    for (size_t k = 1000; k + 1000 < own.size(); ++k)
      worst = std::max(worst, std::fabs(own[k] - default_filter[k]));
    EXPECT_LT(worst, 1e-5) << rates.src << " to " << rates.dst;
  }
}

TEST(ResampleStream, WhatIsNotFiniteStaysWithinTheLatency) {
  for (const bool own : {false, true}) {
    std::vector<double> input(20'000, 0.25);
    input[10'000] = std::numeric_limits<double>::quiet_NaN();
    Stream stream(QVSAMPLE_FLOAT64, 48000, 44100, 1, QVRESAMPLE2_BEST);
    const std::vector<double> result = converted(input, 48000, 44100, QVRESAMPLE2_BEST, own);
    if (own) QvAudio_Resample2SetRates(stream, 48000, 44100);
    const double latency = QvAudio_Resample2GetLatency(stream);
    for (size_t k = 0; k < result.size(); ++k)
      if (std::fabs(static_cast<double>(k) * 48000 / 44100 - 10'000) > latency)
        ASSERT_TRUE(std::isfinite(result[k])) << k;
  }
}

TEST(ResampleStream, IntegerTypesAndTheSourceStays) {
  for (const QVRESAMPLE2_QUALITY quality : kQualities) {
    Stream stream(QVSAMPLE_PCM16, 48000, 44100, 2, quality);
    std::vector<int16_t> input(12'000);
    for (size_t k = 0; k < input.size(); ++k)
      input[k] = static_cast<int16_t>(20'000.0 * std::sin(static_cast<double>(k / 2) * 0.05));
    const std::vector<int16_t> before = input;
    std::vector<int16_t> output(12'000);
    DWORD written = 0;
    DWORD used = 0;
    ASSERT_EQ(QvAudio_Resample2Process(stream, output.data(), 6000, &written, input.data(), 6000, &used), S_OK);
    EXPECT_EQ(used, 6000u);
    EXPECT_EQ(input, before);
    int loudest = 0;
    for (DWORD k = 200; k < 2 * written; ++k)
      loudest = std::max<int>(loudest, output[k]);
    EXPECT_NEAR(loudest, 20'000, quality == QVRESAMPLE2_BEST ? 20 : 1300) << "within the ripple";
  }
}

TEST(ResampleStream, BadParameters) {
  HQVRESAMPLE2 handle = nullptr;
  const auto open = [&](QVSAMPLETYPE type, DWORD src, DWORD dst, DWORD channels, DWORD quality) {
    handle = reinterpret_cast<HQVRESAMPLE2>(1);
    return QvAudio_Resample2Open(&handle, type, src, dst, channels, static_cast<QVRESAMPLE2_QUALITY>(quality));
  };
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 0, 1, 1, 0), E_INVALIDARG);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 0, 1, 0), E_INVALIDARG);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 1, 0, 0), E_INVALIDARG);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 1, 1, 4), E_INVALIDARG);
  EXPECT_EQ(open(QVSAMPLE_FLOAT32, 1, 4097 * 2, 1, 0), E_INVALIDARG);
  EXPECT_EQ(open(static_cast<QVSAMPLETYPE>(5), 1, 1, 1, 0), E_INVALIDARG);
  EXPECT_EQ(QvAudio_Resample2Open(nullptr, QVSAMPLE_FLOAT32, 1, 1, 1, QVRESAMPLE2_LINEAR), E_INVALIDARG);
  EXPECT_EQ(QvAudio_Resample2SetRates(nullptr, 1, 1), E_INVALIDARG);
  QvAudio_Resample2Close(nullptr);

  WAVEFORMATEX one, other;
  QvAudio_InitWfx(&one, 44100, QVSAMPLE_FLOAT32, 1);
  QvAudio_InitWfx(&other, 48000, QVSAMPLE_FLOAT32, 1);
  // The source frame behind the last of 480 outputs, 479 x 44100 / 48000, and the one after it.
  ASSERT_EQ(QvAudio_Resample2OpenEx(&handle, &other, &one, QVRESAMPLE2_LINEAR), S_OK);
  EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(handle, 480), 442u);
  float samples[8] = {};
  DWORD written = 0;
  DWORD used = 0;
  EXPECT_EQ(QvAudio_Resample2Process(nullptr, samples, 8, &written, samples, 1, &used), E_INVALIDARG);
  EXPECT_EQ(QvAudio_Resample2Process(handle, nullptr, 8, &written, samples, 1, &used), E_INVALIDARG);
  EXPECT_EQ(QvAudio_Resample2Process(handle, samples, 8, &written, nullptr, 0, &used), S_OK);
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(QvAudio_Resample2Process(handle, samples, 8, &written, samples, 1, &used), E_INVALIDARG) << "after a flush";
  EXPECT_EQ(QvAudio_Resample2ResetEx(handle, &one, &other, QVRESAMPLE2_LINEAR), S_OK);
  EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(handle, 441), 480u) << "behind 440 x 48000 / 44100 stands frame 479";
  EXPECT_EQ(QvAudio_Resample2Process(handle, samples, 8, &written, samples, 1, &used), S_OK);
  EXPECT_EQ(used, 1u);
  other.nChannels = 2;
  EXPECT_EQ(QvAudio_Resample2ResetEx(handle, &one, &other, QVRESAMPLE2_BEST), E_INVALIDARG);
  QvAudio_Resample2Close(handle);
}

TEST(DownSample, AveragesGroups) {
  std::vector<float> samples = {1, -1, 3, -3, 5, -5, 7, -8, 100, 100};
  EXPECT_EQ(QvDownSample(QVSAMPLE_FLOAT32, 2, samples.data(), samples.data(), 5, 2), 2u);
  EXPECT_EQ(samples[0], 2.0f);
  EXPECT_EQ(samples[1], -2.0f);
  EXPECT_EQ(samples[2], 6.0f);
  EXPECT_EQ(samples[3], -6.5f);
  EXPECT_EQ(samples[8], 100.0f);
  const int16_t shorts[] = {32767, 32767, 32767, -32768, -32768, -32768};
  int16_t averages[3] = {7, 7, 7};
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages, shorts, 6, 3), 2u);
  EXPECT_EQ(averages[0], 32767);
  EXPECT_EQ(averages[1], -32768);
  EXPECT_EQ(averages[2], 7);
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages, shorts, 6, 7), 0u);
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages, shorts, 6, 0), 0u);
  EXPECT_EQ(QvDownSample(static_cast<QVSAMPLETYPE>(5), 1, averages, shorts, 6, 1), 0u);
}

} // namespace
