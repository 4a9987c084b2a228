#include "tools/qv/repair/repair_plan.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/repair/common_chunk.h"
#include "tools/qv/repair/header_doubts.h"
#include "tools/qv/repair/new_header.h"
#include "tools/qv/repair/plan_check.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

/// The plan for a file that reads without a warning: nothing, whatever else could be said of its headers. Only a
/// compressed format can be overruled, by a type that was given.
std::optional<RepairPlan> plan_for_sound(const std::string& name, HANDLE file, const RepairHint& hint) {
  AudioFile audio;
  audio.name = name;
  audio.file = OpenFile(file);
  std::optional<RepairPlan> plan;
  try {
    inspect_headers(audio);
    if (audio.warnings.empty() && !doubt_about_format(audio) && !(hint.type && audio.format().IsCompressed())) {
      plan.emplace();
      plan->found.push_back("format: " + format_text(audio.format().FormatTag(), audio.wave_header()));
      plan->audio = audio.audio_start;
      plan->audio_bytes = audio.audio_bytes;
    }
  } catch (const Failure&) {
    // What cannot be read is what is to be mended.
  }
  audio.file.release();
  return plan;
}

void note_pieces(PlanDraft& draft, const ChunkReading& reading) {
  const auto name = [](const Piece& piece) {
    return "the chunk \"" + printable(piece.id.substr(0, 4)) + "\" at " + number(piece.at);
  };
  for (const Piece& piece : reading.pieces) {
    if (piece.kind == Piece::Kind::kZeros)
      draft.note(number(piece.size) + " zeros behind a chunk, from " + number(piece.at) + " on, which stay");
    if (piece.kind == Piece::Kind::kTrailer && piece.size >= draft.layout().chunk_header())
      draft.note(number(piece.size) + " bytes behind the chunks that are none, from " + number(piece.at) +
                 " on, which stay");
    if (!piece.is_padded) draft.note("the pad byte behind " + name(piece) + " is missing, which is not mended");
  }
  if (reading.format && reading.audio && reading.format->at > reading.audio->at)
    draft.note("the format stands behind the audio, where it stays");
}

FormatReading read_record(const PlanDraft& draft, const ChunkReading& reading) {
  const HeaderLayout& layout = draft.layout();
  const Piece& format = *reading.format;
  const std::string record = draft.damaged.read(format.data, std::min<uint64_t>(format.size, 40));
  if (layout.family != HeaderLayout::Family::kAiff) return read_format(record, draft.hint);
  const uint64_t bytes = reading.audio->size - std::min(reading.audio->size, layout.audio_prefix);
  return read_common(record, bytes, layout.form_id == "AIFC", draft.hint);
}

void mend_record(PlanDraft& draft, const Piece& format, const FormatReading& record) {
  const bool is_aiff = draft.layout().family == HeaderLayout::Family::kAiff;
  draft.edit(format.data, record.record, is_aiff ? "format" : "format: " + text_of(loaded(record.record)));
}

/// Mends the headers of chunks that are not as they should be.
void mend_chunks(PlanDraft& draft, const ChunkReading& reading, uint64_t data_bytes) {
  const HeaderLayout& layout = draft.layout();
  for (const Piece& piece : reading.pieces) {
    if (piece.kind != Piece::Kind::kChunk) continue;
    const bool is_audio = &piece == reading.audio;
    const std::string stored = draft.damaged.read(piece.at, layout.chunk_header());
    const bool is_long = is_audio && layout.has_long_sizes;
    std::string header = layout.chunk_start(piece.id, is_audio ? data_bytes : piece.size);
    if (is_long && !(piece.is_size_kept && stored.substr(4) == header.substr(4)))
      header = piece.id + layout.stored(layout.largest_size());
    if (piece.is_size_kept && !is_long) header.replace(layout.id_bytes(), std::string::npos, stored, layout.id_bytes());
    // Of a chunk that cannot be named the id stays, unless its header is written anyway.
    if (!is_audio && !piece.is_size_kept && !layout.is_plausible(piece.id))
      header.replace(0, layout.id_bytes(), layout.junk_id);
    const std::string name = "\"" + printable(header.substr(0, 4)) + "\"";
    draft.edit(piece.at, header,
               is_audio ? "header of the audio, size " + number(data_bytes)
                        : "header of a chunk " + name + ", size " + number(piece.size));
  }
}

/// The chunk of RF64 that holds the sizes which the headers do not.
void mend_long_sizes(PlanDraft& draft, const ChunkReading& reading, uint64_t end, uint64_t data_bytes,
                     uint64_t block_align) {
  const auto field = [](uint64_t value) { return std::string(reinterpret_cast<const char*>(&value), sizeof value); };
  for (const Piece& piece : reading.pieces)
    if (piece.kind == Piece::Kind::kChunk && piece.id == "ds64")
      draft.edit(piece.data, field(end - 8) + field(data_bytes) + field(data_bytes / block_align),
                 "sizes of the file, " + number(end) + ", and of the audio, " + number(data_bytes));
}

/// Mends the file's own header, whose size may stay when it counts all chunks, and no more than the file.
void mend_file_header(PlanDraft& draft, uint64_t end) {
  const HeaderLayout& layout = draft.layout();
  const std::string header = draft.damaged.read(0, layout.file_header());
  const auto field = [&](uint64_t bytes) { return layout.stored_in(layout.file_start(bytes), layout.id_bytes()); };
  const uint64_t says = layout.stored_in(header, layout.id_bytes());
  const bool is_header =
      header.substr(0, layout.id_bytes()) == layout.file_id && header.substr(layout.chunk_header()) == layout.form_id;
  if (!is_header) draft.note(std::string("no ") + layout.container + " header at 0");
  const bool counts =
      says + layout.alignment > field(end) && says <= field(draft.damaged.size() + layout.alignment - 1);
  if (is_header && counts) return;
  if (is_header) draft.note("size of the file by its header: " + number(says + layout.file_size_excludes) + " bytes");
  std::string start = layout.file_start(end);
  if (counts) start.replace(layout.id_bytes(), layout.size_bytes, header, layout.id_bytes(), layout.size_bytes);
  draft.edit(0, start, std::string(layout.container) + " header, size of the file: " + number(end));
}

/// Where the chunks end as they will be, whatever follows them.
uint64_t chunks_end(const DamagedFile& damaged, const ChunkReading& reading, uint64_t data_bytes) {
  uint64_t end = damaged.layout().file_header();
  for (const Piece& piece : reading.pieces) {
    if (piece.kind != Piece::Kind::kChunk) continue;
    end = piece.end;
    if (&piece == reading.audio && piece.end >= damaged.size())
      end = std::min(damaged.size(), piece.data + damaged.layout().padded(data_bytes));
  }
  return end;
}

void plan_in_place(PlanDraft& draft, const ChunkReading& reading) {
  const HeaderLayout& layout = draft.layout();
  const DamagedFile& damaged = draft.damaged;
  const Piece& audio = *reading.audio;
  note_pieces(draft, reading);
  FormatReading record = read_record(draft, reading);
  for (const std::string& line : record.notes)
    draft.note(line);
  draft.plan.audio = audio.data + std::min(layout.audio_prefix, audio.size);
  draft.block_align = record.block_align;
  const uint64_t data_bytes = draft.audio_bytes(audio);
  draft.plan.audio_bytes = data_bytes - std::min(layout.audio_prefix, data_bytes);
  if (record.is_compressed) return;
  const uint64_t stored = damaged.header_at(audio.at)->size;
  draft.note("audio: from " + number(draft.plan.audio) + " on, " + number(stored) + " bytes by its header, " +
             number(damaged.size() - audio.data) + " to the file's end" +
             (audio.end < damaged.size() ? ", other chunks among them" : ""));
  mend_record(draft, *reading.format, record);
  mend_chunks(draft, reading, data_bytes);
  const uint64_t end = chunks_end(damaged, reading, data_bytes);
  if (layout.has_long_sizes) mend_long_sizes(draft, reading, end, data_bytes, record.block_align);
  mend_file_header(draft, end);
}

} // namespace

uint64_t PlanDraft::audio_bytes(const Piece& audio) const {
  if (audio.is_size_kept) return audio.size;
  const uint64_t prefix = std::min(audio.size, layout().audio_prefix);
  const uint64_t most = layout().has_long_sizes ? audio.size : layout().largest_size() - layout().chunk_size_includes;
  const uint64_t held = std::min(audio.size, most) - prefix;
  const uint64_t rest = held % block_align;
  // What is less than a frame stays where the audio ends the file; in front of a chunk it can only be padding.
  const bool ends_file = audio.end >= damaged.size();
  return prefix + held - (ends_file || rest < layout().alignment ? rest : 0);
}

void PlanDraft::edit(uint64_t offset, const std::string& bytes, const std::string& what) {
  // Only what differs is written.
  const std::string old = damaged.read(offset, bytes.size());
  size_t first = 0;
  while (first < bytes.size() && old[first] == bytes[first])
    ++first;
  size_t last = bytes.size();
  while (last > first && old[last - 1] == bytes[last - 1])
    --last;
  if (first < last) plan.edits.push_back({offset + first, last - first, bytes.substr(first, last - first), what});
}

WAVEFORMATEX RepairHint::format() const {
  const QVSAMPLETYPE sample = type.value_or(QVSAMPLE_PCM16);
  WAVEFORMATEX format = {};
  format.nSamplesPerSec = rate.value_or(44'100);
  format.nChannels = static_cast<WORD>(channels.value_or(2));
  format.wFormatTag = static_cast<WORD>(QvAudio_FormatTagFromSampleType(sample));
  format.wBitsPerSample = static_cast<WORD>(QvAudio_BitsFromSampleType(sample));
  return format;
}

RepairPlan plan_repair(const std::string& name, HANDLE file, const RepairHint& hint) {
  const DamagedFile damaged(name, file, hint.limit);
  if (std::optional<RepairPlan> sound = plan_for_sound(name, file, hint)) return *sound;
  const ChunkReading reading = read_chunks(damaged);
  PlanDraft draft = {damaged, hint, {}};
  if (reading.is_trusted && reading.format)
    plan_in_place(draft, reading);
  else
    plan_new_header(draft, reading);
  RepairPlan& plan = draft.plan;
  std::sort(plan.edits.begin(), plan.edits.end(), [](const Edit& a, const Edit& b) { return a.offset < b.offset; });
  plan.refusals = refusals_of(damaged, reading, plan, draft.block_align);
  check_plan(damaged, reading, plan);
  return plan;
}

} // namespace qv::tool
