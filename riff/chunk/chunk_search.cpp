// The searches in RIFF files.
#include "riff/chunk/chunk_walk.h"
#include "riff/chunk/riff_layout.h"

using namespace qv::riff;

using Walk = ChunkWalk<RiffLayout>;

HRESULT riff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  DWORD found = 0;
  const HRESULT result = Walk::find_chunk(file, id, found, Walk::Left(remaining));
  if (SUCCEEDED(result) && size) *size = found;
  return result;
}

HRESULT riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, id, found, Walk::find_chunk);
  if (SUCCEEDED(result) && size) *size = found.size;
  if (remaining) *remaining = found.remaining;
  return result;
}

HRESULT riff_FindListChunk(HANDLE file, DWORD listType, DWORD* size, DWORD* remaining) {
  DWORD found = 0;
  const HRESULT result = Walk::find_list(file, listType, found, Walk::Left(remaining));
  if (SUCCEEDED(result) && size) *size = found - RiffLayout::kTypeBytes;
  return result;
}

HRESULT riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD* size) {
  Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, listType, found, Walk::find_list);
  if (SUCCEEDED(result) && size) *size = found.size - RiffLayout::kTypeBytes;
  return result;
}

HRESULT riff_GetNumListEntries(HANDLE file, DWORD* count, DWORD* remaining) {
  return count ? Walk::count_chunks(file, *count, remaining) : E_INVALIDARG;
}

HRESULT riff_SeekListEntry(HANDLE file, DWORD index, DWORD* remaining) {
  return Walk::skip_chunks(file, index, Walk::Left(remaining));
}
