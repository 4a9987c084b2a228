// Every command on any bytes: the exit code and the message are those of a program that knows what it does, IN is
// unharmed, OUT is whole or absent, nothing else is left in the folder, and no sample is lost on the way.
//
// Input: a byte that chooses the words, one for the name of IN, and IN.
// Sources: tools/qv riff fileutil
#include "fuzz/tools/scratch_file.h"
#include "tools/qv/mp4/mp4_summary.h"

#include <algorithm>

using namespace fuzz;

namespace {

/// IN and OUT stand for names; what they end in is chosen by the input, or here.
const std::vector<std::vector<std::string>> kCommands = {
    {"info", "IN"},
    {"info", "IN", "--json"},
    {"stats", "IN"},
    {"tag", "IN"},
    {"tag", "IN", "INAM=a name"},
    {"tag", "IN", "IART=an artist", "--remove", "INAM"},
    {"tag", "IN", "--clear"},
    {"repair", "IN", "--dry-run"},
    {"repair", "IN"},
    {"repair", "IN", "--type", "pcm24", "--rate", "48000", "--channels", "1", "--no-undo"},
    {"repair", "IN", "--backup", "--limit", "100"},
    {"repair", "IN", "--no-undo", "--force"},
    {"convert", "IN", "OUT.wav"},
    {"convert", "IN", "OUT.w64"},
    {"convert", "IN", "OUT.wav", "--type", "float64"},
    {"convert", "IN", "OUT.w64", "--type", "pcm16", "--dither", "tri"},
    {"convert", "IN", "OUT.wav", "--type", "pcm8", "--mono", "--gain-db", "-6"},
    {"convert", "IN", "OUT.wav", "--channels", "1,0,1"},
    {"convert", "IN", "OUT.wav", "--rate", "8000", "--quality", "sinc"},
    {"filter", "IN", "OUT.wav", "--type", "lowpass", "--freq", "1"},
    {"filter", "IN", "OUT.w64", "--type", "peak", "--freq", "1", "--gain", "6", "--sample-type", "pcm24"},
    {"convert", "IN", "OUT.aiff"},
    {"convert", "IN", "OUT.aifc"},
    {"convert", "IN", "OUT.rf64"},
    {"convert", "IN", "OUT.wav", "--no-metadata", "--container", "aifc", "--type", "float32"},
    {"convert", "IN", "OUT.aiff", "--type", "pcm24", "--rate", "16000", "--quality", "linear"},
    {"tag", "IN", "--json"},
    {"tag", "IN", "title=Größe €", "artist=a", "description=d", "originator=o", "time-reference=48000"},
    {"tag", "IN", "comment=größer", "--code-page", "1252"},
    {"boxes", "IN"},
    {"boxes", "IN", "--json", "--depth", "3"},
    {"boxes", "IN", "--extract", "moov/udta", "-o", "OUT.bin"},
    {"boxes", "IN", "--extract", "moov/udta/meta/ilst/covr/data", "--value", "-o", "OUT.bin"},
    {"mux", "IN", "OUT.m4a"},
};

/// What the file was before, as the program itself reads it.
struct Before {
  explicit Before(const ScratchFolder& folder)
      : info(folder.run({"info", folder.in()})), samples(samples_of(folder.in())) {}
  bool is_sound() const { return info.code == 0 && info.error.empty(); }

  Outcome info;
  std::optional<Samples> samples;
};

bool has(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// A failure is told in one line that begins with a file's name; warnings may stand before it.
void require_told(const ScratchFolder& folder, const Outcome& outcome) {
  require(outcome.code == 0 || outcome.code == 1);
  size_t failures = 0;
  for (size_t at = 0; at < outcome.error.size();) {
    const size_t end = outcome.error.find('\n', at);
    require(end != std::string::npos);
    const std::string line = outcome.error.substr(at, end - at);
    require(line.starts_with("qv: " + folder.path()));
    if (line.find(": warning: ") == std::string::npos) ++failures;
    at = end + 1;
  }
  require(failures == (outcome.code == 0 ? 0u : 1u));
}

/// The file that the words ask for; nothing where they ask for none.
std::optional<std::string> output_of(const std::vector<std::string>& words, const ScratchFolder& folder) {
  const auto found = std::find_if(words.begin(), words.end(),
                                  [&](const std::string& word) { return word.starts_with(folder.path() + "/out"); });
  return found == words.end() ? std::nullopt : std::optional(*found);
}

/// What is extracted stands in the file.
void require_extracted(const std::string& out, const std::string& bytes) {
  std::ostringstream payload;
  payload << std::ifstream(out, std::ios::binary).rdbuf();
  require(bytes.find(payload.str()) != std::string::npos);
}

/// A sound file with one track.
void require_muxed(const ScratchFolder& folder, const std::string& out) {
  const Outcome info = folder.run({"info", out, "--json"});
  require(info.code == 0 && info.error.empty());
  require(qv::tool::read_mp4_summary(out).tracks.size() == 1);
}

/// An output is there, whole, and has the frames that it must have; where nothing but the container changes it has the
/// samples too.
void require_output(const ScratchFolder& folder, const std::vector<std::string>& words, const Before& before) {
  const std::string& out = words[2];
  const Outcome info = folder.run({"info", out});
  require(info.code == 0 && (info.error.empty() || !before.is_sound()));
  const auto samples = samples_of(out);
  require(samples && before.samples);
  if (!has(words, "--rate")) require(samples->frames == before.samples->frames);
  if (words.size() == 3) require(*samples == *before.samples);
}

/// A sound file is left alone, unless a type is given. Audio of a mended one stood in the file before, and nothing is
/// mended again over what can be undone.
void require_repaired(const ScratchFolder& folder, const std::vector<std::string>& words, const Before& before,
                      const std::string& bytes) {
  const std::string mended = folder.read_in();
  if (before.is_sound() && !has(words, "--type")) require(mended == bytes);
  if (mended == bytes) return;
  // Audio behind an odd number of bytes is not reached by readers, and so nothing can be said of it.
  if (folder.run({"info", folder.in()}).code != 0) return;
  const qv::tool::AudioFile audio = qv::tool::inspect_audio_file(folder.in());
  require(bytes.find(mended.substr(audio.audio_start, audio.audio_bytes)) != std::string::npos);
  if (has(words, "--no-undo")) return;
  require_told(folder, folder.run({"repair", folder.in()}));
  require(folder.read_in() == mended);
}

bool keeps_undo(const std::vector<std::string>& words) { return words[0] == "repair" && !has(words, "--no-undo"); }

void require_left(const ScratchFolder& folder, const std::vector<std::string>& words, const Outcome& outcome,
                  bool has_changed) {
  std::vector<std::string> expected = {folder.in()};
  if (const auto out = output_of(words, folder); out && outcome.code == 0) expected.push_back(*out);
  if (has(words, "--backup") && has_changed) expected.push_back(folder.in() + ".bak");
  if (keeps_undo(words) && has_changed) expected.push_back(folder.in() + ".qv-undo");
  std::sort(expected.begin(), expected.end());
  require(folder.names() == expected);
}

/// Some rates make so much of so little that a run would take too long.
bool takes_long(const std::vector<std::string>& words, const Before& before) {
  return words[0] == "convert" && has(words, "--rate") && before.samples &&
         before.samples->frames * 16'000 > uint64_t{before.samples->rate} * 50'000;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const ScratchFolder folder(data[1], bytes);
  const std::vector<std::string> words = folder.named(kCommands[data[0] % kCommands.size()]);
  const Before before(folder);
  if (takes_long(words, before)) return 0;

  const Outcome outcome = folder.run(words);
  require_told(folder, outcome);
  const bool has_changed = folder.read_in() != bytes;
  require_left(folder, words, outcome, has_changed);
  const bool may_change = (words[0] == "tag" && words.size() > 2 && words[2] != "--json") ||
                          (words[0] == "repair" && !has(words, "--dry-run"));
  require(!has_changed || (may_change && outcome.code == 0));
  if (outcome.code != 0) return 0;
  if (words[0] == "tag") require(samples_of(folder.in()) == before.samples);
  if (words[0] == "repair") require_repaired(folder, words, before, bytes);
  if (keeps_undo(words) && has_changed)
    require(folder.run({"repair", folder.in(), "--undo"}).code == 0 && folder.read_in() == bytes);
  if (words[0] == "convert" || words[0] == "filter") require_output(folder, words, before);
  if (words[0] == "boxes" && words.size() > 2 && words[2] == "--extract") require_extracted(words.back(), bytes);
  if (words[0] == "mux") require_muxed(folder, words[2]);
  return 0;
}
