// qv filter, and qv convert to another rate and with dither.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

using namespace cli_test;
using Json = nlohmann::json;

namespace {

Bytes sine(double hertz, uint32_t rate, size_t frames) {
  Bytes samples;
  for (size_t k = 0; k < frames; ++k)
    samples += u16(static_cast<uint32_t>(
        std::lround(16'000.0 * std::sin(2.0 * 3.14159265358979 * hertz * static_cast<double>(k) / rate))));
  return wave({1, 1, rate, 16}, samples);
}

/// RMS in dBFS.
double level(const std::string& file) { return qv_json({"stats", file})["channels"][0]["rms_dbfs"]; }

TEST(Filter, LevelsOfTheDescribedFilters) {
  struct Case {
    Arguments filter;
    double hertz, change; ///< dB
    double tolerance;
  };
  const Case cases[] = {
      {{"--type", "lowpass", "--freq", "1000"}, 1000, -3.01, 0.1},
      {{"--type", "lowpass", "--freq", "1000", "--order", "4"}, 2000, -24.2, 0.3},
      {{"--type", "highpass", "--freq", "1000", "--order", "4", "--design", "chebyshev"}, 8000, 0.2, 0.4},
      {{"--type", "bandpass", "--freq", "2000", "--bandwidth", "2", "--design", "bessel"}, 2000, 0.0, 0.1},
      {{"--type", "bandstop", "--freq", "2000", "--design", "resonator", "--q", "3"}, 8000, 0.0, 0.3},
      {{"--type", "peak", "--freq", "1000", "--gain", "5"}, 1000, 5.0, 0.1},
      {{"--type", "lowshelf", "--freq", "1000", "--gain", "-6"}, 100, -6.0, 0.1},
      {{"--type", "highshelf", "--freq", "1000", "--gain", "4", "--slope", "0.8"}, 12000, 4.0, 0.1},
      {{"--type", "lowpass", "--freq", "500", "--gain", "3"}, 100, 3.0, 0.1},
  };
  for (const Case& each : cases) {
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", sine(each.hertz, 48000, 48000));
    const std::string out = folder.file("out.wav");
    qv_says({"filter", in, out}, each.filter);
    EXPECT_NEAR(level(out) - level(in), each.change, each.tolerance) << each.filter[1] << " at " << each.hertz;
    EXPECT_EQ(qv_json({"info", out})["sample_type"], 17) << "that of IN";
  }
}

TEST(Filter, ResponsesInFiles) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", sine(1000, 48000, 100));
  const std::string out = folder.file("out.wav");
  const std::string csv = folder.file("r.csv");
  const std::string svg = folder.file("r.svg");
  const std::string png = folder.file("r.png");
  for (const std::string& name : {csv, svg, png})
    qv_says({"filter", in, out, "--type", "lowpass", "--freq", "1000", "--order", "2", "--response", name,
             "--sample-type", "float32"});
  EXPECT_NE(read_file(svg).find("<svg"), std::string::npos);
  // Three curves, each in one stroke: nothing of this filter jumps.
  std::istringstream picture(read_file(svg));
  std::vector<std::ptrdiff_t> strokes;
  for (std::string path; std::getline(picture, path, '"');)
    if (std::count(path.begin(), path.end(), 'L') > 300) strokes.push_back(std::count(path.begin(), path.end(), 'M'));
  EXPECT_EQ(strokes, (std::vector<std::ptrdiff_t>{1, 1, 1}));
  EXPECT_EQ(read_file(png).substr(0, 8), "\x89PNG\r\n\x1A\n");
  EXPECT_EQ(qv_json({"info", out})["sample_type"], 32);
  std::istringstream lines(read_file(csv));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "frequency_hz,magnitude_db,phase_degrees,group_delay_ms");
  size_t count = 0;
  double before[3] = {};
  while (std::getline(lines, line)) {
    double f = 0, magnitude = 0, phase = 0, delay = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf", &f, &magnitude, &phase, &delay), 4);
    const double w = std::tan(3.14159265358979 * f / 48000) / std::tan(3.14159265358979 * 1000 / 48000);
    if (magnitude > -150.0) EXPECT_NEAR(magnitude, -10.0 * std::log10(1.0 + w * w * w * w), 1e-4) << f;
    EXPECT_NEAR(phase, -std::atan2(std::sqrt(2.0) * w, 1.0 - w * w) * 180.0 / 3.14159265358979, 1e-3) << f;
    // The delay is the phase's slope.
    if (count > 0)
      EXPECT_NEAR((before[2] + delay) / 2.0, -(phase - before[1]) / 360.0 / (f - before[0]) * 1000.0, 2e-5) << f;
    before[0] = f, before[1] = phase, before[2] = delay;
    ++count;
  }
  EXPECT_EQ(count, 1000u);
}

TEST(ConvertRate, FramesLevelsAndTypes) {
  struct Case {
    uint32_t from, to;
    size_t frames, expected;
    const char* quality;
  };
  for (const Case& each : {Case{48000, 44100, 10'001, 9188, "best"}, Case{44100, 48000, 10'000, 10'884, "sinc"},
                           Case{48000, 8000, 9'999, 1667, "filtered"}, Case{22050, 96000, 5'000, 21'769, "linear"},
                           Case{48000, 48000, 77, 77, "best"}, Case{44100, 48000, 1, 1, "best"},
                           Case{64, 22050, 1'003, 345'565, "best"}, Case{60, 10007, 1'001, 166'950, "best"}}) {
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", sine(500, each.from, each.frames));
    const std::string out = folder.file("out.wav");
    qv_says({"convert", in, out, "--rate", std::to_string(each.to), "--quality", each.quality});
    const Json info = qv_json({"info", out});
    EXPECT_EQ(info["frames"], each.expected);
    EXPECT_EQ(info["sample_rate"], each.to);
    EXPECT_EQ(info["sample_type"], 17);
    if (each.frames > 1000)
      EXPECT_NEAR(level(out), level(in), each.to < each.from ? 0.5 : 0.1) << each.quality; // the low-pass has a ripple
  }
}

TEST(ConvertRate, DitherIsOneFileEachTime) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", sine(500, 48000, 5000));
  std::string before;
  for (const char* dither : {"none", "rect", "tri", "shaped"}) {
    const std::string out = folder.file("out.wav");
    const std::string again = folder.file("again.wav");
    for (const std::string& name : {out, again})
      qv_says({"convert", in, name, "--type", "pcm8", "--dither", dither});
    EXPECT_EQ(read_file(out) == read_file(again), true);
    EXPECT_EQ(read_file(out) == before, false);
    EXPECT_NEAR(level(out), level(in), 0.1);
    before = read_file(out);
  }
}

} // namespace
