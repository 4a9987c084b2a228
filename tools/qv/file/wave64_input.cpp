// How a Wave64 file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/wave_input.h"
#include "tools/qv/text.h"

#include "qv/riff64.h"

#include <algorithm>

namespace qv::tool {

void WaveInput::read_wave64() {
  container_ = "wave64";
  ULONGLONG bytes = 0;
  GUID form;
  const HRESULT result = riff64_ReadFileID(file_, &bytes, &form);
  if (result == QVERR_RIFF_READ) fail("the file ends inside its header");
  if (FAILED(result)) fail("is no Wave64 file");
  if (form != QVW64_WAVE) fail("is a Wave64 file of another form than wave");
  // A stored size below that of the header is what a recorder left that could not go back.
  form_size_unknown_ = bytes == 0 || bytes > ~ULONGLONG{QVW64_FILE_HEADER_BYTES};
  form_end_ = form_size_unknown_ ? file_size_ : std::min<uint64_t>(QVW64_FILE_HEADER_BYTES + bytes, file_size_);
  uint64_t position = QVW64_FILE_HEADER_BYTES;
  while (position + QVW64_HEADER_BYTES <= form_end_ && read_wave64_chunk(position)) {
  }
  require_chunks();
}

bool WaveInput::read_wave64_chunk(uint64_t& position) {
  GUID id;
  ULONGLONG size = 0;
  if (!move_to(file_, position) || FAILED(riff64_ReadChunkHeader(file_, &id, &size)))
    fail(result_text(QVERR_RIFF_READ));
  const uint64_t start = position + QVW64_HEADER_BYTES;
  const ChunkEntry entry = {id.Data1, 0, position, size};
  if (id == QVW64_DATA && !has_data_) {
    chunks_.push_back(entry);
    take_data(start, size);
    if (start + data_bytes_ >= file_size_) return false;
  } else if (size > file_size_ - start) {
    return ends_behind_audio(entry.id);
  } else {
    chunks_.push_back(entry);
  }
  if (id == QVW64_FMT && header_.empty()) read_format(size);
  position = start + (size + 7) / 8 * 8;
  return true;
}

} // namespace qv::tool
