#include "tools/qv/repair/findings.h"

#include "tools/qv/file/disk_file.h"

#include "qv/audio.h"
#include "qv/riff.h"
#include "qv/riff64.h"

#include <algorithm>

namespace qv::tool {

namespace {

using State = Findings::State;

/// How many times more bytes than there are a header of audio may claim.
constexpr uint64_t kMaxClaimed = 256;
/// Sizes of format records as they come: plain, with a count of extra bytes, extensible.
constexpr size_t kRecordSizes[] = {kPlainRecord, sizeof(WAVEFORMATEX), sizeof(WAVEFORMATEXTENSIBLE)};

bool has_header_traces(const DamagedFile& damaged) {
  const HeaderLayout& layout = *damaged.layout;
  const auto has = [&](uint64_t at, const std::string& id) {
    return damaged.start.size() >= at && damaged.start.compare(at, id.size(), id) == 0;
  };
  return has(0, layout.file_id) || has(layout.chunk_header(), layout.form_id) ||
         has(layout.file_header(), layout.format_id);
}

/// A format record that is the file's first chunk, as it usually is, where the chunks behind it walk to audio.
std::optional<Findings> at_usual_place(const DamagedFile& damaged) {
  const HeaderLayout& layout = *damaged.layout;
  for (const size_t record_size : kRecordSizes) {
    const ChunkMap map = map_chunks(damaged, layout.record_at() + layout.padded(record_size));
    if (!map.audio) continue;
    const Chunk format = {layout.format_id, layout.file_header(), layout.record_at(), record_size};
    return Findings{State::kUsualPlace, format, map.audio};
  }
  return std::nullopt;
}

bool has_plausible_size(const DamagedFile& damaged, const Chunk& audio) {
  constexpr uint64_t kHeader = 65'536; // what a writer into a pipe may have left of the largest size, or of half of it
  if (!is_whole(damaged, audio)) return audio.size >= damaged.layout->largest_size() / 2 - kHeader;
  return audio.size == 0 || ends_file(damaged, audio) ||
         chunks_end(damaged, audio.data + damaged.layout->padded(audio.size));
}

/// The header of audio that is believed first.
const Chunk* chosen_audio(const DamagedFile& damaged, const ChunkMap& map, const std::vector<Chunk>& headers) {
  const auto likely = std::find_if(headers.begin(), headers.end(),
                                   [&](const Chunk& header) { return has_plausible_size(damaged, header); });
  if (likely != headers.end()) return &*likely;
  // A cut file may claim more than is there, but a text that happens to read "data" claims too much, and what lies in a
  // chunk belongs to that.
  const auto possible = std::find_if(headers.begin(), headers.end(), [&](const Chunk& header) {
    return header.size / kMaxClaimed <= damaged.size - header.data && (!map.format || header.at >= map.end);
  });
  return possible == headers.end() ? nullptr : &*possible;
}

/// Lets the chunk whose header is ruined reach to the header of the audio; where no header fits in between, nothing is
/// changed. When the format chunk is the ruined one, it gets the size that is left for it.
void close_gap(const DamagedFile& damaged, Findings& findings) {
  const HeaderLayout& layout = *damaged.layout;
  const uint64_t gap = findings.audio->at - findings.front;
  if (gap < layout.chunk_header() || gap % layout.alignment != 0) return;
  const std::string id = damaged.read(findings.front, layout.id_bytes());
  findings.front_id = layout.is_plausible(id) ? id : layout.junk_id;
  if (findings.front == findings.format->at) findings.format->size = gap - layout.chunk_header();
  findings.state = State::kGap;
}

/// Whether the library's repair takes the audio to start there too, and can write a header before it.
bool library_agrees(const DamagedFile& damaged, const std::vector<Chunk>& headers, const Chunk& audio) {
  const HeaderLayout& layout = *damaged.layout;
  const uint64_t plain = layout.repair_looks_from() + layout.chunk_header();
  const bool has_room = audio.data == plain || audio.data >= plain + layout.chunk_header();
  if (!has_room || audio.data % layout.alignment != 0 || damaged.size < plain) return false;
  // The library walks, and takes the first that looks like a header where that leads nowhere.
  const uint64_t bound = std::min(damaged.size, damaged.limit);
  if (!move_to(damaged.file, layout.repair_looks_from())) return false;
  auto remaining = static_cast<DWORD>(bound);
  ULONGLONG remaining64 = bound;
  const HRESULT walked = damaged.is_wave64() ? riff64_FindChunkHeader(damaged.file, &QVW64_DATA, nullptr, &remaining64)
                                             : riff_FindChunkHeader(damaged.file, QVRIFF_ID_DATA, nullptr, &remaining);
  const auto first = std::find_if(headers.begin(), headers.end(),
                                  [&](const Chunk& each) { return each.at >= layout.repair_looks_from(); });
  return FAILED(walked) && first != headers.end() && first->at == audio.at;
}

} // namespace

Findings examine(const DamagedFile& damaged) {
  const ChunkMap map = map_chunks(damaged, damaged.layout->file_header());
  if (map.format && (map.audio || map.nameless))
    return {State::kWalks, map.format, map.audio ? map.audio : map.nameless};
  if (const std::optional<Findings> usual = at_usual_place(damaged)) return *usual;

  const std::vector<Chunk> headers =
      audio_headers(damaged, (map.format ? map.format->data : damaged.layout->record_at()) + kPlainRecord);
  Findings findings = {State::kLost, map.format, std::nullopt, map.end, {}, has_header_traces(damaged)};
  const Chunk* const audio = chosen_audio(damaged, map, headers);
  if (!audio) return findings;
  findings.audio = *audio;
  if (map.format) {
    findings.front = chunks_end_before(damaged, map, *audio);
    close_gap(damaged, findings);
  } else if (library_agrees(damaged, headers, *audio)) {
    findings.state = State::kAudioAlone;
  }
  return findings;
}

} // namespace qv::tool
