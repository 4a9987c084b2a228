#include "tools/qv/tag/form.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/audio_layout.h"
#include "tools/qv/file/byte_string.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/riff.h"

#include <algorithm>
#include <optional>

namespace qv::tool {

namespace {

constexpr DWORD kDs64Id = QvFourCC("ds64");
/// No more are looked at beyond those that the file's reader lists.
constexpr size_t kMaxMoreChunks = 200'000;

// The size of RF64 is that in its "ds64" chunk, which is the first.
constexpr FormShape kRiff = {12, 4, 4, 8, 0xFFFFFFF0};
constexpr FormShape kRf64 = {12, 20, 8, 8, ~uint64_t{0}};
constexpr FormShape kWave64 = {40, 16, 8, 0, ~uint64_t{0}};
constexpr FormShape kIff = {12, 4, 4, 8, 0xFFFFFFFE};

const FormShape& shape_of(const AudioFile& audio) {
  switch (audio.kind) {
  case Container::kWave64: return kWave64;
  case Container::kAiff:
  case Container::kAifc: return kIff;
  case Container::kRf64:
    if (audio.chunks.front().id != kDs64Id) fail(audio, "its \"ds64\" chunk is not the first: it is not changed");
    return kRf64;
  case Container::kRiff:
    if (audio.is_big_endian) fail(audio, "is a RIFX file, which is read only");
    return kRiff;
  default: fail(audio, "is of a container whose texts are not written");
  }
}

uint64_t number(std::string bytes, bool is_big_endian) {
  if (is_big_endian) std::reverse(bytes.begin(), bytes.end());
  uint64_t value = 0;
  for (size_t k = bytes.size(); k-- > 0;)
    value = value << 8 | static_cast<unsigned char>(bytes[k]);
  return value;
}

bool is_printable(const std::string& id) {
  return std::all_of(
      id.begin(), id.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// The chunk whose header stands at a place, whatever size it claims; nothing where there is no such header.
std::optional<ChunkEntry> chunk_at(const AudioFile& audio, uint64_t offset) {
  const ChunkShape& shape = chunk_shape(audio.kind);
  const std::string header = bytes_at(audio, offset, static_cast<size_t>(shape.header_bytes) + 4);
  if (header.size() < shape.header_bytes || !is_printable(header.substr(0, 4))) return std::nullopt;
  const bool is_wave64 = audio.kind == Container::kWave64;
  uint64_t size = number(is_wave64 ? header.substr(16, 8) : header.substr(4, 4), shape.is_big_endian);
  if (is_wave64 && size < shape.header_bytes) return std::nullopt;
  if (is_wave64) size -= shape.header_bytes;
  ChunkEntry chunk = {static_cast<DWORD>(number(header.substr(0, 4), false)), 0, offset, size,
                      offset + shape.header_bytes};
  if (chunk.id == QVRIFF_ID_LIST && size >= 4) chunk.list_type = static_cast<DWORD>(number(header.substr(8, 4), false));
  return chunk;
}

bool fits(const AudioFile& audio, const ChunkEntry& chunk) { return chunk.size <= audio.file_bytes - chunk.data; }

/// The chunks from a place on when they fill the file; otherwise none.
std::vector<ChunkEntry> chunks_filling_file(const AudioFile& audio, uint64_t offset) {
  std::vector<ChunkEntry> chunks;
  while (offset < audio.file_bytes) {
    const std::optional<ChunkEntry> chunk = chunk_at(audio, offset);
    if (!chunk || !fits(audio, *chunk)) return {};
    if (chunks.size() == kMaxMoreChunks) fail(audio, "has too many chunks");
    chunks.push_back(*chunk);
    offset = chunk->data + chunk->size + chunk_shape(audio.kind).padding(chunk->size);
  }
  return chunks;
}

uint64_t end_of_data(const AudioFile& audio) { return audio.chunks.back().data + audio.chunks.back().size; }

/// Throws Failure where the header of the audio, or of the last chunk, claims more or less than is there.
void require_known_end(const AudioFile& audio) {
  for (const ChunkEntry& chunk : audio.chunks) {
    const bool is_audio = chunk.data == audio.audio_start; // AIFF has a record between the two
    if (!fits(audio, chunk) || (is_audio && chunk.size != audio.audio_bytes))
      fail(audio, "its chunk \"" + printable_code(chunk.id) + "\" does not fit the file: qv repair mends that");
  }
}

} // namespace

std::string bytes_at(const AudioFile& audio, uint64_t offset, size_t count) {
  const uint64_t held = audio.file_bytes - std::min(offset, audio.file_bytes);
  std::string bytes(static_cast<size_t>(std::min<uint64_t>(count, held)), '\0');
  if (!move_to(audio.file, offset) || FAILED(riff_ReadData(audio.file, bytes.data(), static_cast<DWORD>(bytes.size()))))
    fail(audio, result_text(QVERR_RIFF_READ));
  return bytes;
}

Form read_form(AudioFile& audio) {
  const FormShape& shape = shape_of(audio);
  require_known_end(audio);
  const uint64_t start = audio.chunks.front().offset - shape.header_bytes;
  uint64_t end = end_of_data(audio);
  const uint64_t padding = chunk_shape(audio.kind).padding(audio.chunks.back().size);
  // A writer may have left the padding out.
  for (const uint64_t next : {end + padding, end}) {
    const std::vector<ChunkEntry> more = chunks_filling_file(audio, next);
    audio.chunks.insert(audio.chunks.end(), more.begin(), more.end());
    if (!more.empty()) break;
  }
  end = end_of_data(audio);
  const uint64_t padded = end + chunk_shape(audio.kind).padding(audio.chunks.back().size);
  const uint64_t rest = std::min(padded, audio.file_bytes);
  const std::optional<ChunkEntry> cut = rest < audio.file_bytes ? chunk_at(audio, rest) : std::nullopt;
  const std::string size = bytes_at(audio, start + shape.size_offset, static_cast<size_t>(shape.size_bytes));
  const uint64_t claimed = start + number(size, chunk_shape(audio.kind).is_big_endian) + shape.uncounted;
  if (cut && claimed > rest)
    fail(audio, "its chunk \"" + printable_code(cut->id) + "\" does not fit the file: qv repair mends that");
  Form form = {&shape, start, end, rest, ""};
  if (claimed != end && claimed != padded)
    form.remark = "its header said " + std::to_string(claimed) + " bytes, its chunks end at " + std::to_string(rest) +
                  ": that is corrected";
  return form;
}

std::string form_size_bytes(const AudioFile& audio, const Form& form, uint64_t form_bytes) {
  const uint64_t size = form_bytes - form.shape->uncounted;
  if (size > form.shape->limit) fail(audio, result_text(QVERR_RIFF_TOOBIG));
  if (chunk_shape(audio.kind).is_big_endian) return ByteString().big(size, form.shape->size_bytes);
  return ByteString().little(size, form.shape->size_bytes);
}

} // namespace qv::tool
