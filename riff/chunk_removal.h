// Taking a top-level chunk out of a file.
#pragma once

#include "riff/chunk_walk.h"

namespace qv::riff {

/// Where a chunk lies in the file, with its header and padding.
struct Span {
  LONGLONG start = 0;
  ULONGLONG length = 0;
};

/// Moves what follows the span onto its start, and ends the file there.
HRESULT close_gap(HANDLE file, const Span& span);

/// Removes the chunk, or the list of that type, and makes the file's stored size smaller by its length.
/// QVERR_RIFF_BADSIZE, with the file untouched, when the stored size is smaller than that.
template <class Layout>
HRESULT remove_chunk(HANDLE file, const typename Layout::Id& id, bool is_list, ULONGLONG& removed) {
  using Walk = ChunkWalk<Layout>;
  typename Walk::Found found;
  HRESULT result = Walk::find_top_level(file, id, found, is_list ? Walk::find_list : Walk::find_chunk);
  if (FAILED(result)) return result;
  Span span;
  if (!tell(file, span.start)) return QVERR_RIFF_READ;
  const ULONGLONG header = Layout::kHeaderBytes + (is_list ? Layout::kTypeBytes : 0);
  const ULONGLONG data = is_list ? found.size - Layout::kTypeBytes : found.size;
  span.start -= static_cast<LONGLONG>(header);
  span.length = Walk::padded(data) + header;

  // Asked before anything moves.
  ULONGLONG stored = 0;
  result = Layout::read_stored_size(file, stored);
  if (FAILED(result)) return result;
  if (span.length > stored) return QVERR_RIFF_BADSIZE;
  result = close_gap(file, span);
  if (FAILED(result)) return result;
  removed = span.length;
  return Layout::update_size(file, -static_cast<LONGLONG>(span.length));
}

} // namespace qv::riff
