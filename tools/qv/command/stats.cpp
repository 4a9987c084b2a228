// qv stats: peaks and RMS of every channel.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/samples/sample_reader.h"
#include "tools/qv/json.h"
#include "tools/qv/long_work.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct Options {
  std::string file;
  bool json = false;
};

struct ChannelStats {
  float peak_min = 0.0f;
  float peak_max = 0.0f;
  double squares = 0.0; ///< sum of the squared samples

  double peak() const { return std::max(std::fabs(double{peak_min}), std::fabs(double{peak_max})); }
};

/// Throws Failure for a result of measuring.
void check(const AudioFile& input, HRESULT result) {
  if (FAILED(result)) throw Failure(input.name, result_text(result));
}

std::vector<ChannelStats> measure(const AudioFile& input, SampleReader& samples) {
  const DWORD channels = samples.format().channels;
  const DWORD block_frames = frames_per_block(channels);
  std::vector<ChannelStats> stats(channels);
  std::vector<BYTE> block(size_t{block_frames} * samples.format().blockAlign);
  std::vector<float> peaks(2 * size_t{channels});
  std::vector<double> mean_squares(channels);
  WAVEFORMATEXTENSIBLE whole = {}; // all bytes that the library may look at
  WAVEFORMATEX& format = whole.Format;
  QvAudio_InitWfx(&format, samples.format().samplesPerSec, samples.format().sampleType, samples.format().channels);
  Progress progress("measuring", samples.frames());
  bool first = true;
  for_each_block(samples.frames(), block_frames, [&](DWORD frames) {
    samples.read(block.data(), frames);
    check(input, QvAudio_FindPeaks(&format, 0, block.data(), frames, peaks.data()));
    check(input, QvAudio_CalcPreRMS(&format, block.data(), frames, mean_squares.data()));
    for (DWORD channel = 0; channel < channels; ++channel) {
      ChannelStats& each = stats[channel];
      each.peak_min = first ? peaks[2 * channel] : std::min(each.peak_min, peaks[2 * channel]);
      each.peak_max = first ? peaks[2 * channel + 1] : std::max(each.peak_max, peaks[2 * channel + 1]);
      each.squares += mean_squares[channel] * frames;
    }
    first = false;
    progress.advance(frames);
  });
  return stats;
}

double rms(const ChannelStats& stats, uint64_t frames) {
  return frames == 0 ? 0.0 : std::sqrt(stats.squares / static_cast<double>(frames));
}

double decibels(double level) { return 20.0 * std::log10(level); }

Json decibels_json(double level) { return level == 0.0 ? Json() : Json(decibels(level)); }

std::string decibels_text(double level) {
  if (level == 0.0) return "-inf";
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", decibels(level));
  return text;
}

void print_json(const AudioFile& input, const std::vector<ChannelStats>& stats) {
  Json channels = Json::array();
  for (size_t k = 0; k < stats.size(); ++k) {
    channels.push_back(Json::object({{"channel", k + 1},
                                     {"peak_min", stats[k].peak_min},
                                     {"peak_max", stats[k].peak_max},
                                     {"peak_dbfs", decibels_json(stats[k].peak())},
                                     {"rms_dbfs", decibels_json(rms(stats[k], input.frames))}}));
  }
  std::cout << Json::object({{"file", input.name}, {"channels", channels}}).dump() << "\n";
}

void print_table(const AudioFile& input, const std::vector<ChannelStats>& stats) {
  std::cout << printable(input.name) << "\n";
  std::printf("  %7s %11s %11s %10s %10s\n", "channel", "minimum", "maximum", "peak dBFS", "RMS dBFS");
  for (size_t k = 0; k < stats.size(); ++k) {
    std::printf("  %7zu %11.6f %11.6f %10s %10s\n", k + 1, static_cast<double>(stats[k].peak_min),
                static_cast<double>(stats[k].peak_max), decibels_text(stats[k].peak()).c_str(),
                decibels_text(rms(stats[k], input.frames)).c_str());
  }
}

int show_stats(const Options& options) {
  const AudioFile input = read_audio_file(options.file);
  SampleReader samples(input);
  const std::vector<ChannelStats> stats = measure(input, samples);
  options.json ? print_json(input, stats) : print_table(input, stats);
  return kSuccess;
}

} // namespace

void add_stats(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("stats", "Measure the peaks and the RMS of every channel");
  command.option("FILE", options->file, "Wave file").required();
  command.flag("--json", options->json, "Print JSON; levels of silence are null");
  command.runs([options] { return show_stats(*options); });
}

} // namespace qv::tool
