// Searches in Wave64 files, and deletion.
#include "riff/chunk/chunk_removal.h"
#include "riff/chunk/wave64_layout.h"

using namespace qv::riff;

using Walk = ChunkWalk<Wave64Layout>;

HRESULT riff64_FindChunkHeader(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining) {
  if (!id) return E_INVALIDARG;
  ULONGLONG found = 0;
  const HRESULT result = Walk::find_chunk(file, *id, found, Walk::Left(remaining));
  if (SUCCEEDED(result) && size) *size = found;
  return result;
}

HRESULT riff64_FindChunkHeaderInRIFF(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining) {
  if (!id) return E_INVALIDARG;
  Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *id, found, Walk::find_chunk);
  if (SUCCEEDED(result) && size) *size = found.size;
  if (remaining) *remaining = found.remaining;
  return result;
}

HRESULT riff64_FindListChunk(HANDLE file, const GUID* type, ULONGLONG* size, ULONGLONG* remaining) {
  if (!type) return E_INVALIDARG;
  ULONGLONG found = 0;
  const HRESULT result = Walk::find_list(file, *type, found, Walk::Left(remaining));
  if (SUCCEEDED(result) && size) *size = found - Wave64Layout::kTypeBytes;
  return result;
}

HRESULT riff64_FindListChunkFromStart(HANDLE file, const GUID* type, ULONGLONG* size) {
  if (!type) return E_INVALIDARG;
  Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *type, found, Walk::find_list);
  if (SUCCEEDED(result) && size) *size = found.size - Wave64Layout::kTypeBytes;
  return result;
}

HRESULT riff64_GetNumListEntries(HANDLE file, DWORD* count, ULONGLONG* remaining) {
  return count ? Walk::count_chunks(file, *count, remaining) : E_INVALIDARG;
}

HRESULT riff64_SeekListEntry(HANDLE file, DWORD index, ULONGLONG* remaining) {
  return Walk::skip_chunks(file, index, Walk::Left(remaining));
}

HRESULT riff64_DeleteChunk(HANDLE file, const GUID* id, ULONGLONG* removed, LONG isList) {
  if (!id) return E_INVALIDARG;
  ULONGLONG length = 0;
  const HRESULT result =
      isList != 0 ? remove_list<Wave64Layout>(file, *id, length) : remove_chunk<Wave64Layout>(file, *id, length);
  if (length != 0 && removed) *removed = length;
  return result;
}
