// Taking a top-level chunk out of a file.
#pragma once

#include "riff/chunk/chunk_walk.h"

namespace qv::riff {

/// Where a chunk lies in the file, with its header and padding.
struct Span {
  LONGLONG start = 0;
  ULONGLONG length = 0;
};

/// Moves what follows the span onto its start, and ends the file there.
HRESULT close_gap(HANDLE file, const Span& span);

/// Removes what was found, whose data starts at the position behind a header of that many bytes, and makes the file's
/// stored size smaller by its length. QVERR_RIFF_BADSIZE, with the file untouched, when the stored size is smaller.
template <class Layout>
HRESULT remove_found(HANDLE file, ULONGLONG header, ULONGLONG data, ULONGLONG& removed) {
  Span span;
  if (!tell(file, span.start)) return QVERR_RIFF_READ;
  span.start -= static_cast<LONGLONG>(header);
  span.length = ChunkWalk<Layout>::padded(data) + header;

  // Asked before anything moves.
  ULONGLONG stored = 0;
  HRESULT result = Layout::read_stored_size(file, stored);
  if (FAILED(result)) return result;
  if (span.length > stored) return QVERR_RIFF_BADSIZE;
  result = close_gap(file, span);
  if (FAILED(result)) return result;
  removed = span.length;
  return Layout::update_size(file, -static_cast<LONGLONG>(span.length));
}

/// Removes the first chunk of that id.
template <class Layout>
HRESULT remove_chunk(HANDLE file, const typename Layout::Id& id, ULONGLONG& removed) {
  using Walk = ChunkWalk<Layout>;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, id, found, Walk::find_chunk);
  return SUCCEEDED(result) ? remove_found<Layout>(file, Layout::kHeaderBytes, found.size, removed) : result;
}

/// Removes the first list of that type.
template <class Layout>
HRESULT remove_list(HANDLE file, const typename Layout::Id& type, ULONGLONG& removed) {
  using Walk = ChunkWalk<Layout>;
  constexpr ULONGLONG kHeader = Layout::kHeaderBytes + Layout::kTypeBytes;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, type, found, Walk::find_list);
  return SUCCEEDED(result) ? remove_found<Layout>(file, kHeader, found.size - Layout::kTypeBytes, removed) : result;
}

} // namespace qv::riff
