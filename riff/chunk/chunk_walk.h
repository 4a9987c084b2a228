// The walk over chunks behind the searches, the counts, the deletions and the summary reader, in every container. The
// walk only ever moves forward, and every step reads a header: it ends at the latest where the file does.
#pragma once

#include "riff/chunk/chunk_io.h"

namespace qv::riff {

/// What a walk does at the end of its bound. The defaults are those of the exported searches.
struct WalkRules {
  /// Whether a chunk that claims more than remains leaves 0. Otherwise the count wraps, and the walk goes on to the
  /// file's end.
  bool stops_at_zero = true;
  /// Whether a list's type is read only where it remains. Otherwise the room for a header is enough.
  bool type_needs_room = true;
};

/// An optional count of the bytes that remain: null is no bound.
template <class Count>
class Remaining {
public:
  explicit Remaining(Count* count, WalkRules rules = {}) : count_(count), rules_(rules) {}

  bool below_header(ULONGLONG bytes) const { return count_ && *count_ < bytes; }
  bool below_type(ULONGLONG bytes) const { return rules_.type_needs_room && below_header(bytes); }
  void take(ULONGLONG bytes) {
    if (!count_) return;
    *count_ = rules_.stops_at_zero && bytes >= *count_ ? 0 : static_cast<Count>(*count_ - bytes);
  }

private:
  Count* count_;
  WalkRules rules_;
};

/// A chunk that a search found. The file is at its data, or for a list at its first sub-chunk.
template <class Count>
struct FoundChunk {
  Count size = 0;      ///< as its header says; a list's includes the list type
  Count remaining = 0; ///< bytes of the form or list from the position on
};

template <class Layout>
struct ChunkWalk {
  using Id = typename Layout::Id;
  using Count = typename Layout::Count;
  using Left = Remaining<Count>;
  using Found = FoundChunk<Count>;

  static HRESULT next_header(HANDLE file, Left& remaining, Id& id, Count& size) {
    if (remaining.below_header(Layout::kHeaderBytes)) return QVERR_RIFF_NOTFOUND;
    const HRESULT result = read_header<Layout>(file, id, size);
    if (SUCCEEDED(result)) remaining.take(Layout::kHeaderBytes);
    return result;
  }

  static HRESULT pass_over(HANDLE file, Left& remaining, ULONGLONG bytes) {
    if (!skip_forward(file, bytes)) return QVERR_RIFF_READ;
    remaining.take(bytes);
    return S_OK;
  }

  static HRESULT find_chunk(HANDLE file, const Id& wanted, Count& size, Left remaining) {
    for (;;) {
      Id id{};
      HRESULT result = next_header(file, remaining, id, size);
      if (FAILED(result) || id == wanted) return result;
      result = pass_over(file, remaining, padded<Layout>(size));
      if (FAILED(result)) return result;
    }
  }

  /// `size` is the list's as its header says.
  static HRESULT find_list(HANDLE file, const Id& wanted, Count& size, Left remaining) {
    for (;;) {
      HRESULT result = find_chunk(file, Layout::kListId, size, remaining);
      if (FAILED(result)) return result;
      ULONGLONG rest = padded<Layout>(size);
      // A list that is too small has no type: what would be read as one belongs to the next chunk.
      if (size >= Layout::kTypeBytes) {
        if (remaining.below_type(Layout::kTypeBytes)) return QVERR_RIFF_NOTFOUND;
        Id type{};
        if (!read_exact(file, &type, Layout::kTypeBytes)) return QVERR_RIFF_READ;
        remaining.take(Layout::kTypeBytes);
        if (type == wanted) return S_OK;
        rest -= Layout::kTypeBytes;
      }
      result = pass_over(file, remaining, rest);
      if (FAILED(result)) return result;
    }
  }

  using Search = HRESULT (*)(HANDLE file, const Id& wanted, Count& size, Left remaining);

  /// Searches from the file's start. After QVERR_RIFF_READ in the walk, remaining is that of the first chunk.
  static HRESULT find_top_level(HANDLE file, const Id& wanted, Found& found, Search search) {
    if (!seek(file, 0)) return QVERR_RIFF_READ;
    Count form_size = 0;
    const HRESULT header = read_file_header<Layout>(file, &form_size, nullptr);
    if (FAILED(header)) return header;
    found.remaining = form_size;
    const HRESULT result = search(file, wanted, found.size, Left(&found.remaining));
    if (result == QVERR_RIFF_READ) found.remaining = form_size;
    return result;
  }

  /// Counts to the bound; without one until a read fails, which is the result. The position is restored.
  static HRESULT count_chunks(HANDLE file, DWORD& count, const Count* remaining, WalkRules rules = {}) {
    count = 0;
    const KeptPosition kept(file);
    if (!kept.known()) return QVERR_RIFF_READ;
    Count left = remaining ? *remaining : 0;
    Left bound(remaining ? &left : nullptr, rules);
    HRESULT result = S_OK;
    while (SUCCEEDED(result)) {
      Id id{};
      Count size = 0;
      result = next_header(file, bound, id, size);
      if (FAILED(result)) break;
      ++count;
      result = pass_over(file, bound, padded<Layout>(size));
    }
    if (result == QVERR_RIFF_NOTFOUND) result = S_OK;
    return kept.restore() ? result : QVERR_RIFF_READ;
  }

  static HRESULT skip_chunks(HANDLE file, DWORD index, Left remaining) {
    for (DWORD passed = 0; passed < index; ++passed) {
      Id id{};
      Count size = 0;
      HRESULT result = next_header(file, remaining, id, size);
      if (SUCCEEDED(result)) result = pass_over(file, remaining, padded<Layout>(size));
      if (FAILED(result)) return result;
    }
    return S_OK;
  }
};

// ---- the exported searches, with their optional arguments ----------------------------------------------------------

template <class Layout>
HRESULT find_chunk_header(HANDLE file, const typename Layout::Id* id, typename Layout::Count* size,
                          typename Layout::Count* remaining) {
  if (!id) return E_INVALIDARG;
  typename Layout::Count found = 0;
  const HRESULT result = ChunkWalk<Layout>::find_chunk(file, *id, found, Remaining<typename Layout::Count>(remaining));
  if (SUCCEEDED(result) && size) *size = found;
  return result;
}

template <class Layout>
HRESULT find_chunk_from_start(HANDLE file, const typename Layout::Id* id, typename Layout::Count* size,
                              typename Layout::Count* remaining) {
  using Walk = ChunkWalk<Layout>;
  if (!id) return E_INVALIDARG;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *id, found, Walk::find_chunk);
  if (SUCCEEDED(result) && size) *size = found.size;
  if (remaining) *remaining = found.remaining;
  return result;
}

template <class Layout>
HRESULT find_list_header(HANDLE file, const typename Layout::Id* type, typename Layout::Count* size,
                         typename Layout::Count* remaining) {
  if (!type) return E_INVALIDARG;
  typename Layout::Count found = 0;
  const HRESULT result = ChunkWalk<Layout>::find_list(file, *type, found, Remaining<typename Layout::Count>(remaining));
  if (SUCCEEDED(result) && size) *size = found - Layout::kTypeBytes;
  return result;
}

template <class Layout>
HRESULT find_list_from_start(HANDLE file, const typename Layout::Id* type, typename Layout::Count* size) {
  using Walk = ChunkWalk<Layout>;
  if (!type) return E_INVALIDARG;
  typename Walk::Found found;
  const HRESULT result = Walk::find_top_level(file, *type, found, Walk::find_list);
  if (SUCCEEDED(result) && size) *size = found.size - Layout::kTypeBytes;
  return result;
}

} // namespace qv::riff
