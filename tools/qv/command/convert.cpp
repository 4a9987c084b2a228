// qv convert: another sample type, level, rate or arrangement of channels.
#include "tools/qv/command/command.h"
#include "tools/qv/command/container_options.h"
#include "tools/qv/command/metadata_options.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/audio_output.h"
#include "tools/qv/file/samples/rate_conversion.h"
#include "tools/qv/file/samples/sample_conversion.h"
#include "tools/qv/file/samples/sample_reader.h"
#include "tools/qv/json.h"
#include "tools/qv/long_work.h"

#include <cmath>
#include <iostream>
#include <memory>
#include <optional>

namespace qv::tool {

namespace {

constexpr double kMaxDecibels = 200.0;

struct Options {
  std::string in;
  std::string out;
  std::string type;
  double gain_db = 0.0;
  std::string channels;
  bool mono = false;
  std::optional<DWORD> rate;
  std::string quality = "best";
  std::string dither = "none";
  ContainerOptions container;
  MetadataOptions metadata;
  bool json = false;
};

ChannelPlan make_plan(const Options& options) {
  ChannelPlan plan;
  if (options.mono) plan.kind = ChannelPlan::Kind::kMono;
  if (!options.channels.empty()) plan = *parse_channel_plan(options.channels);
  return plan;
}

_qvwaveformat output_format(const AudioFile& input, const _qvwaveformat& source, QVSAMPLETYPE type,
                            const ChannelPlan& plan, DWORD rate) {
  const DWORD channels = plan.channels(source.channels);
  if (channels * QvAudio_BytesFromSampleType(type) > 0xFFFF)
    throw Failure(input.name, std::to_string(channels) + " channels of this sample type do not fit a wave file");
  _qvwaveformat format;
  format.Init(rate, type, static_cast<WORD>(channels), channels == source.channels ? source.channelMask : 0,
              sizeof format);
  return format;
}

CarriedChunks kept_chunks(const Options& options, const AudioFile& input, const _qvwaveformat& source,
                          const ChannelPlan& plan, const _qvwaveformat& format, Container container) {
  AudioChange change = audio_change(source, format, options.gain_db != 0.0 || options.dither != "none");
  change.channels |= plan.kind != ChannelPlan::Kind::kKeep;
  return options.metadata.chunks(input, container, change);
}

/// Converts block by block from the source's samples to the file's.
void convert_directly(SampleReader& samples, AudioOutput& output, SampleConversion& conversion, DWORD block_frames) {
  Progress progress("converting", samples.frames());
  for_each_block(samples.frames(), block_frames, [&](DWORD frames) {
    check_interruption();
    samples.read(conversion.input(), frames);
    output.write_frames(conversion.run(frames), frames);
    progress.advance(frames);
  });
}

/// Converts with doubles between, to another rate or with dither. `conversion` makes the doubles.
void convert_by_doubles(SampleReader& reader, DoubleOutput& output, SampleConversion& conversion,
                        std::optional<RateConversion>& rate, DWORD block_frames) {
  Progress progress("converting", reader.frames());
  const auto write = [&](double* samples, DWORD frames) { output.write(samples, frames); };
  for_each_block(reader.frames(), block_frames, [&](DWORD frames) {
    check_interruption();
    reader.read(conversion.input(), frames);
    auto* const samples = static_cast<double*>(conversion.output());
    conversion.run(samples, conversion.input(), frames);
    if (rate)
      rate->process(samples, frames, write);
    else
      write(samples, frames);
    progress.advance(frames);
  });
  if (rate) rate->process(nullptr, 0, write);
}

void print_json(const std::string& name, Container container, const _qvwaveformat& format, uint64_t clipped) {
  std::cout << Json::object({{"file", name},
                             {"container", name_of(container)},
                             {"sample_type", static_cast<uint32_t>(format.sampleType)},
                             {"sample_rate", format.samplesPerSec},
                             {"channels", format.channels},
                             {"clipped_samples", clipped}})
                   .dump()
            << "\n";
}

int convert(const Options& options) {
  const OutputTarget target = options.container.target(options.out, options.in);
  const AudioFile input = read_audio_file(options.in);
  SampleReader samples(input);
  const _qvwaveformat& source = samples.format();
  const ChannelPlan plan = make_plan(options);
  if (const auto objection = plan.objection(source.channels)) throw Failure(input.name, *objection);
  const QVSAMPLETYPE type = output_type(options.type, source.sampleType, target);
  const DWORD source_rate = source.samplesPerSec;
  const _qvwaveformat format = output_format(input, source, type, plan, options.rate.value_or(source_rate));
  const DWORD block_frames = frames_per_block(std::max(source.channels, format.channels));
  const float gain = static_cast<float>(std::pow(10.0, options.gain_db / 20.0));
  const bool by_doubles = format.samplesPerSec != source_rate || options.dither != "none";
  SampleConversion conversion(source, by_doubles ? QVSAMPLE_FLOAT64 : type, plan, gain, block_frames);
  std::optional<RateConversion> rate;
  if (format.samplesPerSec != source_rate)
    rate.emplace(input.name, samples.frames(), source_rate, format.samplesPerSec, format.channels, options.quality);

  AudioOutput output(target, format, RateConversion::frames_at(samples.frames(), source_rate, format.samplesPerSec),
                     kept_chunks(options, input, source, plan, format, target.container));
  uint64_t clipped = 0;
  if (by_doubles) {
    DoubleOutput doubles(output, options.out, format, options.dither);
    convert_by_doubles(samples, doubles, conversion, rate, block_frames);
    clipped = doubles.clipped();
  } else {
    convert_directly(samples, output, conversion, block_frames);
    clipped = conversion.clipped();
  }
  output.commit();
  warn_of_clipping(options.out, clipped);
  if (options.json) print_json(options.out, output.container(), format, clipped);
  return kSuccess;
}

std::string check_gain(const std::string& text) {
  double gain_db = 0.0;
  // Written so that a NaN is refused too.
  const bool fits = read_number(text, gain_db) && std::fabs(gain_db) <= kMaxDecibels;
  return fits ? "" : "\"" + text + "\" is not a number of dB from -200 to 200";
}

std::string check_channels(const std::string& text) {
  return parse_channel_plan(text) ? "" : "\"" + text + "\" is neither a number of channels nor a list like 2,1";
}

} // namespace

void add_convert(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command =
      program.subcommand("convert", "Write an audio file with another container, sample type, level, rate or channels");
  command.option("IN", options->in, "File to read, of any kind that qv info shows").required();
  command.option("OUT", options->out, "File to write, in the container of its suffix; it appears whole or not at all")
      .required();
  command.option("--type", options->type, "Sample type: pcm8, pcm16, pcm24, pcm32, float32 or float64")
      .one_of(type_names());
  command.option("--gain-db", options->gain_db, "Change of level in dB, from -200 to 200").checked_by(check_gain, "G");
  Option channels =
      command.option("--channels", options->channels,
                     "A number of channels, or for each channel the source channel (from 1; 0 is silence): 2,1");
  channels.checked_by(check_channels, "N|A,B,...");
  Option rate = command.option("--rate", options->rate, "Sample rate in Hz; the samples are resampled");
  rate.between(DWORD{1}, DWORD{10'000'000});
  command.option("--quality", options->quality, "Of the resampling: linear, filtered, sinc or best (as it is)")
      .one_of(RateConversion::quality_names())
      .needs(rate);
  command.option("--dither", options->dither, "For integer types: none (as it is), rect, tri or shaped")
      .one_of(DoubleOutput::dither_names());
  command.flag("--mono", options->mono, "Average all channels to one").excludes(channels);
  options->container.add_to(command);
  options->metadata.add_to(command);
  command.flag("--json", options->json, "Print what was written as JSON, with the number of clipped samples");
  command.runs([options] { return convert(*options); });
}

} // namespace qv::tool
