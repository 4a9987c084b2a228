// The exported functions of Wave64 files: chunk_io.h, chunk_walk.h and chunk_removal.h with the Wave64 layout, and
// chunks whose size is known at their end.
#include "riff/chunk/chunk_removal.h"

#include "qv/riff64.h"

using namespace qv::riff;

using Walk = ChunkWalk<Wave64Layout>;

namespace {

static_assert(QVW64_HEADER_BYTES == Wave64Layout::kHeaderBytes);
static_assert(QVW64_FILE_HEADER_BYTES == Wave64Layout::kFirstChunkAt);

bool tell_unsigned(HANDLE file, ULONGLONG& position) { return SUCCEEDED(save_location<Wave64Layout>(file, &position)); }

bool seek_unsigned(HANDLE file, ULONGLONG position) { return seek(file, static_cast<LONGLONG>(position)); }

} // namespace

// ---- file header ---------------------------------------------------------------------------------------------------

HRESULT riff64_ReadFileID(HANDLE file, ULONGLONG* size, GUID* form) {
  return read_file_header<Wave64Layout>(file, size, form);
}

HRESULT riff64_WriteFileID(HANDLE file, const GUID* form, ULONGLONG size) {
  return write_file_id<Wave64Layout>(file, form, size);
}

HRESULT riff64_SeekDataStart(HANDLE file) { return seek(file, Wave64Layout::kFirstChunkAt) ? S_OK : QVERR_RIFF_READ; }

HRESULT riff64_SetRIFFSize(HANDLE file, ULONGLONG size) { return set_file_size<Wave64Layout>(file, size); }

HRESULT riff64_UpdateRIFFSize(HANDLE file, LONGLONG change) { return update_file_size<Wave64Layout>(file, change); }

// ---- chunks --------------------------------------------------------------------------------------------------------

HRESULT riff64_ReadChunkHeader(HANDLE file, GUID* id, ULONGLONG* size) {
  return id && size ? read_header<Wave64Layout>(file, *id, *size) : E_INVALIDARG;
}

HRESULT riff64_WriteChunkHeader(HANDLE file, const GUID* id, ULONGLONG size) {
  return id ? write_header<Wave64Layout>(file, *id, size) : E_INVALIDARG;
}

HRESULT riff64_ValidateChunkHeader(HANDLE, const GUID*, ULONGLONG size) {
  constexpr ULONGLONG kNever = 0x8'0000'0007;
  if ((size & kNever) != 0) return QVERR_RIFF_BADSIZE;
  return size == 0 ? QVERR_RIFF_EMPTYCHUNK : S_OK;
}

HRESULT riff64_ReadListHeader(HANDLE file, GUID* type, ULONGLONG* size) {
  return read_list_header<Wave64Layout>(file, type, size);
}

HRESULT riff64_WriteListHeader(HANDLE file, const GUID* type, ULONGLONG size) {
  return type ? write_typed_header<Wave64Layout>(file, Wave64Layout::kListId, *type, size) : E_INVALIDARG;
}

HRESULT riff64_WriteChunk(HANDLE file, const GUID* id, const void* data, ULONGLONG size, ULONGLONG* written) {
  return write_chunk<Wave64Layout>(file, id, data, size, written);
}

HRESULT riff64_WriteData(HANDLE file, const void* data, ULONGLONG size, ULONGLONG* written) {
  const HRESULT result = write_data<Wave64Layout>(file, data, size);
  if (SUCCEEDED(result) && written) *written = padded<Wave64Layout>(size);
  return result;
}

HRESULT riff64_WriteToFile(HANDLE file, const void* data, ULONGLONG size) {
  if (!data && size != 0) return E_INVALIDARG;
  return write_exact(file, data, size) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_ReadData(HANDLE file, void* buffer, ULONGLONG size) {
  return read_data<Wave64Layout>(file, buffer, size);
}

HRESULT riff64_ReadDataBounded(HANDLE file, void* buffer, ULONGLONG bufferSize, ULONGLONG chunkSize) {
  return read_data_bounded<Wave64Layout>(file, buffer, bufferSize, chunkSize);
}

HRESULT riff64_ReadDataAlloc(HANDLE file, QVRIFF64DATA* data) { return read_data_alloc<Wave64Layout>(file, data); }

ULONGLONG riff64_SkipChunk(HANDLE file, ULONGLONG size) { return skip_chunk<Wave64Layout>(file, size); }

HRESULT riff64_SaveLocation(HANDLE file, ULONGLONG* location) { return save_location<Wave64Layout>(file, location); }

HRESULT riff64_RestoreLocation(HANDLE file, ULONGLONG location) {
  return seek_unsigned(file, location) ? S_OK : QVERR_RIFF_READ;
}

// ---- chunks whose size is known at their end -----------------------------------------------------------------------

HRESULT riff64_PrepareChunk(HANDLE file, const GUID* id, ULONGLONG* start) {
  if (!start) return E_INVALIDARG;
  return tell_unsigned(file, *start) ? riff64_WriteChunkHeader(file, id, 0) : QVERR_RIFF_WRITE;
}

HRESULT riff64_PrepareList(HANDLE file, const GUID* type, ULONGLONG* start) {
  if (!start) return E_INVALIDARG;
  return tell_unsigned(file, *start) ? riff64_WriteListHeader(file, type, 0) : QVERR_RIFF_WRITE;
}

ULONGLONG riff64_AmountWritten(HANDLE file, ULONGLONG start) {
  ULONGLONG position = 0;
  return tell_unsigned(file, position) ? position - start : 0;
}

HRESULT riff64_Pad(HANDLE file, ULONGLONG start) {
  ULONGLONG position = 0;
  if (!tell_unsigned(file, position)) return QVERR_RIFF_WRITE;
  return write_padding<Wave64Layout>(file, position - start) ? S_OK : QVERR_RIFF_WRITE;
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

// ---- searches ------------------------------------------------------------------------------------------------------

HRESULT riff64_FindChunkHeader(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining) {
  return find_chunk_header<Wave64Layout>(file, id, size, remaining);
}

HRESULT riff64_FindChunkHeaderInRIFF(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining) {
  return find_chunk_from_start<Wave64Layout>(file, id, size, remaining);
}

HRESULT riff64_FindListChunk(HANDLE file, const GUID* type, ULONGLONG* size, ULONGLONG* remaining) {
  return find_list_header<Wave64Layout>(file, type, size, remaining);
}

HRESULT riff64_FindListChunkFromStart(HANDLE file, const GUID* type, ULONGLONG* size) {
  return find_list_from_start<Wave64Layout>(file, type, size);
}

HRESULT riff64_GetNumListEntries(HANDLE file, DWORD* count, ULONGLONG* remaining) {
  return count ? Walk::count_chunks(file, *count, remaining) : E_INVALIDARG;
}

HRESULT riff64_SeekListEntry(HANDLE file, DWORD index, ULONGLONG* remaining) {
  return Walk::skip_chunks(file, index, Walk::Left(remaining));
}

HRESULT riff64_DeleteChunk(HANDLE file, const GUID* id, ULONGLONG* removed, LONG isList) {
  return isList != 0 ? remove_list<Wave64Layout>(file, id, removed) : remove_chunk<Wave64Layout>(file, id, removed);
}

// ---- labels --------------------------------------------------------------------------------------------------------

const WCHAR* riff64_getGUIDLabel(const GUID*) { return nullptr; }

const WCHAR* riff64_getGUIDLabelProperly(const GUID*) { return nullptr; }
