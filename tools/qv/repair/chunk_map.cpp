#include "tools/qv/repair/chunk_map.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/disk_file.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr uint64_t kUsualLimit = 65'536;

/// Files of other kinds, by what they begin with.
struct OtherKind {
  const char* bytes;
  const char* name;
};
constexpr OtherKind kOtherKinds[] = {{"FORM", "an IFF file"},           {"RF64", "an RF64 file"},
                                     {"BW64", "a BW64 file"},           {"RIFX", "a big-endian RIFF file"},
                                     {"fLaC", "a FLAC file"},           {"OggS", "an Ogg file"},
                                     {"ID3", "a file with an ID3 tag"}, {"caff", "a Core Audio file"}};

void refuse_other_kinds(const DamagedFile& damaged) {
  const std::string& start = damaged.start;
  for (const OtherKind& kind : kOtherKinds)
    if (start.compare(0, std::strlen(kind.bytes), kind.bytes) == 0)
      throw Failure(damaged.name, std::string("is ") + kind.name + ": only RIFF wave and Wave64 files are mended");
  const std::string form = start.substr(std::min<size_t>(start.size(), 8), 4);
  if (start.compare(0, 4, "RIFF") == 0 && form.size() == 4 && form != "WAVE" && damaged.layout->is_plausible(form))
    throw Failure(damaged.name, "is a RIFF file of the form \"" + form + "\", not a wave file");
}

// Bounds for a file that is made to cost time: more headers of audio, or more chunks behind it, are not looked at.
constexpr size_t kMaxHeaders = 64;
constexpr int kMaxChunksBehind = 65'536;

/// The header of a chunk, whatever its id.
std::optional<Chunk> header_at(const DamagedFile& damaged, uint64_t at) {
  const HeaderLayout& layout = *damaged.layout;
  const std::string bytes = damaged.read(at, layout.chunk_header());
  if (bytes.size() < layout.chunk_header()) return std::nullopt;
  const uint64_t stored = layout.stored_in(bytes, layout.id_bytes());
  Chunk chunk = {bytes.substr(0, layout.id_bytes()), at, at + layout.chunk_header(), 0};
  // A recorder may have left no size of its audio.
  if (stored < layout.chunk_size_includes && chunk.id != layout.data_id) return std::nullopt;
  chunk.size = stored - std::min(stored, layout.chunk_size_includes);
  return chunk;
}

/// Whether a chunk under another name may be the audio: nothing follows, or it is most of the file and chunks follow.
bool could_be_audio(const DamagedFile& damaged, const Chunk& chunk) {
  if (ends_file(damaged, chunk)) return true;
  return is_whole(damaged, chunk) && chunk.size > damaged.size / 2 &&
         chunks_end(damaged, chunk.data + damaged.layout->padded(chunk.size));
}

} // namespace

std::string DamagedFile::read(uint64_t offset, uint64_t bytes) const {
  if (offset >= size) return {};
  std::string buffer(static_cast<size_t>(std::min(bytes, size - offset)), '\0');
  DWORD done = 0;
  if (!move_to(file, offset) || !ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &done, nullptr))
    throw Failure(name, system_error_text(GetLastError()));
  buffer.resize(done);
  return buffer;
}

DamagedFile look_at(const std::string& name, HANDLE file, std::optional<uint64_t> limit) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) throw Failure(name, system_error_text(GetLastError()));
  DamagedFile damaged = {name, file, static_cast<uint64_t>(size.QuadPart), {}, nullptr, 0};
  if (damaged.size == 0) throw Failure(name, "the file is empty");
  damaged.start = damaged.read(0, 128);
  damaged.layout = &header_layout(damaged.start, name);
  damaged.limit = std::min(limit.value_or(kUsualLimit), damaged.layout->largest_size());
  refuse_other_kinds(damaged);
  return damaged;
}

bool is_whole(const DamagedFile& damaged, const Chunk& chunk) { return chunk.size <= damaged.size - chunk.data; }

bool ends_file(const DamagedFile& damaged, const Chunk& chunk) {
  return is_whole(damaged, chunk) && chunk.data + damaged.layout->padded(chunk.size) >= damaged.size;
}

ChunkMap map_chunks(const DamagedFile& damaged, uint64_t from) {
  const HeaderLayout& layout = *damaged.layout;
  ChunkMap map = {std::nullopt, std::nullopt, std::nullopt, from};
  while (const std::optional<Chunk> chunk = header_at(damaged, map.end)) {
    if (chunk->id == layout.data_id) {
      map.audio = chunk;
      return map;
    }
    const bool is_larger = !map.nameless || map.nameless->size < chunk->size;
    if (map.format && is_larger && !layout.is_known(chunk->id) && could_be_audio(damaged, *chunk)) map.nameless = chunk;
    if (!layout.is_plausible(chunk->id) || !is_whole(damaged, *chunk)) return map;
    if (chunk->id == layout.format_id && chunk->size >= kPlainRecord && !map.format) map.format = chunk;
    map.end = chunk->data + layout.padded(chunk->size);
  }
  return map;
}

uint64_t chunks_end_before(const DamagedFile& damaged, const ChunkMap& map, const Chunk& audio) {
  uint64_t at = map.format->at;
  for (std::optional<Chunk> chunk = map.format; chunk && at < map.end; chunk = header_at(damaged, at)) {
    const uint64_t end = chunk->data + damaged.layout->padded(chunk->size);
    if (end > audio.at) break;
    at = end;
  }
  return at;
}

std::optional<uint64_t> chunks_end(const DamagedFile& damaged, uint64_t from) {
  const HeaderLayout& layout = *damaged.layout;
  for (int count = 0; from + layout.chunk_header() <= damaged.size; ++count) {
    const std::optional<Chunk> chunk = header_at(damaged, from);
    if (count == kMaxChunksBehind || !chunk || !layout.is_plausible(chunk->id) || chunk->id == layout.data_id)
      return std::nullopt;
    if (!is_whole(damaged, *chunk)) return layout.is_known(chunk->id) ? std::optional(damaged.size) : std::nullopt;
    from = chunk->data + layout.padded(chunk->size);
  }
  return std::min(from, damaged.size);
}

std::vector<Chunk> audio_headers(const DamagedFile& damaged, uint64_t from) {
  constexpr uint64_t kBlock = 65'536;
  const std::string& id = damaged.layout->data_id;
  std::vector<Chunk> headers;
  const uint64_t end = std::min(damaged.size, damaged.limit);
  for (uint64_t at = from; at < end && headers.size() < kMaxHeaders; at += kBlock) {
    const uint64_t positions = std::min(kBlock, end - at);
    const std::string block = damaged.read(at, positions + id.size() - 1);
    for (size_t match = block.find(id); match < positions && headers.size() < kMaxHeaders;
         match = block.find(id, match + 1))
      if (const std::optional<Chunk> header = header_at(damaged, at + match)) headers.push_back(*header);
  }
  return headers;
}

} // namespace qv::tool
