// Markers of AIFF files: the "MARK" chunk.
#include "riff/chunk/chunk_layout.h"
#include "riff/chunk/chunk_reader.h"

#include "qv/iff.h"

#include <iterator>

using namespace qv::riff;

namespace {

/// Reads a length in a byte, that many characters, and a byte of padding after an even length.
HRESULT read_name(ChunkReader& reader, WCHAR (&name)[256]) {
  BYTE length = 0;
  char text[256];
  HRESULT result = reader.read(&length, 1);
  if (SUCCEEDED(result)) result = reader.read(text, length + (length % 2 == 0 ? 1u : 0u));
  if (FAILED(result)) return result;
  const int count = length == 0 ? 0
                                : MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, text, length, name,
                                                      static_cast<int>(std::size(name)) - 1);
  name[count] = 0;
  return S_OK;
}

HRESULT read_marker(ChunkReader& reader, QVIFFMARKER& marker) {
  HRESULT result = reader.number<IffLayout>(marker.id);
  if (SUCCEEDED(result)) result = reader.number<IffLayout>(marker.position);
  return SUCCEEDED(result) ? read_name(reader, marker.name) : result;
}

} // namespace

HRESULT iff_FindMarker(HANDLE file, QVIFFMARKER* marker, WORD id) {
  if (!marker) return E_INVALIDARG;
  DWORD size = 0;
  HRESULT result = iff_FindChunkFromStart(file, QVIFF_ID_MARK, &size, nullptr);
  if (FAILED(result)) return result;
  ChunkReader reader(file, size, QVERR_RIFF_NOTFOUND);
  WORD count = 0;
  result = reader.number<IffLayout>(count);
  for (; SUCCEEDED(result) && count > 0; --count) {
    QVIFFMARKER each;
    result = read_marker(reader, each);
    if (FAILED(result) || each.id != id) continue;
    *marker = each;
    return S_OK;
  }
  return FAILED(result) ? result : HRESULT{QVERR_RIFF_NOTFOUND};
}
