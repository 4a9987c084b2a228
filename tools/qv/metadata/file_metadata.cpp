#include "tools/qv/metadata/file_metadata.h"

#include "tools/qv/metadata/chunk_bytes.h"

#include "qv/chunk_id.h"
#include "qv/smpte.h"

#include <algorithm>
#include <cstdio>

namespace qv::tool {

namespace {

/// What is looked at of a "bext" chunk: its history is a few lines.
constexpr uint64_t kMaxBroadcastBytes = 256 << 10;

/// The start of the first chunk of one of two ids; empty where there is none.
std::string first_chunk(const AudioFile& audio, DWORD id, DWORD other_id, uint64_t limit) {
  for (const ChunkEntry& chunk : audio.chunks)
    if (chunk.id == id || chunk.id == other_id) return chunk_data(audio, chunk, limit);
  return {};
}

/// The chunk with an ID3 tag, or else what stands in front of the file's form, and in front of MP3 frames.
std::string id3_data(const AudioFile& audio) {
  const std::string chunk = first_chunk(audio, QvFourCC("id3 "), QvFourCC("ID3 "), kMaxId3Bytes);
  if (!chunk.empty() || (audio.form_start == 0 && audio.kind != Container::kMp3)) return chunk;
  return chunk_data(audio, {0, 0, 0, audio.file_bytes, 0}, kMaxId3Bytes);
}

struct TimecodeRow {
  DWORD format;
  unsigned counted;
  unsigned numerator;
  unsigned denominator;
};

#define QV_TIMECODE_ROW(code, name, counted, numerator, denominator) {code, counted, numerator, denominator},
constexpr TimecodeRow kRows[] = {QV_SMPTE_FORMAT_TABLE(QV_TIMECODE_ROW)};
#undef QV_TIMECODE_ROW

std::string field_of(const IxmlFields& ixml, const std::string& path) {
  for (const auto& [name, text] : ixml.fields)
    if (name == path) return text;
  return {};
}

/// The row of "25/1" or "30000/1001" and of "DF" or "NDF"; that of 25 where the table has no such rate.
const TimecodeRow& timecode_row(const IxmlFields& ixml) {
  unsigned numerator = 0;
  unsigned denominator = 1;
  std::sscanf(field_of(ixml, "SPEED/TIMECODE_RATE").c_str(), "%9u/%9u", &numerator, &denominator);
  const bool drops = field_of(ixml, "SPEED/TIMECODE_FLAG") == "DF";
  const TimecodeRow* found = nullptr;
  for (const TimecodeRow& row : kRows) {
    if (uint64_t{row.numerator} * denominator != uint64_t{row.denominator} * numerator) continue;
    if (!found || drops == (row.format == QVSMPTE_FMT_2997DF)) found = &row;
  }
  if (found && found->format == QVSMPTE_FMT_2997DF && !drops) found = nullptr;
  return found ? *found : *std::find_if(std::begin(kRows), std::end(kRows), [](const TimecodeRow& row) {
    return row.format == QVSMPTE_FMT_25;
  });
}

} // namespace

Timecode timecode_of(uint64_t frames, DWORD sample_rate, const IxmlFields& ixml) {
  constexpr uint64_t kPerSecond = 10'000'000;
  constexpr uint64_t kSecondsPerDay = 86'400;
  const TimecodeRow& row = timecode_row(ixml);
  const uint64_t seconds = frames / sample_rate % kSecondsPerDay;
  const uint64_t time = seconds * kPerSecond + frames % sample_rate * kPerSecond / sample_rate;
  _smpteval label = {};
  label.format = row.format;
  QVSMPTE_NanoToSMPTE(static_cast<QVNANOTIME>(time), &label);
  char text[64];
  std::snprintf(text, sizeof text, "%02u:%02u:%02u%c%02u", static_cast<unsigned>(label.hours),
                static_cast<unsigned>(label.minutes), static_cast<unsigned>(label.seconds),
                row.format == QVSMPTE_FMT_2997DF ? ';' : ':', static_cast<unsigned>(label.frames));
  return {text, std::to_string(row.numerator) + (row.denominator == 1 ? "" : "/" + std::to_string(row.denominator))};
}

FileMetadata read_file_metadata(const AudioFile& audio) {
  FileMetadata found;
  found.texts = read_info_list(audio);
  found.markers = read_markers(audio, kMaxMarkersShown);
  found.sampler = read_sampler(audio, found.markers.markers);
  found.broadcast = Broadcast::parsed(first_chunk(audio, QvFourCC("bext"), 0, kMaxBroadcastBytes));
  found.ixml = parse_ixml(first_chunk(audio, QvFourCC("iXML"), 0, kMaxIxmlBytes));
  found.id3 = parse_id3(id3_data(audio));
  if (found.broadcast)
    found.timecode = timecode_of(found.broadcast->time_reference(), audio.format().samplesPerSec, found.ixml);
  const auto has_longer = [&](DWORD id, uint64_t limit) {
    return std::any_of(
        audio.chunks.begin(), audio.chunks.end(),
        [=](const ChunkEntry& chunk) { return chunk.id == id && chunk.size > limit; });
  };
  const auto note = [&](const std::string& what, const std::string& problem) {
    if (!problem.empty()) found.problems.push_back(what + problem);
  };
  note("its texts are not all read: ", found.texts.problem);
  note("", found.markers.problem);
  note("its iXML chunk is read in part: ",
       has_longer(QvFourCC("iXML"), kMaxIxmlBytes) ? "it is longer than 1 MiB" : found.ixml.problem);
  note("its ID3 tag is read in part: ",
       found.id3.is_cut ? "it has more than 1,024 frames, or one longer than the tag" : "");
  note("its broadcast record is read in part: ",
       has_longer(QvFourCC("bext"), kMaxBroadcastBytes) ? "it is longer than 256 KiB" : "");
  note("its loops are read in part: ",
       found.sampler && found.sampler->loops.size() == kMaxLoops ? "the first 4,096 of them" : "");
  return found;
}

} // namespace qv::tool
