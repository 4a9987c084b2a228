// Streaming converters: counts, timing, changes of the rates, and quality; averages of groups of frames.
#include "tests/audio/resample/sine_fit.h"
#include "tests/audio/resample/stream_checks.h"

#include "qv/audio.h"
#include "qv/resample.h"

#include <limits>

namespace {

using sine_fit::sine;
using std::numbers::pi;

constexpr QVRESAMPLE2_QUALITY kQualities[] = {QVRESAMPLE2_LINEAR, QVRESAMPLE2_FILTERED, QVRESAMPLE2_SINC,
                                              QVRESAMPLE2_BEST};

/// A converter of doubles.
class Stream {
public:
  Stream(DWORD src_rate, DWORD dst_rate, DWORD channels, QVRESAMPLE2_QUALITY quality) : channels_(channels) {
    EXPECT_EQ(QvAudio_Resample2Open(&handle_, QVSAMPLE_FLOAT64, src_rate, dst_rate, channels, quality), S_OK);
  }
  ~Stream() { QvAudio_Resample2Close(handle_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  operator HQVRESAMPLE2() const { return handle_; }

  /// Gives all samples in pieces of their own memory, so that a read behind them is seen; takes what comes. Pieces are
  /// of up to `most` frames.
  std::vector<double> give(const std::vector<double>& samples, DWORD most) {
    std::vector<double> result;
    for (auto at = samples.begin(); at != samples.end();) {
      const auto left = static_cast<DWORD>((samples.end() - at) / channels_);
      const DWORD count = std::min<DWORD>(left, 1 + random_() % most);
      const std::vector<double> piece(at, at + count * channels_);
      at += step(result, piece.data(), count, most) * channels_;
    }
    return result;
  }
  void flush(std::vector<double>& result, DWORD most) {
    for (size_t before = result.size() + 1; before != result.size();) {
      before = result.size();
      step(result, nullptr, 0, most);
    }
  }

private:
  DWORD step(std::vector<double>& result, const double* src, DWORD count, DWORD most) {
    const DWORD room = 1 + random_() % most;
    std::vector<double> dst(room * channels_);
    DWORD written = 99;
    DWORD used = 99;
    EXPECT_EQ(QvAudio_Resample2Process(handle_, dst.data(), room, &written, src, count, &used), S_OK);
    EXPECT_LE(written, room);
    EXPECT_LE(used, count);
    EXPECT_TRUE(written == room || used == count);
    result.insert(result.end(), dst.begin(), dst.begin() + written * channels_);
    return used;
  }

  ptrdiff_t channels_;
  std::mt19937 random_{7};
  HQVRESAMPLE2 handle_ = nullptr;
};

struct Rates {
  DWORD src, dst;
};
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {44100, 22050}, {22050, 44100},
                            {8000, 192000}, {192000, 8000}, {44100, 44099}, {48000, 48000},
                            {1, 3},         {4096, 1},      {192000, 11025}};

/// `own`: with the library's own filter also where soxr does the best quality.
std::vector<double> converted(const std::vector<double>& input, Rates rates, QVRESAMPLE2_QUALITY quality,
                              bool own = false) {
  Stream stream(rates.src, rates.dst, 1, quality);
  if (own && QvAudio_Resample2SetRates(stream, rates.src, rates.dst) != S_OK) ADD_FAILURE();
  std::vector<double> result = stream.give(input, 3000);
  stream.flush(result, 3000);
  return result;
}

TEST(ResampleStream, FramesInAllAndAnyPieces) {
  constexpr DWORD kChannels = 3;
  for (const Rates& rates : kRates)
    for (const QVRESAMPLE2_QUALITY quality : kQualities)
      for (const size_t frames : {1, 2, 100, 3001}) {
        if (quality == QVRESAMPLE2_BEST && rates.src == 4096 && frames != 3001) continue;
        SCOPED_TRACE(testing::Message() << rates.src << " to " << rates.dst << " quality " << quality << " " << frames);
        const auto input = stream::noise<double>(frames * kChannels);
        const auto in_all = static_cast<size_t>(std::floor(static_cast<double>(frames) * rates.dst / rates.src + 0.5));
        std::vector<double> results[2];
        for (const int i : {0, 1}) {
          const DWORD most = i == 0 ? 5 : 10'000;
          Stream stream(rates.src, rates.dst, kChannels, quality);
          results[i] = stream.give(input, most);
          stream.flush(results[i], most);
          EXPECT_EQ(results[i].size(), in_all * kChannels);
          EXPECT_EQ(QvAudio_Resample2GetSrcPos(stream), frames);
          EXPECT_EQ(QvAudio_Resample2GetDstPos(stream), in_all);
        }
        EXPECT_TRUE(results[0] == results[1]);
      }
}

// On a sine of 440 Hz, from which linear interpolation is off by less than 0.001. Where the rate falls the sinc has a
// low-pass, which shifts the phase.
TEST(ResampleStream, OutputIsInTimeWithInput) {
  const struct {
    QVRESAMPLE2_QUALITY quality;
    double tolerance;
    std::vector<Rates> rates;
  } rows[] = {{QVRESAMPLE2_LINEAR, 1e-3, {{44100, 48000}, {48000, 44100}, {44100, 96000}, {44099, 44100}}},
              {QVRESAMPLE2_SINC, 1e-4, {{44100, 48000}}},
              {QVRESAMPLE2_BEST, 2e-5, {{44100, 48000}, {48000, 44100}, {44100, 96000}, {44099, 44100}}}};
  for (const auto& row : rows)
    for (const Rates& rates : row.rates) {
      for (const bool own : {false, true}) {
        const std::vector<double> result = converted(sine(rates.src, 440.0, 5000), rates, row.quality, own);
        const std::vector<double> expected = sine(rates.dst, 440.0, result.size());
        for (size_t k = 500; k + 500 < result.size(); ++k)
          ASSERT_NEAR(result[k], expected[k], row.tolerance) << row.quality << " " << rates.src << ": " << k;
      }
    }
}

TEST(ResampleStream, LatencyAndNeeds) {
  for (const Rates& rates : kRates)
    for (const QVRESAMPLE2_QUALITY quality : kQualities) {
      if (quality == QVRESAMPLE2_BEST && rates.src == 4096) continue;
      SCOPED_TRACE(testing::Message() << rates.src << " to " << rates.dst << " quality " << quality);
      const Stream stream(rates.src, rates.dst, 1, quality);
      EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(stream, 0), 0u);
      EXPECT_EQ(QvAudio_Resample2GetSrcFromDst(stream, 1), QvAudio_Resample2GetLatency(stream));
      const std::vector<double> src(20'000);
      std::vector<double> dst(1000);
      DWORD written = 0;
      DWORD used = 0;
      // One less than are said to be needed, and then that one.
      for (const DWORD wanted : {1u, 3u, 1u, 4u}) {
        const DWORD needed = QvAudio_Resample2GetSrcFromDst(stream, wanted);
        const DWORD first = needed == 0 ? 0 : needed - 1;
        QvAudio_Resample2Process(stream, dst.data(), wanted, &written, src.data(), first, &used);
        EXPECT_EQ(written == wanted, needed == 0);
        QvAudio_Resample2Process(stream, dst.data(), wanted - written, &written, src.data(), needed - first, &used);
      }
      EXPECT_EQ(QvAudio_Resample2GetDstPos(stream), 9u);
    }
}

TEST(ResampleStream, RatesChangeWithoutABreak) {
  for (const QVRESAMPLE2_QUALITY quality : {QVRESAMPLE2_LINEAR, QVRESAMPLE2_SINC, QVRESAMPLE2_BEST}) {
    // On a slow sine: the time of an output is the sum of the steps before it.
    Stream stream(44100, 48000, 1, quality);
    const std::vector<double> input = sine(44100, 100.0, 30'000);
    double time = 0.0;
    double step = 44100.0 / 48000.0;
    auto given = input.begin();
    double worst = 0.0;
    for (const DWORD next : {48100u, 60000u, 88200u, 44100u, 50000u}) {
      for (const double sample : stream.give({given, given + 5003}, 700)) {
        if (time > 300.0) worst = std::max(worst, std::fabs(sample - std::sin(2.0 * pi * 100.0 * time / 44100.0)));
        time += step;
      }
      given += 5003;
      ASSERT_EQ(QvAudio_Resample2SetRates(stream, 44100, next), S_OK);
      step = 44100.0 / next;
    }
    EXPECT_LT(worst, 1e-4) << quality;
    EXPECT_EQ(QvAudio_Resample2GetSrcPos(stream), 5 * 5003u);
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
    const auto inner = [own](double hertz, Rates rates, size_t frames) {
      const auto result = converted(sine(rates.src, hertz, frames), rates, QVRESAMPLE2_BEST, own);
      return std::vector<double>(result.begin() + 1000, result.end() - 1000);
    };
    for (const auto& each : clean) {
      SCOPED_TRACE(testing::Message() << each.rates.src << " to " << each.rates.dst << ", " << each.hertz << " Hz, own "
                                      << own);
      const std::vector<double> result = inner(each.hertz, each.rates, 20'000);
      EXPECT_LT(sine_fit::residual_decibels(result, each.hertz / each.rates.dst), -118.0);
      // Flat to 0.907 of 22,050 Hz.
      EXPECT_NEAR(sine_fit::amplitude_decibels(result, each.hertz / each.rates.dst), 0.0, own ? 0.001 : 0.01);
    }
    for (const double hertz : {22'060.0, 23'000.0, 30'000.0, 44'000.0}) {
      const std::vector<double> result = inner(hertz, {96000, 44100}, 40'000);
      double power = 0.0;
      for (const double sample : result)
        power += sample * sample;
      EXPECT_LT(10.0 * std::log10(2.0 * power / static_cast<double>(result.size())), -120.0) << hertz;
    }
  }
}

TEST(ResampleStream, WhatIsNotFiniteStaysWithinTheLatency) {
  for (const bool own : {false, true}) {
    std::vector<double> input(20'000, 0.25);
    input[10'000] = std::numeric_limits<double>::quiet_NaN();
    const Stream stream(48000, 44100, 1, QVRESAMPLE2_BEST);
    const std::vector<double> result = converted(input, {48000, 44100}, QVRESAMPLE2_BEST, own);
    if (own) QvAudio_Resample2SetRates(stream, 48000, 44100);
    const double latency = QvAudio_Resample2GetLatency(stream);
    for (size_t k = 0; k < result.size(); ++k)
      if (std::fabs(static_cast<double>(k) * 48000 / 44100 - 10'000) > latency)
        ASSERT_TRUE(std::isfinite(result[k])) << k;
  }
}

TEST(ResampleStream, IntegerTypesAndTheSourceStays) {
  std::vector<int16_t> input(12'000);
  for (size_t k = 0; k < input.size(); ++k)
    input[k] = static_cast<int16_t>(20'000.0 * std::sin(static_cast<double>(k / 2) * 0.05));
  const std::vector<int16_t> before = input;
  for (const QVRESAMPLE2_QUALITY quality : kQualities) {
    HQVRESAMPLE2 converter = nullptr;
    ASSERT_EQ(QvAudio_Resample2Open(&converter, QVSAMPLE_PCM16, 48000, 44100, 2, quality), S_OK);
    std::vector<int16_t> output(12'000);
    DWORD written = 0;
    DWORD used = 0;
    ASSERT_EQ(QvAudio_Resample2Process(converter, output.data(), 6000, &written, input.data(), 6000, &used), S_OK);
    QvAudio_Resample2Close(converter);
    EXPECT_EQ(used, 6000u);
    EXPECT_EQ(input, before);
    EXPECT_NEAR(*std::max_element(output.begin() + 200, output.end()), 20'000, quality == QVRESAMPLE2_BEST ? 20 : 1300)
        << "within the ripple";
  }
}

TEST(ResampleStream, BadParameters) {
  HQVRESAMPLE2 handle = nullptr;
  const struct {
    DWORD type, src, dst, channels, quality;
  } rows[] = {{QVSAMPLE_FLOAT32, 0, 1, 1, 0}, {QVSAMPLE_FLOAT32, 1, 0, 1, 0},        {QVSAMPLE_FLOAT32, 1, 1, 0, 0},
              {QVSAMPLE_FLOAT32, 1, 1, 1, 4}, {QVSAMPLE_FLOAT32, 1, 4097 * 2, 1, 0}, {5, 1, 1, 1, 0}};
  for (const auto& row : rows) {
    handle = reinterpret_cast<HQVRESAMPLE2>(1);
    EXPECT_EQ(QvAudio_Resample2Open(&handle, static_cast<QVSAMPLETYPE>(row.type), row.src, row.dst, row.channels,
                                    static_cast<QVRESAMPLE2_QUALITY>(row.quality)),
              E_INVALIDARG)
        << &row - rows;
    EXPECT_EQ(handle, nullptr);
  }
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
  EXPECT_EQ(samples, (std::vector<float>{2, -2, 6, -6.5, 5, -5, 7, -8, 100, 100}));
  const std::vector<int16_t> shorts = {32767, 32767, 32767, -32768, -32768, -32768};
  std::vector<int16_t> averages = {7, 7, 7};
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages.data(), shorts.data(), 6, 3), 2u);
  EXPECT_EQ(averages, (std::vector<int16_t>{32767, -32768, 7}));
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages.data(), shorts.data(), 6, 7), 0u);
  EXPECT_EQ(QvDownSample(QVSAMPLE_PCM16, 1, averages.data(), shorts.data(), 6, 0), 0u);
  EXPECT_EQ(QvDownSample(static_cast<QVSAMPLETYPE>(5), 1, averages.data(), shorts.data(), 6, 1), 0u);
}

} // namespace
