// qv filter: a recursive filter over a file, and pictures of what it does.
#include "tools/qv/command/command.h"
#include "tools/qv/command/container_options.h"
#include "tools/qv/command/metadata_options.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/audio_output.h"
#include "tools/qv/file/samples/sample_conversion.h"
#include "tools/qv/file/samples/sample_reader.h"
#include "tools/qv/filter/filter_chain.h"
#include "tools/qv/filter/response_file.h"
#include "tools/qv/long_work.h"

#include <cstdio>
#include <memory>

namespace qv::tool {

namespace {

struct Options {
  std::string in;
  std::string out;
  FilterOptions filter;
  std::string sample_type;
  std::string response;
  ContainerOptions container;
  MetadataOptions metadata;
};

/// A title for pictures: "lowpass, chebyshev of order 6, 2000 Hz at 48000 Hz".
std::string title_of(const FilterOptions& options, DWORD rate) {
  const bool is_designed = options.type.find("pass") != std::string::npos || options.type == "bandstop";
  const bool has_order = options.design != "resonator";
  char numbers[96];
  std::snprintf(numbers, sizeof numbers, ", %g Hz at %u Hz", options.frequency, static_cast<unsigned>(rate));
  return options.type + (is_designed ? ", " + options.design : "") +
         (is_designed && has_order ? " of order " + std::to_string(options.order) : "") + numbers;
}

int filter(const Options& options) {
  const OutputTarget target = options.container.target(options.out, options.in);
  const AudioFile input = read_audio_file(options.in);
  SampleReader reader(input);
  const _qvwaveformat& source = reader.format();
  FilterChain chain(input.name, options.filter, source.samplesPerSec, source.channels);
  _qvwaveformat format;
  format.Init(source.samplesPerSec, output_type(options.sample_type, source.sampleType, target), source.channels,
              source.channelMask, sizeof format);
  const DWORD block_frames = frames_per_block(source.channels);
  SampleConversion conversion(source, QVSAMPLE_FLOAT64, {}, 1.0f, block_frames);

  AudioOutput output(target, format, reader.frames(),
                     options.metadata.chunks(input, target.container, audio_change(source, format, true)));
  DoubleOutput doubles(output, options.out, format, "none");
  Progress progress("filtering", reader.frames());
  for_each_block(reader.frames(), block_frames, [&](DWORD frames) {
    check_interruption();
    reader.read(conversion.input(), frames);
    auto* const samples = static_cast<double*>(conversion.output());
    conversion.run(samples, conversion.input(), frames);
    chain.process(samples, frames);
    doubles.write(samples, frames);
    progress.advance(frames);
  });
  if (!options.response.empty())
    write_response(options.response, title_of(options.filter, source.samplesPerSec), chain);
  output.commit();
  warn_of_clipping(options.out, doubles.clipped());
  return kSuccess;
}

} // namespace

void add_filter(const Command& program) {
  auto options = std::make_shared<Options>();
  FilterOptions& filter_options = options->filter;
  const Command command = program.subcommand("filter", "Write an audio file through a filter");
  command.option("IN", options->in, "File to read, of any kind that qv info shows").required();
  command.option("OUT", options->out, "File to write, in the container of its suffix; it appears whole or not at all")
      .required();
  command.option("--type", filter_options.type, "lowpass, highpass, bandpass, bandstop, peak, lowshelf, highshelf")
      .one_of(FilterChain::type_names())
      .required();
  command.option("--freq", filter_options.frequency, "Edge, or middle of a band, in Hz (1000)")
      .between(0.001, 10'000'000.0);
  command
      .option("--design", filter_options.design,
              "Of a pass or stop: butterworth (as it is), chebyshev, bessel or resonator")
      .one_of(FilterChain::design_names());
  command.option("--order", filter_options.order, "Of a pass or stop: 1 to 15 (2)")
      .between(DWORD{1}, DWORD{QVIIR_MAX_ORDER});
  command.option("--bandwidth", filter_options.bandwidth, "Octaves of a band or a peak (1)").between(0.001, 20.0);
  command.option("--q", filter_options.q, "Of a resonator (5)").between(0.05, 100'000.0);
  command.option("--slope", filter_options.slope, "Of a shelf, 0.1 to 1 (1)").between(0.1, 1.0);
  command
      .option("--gain", filter_options.gain,
              "dB, -100 to 25, of peak and shelves; a pass or stop with a gain is added to the input")
      .between(-100.0, 25.0);
  command.option("--sample-type", options->sample_type, "Of OUT: pcm8, pcm16, pcm24, pcm32, float32 or float64")
      .one_of(type_names());
  command
      .option("--response", options->response, "Also draw the response into a .svg or .png file, or list it in a .csv")
      .checked_by(check_response_name, "FILE");
  options->container.add_to(command);
  options->metadata.add_to(command);
  command.runs([options] { return filter(*options); });
}

} // namespace qv::tool
