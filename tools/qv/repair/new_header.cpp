#include "tools/qv/repair/new_header.h"

#include "tools/qv/failure.h"
#include "tools/qv/repair/format_reading.h"

#include <algorithm>

namespace qv::tool {

namespace {

/// Whether any of the three ids is there that a file begins with.
bool has_header_traces(const DamagedFile& damaged) {
  const HeaderLayout& layout = damaged.layout();
  const auto has = [&](uint64_t at, const std::string& id) { return damaged.read(at, id.size()) == id; };
  return has(0, layout.file_id) || has(layout.chunk_header(), layout.form_id) ||
         has(layout.file_header(), layout.format_id);
}

/// A format from what stands in the usual place of one, where that may be a header, and from the hints.
FormatReading guessed_record(PlanDraft& draft) {
  const HeaderLayout& layout = draft.layout();
  const uint64_t usual = layout.file_header() + layout.chunk_header();
  std::string record = draft.damaged.read(usual, layout.record_bytes);
  if (!has_header_traces(draft.damaged) || record.size() < layout.record_bytes)
    record.assign(layout.record_bytes, '\0');
  FormatReading reading = read_format(record, draft.hint);
  for (const std::string& line : reading.notes)
    draft.note(line);
  draft.note("taken as " + text_of(loaded(reading.record)));
  draft.block_align = reading.block_align;
  return reading;
}

/// A format chunk that reaches from the file's header to `end`, with a chunk of what stood there behind it; nothing
/// where there is no room for that.
std::optional<std::string> front_up_to(const HeaderLayout& layout, uint64_t end, const std::string& record) {
  constexpr uint64_t kRecordSizes[] = {16, 18, 40};
  const uint64_t room = end - std::min(end, layout.file_header() + layout.chunk_header());
  std::string whole = record;
  for (const uint64_t size : kRecordSizes)
    if (layout.padded(size) == room) whole.resize(size, '\0');
  std::string chunk = layout.chunk_start(layout.format_id, whole.size()) + whole;
  chunk.resize(layout.padded(chunk.size()), '\0');
  const uint64_t from = layout.file_header() + chunk.size();
  if (end == from) return chunk;
  if (end < from + layout.chunk_header() || end % layout.alignment != 0) return std::nullopt;
  return chunk + layout.chunk_start(layout.junk_id, end - from - layout.chunk_header());
}

bool are_nameless(const DamagedFile& damaged, const ChunkReading& reading) {
  return std::all_of(
      reading.pieces.begin(), reading.pieces.end(),
      [&](const Piece& piece) { return piece.at >= reading.audio->at || !is_known(damaged.layout(), piece.id); });
}

/// The header of the audio is there, the format is not.
void plan_format(PlanDraft& draft, const ChunkReading& reading) {
  const DamagedFile& damaged = draft.damaged;
  const HeaderLayout& layout = draft.layout();
  const Piece& audio = *reading.audio;
  draft.note("no format; the audio's own header stands at " + number(audio.at));
  const FormatReading format = guessed_record(draft);
  draft.plan.audio = audio.data;
  const uint64_t bytes = draft.audio_bytes(audio);
  draft.plan.audio_bytes = bytes;
  const std::string header = layout.chunk_start(layout.audio_id, bytes);
  const std::string what = "a new header, size of the audio: " + number(bytes);
  const uint64_t behind = damaged.size() - std::min(audio.data + bytes, damaged.size());
  const uint64_t rest = audio.end >= damaged.size() ? 0 : behind;
  const auto front = are_nameless(damaged, reading) ? front_up_to(layout, audio.at, format.record) : std::nullopt;
  if (front) {
    const std::string start = layout.file_start(audio.data + bytes + rest) + *front;
    draft.edit(0, start, what);
    draft.edit(audio.at, header, what);
    return;
  }
  // No room, or chunks in it: the format goes in front of them, and of nameless bytes nothing stays.
  const std::string chunk = layout.chunk_start(layout.format_id, format.record.size()) + format.record;
  const uint64_t kept = are_nameless(damaged, reading) ? audio.at : std::min(layout.file_header(), audio.at);
  const uint64_t end = layout.file_header() + chunk.size() + (audio.data - kept) + bytes + rest;
  draft.plan.edits.push_back({0, kept, layout.file_start(end) + chunk, what});
  draft.edit(audio.at, header, what);
}

} // namespace

void plan_new_header(PlanDraft& draft, const ChunkReading& reading) {
  const DamagedFile& damaged = draft.damaged;
  const HeaderLayout& layout = draft.layout();
  if (layout.family == HeaderLayout::Family::kAiff || layout.has_long_sizes)
    throw Failure(damaged.name(), std::string("its ") + layout.container + " header is lost, and none is made anew");
  draft.plan.is_new_header = true;
  if (reading.is_trusted) return plan_format(draft, reading);
  const uint64_t record_end = layout.file_header() + layout.chunk_header() + layout.record_bytes;
  if (has_header_traces(damaged) && damaged.size() < record_end)
    throw Failure(damaged.name(), "ends inside its header: there is no audio");
  draft.note("no header of audio");
  const FormatReading format = guessed_record(draft);
  draft.plan.audio = std::min(damaged.size(), draft.hint.limit.value_or(0));
  const uint64_t held = std::min(damaged.size() - draft.plan.audio, layout.largest_size());
  const uint64_t bytes = held - held % draft.block_align;
  if (bytes == 0 || reading.format) throw Failure(damaged.name(), "there is no audio in it");
  draft.plan.audio_bytes = damaged.size() - draft.plan.audio;
  const std::string header = layout.chunk_start(layout.format_id, format.record.size()) + format.record +
                             layout.chunk_start(layout.audio_id, bytes);
  draft.plan.edits.push_back({0, draft.plan.audio,
                              layout.file_start(layout.file_header() + header.size() + bytes) + header,
                              "a new header, size of the audio: " + number(bytes)});
}

} // namespace qv::tool
