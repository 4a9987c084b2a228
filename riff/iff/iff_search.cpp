// Searches in IFF files, markers, and deletion.
#include "riff/chunk/chunk_removal.h"
#include "riff/iff/iff_layout.h"

#include <iterator>

using namespace qv::riff;

using Walk = ChunkWalk<IffLayout>;

namespace {

/// Reads within a chunk's bounds.
class ChunkReader {
public:
  ChunkReader(HANDLE file, DWORD size) : file_(file), left_(size) {}

  /// QVERR_RIFF_NOTFOUND where the chunk has fewer bytes.
  template <class Word>
  HRESULT word(HRESULT (*read)(HANDLE file, Word* value), Word& value) {
    if (left_ < sizeof value) return QVERR_RIFF_NOTFOUND;
    left_ -= sizeof value;
    return read(file_, &value);
  }
  HRESULT bytes(void* buffer, DWORD count) {
    if (left_ < count) return QVERR_RIFF_NOTFOUND;
    left_ -= count;
    return read_exact(file_, buffer, count) ? S_OK : QVERR_RIFF_READ;
  }

private:
  HANDLE file_;
  DWORD left_;
};

/// A length in a byte, that many characters, and a byte of padding after an even length.
HRESULT read_name(ChunkReader& reader, WCHAR (&name)[256]) {
  BYTE length = 0;
  char text[256];
  HRESULT result = reader.bytes(&length, 1);
  if (SUCCEEDED(result)) result = reader.bytes(text, length + (length % 2 == 0 ? 1u : 0u));
  if (FAILED(result)) return result;
  const int count = length == 0 ? 0
                                : MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, text, length, name,
                                                      static_cast<int>(std::size(name)) - 1);
  name[count] = 0;
  return S_OK;
}

HRESULT read_marker(ChunkReader& reader, QVIFFMARKER& marker) {
  HRESULT result = reader.word(iff_ReadWORD, marker.id);
  if (SUCCEEDED(result)) result = reader.word(iff_ReadDWORD, marker.position);
  return SUCCEEDED(result) ? read_name(reader, marker.name) : result;
}

} // namespace

HRESULT iff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  DWORD found = 0;
  const HRESULT result = Walk::find_chunk(file, id, found, Walk::Left(remaining));
  if (SUCCEEDED(result) && size) *size = found;
  return result;
}

HRESULT iff_SeekChunkHeader(HANDLE file, DWORD id, DWORD* size) { return iff_FindChunkHeader(file, id, size, nullptr); }

HRESULT iff_FindChunkFromStart(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, id, found, Walk::find_chunk);
  if (SUCCEEDED(result) && size) *size = found.size;
  if (remaining) *remaining = found.remaining;
  return result;
}

HRESULT iff_FindMarker(HANDLE file, QVIFFMARKER* marker, WORD id) {
  if (!marker) return E_INVALIDARG;
  DWORD size = 0;
  HRESULT result = iff_FindChunkFromStart(file, QVIFF_ID_MARK, &size, nullptr);
  if (FAILED(result)) return result;
  ChunkReader reader(file, size);
  WORD count = 0;
  result = reader.word(iff_ReadWORD, count);
  for (; SUCCEEDED(result) && count > 0; --count) {
    QVIFFMARKER each;
    result = read_marker(reader, each);
    if (FAILED(result) || each.id != id) continue;
    *marker = each;
    return S_OK;
  }
  return FAILED(result) ? result : HRESULT{QVERR_RIFF_NOTFOUND};
}

HRESULT iff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed) {
  ULONGLONG length = 0;
  const HRESULT result = remove_chunk<IffLayout>(file, id, length);
  if (length != 0 && removed) *removed = static_cast<DWORD>(length);
  return result;
}
