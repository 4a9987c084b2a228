#include "tools/qv/repair/header_doubts.h"

#include "tools/qv/file/samples/sample_coding.h"
#include "tools/qv/repair/damaged_file.h"
#include "tools/qv/repair/format_agreement.h"
#include "tools/qv/repair/trailer.h"
#include "tools/qv/text.h"

#include <cstring>

namespace qv::tool {

namespace {

/// Where the file ends by its own header; nothing where that says no size.
std::optional<uint64_t> end_by_header(const DamagedFile& damaged) {
  const HeaderLayout& layout = damaged.layout();
  const uint64_t says = layout.stored_in(damaged.read(0, layout.file_header()), layout.id_bytes());
  if (layout.has_long_sizes && says == layout.largest_size()) return damaged.size_agrees() ? damaged.size() : 0;
  if (says == 0 || says == layout.largest_size()) return std::nullopt;
  return says + layout.file_size_excludes;
}

/// Whether the file is one of those whose headers can be mended.
bool has_mended_headers(const AudioFile& audio) {
  const bool is_riff =
      audio.kind == Container::kRiff || audio.kind == Container::kRf64 || audio.kind == Container::kWave64;
  const bool is_aiff = audio.kind == Container::kAiff || audio.kind == Container::kAifc;
  return audio.form_start == 0 && !audio.chunks.empty() && (is_riff || is_aiff) && audio.is_big_endian == is_aiff;
}

/// Whether zeros lead to a chunk or to the file's end. Others are the quiet in a recording that was torn off.
bool is_filling(const DamagedFile& damaged, uint64_t from) {
  const uint64_t end = damaged.zeros_end(from);
  if (end == from || end == damaged.size()) return end != from;
  const std::optional<Chunk> chunk = damaged.header_at(end);
  return chunk && is_known(damaged.layout(), chunk->id);
}

std::optional<std::string> doubt_about_size(const AudioFile& audio, const DamagedFile& damaged) {
  const HeaderLayout& layout = damaged.layout();
  const std::optional<uint64_t> end = end_by_header(damaged);
  if (!end) return "its header says no size of the file";
  const std::string says = "its header says a file of " + std::to_string(*end) + " bytes, ";
  for (const ChunkEntry& chunk : audio.chunks)
    if (chunk.size > audio.file_bytes - chunk.data)
      return "the chunk \"" + printable_code(chunk.id) + "\" runs past the end of the file";
  const ChunkEntry& last = audio.chunks.back();
  const uint64_t chunks_end = std::min(last.data + layout.padded(last.size), audio.file_bytes);
  if (*end >= audio.file_bytes + layout.alignment) return says + "it has " + std::to_string(audio.file_bytes);
  if (*end + layout.alignment <= std::max(chunks_end, audio.audio_start + audio.audio_bytes))
    return says + "its chunks go further";
  const uint64_t rest = std::max(*end, chunks_end);
  const std::optional<Chunk> behind = rest < audio.file_bytes ? damaged.header_at(rest) : std::nullopt;
  if (!behind || is_filling(damaged, rest) || is_known_trailer(damaged.read(rest, kTrailerBytes))) return std::nullopt;
  const std::string count = std::to_string(audio.file_bytes - rest);
  if (is_known(layout, behind->id)) return says + "chunks follow there";
  if (last.data <= audio.audio_start) return count + " bytes follow behind the audio that are no chunk";
  return std::nullopt;
}

} // namespace

std::optional<std::string> doubt_about_format(const AudioFile& audio) {
  if (!has_mended_headers(audio) || audio.is_big_endian) return std::nullopt;
  WAVEFORMATEXTENSIBLE record = {};
  std::memcpy(&record, audio.header.data(), std::min(audio.header.size(), sizeof record));
  return disagreement(record);
}

void note_doubts(AudioFile& audio) {
  if (!audio.warnings.empty() || !has_mended_headers(audio)) return;
  const bool is_read = coding_of(audio).type != QVSAMPLE_NONE;
  std::optional<std::string> doubt = is_read ? doubt_about_format(audio) : std::nullopt;
  if (!doubt) doubt = doubt_about_size(audio, DamagedFile(audio.name, audio.file, std::nullopt));
  if (doubt) audio.warnings.push_back(*doubt);
}

} // namespace qv::tool
