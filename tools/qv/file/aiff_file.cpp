// How an AIFF or AIFF-C file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"

#include "qv/iff.h"

#include <algorithm>

namespace qv::tool {

namespace {

/// The characters of an id in file order.
DWORD in_file_order(DWORD id) {
  iff_ByteSwap32(&id, 1);
  return id;
}

void list_chunks(AudioFile& audio, uint64_t form_end) {
  QVIFFCHUNK header;
  for (uint64_t position = 12; position + 8 <= form_end;) {
    if (!move_to(audio.file, position) || FAILED(iff_ReadChunkHdr(audio.file, &header)))
      fail(audio, result_text(QVERR_RIFF_READ));
    audio.chunks.push_back({in_file_order(header.id), 0, position, header.size, position + 8});
    position += 8 + uint64_t{header.size} + header.size % 2;
  }
}

} // namespace

void read_aiff(AudioFile& audio, Detail detail) {
  DWORD form_size = 0;
  LONG is_aifc = 0;
  const bool usable = iff_IsAIFFFileEx(audio.file, &form_size, &is_aifc, nullptr) != 0;
  audio.container = is_aifc != 0 ? "aifc" : "aiff";
  audio.kind = is_aifc != 0 ? Container::kAifc : Container::kAiff;
  audio.is_big_endian = true;
  if (!usable)
    fail(audio, is_aifc != 0 ? "is AIFF-C of a compression type that is not read" : "is an IFF file, but no AIFF");
  audio.header.assign(sizeof(WAVEFORMATEXTENSIBLE), 0);
  auto* const format = reinterpret_cast<WAVEFORMATEX*>(audio.header.data());
  DWORD frames = 0;
  ULONGLONG start = 0;
  ULONGLONG bytes = 0;
  const HRESULT result = iff_GetAIFFWfx(audio.file, format, &frames, &start, &bytes);
  if (result == QVERR_RIFF_NOTFOUND) fail(audio, "has no \"COMM\" or no \"SSND\" chunk");
  if (FAILED(result)) fail(audio, result_text(result));
  audio.record.format.Init(sizeof audio.record, *format);
  audio.audio_start = start;
  audio.audio_bytes = bytes;
  if (uint64_t{frames} * format->nBlockAlign > bytes)
    audio.warnings.push_back("the header says " + std::to_string(frames) + " frames, the file holds " +
                             std::to_string(bytes / format->nBlockAlign) + ": they are read");
  list_chunks(audio, std::min<uint64_t>(8 + uint64_t{form_size}, audio.file_bytes));
  check_format(audio);
  if (detail == Detail::kAll) audio.markers = aiff_markers(audio);
}

} // namespace qv::tool
