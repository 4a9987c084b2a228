#include "tests/damage/recordings.h"

#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <stdexcept>

using namespace cli_test;

namespace damage_test {

namespace {

constexpr Layout kRiff = {4, 4, 2, 0, false, "fmt ", "data", 0};
constexpr Layout kWave64 = {16, 8, 8, 24, false, "fmt ", "data", 0};
constexpr Layout kAiff = {4, 4, 2, 0, true, "COMM", "SSND", 8};

struct Maker {
  const char* name;
  const char* command; ///< makes the file $2 from the sox recording $1; QV is this build's program
  const char* suffix;
  const Layout& layout;
};

const Maker kMakers[] = {
    {"sox, 16 bits", "sox -D \"$1\" -b 16 -r 44100 \"$2\"", ".wav", kRiff},
    {"sox, 24 bits, extensible", "cp \"$1\" \"$2\"", ".wav", kRiff},
    {"ffmpeg, mono, title", "ffmpeg -v error -i \"$1\" -ac 1 -c:a pcm_s16le -metadata title=Take \"$2\"", ".wav",
     kRiff},
    {"ffmpeg, 6 channels, float", "ffmpeg -v error -i \"$1\" -ac 6 -c:a pcm_f32le \"$2\"", ".wav", kRiff},
    {"ffmpeg, RF64", "ffmpeg -v error -i \"$1\" -c:a pcm_s24le -rf64 always \"$2\"", ".wav", kRiff},
    {"libsndfile, float, PEAK", "sndfile-convert -float32 \"$1\" \"$2\" >/dev/null", ".wav", kRiff},
    {"qv, 24 bits", "\"$QV\" convert \"$1\" \"$2\" --type pcm24", ".wav", kRiff},
    {"qv, Wave64", "\"$QV\" convert \"$1\" \"$2\" --type pcm16", ".w64", kWave64},
    {"sox, AIFF", "sox -D \"$1\" -b 16 \"$2\"", ".aiff", kAiff},
    {"libsndfile, AIFF", "sndfile-convert -pcm24 \"$1\" \"$2\" >/dev/null", ".aiff", kAiff},
};

Bytes samples(size_t bytes) {
  Bytes all;
  for (size_t k = 0; k < bytes; ++k)
    all += static_cast<char>(k * 7919 % 65'521 % 253 + 1);
  return all;
}

/// A field recorder's file: "bext" and "iXML" before the format, "cue " and a list behind the audio.
Bytes field_recording() {
  Bytes bext = Bytes(602, '\0').replace(0, 5, "Scene").replace(320, 18, "2026-11-2412:00:00");
  const Bytes ixml = "<?xml version=\"1.0\"?><BWFXML><PROJECT>data</PROJECT></BWFXML>";
  const Bytes cue = chunk("cue ", u32(1) + u32(1) + u32(10) + "data" + u32(0) + u32(0) + u32(10));
  return riff("WAVE", chunk("bext", bext) + chunk("iXML", ixml) + chunk("fmt ", format_bytes({1, 2, 48000, 24})) +
                          chunk("data", samples(6000)) + cue + list("INFO", chunk("INAM", "Take one")) +
                          chunk("id3 ", "ID3" + Bytes(30, '\1')));
}

} // namespace

uint64_t Layout::number(const std::string& bytes, size_t at, size_t count) const {
  uint64_t value = 0;
  for (size_t k = 0; k < count; ++k)
    value |= uint64_t{static_cast<unsigned char>(bytes[at + (is_big_endian ? count - 1 - k : k)])} << 8 * k;
  return value;
}

std::vector<ChunkPlace> chunks_of(const Layout& layout, const std::string& bytes) {
  std::vector<ChunkPlace> chunks;
  for (size_t at = layout.first(); at + layout.header() <= bytes.size();) {
    uint64_t size = layout.number(bytes, at + layout.id_bytes, layout.size_bytes) - layout.includes;
    const ChunkPlace chunk = {bytes.substr(at, 4), at, at + layout.header(), size};
    if (size == 0xFFFFFFFF && chunk.id == "data") size = layout.number(bytes, 28, 8); // of RF64
    if (size > bytes.size() - chunk.data) break;
    chunks.push_back({chunk.id, at, chunk.data, size});
    at = chunk.data + (size + layout.alignment - 1) / layout.alignment * layout.alignment;
  }
  return chunks;
}

std::vector<Recording> recordings() {
  const ScratchFolder folder;
  const std::string source = folder.file("source.wav");
  const auto shell = [](const std::string& command, const std::string& from, const std::string& to) {
    const Outcome outcome = run({"sh", "-c", "QV=" QV_PROGRAM "; " + command, "sh", from, to});
    if (outcome.exit_code != 0) throw std::runtime_error(command + ": " + outcome.error);
  };
  shell("sox -R -n -r 48000 -b 24 -c 2 \"$2\" synth 0.02 noise", "", source);
  std::vector<Recording> all = {
      {"arecord", ".wav", wave({1, 1, 8000, 16}, samples(1600)), &kRiff},
      {"a field recorder", ".wav", field_recording(), &kRiff},
  };
  for (const Maker& maker : kMakers) {
    const std::string file = folder.file(std::string("made") + maker.suffix);
    shell("rm -f \"$2\"; " + std::string(maker.command), source, file);
    all.push_back({maker.name, maker.suffix, read_file(file), &maker.layout});
  }
  return all;
}

} // namespace damage_test
