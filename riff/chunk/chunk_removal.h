// Taking a top-level chunk, or a list, out of a file, in every container.
#pragma once

#include "riff/chunk/chunk_walk.h"

namespace qv::riff {

/// Where a chunk lies in the file, with its header and padding.
struct Span {
  LONGLONG start = 0;
  ULONGLONG length = 0;
};

/// Moves what follows the span onto its start, and ends the file there.
inline HRESULT close_gap(HANDLE file, const Span& span) {
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

/// Removes what was found, whose data starts at the position behind a header of that many bytes, and makes the file's
/// stored size smaller by its length. QVERR_RIFF_BADSIZE, with the file untouched, when the stored size is smaller.
/// `removed` is set once something was moved.
template <class Layout>
HRESULT remove_found(HANDLE file, ULONGLONG header, ULONGLONG data, typename Layout::Count* removed) {
  Span span;
  if (!tell(file, span.start)) return QVERR_RIFF_READ;
  span.start -= static_cast<LONGLONG>(header);
  span.length = padded<Layout>(data) + header;

  // Asked before anything moves.
  typename Layout::Count stored = 0;
  HRESULT result = read_stored_size<Layout>(file, stored);
  if (FAILED(result)) return result;
  if (span.length > stored) return QVERR_RIFF_BADSIZE;
  result = close_gap(file, span);
  if (FAILED(result)) return result;
  if (removed) *removed = static_cast<typename Layout::Count>(span.length);
  return update_file_size<Layout>(file, -static_cast<LONGLONG>(span.length));
}

/// Removes the first chunk of that id.
template <class Layout>
HRESULT remove_chunk(HANDLE file, const typename Layout::Id* id, typename Layout::Count* removed) {
  using Walk = ChunkWalk<Layout>;
  if (!id) return E_INVALIDARG;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *id, found, Walk::find_chunk);
  return SUCCEEDED(result) ? remove_found<Layout>(file, Layout::kHeaderBytes, found.size, removed) : result;
}

/// Removes the first list of that type.
template <class Layout>
HRESULT remove_list(HANDLE file, const typename Layout::Id* type, typename Layout::Count* removed) {
  using Walk = ChunkWalk<Layout>;
  constexpr ULONGLONG kHeader = Layout::kHeaderBytes + Layout::kTypeBytes;
  if (!type) return E_INVALIDARG;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *type, found, Walk::find_list);
  return SUCCEEDED(result) ? remove_found<Layout>(file, kHeader, found.size - Layout::kTypeBytes, removed) : result;
}

} // namespace qv::riff
