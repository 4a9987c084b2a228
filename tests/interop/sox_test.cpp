// qv and sox measure, mix, filter and resample alike.
#include "tests/audio/resample/sine_fit.h"
#include "tests/interop/material.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace interop_test;

namespace {

TEST(Sox, MeasuresTheSameLevels) {
  for (const char* name : {"Front_Center", "Noise", "Side_Left"}) {
    SCOPED_TRACE(name);
    const auto channel = qv_json({"stats", recording(name)})["channels"][0];
    const std::string theirs = shell("sox " + recording(name) + " -n stats 2>&1");
    const auto value = [&](const std::string& label) {
      const size_t at = theirs.find(label);
      return at == std::string::npos ? NAN : std::stod(theirs.substr(at + label.size()));
    };
    EXPECT_NEAR(channel["peak_dbfs"].get<double>(), value("Pk lev dB"), 0.0051);
    EXPECT_NEAR(channel["rms_dbfs"].get<double>(), value("RMS lev dB"), 0.0051);
    EXPECT_NEAR(channel["peak_min"].get<double>(), value("Min level"), 5.1e-7);
    EXPECT_NEAR(channel["peak_max"].get<double>(), value("Max level"), 5.1e-7);
  }
}

TEST(Sox, MixesTheSameMono) {
  // 24 bits from 16: the average of two 16-bit samples is exact in both programs.
  const ScratchFolder folder;
  shell("sox -D -M " + recording("Front_Left") + " " + recording("Rear_Right") + " " + folder.file("both.wav"));
  qv_says({"convert", folder.file("both.wav"), folder.file("mono.wav"), "--mono", "--type", "pcm24"});
  const std::string theirs =
      shell("sox -D " + folder.file("both.wav") + " -t raw -L -e signed-integer -b 24 - remix 1,2");
  EXPECT_EQ(data_chunk(folder.file("mono.wav")) == theirs, true);
}

constexpr SampleType kPcm24 = kSampleTypes[2];
constexpr SampleType kFloat64 = kSampleTypes[5];

double largest_difference(const std::vector<double>& a, const std::vector<double>& b) {
  double largest = a.size() == b.size() ? 0.0 : HUGE_VAL;
  for (size_t k = 0; k < std::min(a.size(), b.size()); ++k)
    largest = std::max(largest, std::fabs(a[k] - b[k]));
  return largest;
}

TEST(Filter, AsSoxFilters) {
  const ScratchFolder folder;
  const std::string in = recording("Front_Center");
  const struct {
    const char* sox;
    cli_test::Arguments qv;
  } cases[] = {
      {"equalizer 1000 1o 6", {"--type", "peak", "--freq", "1000", "--bandwidth", "1", "--gain", "6"}},
      {"equalizer 300 2o -20", {"--type", "peak", "--freq", "300", "--bandwidth", "2", "--gain", "-20"}},
      {"bass -7 200 0.5s", {"--type", "lowshelf", "--freq", "200", "--slope", "0.5", "--gain", "-7"}},
      {"treble 4 5000 0.9s", {"--type", "highshelf", "--freq", "5000", "--slope", "0.9", "--gain", "4"}},
      {"lowpass -2 3000 0.70710678118655q", {"--type", "lowpass", "--freq", "3000", "--order", "2"}},
      {"highpass -2 200 0.70710678118655q", {"--type", "highpass", "--freq", "200", "--order", "2"}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.sox);
    const std::string theirs = folder.file("sox.wav");
    const std::string ours = folder.file("qv.wav");
    shell("sox -D " + in + " -b 24 " + theirs + " " + each.sox);
    qv_says({"filter", in, ours, "--sample-type", "pcm24"}, each.qv);
    // In steps of 24 bits; sox rounds its coefficients' results to 32.
    EXPECT_LE(largest_difference(decode(kPcm24, data_chunk(ours)), decode(kPcm24, data_chunk(theirs))), 2);
  }
}

/// The mean square of what differs, below that of the first.
double difference_decibels(const std::vector<double>& a, const std::vector<double>& b) {
  double wanted = 0.0;
  double rest = 0.0;
  for (size_t k = 2000; k + 2000 < std::min(a.size(), b.size()); ++k) {
    wanted += a[k] * a[k];
    rest += (a[k] - b[k]) * (a[k] - b[k]);
  }
  return 10.0 * std::log10(rest / wanted);
}

TEST(Rate, AsSoxResamples) {
  const ScratchFolder folder;
  const std::string in = folder.file("in.wav");
  shell("sox -D -n -r 44100 -b 24 " + in + " synth 1 sine 1000 sine 7000 sine 15000 remix - gain -6");
  for (const int rate : {48000, 96000, 40000, 44099}) {
    SCOPED_TRACE(rate);
    const std::string theirs = folder.file("sox.wav");
    const std::string ours = folder.file("qv.wav");
    shell("sox -D " + in + " -b 24 " + theirs + " rate -v " + std::to_string(rate));
    qv_says({"convert", in, ours, "--rate", std::to_string(rate), "--quality", "best"});
    const std::vector<double> a = decode(kPcm24, data_chunk(ours));
    const std::vector<double> b = decode(kPcm24, data_chunk(theirs));
    EXPECT_EQ(a.size(), b.size());
    EXPECT_LT(difference_decibels(a, b), -100.0);
    // soxr, through ffmpeg.
    shell("ffmpeg -v error -nostdin -y -i " + in + " -af aresample=resampler=soxr:precision=28 -ar " +
          std::to_string(rate) + " -c:a pcm_s24le " + theirs);
    EXPECT_LT(difference_decibels(a, decode(kPcm24, data_chunk(theirs))), -100.0);
  }
}

/// Of a sine in a file of doubles, in radians at its first frame; ends are left out.
double phase_at_start(const std::string& file, double frequency) {
  constexpr size_t kEnd = 500;
  std::vector<double> samples = decode(kFloat64, data_chunk(file));
  samples = {samples.begin() + kEnd, samples.end() - kEnd};
  const sine_fit::Fit fit = sine_fit::fit(samples, frequency);
  return std::remainder(std::atan2(fit.cosine, fit.sine) - 2.0 * std::numbers::pi * frequency * kEnd,
                        2.0 * std::numbers::pi);
}

TEST(Rate, LowTonesStayInTime) {
  constexpr double kHertz = 40.0;
  const ScratchFolder folder;
  const std::string in = folder.file("in.wav");
  const std::string out = folder.file("out.wav");
  const struct {
    int src, dst;
    size_t frames; ///< of half a second
  } rows[] = {{48000, 44100, 22050}, {48000, 47999, 24000}, {44100, 22050, 11025},
              {192000, 8000, 4000},  {22050, 16000, 8000},  {44100, 48000, 24000}};
  for (const auto& row : rows) {
    shell("sox -n -r " + std::to_string(row.src) + " -e floating-point -b 64 " + in + " synth 0.5 sine 40 gain -6");
    for (const char* quality : {"linear", "filtered", "sinc", "best"}) {
      qv_says({"convert", in, out, "--rate", std::to_string(row.dst), "--quality", quality});
      EXPECT_EQ(data_chunk(out).size(), row.frames * sizeof(double));
      const double turned = phase_at_start(in, kHertz / row.src) - phase_at_start(out, kHertz / row.dst);
      const double late = turned / (2.0 * std::numbers::pi * kHertz) * row.src; // in source frames
      EXPECT_LT(std::fabs(late), 0.5 + 0.02 * row.src / row.dst) << row.src << " to " << row.dst << " " << quality;
    }
  }
}

} // namespace
