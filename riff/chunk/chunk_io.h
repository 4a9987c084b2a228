// Headers, sizes and data of chunks at the file's position, for every container. The exported functions of the three
// families are these with a layout; null arguments are refused here, once.
#pragma once

#include "riff/chunk/chunk_layout.h"
#include "riff/chunk/file_cursor.h"

#include <algorithm>

namespace qv::riff {

/// What data takes on disk. A size that cannot be rounded up stays as it is, which is beyond any file.
template <class Layout>
constexpr ULONGLONG padded(ULONGLONG size) {
  constexpr ULONGLONG kMask = Layout::kAlignment - 1;
  return size > ~kMask ? size : (size + kMask) & ~kMask;
}

// ---- headers -------------------------------------------------------------------------------------------------------

/// Reads a chunk's id and the size of its data. Neither changes on failure.
template <class Layout>
HRESULT read_header(HANDLE file, typename Layout::Id& id, typename Layout::Count& size) {
  typename Layout::Header stored;
  if (!read_exact(file, &stored, sizeof stored)) return QVERR_RIFF_READ;
  id = Layout::in_order(stored.id);
  size = Layout::data_size(Layout::in_order(stored.size));
  return S_OK;
}

template <class Layout>
typename Layout::Header stored_header(const typename Layout::Id& id, typename Layout::Count size) {
  return {Layout::in_order(id), Layout::in_order(static_cast<typename Layout::Count>(size + Layout::kCountedBytes))};
}

template <class Layout>
HRESULT write_header(HANDLE file, const typename Layout::Id& id, typename Layout::Count size) {
  const typename Layout::Header stored = stored_header<Layout>(id, size);
  return write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

/// Writes a file's or a list's header. `size` is that of what follows the size field.
template <class Layout>
HRESULT write_typed_header(HANDLE file, const typename Layout::Id& id, const typename Layout::Id& type,
                           typename Layout::Count size) {
  const typename Layout::TypedHeader stored = {stored_header<Layout>(id, size), Layout::in_order(type)};
  return write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

/// Reads a header that must have the id, else `other`, and the type behind it. Nothing changes on failure.
template <class Layout>
HRESULT read_typed_header(HANDLE file, const typename Layout::Id& expected, HRESULT other, typename Layout::Id& type,
                          typename Layout::Count& size) {
  typename Layout::Id id{};
  typename Layout::Count data = 0;
  const HRESULT result = read_header<Layout>(file, id, data);
  if (FAILED(result)) return result;
  if (id != expected) return other;
  typename Layout::Id stored_type{};
  if (!read_exact(file, &stored_type, sizeof stored_type)) return QVERR_RIFF_READ;
  type = Layout::in_order(stored_type);
  size = data;
  return S_OK;
}

/// `size` is that of the sub-chunks; a list that is too small for a type has none.
template <class Layout>
HRESULT read_list_header(HANDLE file, typename Layout::Id* type, typename Layout::Count* size) {
  if (!type || !size) return E_INVALIDARG;
  typename Layout::Count data = 0;
  const HRESULT result = read_typed_header<Layout>(file, Layout::kListId, QVERR_RIFF_NOTLIST, *type, data);
  if (SUCCEEDED(result)) *size = data < Layout::kTypeBytes ? 0 : data - Layout::kTypeBytes;
  return result;
}

// ---- the file's header ---------------------------------------------------------------------------------------------

/// `size` is that of the chunks. Both outs are optional.
template <class Layout>
HRESULT read_file_header(HANDLE file, typename Layout::Count* size, typename Layout::Id* form) {
  typename Layout::Id type{};
  typename Layout::Count data = 0;
  const HRESULT result = read_typed_header<Layout>(file, Layout::kFileId, QVERR_RIFF_NOTRIFF, type, data);
  if (FAILED(result)) return result;
  if (size) *size = Layout::form_size(data);
  if (form) *form = type;
  return S_OK;
}

/// Writes a file's header in three parts. Callers count on the result being that of the last one alone, and on the size
/// not being written where the id was not.
template <class Layout>
HRESULT write_file_id(HANDLE file, const typename Layout::Id* form, typename Layout::Count size) {
  if (!form) return E_INVALIDARG;
  const typename Layout::Header stored = stored_header<Layout>(Layout::kFileId, size);
  if (write_exact(file, &stored.id, sizeof stored.id)) write_exact(file, &stored.size, sizeof stored.size);
  return write_exact(file, form, sizeof *form) ? S_OK : QVERR_RIFF_WRITE;
}

/// Reads the file's size as it is stored, in the machine's byte order.
template <class Layout>
HRESULT read_stored_size(HANDLE file, typename Layout::Count& stored) {
  typename Layout::Count field = 0;
  if (!seek(file, Layout::kSizeAt) || !read_exact(file, &field, sizeof field)) return QVERR_RIFF_READ;
  stored = Layout::in_order(field);
  return S_OK;
}

template <class Layout>
HRESULT write_stored_size(HANDLE file, typename Layout::Count stored) {
  const typename Layout::Count field = Layout::in_order(stored);
  return seek(file, Layout::kSizeAt) && write_exact(file, &field, sizeof field) ? S_OK : QVERR_RIFF_WRITE;
}

template <class Layout>
HRESULT set_file_size(HANDLE file, typename Layout::Count size) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_WRITE;
  const HRESULT result = write_stored_size<Layout>(file, size + Layout::kCountedBytes);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}

/// Shortens the file to what its stored size describes. A file that is shorter already stays as it is.
inline HRESULT cut_too_big(HANDLE file, LONGLONG end) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return QVERR_RIFF_WRITE;
  if (size.QuadPart <= end) return QVERR_RIFF_TOOBIG;
  return seek(file, end) && SetEndOfFile(file) ? QVERR_RIFF_TOOBIG : QVERR_RIFF_WRITE;
}

template <class Layout>
HRESULT add_to_file_size(HANDLE file, LONGLONG change) {
  typename Layout::Count old = 0;
  const HRESULT result = read_stored_size<Layout>(file, old);
  if (FAILED(result)) return result;
  if constexpr (Layout::kSizeLimit != 0) {
    // Compared by differences, because old + change may not fit 64 bits.
    if (change >= Layout::kSizeLimit - LONGLONG{old})
      return cut_too_big(file, LONGLONG{old} + LONGLONG{Layout::kHeaderBytes});
    if (change < -LONGLONG{old}) return QVERR_RIFF_BADSIZE;
  }
  return write_stored_size<Layout>(file, static_cast<typename Layout::Count>(old + static_cast<ULONGLONG>(change)));
}

template <class Layout>
HRESULT update_file_size(HANDLE file, LONGLONG change) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = add_to_file_size<Layout>(file, change);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}

// ---- data ----------------------------------------------------------------------------------------------------------

/// Writes the zeros behind that many bytes of data.
template <class Layout>
bool write_padding(HANDLE file, ULONGLONG bytes) {
  static constexpr BYTE kZeros[Layout::kAlignment] = {};
  return write_exact(file, kZeros, padded<Layout>(bytes) - bytes);
}

template <class Layout>
HRESULT write_data(HANDLE file, const void* data, typename Layout::Count size) {
  if (!data && size != 0) return E_INVALIDARG;
  return write_exact(file, data, size) && write_padding<Layout>(file, size) ? S_OK : QVERR_RIFF_WRITE;
}

/// `written` is optional: the bytes of the whole chunk.
template <class Layout>
HRESULT write_chunk(HANDLE file, const typename Layout::Id* id, const void* data, typename Layout::Count size,
                    typename Layout::Count* written) {
  if (!id || (!data && size != 0)) return E_INVALIDARG;
  HRESULT result = write_header<Layout>(file, *id, size);
  if (SUCCEEDED(result)) result = write_data<Layout>(file, data, size);
  if (SUCCEEDED(result) && written)
    *written = static_cast<typename Layout::Count>(padded<Layout>(size) + Layout::kHeaderBytes);
  return result;
}

template <class Layout>
HRESULT read_data(HANDLE file, void* buffer, typename Layout::Count size) {
  if (!buffer && size != 0) return E_INVALIDARG;
  return read_exact(file, buffer, size) && skip_forward(file, padded<Layout>(size) - size) ? S_OK : QVERR_RIFF_READ;
}

/// The skip goes by the buffer, and by what is odd of the chunk's size: readers of fixed-size headers depend on where
/// it leaves the file.
template <class Layout>
HRESULT read_data_bounded(HANDLE file, void* buffer, typename Layout::Count buffer_size,
                          typename Layout::Count chunk_size) {
  if (!buffer && buffer_size != 0) return E_INVALIDARG;
  const typename Layout::Count bytes = std::min(buffer_size, chunk_size);
  if (!read_exact(file, buffer, bytes)) return QVERR_RIFF_READ;
  const ULONGLONG rest = ULONGLONG{buffer_size - bytes} + chunk_size % Layout::kAlignment;
  return skip_forward(file, rest) ? S_OK : QVERR_RIFF_READ;
}

/// Fills a QVRIFFDATA or QVRIFF64DATA: data->size bytes in a locked moveable global block, or none. What the file does
/// not hold is not allocated.
template <class Layout, class Data>
HRESULT read_data_alloc(HANDLE file, Data* data) {
  if (!data) return E_INVALIDARG;
  data->data = nullptr;
  if (data->size == 0) return S_OK;
  if (!holds(file, data->size)) return QVERR_RIFF_READ;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, data->size);
  if (!block) return E_OUTOFMEMORY;
  void* const memory = GlobalLock(block);
  const HRESULT result = memory ? read_data<Layout>(file, memory, data->size) : E_OUTOFMEMORY;
  if (SUCCEEDED(result)) {
    data->data = memory;
    return result;
  }
  GlobalUnlock(block);
  GlobalFree(block);
  return result;
}

template <class Layout>
typename Layout::Count skip_chunk(HANDLE file, typename Layout::Count size) {
  skip_forward(file, padded<Layout>(size));
  return static_cast<typename Layout::Count>(padded<Layout>(size));
}

template <class Layout>
HRESULT save_location(HANDLE file, typename Layout::Count* location) {
  if (!location) return E_INVALIDARG;
  LONGLONG position = 0;
  if (!tell(file, position)) return QVERR_RIFF_READ;
  *location = static_cast<typename Layout::Count>(position);
  return S_OK;
}

} // namespace qv::riff
