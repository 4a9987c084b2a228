// How a Wave64 file is read.
#include "tools/qv/file/container_readers.h"

#include "qv/result.h"
#include "qv/riff.h"
#include "qv/riff64.h"

#include <algorithm>

namespace qv::tool {

namespace {

HRESULT read_header(const AudioFile& audio, ChunkEntry& entry, WaveChunks::Role& role) {
  GUID id = {};
  ULONGLONG size = 0;
  const HRESULT result = riff64_ReadChunkHeader(audio.file, &id, &size);
  entry.id = id.Data1;
  entry.size = size;
  if (id == QVW64_FMT) role = WaveChunks::Role::kFormat;
  if (id == QVW64_DATA) role = WaveChunks::Role::kAudio;
  return result;
}

/// Reads the type of a list.
void look_into(AudioFile& audio, ChunkEntry& entry) {
  if (entry.id == QVW64_LIST.Data1 && entry.size >= sizeof entry.list_type)
    riff_ReadData(audio.file, &entry.list_type, sizeof entry.list_type);
}

constexpr WaveChunks kChunks = {QVW64_FILE_HEADER_BYTES, QVW64_HEADER_BYTES, 8, read_header, look_into};

FormEnd read_file_header(const AudioFile& audio) {
  ULONGLONG bytes = 0;
  GUID form;
  const HRESULT result = riff64_ReadFileID(audio.file, &bytes, &form);
  if (result == QVERR_RIFF_READ) fail(audio, "the file ends inside its header");
  if (FAILED(result)) fail(audio, "is no Wave64 file");
  if (form != QVW64_WAVE) fail(audio, "is a Wave64 file of another form than wave");
  // A stored size below that of the header is what a recorder left that could not go back.
  if (bytes == 0 || bytes > ~ULONGLONG{QVW64_FILE_HEADER_BYTES}) return {audio.file_bytes, true};
  return {std::min<uint64_t>(QVW64_FILE_HEADER_BYTES + bytes, audio.file_bytes), false};
}

} // namespace

void read_wave64(AudioFile& audio) {
  audio.kind = Container::kWave64;
  audio.container = name_of(audio.kind);
  read_wave_chunks(audio, kChunks, read_file_header(audio));
}

} // namespace qv::tool
