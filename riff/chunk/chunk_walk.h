// The walk over chunks behind the searches, the counts and the deletions of all three file formats. A layout says what
// a format's chunks look like; the walk only ever moves forward, and every step reads a header: it ends at the latest
// where the file does.
//
// A layout has
//   Id, Count                 what names a chunk, and what the format's functions count bytes in
//   kHeaderBytes, kTypeBytes  sizes of a chunk's header, and of the type at the start of a list's data
//   kAlignment                chunks take multiples of this on disk
//   list_id(), is_same(a, b)  the id of lists, and comparison of ids
//   read_header, read_file_header
//                             size: of the chunk's data, of what follows the file's header
//   read_stored_size, update_size
//                             the file's size as its header stores it
#pragma once

#include "riff/chunk/file_cursor.h"

namespace qv::riff {

/// What a function subtracts from an optional count of remaining bytes.
template <class Count>
class Remaining {
public:
  explicit Remaining(Count* count) : count_(count) {}

  bool below(ULONGLONG bytes) const { return count_ && *count_ < bytes; }
  void take(ULONGLONG bytes) {
    if (count_) *count_ = bytes < *count_ ? static_cast<Count>(*count_ - bytes) : 0;
  }

private:
  Count* count_;
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

  /// What data takes on disk; beyond any file for a size that cannot be rounded up.
  static constexpr ULONGLONG padded(ULONGLONG size) {
    constexpr ULONGLONG kMask = Layout::kAlignment - 1;
    return size > ~kMask ? size : (size + kMask) & ~kMask;
  }

  static HRESULT next_header(HANDLE file, Left& remaining, Id& id, Count& size) {
    if (remaining.below(Layout::kHeaderBytes)) return QVERR_RIFF_NOTFOUND;
    const HRESULT result = Layout::read_header(file, id, size);
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
      if (FAILED(result) || Layout::is_same(id, wanted)) return result;
      result = pass_over(file, remaining, padded(size));
      if (FAILED(result)) return result;
    }
  }

  /// `size` is the list's as its header says.
  static HRESULT find_list(HANDLE file, const Id& wanted, Count& size, Left remaining) {
    for (;;) {
      HRESULT result = find_chunk(file, Layout::list_id(), size, remaining);
      if (FAILED(result)) return result;
      ULONGLONG rest = padded(size);
      // A list that is too small has no type: what would be read as one belongs to the next chunk.
      if (size >= Layout::kTypeBytes) {
        if (remaining.below(Layout::kTypeBytes)) return QVERR_RIFF_NOTFOUND;
        Id type{};
        if (!read_exact(file, &type, Layout::kTypeBytes)) return QVERR_RIFF_READ;
        remaining.take(Layout::kTypeBytes);
        if (Layout::is_same(type, wanted)) return S_OK;
        rest -= Layout::kTypeBytes;
      }
      result = pass_over(file, remaining, rest);
      if (FAILED(result)) return result;
    }
  }

  using Search = HRESULT (*)(HANDLE file, const Id& wanted, Count& size, Left remaining);

  /// From the file's start. After QVERR_RIFF_READ in the walk, remaining is that of the first chunk.
  static HRESULT find_top_level(HANDLE file, const Id& wanted, Found& found, Search search) {
    if (!seek(file, 0)) return QVERR_RIFF_READ;
    Count form_size = 0;
    const HRESULT header = Layout::read_file_header(file, form_size);
    if (FAILED(header)) return header;
    found.remaining = form_size;
    const HRESULT result = search(file, wanted, found.size, Left(&found.remaining));
    if (result == QVERR_RIFF_READ) found.remaining = form_size;
    return result;
  }

  /// Without a bound until a read fails, which is the result. The position is restored.
  static HRESULT count_chunks(HANDLE file, DWORD& count, const Count* remaining) {
    count = 0;
    const KeptPosition kept(file);
    if (!kept.known()) return QVERR_RIFF_READ;
    Count left = remaining ? *remaining : 0;
    Left bound(remaining ? &left : nullptr);
    HRESULT result = S_OK;
    while (SUCCEEDED(result)) {
      Id id{};
      Count size = 0;
      result = next_header(file, bound, id, size);
      if (FAILED(result)) break;
      ++count;
      result = pass_over(file, bound, padded(size));
    }
    if (result == QVERR_RIFF_NOTFOUND) result = S_OK;
    return kept.restore() ? result : QVERR_RIFF_READ;
  }

  static HRESULT skip_chunks(HANDLE file, DWORD index, Left remaining) {
    for (DWORD passed = 0; passed < index; ++passed) {
      Id id{};
      Count size = 0;
      HRESULT result = next_header(file, remaining, id, size);
      if (SUCCEEDED(result)) result = pass_over(file, remaining, padded(size));
      if (FAILED(result)) return result;
    }
    return S_OK;
  }
};

} // namespace qv::riff
