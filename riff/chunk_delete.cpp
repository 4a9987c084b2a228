// Taking a top-level chunk out of a file.
#include "riff/chunk_search.h"

using namespace qv::riff;

namespace {

constexpr DWORD kBlockBytes = 4096;

/// Where a chunk lies in the file, with its header and pad byte.
struct Span {
  LONGLONG start = 0;
  ULONGLONG length = 0;
};

HRESULT find_span(HANDLE file, DWORD id, bool is_list, Span& span) {
  FoundChunk found;
  const HRESULT result = is_list ? find_top_level_list(file, id, found) : find_top_level_chunk(file, id, found);
  if (FAILED(result)) return result;
  const DWORD header = is_list ? 12 : 8;
  const DWORD data = is_list ? found.size - 4 : found.size;
  if (!tell(file, span.start)) return QVERR_RIFF_READ;
  span.start -= header;
  span.length = padded(data) + header;
  return S_OK;
}

/// Whether the RIFF size can be made smaller by the span. Asked before anything moves.
HRESULT check_size_update(HANDLE file, const Span& span) {
  DWORD size = 0;
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  const HRESULT result = read_riff_size(file, size);
  if (FAILED(result)) return result;
  return span.length > size ? QVERR_RIFF_BADSIZE : S_OK;
}

/// Moves what follows the span onto its start, and ends the file there.
HRESULT close_gap(HANDLE file, const Span& span) {
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

} // namespace

HRESULT riff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed, LONG isList) {
  Span span;
  HRESULT result = find_span(file, id, isList != 0, span);
  if (SUCCEEDED(result)) result = check_size_update(file, span);
  if (SUCCEEDED(result)) result = close_gap(file, span);
  if (FAILED(result)) return result;
  if (removed != nullptr) *removed = static_cast<DWORD>(span.length);
  return riff_UpdateRIFFSize(file, -static_cast<LONGLONG>(span.length));
}
