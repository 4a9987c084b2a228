#include "tools/qv/repair/plan_check.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr int kMaxWalked = 65'536;

struct Range {
  uint64_t from, to;
};

/// Where bytes may be replaced by as many others.
std::vector<Range> open_ranges(const DamagedFile& damaged, const ChunkReading& reading) {
  const HeaderLayout& layout = damaged.layout();
  std::vector<Range> ranges = {{0, layout.file_header()}};
  for (const Piece& piece : reading.pieces) {
    if (piece.kind != Piece::Kind::kChunk) continue;
    const bool is_record = &piece == reading.format || piece.id == layout.id("ds64");
    ranges.push_back({piece.at, piece.data + (is_record ? piece.size : 0)});
  }
  return ranges;
}

bool is_allowed(const Edit& edit, const std::vector<Range>& ranges, const RepairPlan& plan) {
  const uint64_t end = edit.offset + edit.replaced;
  const bool touches_audio = edit.offset < plan.audio + plan.audio_bytes && end > plan.audio;
  if (touches_audio) return false;
  if (edit.replaced != edit.bytes.size() || plan.is_new_header) return end <= plan.audio;
  return std::any_of(ranges.begin(), ranges.end(),
                     [&](const Range& range) { return edit.offset >= range.from && end <= range.to; });
}

/// The known chunks that a reader meets that believes every size.
std::vector<Chunk> believed(const DamagedFile& damaged) {
  const HeaderLayout& layout = damaged.layout();
  std::vector<Chunk> chunks;
  uint64_t at = layout.file_header();
  for (int count = 0; count < kMaxWalked; ++count) {
    const std::optional<Chunk> chunk = damaged.header_at(at);
    if (!chunk || !layout.is_plausible(chunk->id)) break;
    if (is_known(layout, chunk->id)) chunks.push_back(*chunk);
    if (!damaged.is_whole(*chunk)) break;
    at = chunk->data + layout.padded(chunk->size);
  }
  return chunks;
}

bool stays(const Chunk& chunk, const ChunkReading& reading, const RepairPlan& plan) {
  const bool is_removed = std::any_of(
      plan.edits.begin(), plan.edits.end(),
      [&](const Edit& edit) {
        return edit.replaced != edit.bytes.size() && chunk.at >= edit.offset && chunk.at < edit.offset + edit.replaced;
      });
  const bool is_read = std::any_of(reading.pieces.begin(), reading.pieces.end(),
                                   [&](const Piece& piece) { return piece.at == chunk.at && piece.id == chunk.id; });
  return is_read && !is_removed;
}

/// Whether what stands between two places is chunks that are known.
bool are_known_chunks(const DamagedFile& damaged, const ChunkReading& reading, uint64_t from, uint64_t to) {
  uint64_t at = from;
  for (const Piece& piece : reading.pieces)
    if (piece.at == at && piece.at < to && piece.kind == Piece::Kind::kChunk && is_known(damaged.layout(), piece.id))
      at = piece.end;
  return at >= to;
}

} // namespace

void check_plan(const DamagedFile& damaged, const ChunkReading& reading, const RepairPlan& plan) {
  const std::vector<Range> ranges = open_ranges(damaged, reading);
  uint64_t end = 0;
  bool holds = plan.audio <= damaged.size() && plan.audio_bytes <= damaged.size() - plan.audio;
  for (const Edit& edit : plan.edits) {
    holds = holds && edit.offset >= end && edit.offset <= damaged.size() &&
            edit.replaced <= damaged.size() - edit.offset && is_allowed(edit, ranges, plan);
    end = edit.offset + edit.replaced;
  }
  if (!holds) throw Failure(damaged.name(), "no way to mend it was found that does no harm: nothing is written");
}

std::vector<std::string> refusals_of(const DamagedFile& damaged, const ChunkReading& reading, const RepairPlan& plan,
                                     uint64_t block_align) {
  std::vector<std::string> reasons;
  if (plan.edits.empty()) return reasons;
  for (const Chunk& chunk : believed(damaged)) {
    if (!stays(chunk, reading, plan))
      reasons.push_back("the chunk \"" + printable(chunk.id.substr(0, 4)) + "\" at " + std::to_string(chunk.at) +
                        " would be lost");
    if (!reading.audio || chunk.at != reading.audio->at) continue;
    const uint64_t had = std::min(chunk.data + chunk.size, damaged.size());
    const uint64_t has = plan.audio + plan.audio_bytes;
    if (!damaged.is_whole(chunk) && chunk.is_open) continue;
    if (had >= has + block_align && !are_known_chunks(damaged, reading, reading.audio->end, had))
      reasons.push_back("the audio would be shorter by " + std::to_string(had - has) +
                        " bytes that are no known chunks");
  }
  return reasons;
}

} // namespace qv::tool
