// qv info: what a wave file holds.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/json.h"
#include "tools/qv/text.h"

#include "qv/riff.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

constexpr int kTextCapacity = 256;

struct Options {
  std::vector<std::string> files;
  bool json = false;
};

std::string sample_type_text(QVSAMPLETYPE type) {
  WCHAR text[kTextCapacity] = {};
  QvAudio_GetSampleTypeText(type, text, kTextCapacity);
  return utf8(text);
}

Json chunk_json(const ChunkEntry& chunk) {
  Json json = Json::object({{"id", code_text(chunk.id)}, {"offset", chunk.offset}, {"size", chunk.size}});
  if (chunk.list_type != 0) json.set("list_type", code_text(chunk.list_type));
  return json;
}

Json info_json(const AudioFile& audio) {
  const _qvwaveformat& format = audio.format();
  Json chunks = Json::array();
  for (const ChunkEntry& chunk : audio.chunks)
    chunks.push_back(chunk_json(chunk));
  Json summary = Json::object({});
  for (const auto& [id, text] : audio.texts)
    if (!summary.find(code_text(id))) summary.set(code_text(id), text); // the first counts
  Json markers = Json::array();
  for (const Marker& marker : audio.markers)
    markers.push_back(Json::object({{"id", marker.id}, {"position", marker.position}, {"name", marker.name}}));
  return Json::object({{"file", audio.name},
                       {"container", audio.container},
                       {"format_text", format_text(format.FormatTag(), audio.wave_header())},
                       {"sample_type", static_cast<uint32_t>(format.sampleType)},
                       {"sample_type_text", sample_type_text(format.sampleType)},
                       {"format_tag", format.FormatTag()},
                       {"sample_rate", format.samplesPerSec},
                       {"channels", format.channels},
                       {"channel_mask", format.channelMask},
                       {"bits", format.BitsPerSample()},
                       {"block_align", format.blockAlign},
                       {"frames", audio.frames},
                       {"duration_100ns", duration_of(audio)},
                       {"chunks", chunks},
                       {"summary", summary},
                       {"markers", markers}});
}

std::string duration_text(uint64_t duration) {
  const uint64_t milliseconds = duration / 10'000;
  char text[48];
  std::snprintf(text, sizeof text, "%02llu:%02u:%02u.%03u", static_cast<unsigned long long>(milliseconds / 3'600'000),
                static_cast<unsigned>(milliseconds / 60'000 % 60), static_cast<unsigned>(milliseconds / 1000 % 60),
                static_cast<unsigned>(milliseconds % 1000));
  return text;
}

std::string mask_text(DWORD mask) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(mask));
  return mask == 0 ? "default" : text;
}

void print_line(const char* label, const std::string& value) {
  char line[32];
  std::snprintf(line, sizeof line, "  %-14s", label);
  std::cout << line << value << "\n";
}

void print_chunk(const ChunkEntry& chunk) {
  char place[64];
  std::snprintf(place, sizeof place, " at %llu, %llu bytes", static_cast<unsigned long long>(chunk.offset),
                static_cast<unsigned long long>(chunk.size));
  const std::string type = chunk.list_type == 0 ? "" : " of type \"" + printable_code(chunk.list_type) + "\"";
  print_line("chunk", "\"" + printable_code(chunk.id) + "\"" + type + place);
}

void print_info(const AudioFile& audio) {
  const _qvwaveformat& format = audio.format();
  const std::string type = format.IsCompressed() ? "none" : sample_type_text(format.sampleType);
  std::cout << printable(audio.name) << "\n";
  print_line("container", audio.container);
  print_line("format", format_text(format.FormatTag(), audio.wave_header()));
  print_line("format tag", std::to_string(format.FormatTag()));
  print_line("sample type", std::to_string(format.sampleType) + " (" + type + ")");
  print_line("sample rate", std::to_string(format.samplesPerSec) + " Hz");
  print_line("channels", std::to_string(format.channels) + ", mask " + mask_text(format.channelMask));
  print_line("bits", std::to_string(format.BitsPerSample()));
  print_line("block align", std::to_string(format.blockAlign) + " bytes");
  print_line("frames", std::to_string(audio.frames));
  print_line("duration", duration_text(duration_of(audio)));
  for (const ChunkEntry& chunk : audio.chunks)
    print_chunk(chunk);
  for (const auto& [id, text] : audio.texts)
    print_line("summary", printable_code(id) + ": " + printable(text));
  for (const Marker& marker : audio.markers)
    print_line("marker", std::to_string(marker.id) + " at frame " + std::to_string(marker.position) +
                             (marker.name.empty() ? "" : ": " + printable(marker.name)));
}

/// Shows all files, also those behind one that cannot be read.
int info(const Options& options) {
  int exit_code = kSuccess;
  Json all = Json::array();
  for (const std::string& name : options.files) {
    try {
      const AudioFile audio = read_audio_file(name, Detail::kAll);
      if (options.json)
        all.push_back(info_json(audio));
      else
        print_info(audio);
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
  const Command command = program.subcommand("info", "Show format, length and chunks of wave files");
  command.option("FILE", options->files, "Wave files").required();
  command.flag("--json", options->json, "Print JSON: an object for one file, an array for several");
  command.runs([options] { return info(*options); });
}

} // namespace qv::tool
