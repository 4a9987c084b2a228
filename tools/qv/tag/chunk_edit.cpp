#include "tools/qv/tag/chunk_edit.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/audio_layout.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/file/disk/output_file.h"

#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

/// Chunks that are filled with nothing: the standard's, and those of some makers.
constexpr DWORD kFillers[] = {QVRIFF_ID_JUNK, QvFourCC("junk"), QvFourCC("PAD "), QvFourCC("FLLR")};

/// What moves at the end of a file that is changed in place is held in memory, and in the undo file.
constexpr uint64_t kMaxTail = 16 << 20;

bool is_filler(DWORD id) { return std::find(std::begin(kFillers), std::end(kFillers), id) != std::end(kFillers); }

} // namespace

std::string ChunkEdit::chunk_bytes(const NewChunk& chunk) const {
  const uint64_t padding = chunk_shape(audio_.kind).padding(chunk.data.size());
  return chunk_shape(audio_.kind).header(chunk.id, chunk.data.size()) + chunk.data +
         std::string(static_cast<size_t>(padding), '\0');
}

/// Where the next chunk begins, or the data of the last one end.
uint64_t ChunkEdit::end_of(size_t index) const {
  return index + 1 < audio_.chunks.size() ? audio_.chunks[index + 1].offset : form_.chunks_end;
}

/// The length of a form, with padding behind its last chunk.
uint64_t ChunkEdit::aligned(uint64_t form_bytes) const {
  return form_bytes + chunk_shape(audio_.kind).padding(form_bytes);
}

/// A chunk with nothing in it, of a length with its header.
std::string ChunkEdit::filling(uint64_t bytes) const {
  if (bytes == 0) return {};
  return chunk_bytes(
      {QVRIFF_ID_JUNK, std::string(static_cast<size_t>(bytes - chunk_shape(audio_.kind).header_bytes), '\0')});
}

void ChunkEdit::remove_all(DWORD id, DWORD list_type) {
  for (size_t index = 0; index < edited_.size(); ++index)
    if (audio_.chunks[index].id == id && audio_.chunks[index].list_type == list_type) remove(index);
}

void ChunkEdit::replace(size_t index, const std::string& data) {
  edited_[index] = Edited::kReplaced;
  replacements_[index] = chunk_bytes({audio_.chunks[index].id, data});
}

void ChunkEdit::put_in_front(const NewChunk& chunk) {
  const std::string bytes = chunk_bytes(chunk);
  for (size_t index = 0; index < edited_.size() && audio_.chunks[index].data < audio_.audio_start; ++index) {
    const uint64_t room = end_of(index) - audio_.chunks[index].offset;
    const bool has_room = room == bytes.size() || room >= bytes.size() + chunk_shape(audio_.kind).header_bytes;
    if (!has_room || edited_[index] != Edited::kNo || !is_filler(audio_.chunks[index].id)) continue;
    edited_[index] = Edited::kReplaced;
    replacements_[index] = bytes + filling(room - bytes.size());
    return;
  }
  append(chunk);
}

void ChunkEdit::append(const NewChunk& chunk) {
  (audio_.kind == Container::kWave64 ? inserted_ : appended_) += chunk_bytes(chunk);
}

uint64_t ChunkEdit::write(const OutputFile& output) const {
  const uint64_t first = audio_.chunks.front().offset;
  output.append(audio_.file, audio_.name, 0, first);
  uint64_t form_bytes = first - form_.start;
  const auto put = [&](const std::string& bytes) {
    output.append(bytes.data(), static_cast<DWORD>(bytes.size()));
    form_bytes += bytes.size();
  };
  const auto pad = [&] { put(std::string(static_cast<size_t>(aligned(form_bytes) - form_bytes), '\0')); };
  for (size_t index = 0; index < edited_.size(); ++index) {
    if (edited_[index] == Edited::kRemoved) continue;
    pad(); // a writer may have left it out
    const ChunkEntry& chunk = audio_.chunks[index];
    if (chunk.data == audio_.audio_start) put(inserted_);
    if (edited_[index] == Edited::kReplaced) {
      put(replacements_.at(index));
    } else {
      output.append(audio_.file, audio_.name, chunk.offset, end_of(index) - chunk.offset);
      form_bytes += end_of(index) - chunk.offset;
    }
  }
  pad();
  put(appended_);
  output.append(audio_.file, audio_.name, form_.rest, audio_.file_bytes - form_.rest);
  const std::string size = form_size_bytes(audio_, form_, form_bytes);
  if (!move_to(output, form_.start + form_.shape->size_offset)) output.write_failed();
  output.append(size.data(), static_cast<DWORD>(size.size()));
  return form_.start + form_bytes + audio_.file_bytes - form_.rest;
}

Replacement ChunkEdit::replacement(uint64_t offset, uint64_t length, const std::string& bytes) const {
  return {offset, bytes_at(audio_, offset, static_cast<size_t>(length)), bytes};
}

std::vector<Replacement> ChunkEdit::in_place() const {
  size_t kept = edited_.size();
  while (edited_[kept - 1] == Edited::kRemoved)
    --kept;
  const uint64_t tail = kept < edited_.size() ? audio_.chunks[kept].offset : form_.chunks_end;
  if (audio_.file_bytes - tail > kMaxTail)
    fail(audio_, "cannot be replaced, and has too much behind its chunks to be changed in place");
  const std::string padding(static_cast<size_t>(aligned(tail - form_.start) - (tail - form_.start)), '\0');
  const std::string added = inserted_ + appended_;
  const std::string size = form_size_bytes(audio_, form_, tail - form_.start + padding.size() + added.size());
  std::vector<Replacement> all = {replacement(form_.start + form_.shape->size_offset, size.size(), size)};
  for (size_t index = 0; index < kept; ++index) {
    const ChunkEntry& chunk = audio_.chunks[index];
    const std::string header = chunk_shape(audio_.kind).header(QVRIFF_ID_JUNK, chunk.size);
    if (edited_[index] == Edited::kRemoved) all.push_back(replacement(chunk.offset, header.size(), header));
    if (edited_[index] != Edited::kReplaced) continue;
    const std::string bytes = replacements_.at(index).substr(0, static_cast<size_t>(end_of(index) - chunk.offset));
    all.push_back(replacement(chunk.offset, bytes.size(), bytes));
  }
  const std::string rest = bytes_at(audio_, form_.rest, static_cast<size_t>(audio_.file_bytes - form_.rest));
  all.push_back(replacement(tail, audio_.file_bytes - tail, padding + added + rest));
  std::erase_if(all, [](const Replacement& part) { return part.old_bytes == part.new_bytes; });
  return all;
}

} // namespace qv::tool
