// How a RIFF wave file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

HRESULT read_header(HANDLE file, ChunkEntry& entry, WaveChunks::Role& role) {
  DWORD size = 0;
  const HRESULT result = riff_ReadChunkHeader(file, &entry.id, &size);
  entry.size = size;
  if (entry.id == QVRIFF_ID_FMT) role = WaveChunks::Role::kFormat;
  if (entry.id == QVRIFF_ID_DATA) role = WaveChunks::Role::kAudio;
  return result;
}

/// Reads the count of frames of a compressed format, and the type of a list.
void look_into(AudioFile& audio, ChunkEntry& entry) {
  DWORD count = 0;
  if (entry.size < sizeof count) return;
  if (entry.id == QVRIFF_ID_FACT && SUCCEEDED(riff_ReadData(audio.file, &count, sizeof count))) audio.frames = count;
  if (entry.id == QVRIFF_ID_LIST) riff_ReadData(audio.file, &entry.list_type, sizeof entry.list_type);
}

constexpr WaveChunks kChunks = {12, 8, 2, read_header, look_into};

FormEnd read_file_header(const AudioFile& audio) {
  DWORD form_bytes = 0;
  DWORD form = 0;
  const HRESULT result = riff_ReadFileID(audio.file, &form_bytes, &form);
  if (result == QVERR_RIFF_READ && audio.file_bytes < kChunks.file_header)
    fail(audio, "the file ends inside its header");
  if (FAILED(result)) fail(audio, result_text(result));
  if (form != QVRIFF_FORM_WAVE)
    fail(audio, "is a RIFF file of the form \"" + printable_code(form) + "\", not a wave file");
  if (form_bytes == 0) return {audio.file_bytes, true};
  return {std::min<uint64_t>(kChunks.file_header + uint64_t{form_bytes}, audio.file_bytes), false};
}

/// Whether the form and the last of its chunks end where the file does.
bool fills_file(const AudioFile& audio, const FormEnd& form) {
  const ChunkEntry& last = audio.chunks.back();
  const uint64_t end = last.data + last.size;
  // The pad byte of an odd size may be missing at the end.
  return !form.is_guessed && form.at == audio.file_bytes &&
         (end == audio.file_bytes || end + last.size % 2 == audio.file_bytes);
}

void read_texts(AudioFile& audio) {
  _summarylisttag list;
  if (!load_info_list(audio, list)) audio.warnings.emplace_back("its INFO list cannot be read");
  for (DWORD i = 0; i < list.count; ++i)
    audio.texts.emplace_back(list.items[i].id, list.items[i].text ? utf8(list.items[i].text) : "");
  QvSummary_Free(&list);
}

} // namespace

void read_riff(AudioFile& audio, Detail detail) {
  audio.container = "RIFF";
  const FormEnd form = read_file_header(audio);
  read_wave_chunks(audio, kChunks, form);
  audio.is_whole = fills_file(audio, form);
  if (detail == Detail::kAudio) return;
  read_texts(audio);
  audio.markers = cue_markers(audio);
}

bool load_info_list(const AudioFile& audio, _summarylisttag& list) {
  const auto info = std::find_if(audio.chunks.begin(), audio.chunks.end(),
                                 [](const ChunkEntry& chunk) { return chunk.list_type == QVSUMMARY_FORM_INFO; });
  if (info == audio.chunks.end()) return true;
  auto remaining = static_cast<DWORD>(info->size - 4);
  return move_to(audio.file, info->data + 4) && SUCCEEDED(QvSummary_Load(audio.file, &list, &remaining));
}

} // namespace qv::tool
