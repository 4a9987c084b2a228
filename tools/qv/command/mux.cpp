// qv mux: AAC into an M4A file.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/output_stream.h"
#include "tools/qv/long_work.h"
#include "tools/qv/mp4/adts.h"
#include "tools/qv/mp4/adts_channels.h"

#include "qv/mp4/track_writer.h"

#include <memory>

namespace qv::tool {

namespace {

/// Room in front of the media for the tree without its tables, and for tags to come.
constexpr uint64_t kTreeBytes = 4096;

struct Options {
  std::string in;
  std::string out;
};

/// What a track will need, found by reading all of it once.
struct Survey {
  AdtsFormat format;
  AdtsLosses losses;
  uint16_t channels = 0;
  std::vector<uint8_t> config; ///< for the decoder
  uint64_t samples = 0;
  uint64_t bytes = 0;

  fileutil::OffsetWidth offset_width() const {
    return reserve(fileutil::OffsetWidth::k32) + bytes <= UINT32_MAX ? fileutil::OffsetWidth::k32
                                                                     : fileutil::OffsetWidth::k64;
  }
  uint64_t reserve(fileutil::OffsetWidth width) const {
    return kTreeBytes + samples * (width == fileutil::OffsetWidth::k32 ? 8 : 12); // a size and a position each
  }
};

OpenFile open_input(const std::string& name) {
  return open_existing(name, GENERIC_READ, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN);
}

/// Hands each raw data block of a file to `take`.
template <class Take>
AdtsReader for_each_block(const std::string& name, HANDLE file, const char* label, const Take& take) {
  if (!move_to(file, 0)) throw Failure(name, system_error_text(GetLastError()));
  AdtsReader reader(name, [&](uint8_t* to, size_t count) {
    check_interruption();
    DWORD done = 0;
    if (!ReadFile(file, to, static_cast<DWORD>(count), &done, nullptr))
      throw Failure(name, system_error_text(GetLastError()));
    return size_t{done};
  });
  Progress progress(label, size_of(file));
  uint64_t shown = 0;
  for (std::vector<char> block; reader.next(block);) {
    take(block);
    progress.advance(reader.position() - shown);
    shown = reader.position();
  }
  return reader;
}

/// Where the frames do not say how many there are, the first block of audio does.
void describe_channels(Survey& survey, const std::vector<char>& first, const std::string& name) {
  survey.channels = survey.format.channels();
  survey.config = survey.format.audio_specific_config();
  if (survey.channels != 0) return;
  const auto program = read_program_config(first);
  if (!program) throw Failure(name, "does not say which channels it has");
  survey.channels = program->channels;
  survey.config.insert(survey.config.end(), program->bytes.begin(), program->bytes.end());
}

Survey survey_of(const std::string& name, HANDLE file) {
  Survey survey;
  std::vector<char> first;
  const AdtsReader reader = for_each_block(name, file, "reading", [&](const std::vector<char>& block) {
    if (survey.samples++ == 0) first = block;
    survey.bytes += block.size();
  });
  if (survey.samples == 0) throw Failure(name, "holds no AAC in ADTS frames");
  survey.format = *reader.format();
  survey.losses = reader.losses();
  describe_channels(survey, first, name);
  return survey;
}

void warn_of(const AdtsLosses& losses, const std::string& name) {
  if (losses.gaps != 0)
    print_warning(name, std::to_string(losses.gap_bytes) + " bytes that are no ADTS frames were passed over, in " +
                            std::to_string(losses.gaps) +
                            (losses.gaps == 1 ? " place, at byte " : " places, first at byte ") +
                            std::to_string(losses.first_gap));
  if (losses.cut_bytes != 0) print_warning(name, "the last frame is cut off, and was left out");
}

int mux(const Options& options) {
  const OpenFile input = open_input(options.in);
  watch_interruption();
  const Survey survey = survey_of(options.in, input);
  warn_of(survey.losses, options.in);

  OutputFile output(options.out, options.in);
  OutputBuffer buffer(output);
  std::ofstream media;
  static_cast<std::ios&>(media).rdbuf(&buffer);
  std::fstream head;
  static_cast<std::ios&>(head).rdbuf(&buffer);

  const fileutil::OffsetWidth width = survey.offset_width();
  const std::unique_ptr<fileutil::Boxes> tree(
      fileutil::makeAudioTree(survey.format.sample_rate(), survey.channels, survey.config, width));
  const uint64_t reserve = survey.reserve(width);
  fileutil::TrackWriter track(tree.get(), media, reserve);
  track.init();
  for_each_block(options.in, input, "writing", [&](const std::vector<char>& block) {
    if (track.writeSamples(block, kAacFrameSamples) == S_OK) return;
    buffer.finish();
    throw Failure(options.out, result_text(QVERR_RIFF_WRITE));
  });
  track.close();
  const HRESULT finished = fileutil::finishTrack(head, tree.get());
  buffer.finish();
  if (finished != S_OK) throw Failure(options.out, result_text(QVERR_RIFF_WRITE));
  output.commit(reserve + survey.bytes);
  return kSuccess;
}

} // namespace

void add_mux(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("mux", "Put AAC into an M4A file");
  command.option("IN", options->in, "AAC in ADTS frames").required();
  command.option("OUT", options->out, "M4A file to write").required();
  command.runs([options] { return mux(*options); });
}

} // namespace qv::tool
