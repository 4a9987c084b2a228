// How an AIFF or AIFF-C file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/wave_input.h"

#include "qv/iff.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

/// The characters of an id in file order.
DWORD in_file_order(DWORD id) {
  iff_ByteSwap32(&id, 1);
  return id;
}

} // namespace

void WaveInput::read_aiff() {
  DWORD form_size = 0;
  LONG is_aifc = 0;
  const bool usable = iff_IsAIFFFileEx(file_, &form_size, &is_aifc, nullptr) != 0;
  container_ = is_aifc != 0 ? "aifc" : "aiff";
  if (!usable) fail(is_aifc != 0 ? "is AIFF-C of a compression type that is not read" : "is an IFF file, but no AIFF");
  WAVEFORMATEX format;
  DWORD frames = 0;
  ULONGLONG start = 0;
  ULONGLONG bytes = 0;
  const HRESULT result = iff_GetAIFFWfx(file_, &format, &frames, &start, &bytes);
  if (result == QVERR_RIFF_NOTFOUND) fail("has no \"COMM\" or no \"SSND\" chunk");
  if (FAILED(result)) fail(result_text(result));
  header_.assign(sizeof(WAVEFORMATEXTENSIBLE), 0);
  std::memcpy(header_.data(), &format, sizeof format);
  format_.format.Init(sizeof format_, format);
  has_data_ = true;
  data_start_ = start;
  data_bytes_ = bytes;
  if (uint64_t{frames} * format.nBlockAlign > bytes)
    print_warning(name_, "the header says " + std::to_string(frames) + " frames, the file holds " +
                             std::to_string(bytes / format.nBlockAlign) + ": they are read");
  read_aiff_chunks(std::min<uint64_t>(8 + uint64_t{form_size}, file_size_));
}

void WaveInput::read_aiff_chunks(uint64_t form_end) {
  QVIFFCHUNK header;
  for (uint64_t position = 12; position + 8 <= form_end;) {
    if (!move_to(file_, position) || FAILED(iff_ReadChunkHdr(file_, &header))) fail(result_text(QVERR_RIFF_READ));
    chunks_.push_back({in_file_order(header.id), 0, position, header.size});
    position += 8 + uint64_t{header.size} + header.size % 2;
  }
}

} // namespace qv::tool
