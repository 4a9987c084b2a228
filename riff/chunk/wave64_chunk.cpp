// One chunk or list header, and one chunk's data, at the file's position.
#include "riff/chunk/chunk_walk.h"
#include "riff/chunk/data_block.h"
#include "riff/chunk/wave64_layout.h"

#include <algorithm>

using namespace qv::riff;

using Walk = ChunkWalk<Wave64Layout>;

namespace {

constexpr BYTE kZeros[Wave64Layout::kAlignment] = {};

/// Zeros behind that many bytes.
bool write_padding(HANDLE file, ULONGLONG bytes) { return write_exact(file, kZeros, Walk::padded(bytes) - bytes); }

bool tell_unsigned(HANDLE file, ULONGLONG& position) {
  LONGLONG at = 0;
  if (!tell(file, at)) return false;
  position = static_cast<ULONGLONG>(at);
  return true;
}

bool seek_unsigned(HANDLE file, ULONGLONG position) { return seek(file, static_cast<LONGLONG>(position)); }

} // namespace

HRESULT riff64_ReadChunkHeader(HANDLE file, GUID* id, ULONGLONG* size) {
  if (!id || !size) return E_INVALIDARG;
  struct Header {
    GUID id;
    ULONGLONG stored;
  } header;
  static_assert(sizeof header == QVW64_HEADER_BYTES);
  if (!read_exact(file, &header, sizeof header)) return QVERR_RIFF_READ;
  *id = header.id;
  *size = data_size_of(header.stored);
  return S_OK;
}

HRESULT riff64_WriteChunkHeader(HANDLE file, const GUID* id, ULONGLONG size) {
  if (!id) return E_INVALIDARG;
  const ULONGLONG stored = size + QVW64_HEADER_BYTES;
  return write_exact(file, id, sizeof *id) && write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_ValidateChunkHeader(HANDLE, const GUID*, ULONGLONG size) {
  constexpr ULONGLONG kNever = 0x8'0000'0007;
  if ((size & kNever) != 0) return QVERR_RIFF_BADSIZE;
  return size == 0 ? QVERR_RIFF_EMPTYCHUNK : S_OK;
}

HRESULT riff64_ReadListHeader(HANDLE file, GUID* type, ULONGLONG* size) {
  if (!type || !size) return E_INVALIDARG;
  GUID id;
  ULONGLONG list_size = 0;
  const HRESULT result = riff64_ReadChunkHeader(file, &id, &list_size);
  if (FAILED(result)) return result;
  if (id != QVW64_LIST) return QVERR_RIFF_NOTLIST;
  GUID list_type;
  if (!read_exact(file, &list_type, sizeof list_type)) return QVERR_RIFF_READ;
  *type = list_type;
  *size = list_size < sizeof list_type ? 0 : list_size - sizeof list_type;
  return S_OK;
}

HRESULT riff64_WriteListHeader(HANDLE file, const GUID* type, ULONGLONG size) {
  if (!type) return E_INVALIDARG;
  const HRESULT result = riff64_WriteChunkHeader(file, &QVW64_LIST, size);
  if (FAILED(result)) return result;
  return write_exact(file, type, sizeof *type) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_WriteChunk(HANDLE file, const GUID* id, const void* data, ULONGLONG size, ULONGLONG* written) {
  if (!data && size != 0) return E_INVALIDARG;
  HRESULT result = riff64_WriteChunkHeader(file, id, size);
  if (SUCCEEDED(result)) result = riff64_WriteData(file, data, size, nullptr);
  if (SUCCEEDED(result) && written) *written = Walk::padded(size) + QVW64_HEADER_BYTES;
  return result;
}

HRESULT riff64_WriteData(HANDLE file, const void* data, ULONGLONG size, ULONGLONG* written) {
  const HRESULT result = riff64_WriteToFile(file, data, size);
  if (FAILED(result)) return result;
  if (!write_padding(file, size)) return QVERR_RIFF_WRITE;
  if (written) *written = Walk::padded(size);
  return S_OK;
}

HRESULT riff64_WriteToFile(HANDLE file, const void* data, ULONGLONG size) {
  if (!data && size != 0) return E_INVALIDARG;
  return write_exact(file, data, size) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_ReadData(HANDLE file, void* buffer, ULONGLONG size) {
  if (!buffer && size != 0) return E_INVALIDARG;
  return read_exact(file, buffer, size) && skip_forward(file, Walk::padded(size) - size) ? S_OK : QVERR_RIFF_READ;
}

HRESULT riff64_ReadDataBounded(HANDLE file, void* buffer, ULONGLONG bufferSize, ULONGLONG chunkSize) {
  if (!buffer && bufferSize != 0) return E_INVALIDARG;
  const ULONGLONG bytes = std::min(bufferSize, chunkSize);
  if (!read_exact(file, buffer, bytes)) return QVERR_RIFF_READ;
  const ULONGLONG rest = bufferSize - bytes + chunkSize % Wave64Layout::kAlignment;
  return skip_forward(file, rest) ? S_OK : QVERR_RIFF_READ;
}

HRESULT riff64_ReadDataAlloc(HANDLE file, QVRIFF64DATA* data) {
  if (!data) return E_INVALIDARG;
  data->data = nullptr;
  if (data->size == 0) return S_OK;
  return read_block(file, data->size, riff64_ReadData, data->data);
}

ULONGLONG riff64_SkipChunk(HANDLE file, ULONGLONG size) {
  skip_forward(file, Walk::padded(size));
  return Walk::padded(size);
}

HRESULT riff64_SaveLocation(HANDLE file, ULONGLONG* location) {
  if (!location) return E_INVALIDARG;
  return tell_unsigned(file, *location) ? S_OK : QVERR_RIFF_READ;
}

HRESULT riff64_RestoreLocation(HANDLE file, ULONGLONG location) {
  return seek_unsigned(file, location) ? S_OK : QVERR_RIFF_READ;
}

ULONGLONG riff64_AmountWritten(HANDLE file, ULONGLONG start) {
  ULONGLONG position = 0;
  return tell_unsigned(file, position) ? position - start : 0;
}

HRESULT riff64_Pad(HANDLE file, ULONGLONG start) {
  ULONGLONG position = 0;
  if (!tell_unsigned(file, position)) return QVERR_RIFF_WRITE;
  return write_padding(file, position - start) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_PrepareChunk(HANDLE file, const GUID* id, ULONGLONG* start) {
  if (!start) return E_INVALIDARG;
  return tell_unsigned(file, *start) ? riff64_WriteChunkHeader(file, id, 0) : QVERR_RIFF_WRITE;
}

HRESULT riff64_PrepareList(HANDLE file, const GUID* type, ULONGLONG* start) {
  if (!start) return E_INVALIDARG;
  return tell_unsigned(file, *start) ? riff64_WriteListHeader(file, type, 0) : QVERR_RIFF_WRITE;
}

HRESULT riff64_CompleteChunk(HANDLE file, ULONGLONG start) {
  const HRESULT result = riff64_Pad(file, start);
  if (FAILED(result)) return result;
  ULONGLONG end = 0;
  if (!tell_unsigned(file, end)) return QVERR_RIFF_WRITE;
  const ULONGLONG stored = end - start;
  const bool done = seek_unsigned(file, start + sizeof(GUID)) && write_exact(file, &stored, sizeof stored);
  return seek_unsigned(file, end) && done ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_WriteChunkToFile(HANDLE file, const GUID* id, const void* data, ULONGLONG size) {
  if (!data && size != 0) return E_INVALIDARG;
  ULONGLONG start = 0;
  HRESULT result = riff64_PrepareChunk(file, id, &start);
  if (SUCCEEDED(result)) result = riff64_WriteToFile(file, data, size);
  return SUCCEEDED(result) ? riff64_CompleteChunk(file, start) : result;
}

const WCHAR* riff64_getGUIDLabel(const GUID*) { return nullptr; }

const WCHAR* riff64_getGUIDLabelProperly(const GUID*) { return nullptr; }
