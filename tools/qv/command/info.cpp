// qv info: what an audio file holds.
#include "tools/qv/command/command.h"
#include "tools/qv/command/info_report.h"
#include "tools/qv/failure.h"
#include "tools/qv/mp4/mp4_file.h"
#include "tools/qv/mp4/mp4_report.h"
#include "tools/qv/repair/header_doubts.h"

#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct Options {
  std::vector<std::string> files;
  bool json = false;
};

/// Adds what a file of boxes holds to `all`, or prints it.
void show_mp4(const std::string& name, const Options& options, Json& all) {
  const Mp4Summary summary = read_mp4_summary(name);
  for (const std::string& warning : summary.warnings)
    print_warning(name, warning);
  if (options.json)
    all.push_back(mp4_info_json(summary));
  else
    print_mp4_info(summary);
}

/// The same of any other.
void show_audio(const std::string& name, const Options& options, Json& all) {
  const AudioFile audio = read_audio_file(name);
  const FileMetadata metadata = read_file_metadata(audio);
  if (audio.warnings.empty())
    if (const auto doubt = doubt_about_format(audio)) print_warning(name, *doubt);
  for (const std::string& problem : metadata.problems)
    print_warning(name, problem);
  if (options.json)
    all.push_back(info_json(audio, metadata));
  else
    print_info(audio, metadata);
}

/// Shows all files, also those behind one that cannot be read.
int info(const Options& options) {
  int exit_code = kSuccess;
  Json all = Json::array();
  for (const std::string& name : options.files) {
    try {
      (is_box_file(name) ? show_mp4 : show_audio)(name, options, all);
    } catch (const Failure& failure) {
      print_error(failure.what());
      exit_code = kWorkFailed;
    }
  }
  if (!options.json || (options.files.size() == 1 && all.items().empty())) return exit_code;
  std::cout << (options.files.size() == 1 ? all.items()[0] : all).dump() << "\n";
  return exit_code;
}

} // namespace

void add_info(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("info", "Show format, length, chunks and metadata of audio files");
  command.option("FILE", options->files, "Audio files").required();
  command.flag("--json", options->json, "Print JSON: an object for one file, an array for several");
  command.runs([options] { return info(*options); });
}

} // namespace qv::tool
