#include "riff/chunk/chunk_removal.h"
#include "riff/chunk/riff_layout.h"

namespace qv::riff {

HRESULT close_gap(HANDLE file, const Span& span) {
  constexpr DWORD kBlockBytes = 4096;
  BYTE block[kBlockBytes];
  LONGLONG to = span.start;
  LONGLONG from = span.start + static_cast<LONGLONG>(span.length);
  DWORD bytes = kBlockBytes;
  while (bytes == kBlockBytes) {
    if (!seek(file, from) || !ReadFile(file, block, kBlockBytes, &bytes, nullptr)) return QVERR_RIFF_READ;
    if (!seek(file, to) || !write_exact(file, block, bytes)) return QVERR_RIFF_WRITE;
    from += bytes;
    to += bytes;
  }
  return SetEndOfFile(file) ? S_OK : QVERR_RIFF_WRITE;
}

} // namespace qv::riff

using namespace qv::riff;

HRESULT riff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed, LONG isList) {
  ULONGLONG length = 0;
  const HRESULT result =
      isList != 0 ? remove_list<RiffLayout>(file, id, length) : remove_chunk<RiffLayout>(file, id, length);
  if (length != 0 && removed) *removed = static_cast<DWORD>(length);
  return result;
}
