// The exported functions of RIFF files: chunk_io.h, chunk_walk.h and chunk_removal.h with the RIFF layout.
#include "riff/chunk/chunk_removal.h"

#include "qv/riff.h"

using namespace qv::riff;

using Walk = ChunkWalk<RiffLayout>;

// ---- file header ---------------------------------------------------------------------------------------------------

HRESULT riff_ReadFileID(HANDLE file, DWORD* size, DWORD* formType) {
  return read_file_header<RiffLayout>(file, size, formType);
}

HRESULT riff_WriteFileID(HANDLE file, DWORD formType, DWORD riffSize) {
  return write_file_id<RiffLayout>(file, &formType, riffSize);
}

HRESULT riff_SeekDataStart(HANDLE file) { return seek(file, RiffLayout::kFirstChunkAt) ? S_OK : QVERR_RIFF_READ; }

HRESULT riff_GetFileSize(HANDLE file, DWORD* size) {
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  DWORD id = 0;
  DWORD riff_size = 0;
  const HRESULT result = read_header<RiffLayout>(file, id, riff_size);
  if (FAILED(result)) return result;
  if (id != RiffLayout::kFileId) return QVERR_RIFF_NOTRIFF;
  if (size) *size = riff_size + 4;
  return S_OK;
}

HRESULT riff_SetRIFFSize(HANDLE file, DWORD size) { return set_file_size<RiffLayout>(file, size); }

HRESULT riff_UpdateRIFFSize(HANDLE file, LONGLONG change) { return update_file_size<RiffLayout>(file, change); }

// ---- chunks --------------------------------------------------------------------------------------------------------

HRESULT riff_ReadChunkHeader(HANDLE file, DWORD* id, DWORD* size) {
  return id && size ? read_header<RiffLayout>(file, *id, *size) : E_INVALIDARG;
}

HRESULT riff_WriteChunkHeader(HANDLE file, DWORD id, DWORD size) { return write_header<RiffLayout>(file, id, size); }

HRESULT riff_ValidateChunkHeader(HANDLE, DWORD, LONG size) {
  if (size < 0) return QVERR_RIFF_BADSIZE;
  return size == 0 ? QVERR_RIFF_EMPTYCHUNK : S_OK;
}

HRESULT riff_ReadListHeader(HANDLE file, DWORD* listType, DWORD* size) {
  return read_list_header<RiffLayout>(file, listType, size);
}

HRESULT riff_WriteListHeader(HANDLE file, DWORD listType, DWORD size) {
  return write_typed_header<RiffLayout>(file, RiffLayout::kListId, listType, size);
}

HRESULT riff_WriteChunk(HANDLE file, DWORD id, const void* data, DWORD size, DWORD* written) {
  return write_chunk<RiffLayout>(file, &id, data, size, written);
}

HRESULT riff_ReadData(HANDLE file, void* buffer, DWORD size) { return read_data<RiffLayout>(file, buffer, size); }

HRESULT riff_ReadDataBounded(HANDLE file, void* buffer, DWORD bufferSize, DWORD chunkSize) {
  return read_data_bounded<RiffLayout>(file, buffer, bufferSize, chunkSize);
}

HRESULT riff_ReadDataAlloc(HANDLE file, QVRIFFDATA* data) { return read_data_alloc<RiffLayout>(file, data); }

DWORD riff_SkipChunk(HANDLE file, DWORD size) { return skip_chunk<RiffLayout>(file, size); }

HRESULT riff_SaveLocation(HANDLE file, DWORD* location) { return save_location<RiffLayout>(file, location); }

HRESULT riff_RestoreLocation(HANDLE file, DWORD location) {
  return seek(file, LONGLONG{location}) ? S_OK : QVERR_RIFF_READ;
}

// ---- searches ------------------------------------------------------------------------------------------------------

HRESULT riff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  return find_chunk_header<RiffLayout>(file, &id, size, remaining);
}

HRESULT riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  return find_chunk_from_start<RiffLayout>(file, &id, size, remaining);
}

HRESULT riff_FindListChunk(HANDLE file, DWORD listType, DWORD* size, DWORD* remaining) {
  return find_list_header<RiffLayout>(file, &listType, size, remaining);
}

HRESULT riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD* size) {
  return find_list_from_start<RiffLayout>(file, &listType, size);
}

HRESULT riff_GetNumListEntries(HANDLE file, DWORD* count, DWORD* remaining) {
  return count ? Walk::count_chunks(file, *count, remaining) : E_INVALIDARG;
}

HRESULT riff_SeekListEntry(HANDLE file, DWORD index, DWORD* remaining) {
  return Walk::skip_chunks(file, index, Walk::Left(remaining));
}

HRESULT riff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed, LONG isList) {
  return isList != 0 ? remove_list<RiffLayout>(file, &id, removed) : remove_chunk<RiffLayout>(file, &id, removed);
}
