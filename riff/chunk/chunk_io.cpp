// One chunk or list header, and one chunk's data, at the file's position.
#include "riff/chunk/data_block.h"

using namespace qv::riff;

HRESULT riff_ReadChunkHeader(HANDLE file, DWORD* id, DWORD* size) {
  if (!id || !size) return E_INVALIDARG;
  DWORD header[2];
  if (!read_exact(file, header, 8)) return QVERR_RIFF_READ;
  *id = header[0];
  *size = header[1];
  return S_OK;
}

HRESULT riff_WriteChunkHeader(HANDLE file, DWORD id, DWORD size) {
  const DWORD header[2] = {id, size};
  return write_exact(file, header, 8) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff_ValidateChunkHeader(HANDLE, DWORD, LONG size) {
  if (size < 0) return QVERR_RIFF_BADSIZE;
  return size == 0 ? QVERR_RIFF_EMPTYCHUNK : S_OK;
}

HRESULT riff_ReadListHeader(HANDLE file, DWORD* listType, DWORD* size) {
  if (!listType || !size) return E_INVALIDARG;
  DWORD id = 0;
  DWORD list_size = 0;
  const HRESULT result = riff_ReadChunkHeader(file, &id, &list_size);
  if (FAILED(result)) return result;
  if (id != QVRIFF_ID_LIST) return QVERR_RIFF_NOTLIST;
  DWORD type = 0;
  if (!read_exact(file, &type, sizeof type)) return QVERR_RIFF_READ;
  *listType = type;
  *size = list_size < 4 ? 0 : list_size - 4;
  return S_OK;
}

HRESULT riff_WriteListHeader(HANDLE file, DWORD listType, DWORD size) {
  const DWORD header[3] = {QVRIFF_ID_LIST, size, listType};
  return write_exact(file, header, sizeof header) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff_WriteChunk(HANDLE file, DWORD id, const void* data, DWORD size, DWORD* written) {
  if (!data && size != 0) return E_INVALIDARG;
  const HRESULT result = riff_WriteChunkHeader(file, id, size);
  if (FAILED(result)) return result;
  const BYTE pad = 0;
  if (!write_exact(file, data, size) || !write_exact(file, &pad, size & 1)) return QVERR_RIFF_WRITE;
  if (written) *written = static_cast<DWORD>(padded(size) + 8);
  return S_OK;
}

HRESULT riff_ReadData(HANDLE file, void* buffer, DWORD size) {
  if (!buffer && size != 0) return E_INVALIDARG;
  return read_exact(file, buffer, size) && skip(file, size & 1) ? S_OK : QVERR_RIFF_READ;
}

HRESULT riff_ReadDataBounded(HANDLE file, void* buffer, DWORD bufferSize, DWORD chunkSize) {
  if (!buffer && bufferSize != 0) return E_INVALIDARG;
  const DWORD bytes = bufferSize < chunkSize ? bufferSize : chunkSize;
  if (!read_exact(file, buffer, bytes)) return QVERR_RIFF_READ;
  // The skip goes by the buffer: readers of fixed-size headers depend on where it leaves the file.
  const LONGLONG rest = LONGLONG{bufferSize - bytes} + (chunkSize & 1);
  return skip(file, rest) ? S_OK : QVERR_RIFF_READ;
}

HRESULT riff_ReadDataAlloc(HANDLE file, QVRIFFDATA* data) {
  if (!data) return E_INVALIDARG;
  data->data = nullptr;
  if (data->size == 0) return S_OK;
  return read_block(file, data->size, riff_ReadData, data->data);
}

DWORD riff_SkipChunk(HANDLE file, DWORD size) {
  skip(file, static_cast<LONGLONG>(padded(size)));
  return static_cast<DWORD>(padded(size));
}

HRESULT riff_SaveLocation(HANDLE file, DWORD* location) {
  if (!location) return E_INVALIDARG;
  LONGLONG position = 0;
  if (!tell(file, position)) return QVERR_RIFF_READ;
  *location = static_cast<DWORD>(position);
  return S_OK;
}

HRESULT riff_RestoreLocation(HANDLE file, DWORD location) {
  return seek(file, LONGLONG{location}) ? S_OK : QVERR_RIFF_READ;
}
