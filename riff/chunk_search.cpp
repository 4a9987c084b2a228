// Searches: each reads a chunk header, compares, and moves forward over what it does not want.
#include "riff/chunk_search.h"

namespace qv::riff {

namespace {

constexpr DWORD kHeaderBytes = 8;
constexpr DWORD kListTypeBytes = 4;

HRESULT next_header(HANDLE file, Remaining& remaining, DWORD& id, DWORD& size) {
  if (remaining.below(kHeaderBytes)) return QVERR_RIFF_NOTFOUND;
  const HRESULT result = riff_ReadChunkHeader(file, &id, &size);
  if (SUCCEEDED(result)) remaining.take(kHeaderBytes);
  return result;
}

HRESULT pass_over(HANDLE file, Remaining& remaining, ULONGLONG bytes) {
  if (!skip(file, static_cast<LONGLONG>(bytes))) return QVERR_RIFF_READ;
  remaining.take(bytes);
  return S_OK;
}

HRESULT find_chunk(HANDLE file, DWORD wanted, DWORD& size, Remaining remaining) {
  for (;;) {
    DWORD id = 0;
    HRESULT result = next_header(file, remaining, id, size);
    if (FAILED(result) || id == wanted) return result;
    result = pass_over(file, remaining, padded(size));
    if (FAILED(result)) return result;
  }
}

/// `size` is the list's as its header says.
HRESULT find_list(HANDLE file, DWORD wanted, DWORD& size, Remaining remaining) {
  for (;;) {
    HRESULT result = find_chunk(file, QVRIFF_ID_LIST, size, remaining);
    if (FAILED(result)) return result;
    ULONGLONG rest = padded(size);
    // A list below 4 bytes has no type: what would be read as one belongs to the next chunk.
    if (size >= kListTypeBytes) {
      if (remaining.below(kListTypeBytes)) return QVERR_RIFF_NOTFOUND;
      DWORD type = 0;
      if (!read_exact(file, &type, kListTypeBytes)) return QVERR_RIFF_READ;
      remaining.take(kListTypeBytes);
      if (type == wanted) return S_OK;
      rest -= kListTypeBytes;
    }
    result = pass_over(file, remaining, rest);
    if (FAILED(result)) return result;
  }
}

using Search = HRESULT (*)(HANDLE file, DWORD wanted, DWORD& size, Remaining remaining);

HRESULT search_top_level(HANDLE file, DWORD wanted, FoundChunk& found, Search search) {
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  DWORD form_size = 0;
  const HRESULT header = riff_ReadFileID(file, &form_size, nullptr);
  if (FAILED(header)) return header;
  found.remaining = form_size;
  const HRESULT result = search(file, wanted, found.size, Remaining(&found.remaining));
  if (result == QVERR_RIFF_READ) found.remaining = form_size;
  return result;
}

} // namespace

HRESULT find_top_level_chunk(HANDLE file, DWORD id, FoundChunk& found) {
  return search_top_level(file, id, found, find_chunk);
}

HRESULT find_top_level_list(HANDLE file, DWORD list_type, FoundChunk& found) {
  return search_top_level(file, list_type, found, find_list);
}

} // namespace qv::riff

using namespace qv::riff;

HRESULT riff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  DWORD found = 0;
  const HRESULT result = find_chunk(file, id, found, Remaining(remaining));
  if (SUCCEEDED(result) && size != nullptr) *size = found;
  return result;
}

HRESULT riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  FoundChunk found;
  const HRESULT result = find_top_level_chunk(file, id, found);
  if (SUCCEEDED(result) && size != nullptr) *size = found.size;
  if (remaining != nullptr) *remaining = found.remaining;
  return result;
}

HRESULT riff_FindListChunk(HANDLE file, DWORD listType, DWORD* size, DWORD* remaining) {
  DWORD found = 0;
  const HRESULT result = find_list(file, listType, found, Remaining(remaining));
  if (SUCCEEDED(result) && size != nullptr) *size = found - kListTypeBytes;
  return result;
}

HRESULT riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD* size) {
  FoundChunk found;
  const HRESULT result = find_top_level_list(file, listType, found);
  if (SUCCEEDED(result) && size != nullptr) *size = found.size - kListTypeBytes;
  return result;
}

HRESULT riff_GetNumListEntries(HANDLE file, DWORD* count, DWORD* remaining) {
  if (count == nullptr) return E_INVALIDARG;
  *count = 0;
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  DWORD left = remaining == nullptr ? 0 : *remaining;
  Remaining bound(remaining == nullptr ? nullptr : &left);
  HRESULT result = S_OK;
  while (SUCCEEDED(result)) {
    DWORD id = 0;
    DWORD size = 0;
    result = next_header(file, bound, id, size);
    if (FAILED(result)) break;
    ++*count;
    result = pass_over(file, bound, padded(size));
  }
  if (result == QVERR_RIFF_NOTFOUND) result = S_OK;
  return kept.restore() ? result : QVERR_RIFF_READ;
}

HRESULT riff_SeekListEntry(HANDLE file, DWORD index, DWORD* remaining) {
  Remaining bound(remaining);
  for (DWORD passed = 0; passed < index; ++passed) {
    DWORD id = 0;
    DWORD size = 0;
    HRESULT result = next_header(file, bound, id, size);
    if (SUCCEEDED(result)) result = pass_over(file, bound, padded(size));
    if (FAILED(result)) return result;
  }
  return S_OK;
}
