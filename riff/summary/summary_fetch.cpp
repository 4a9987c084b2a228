// One text straight from a file, without a list.
#include "riff/chunk/chunk_walk.h"
#include "riff/chunk/scratch_block.h"
#include "riff/summary/summary_storage.h"

#include <algorithm>
#include <cstring>

using namespace qv::riff;

namespace {

constexpr DWORD kHeaderBytes = 8;
constexpr DWORD kFormBytes = 4;

/// From chunk to chunk to the first sub-chunk of an "INFO" list; list_bytes: its sub-chunks. Without a count in `left`
/// the search is not bounded.
HRESULT find_info(HANDLE file, DWORD* left, DWORD& list_bytes) {
  Remaining remaining(left);
  for (;;) {
    if (remaining.below(kHeaderBytes)) return QVERR_RIFF_NOTFOUND;
    DWORD id = 0;
    DWORD size = 0;
    const HRESULT result = riff_ReadChunkHeader(file, &id, &size);
    if (FAILED(result)) return result;
    ULONGLONG rest = padded(size);
    // A list below 4 bytes has no form: what would be read as one belongs to the next chunk.
    if (id == QVRIFF_ID_LIST && size >= kFormBytes) {
      DWORD form = 0;
      if (!read_exact(file, &form, kFormBytes)) return QVERR_RIFF_READ;
      list_bytes = size - kFormBytes;
      if (form == QVSUMMARY_FORM_INFO) return S_OK;
      rest -= kFormBytes;
    }
    if (!skip(file, static_cast<LONGLONG>(rest))) return QVERR_RIFF_READ;
    remaining.take(kHeaderBytes + padded(size));
  }
}

/// To the data of the first sub-chunk with the id; list_bytes becomes what is left of the list from there on.
HRESULT find_in_list(HANDLE file, DWORD id, DWORD& list_bytes) {
  Remaining remaining(&list_bytes);
  while (!remaining.below(kHeaderBytes)) {
    DWORD found = 0;
    DWORD size = 0;
    const HRESULT result = riff_ReadChunkHeader(file, &found, &size);
    if (FAILED(result)) return result;
    remaining.take(kHeaderBytes);
    if (found == id) return S_OK;
    if (!skip(file, static_cast<LONGLONG>(padded(size)))) return QVERR_RIFF_READ;
    remaining.take(padded(size));
  }
  return QVERR_RIFF_NOTFOUND;
}

/// The text is converted whole and then cut: a conversion into too small a buffer leaves it as it likes.
HRESULT copy_out(const char* ansi, WCHAR* text, DWORD capacity) {
  if (!text || capacity == 0) return S_OK;
  const SIZE_T characters = std::strlen(ansi) + 1;
  const Scratch whole(characters * sizeof(WCHAR));
  if (!whole.get()) return E_OUTOFMEMORY;
  auto* const converted = reinterpret_cast<WCHAR*>(whole.get());
  convert_ansi(ansi, converted, characters);
  std::copy_n(converted, std::min<SIZE_T>(text_length(converted) + 1, capacity), text);
  text[capacity - 1] = 0;
  return S_OK;
}

HRESULT read_text(HANDLE file, DWORD bytes, WCHAR* text, DWORD capacity) {
  ULONGLONG left = 0;
  if (!bytes_left(file, left) || bytes > left) return QVERR_RIFF_READ;
  const Scratch ansi(SIZE_T{bytes} + 2);
  if (!ansi.get()) return E_OUTOFMEMORY;
  if (!read_exact(file, ansi.get(), bytes)) return QVERR_RIFF_READ;
  return copy_out(ansi.get(), text, capacity);
}

HRESULT fetch(HANDLE file, DWORD id, WCHAR* text, DWORD capacity, DWORD* remaining) {
  DWORD left = remaining ? *remaining : 0;
  DWORD list_bytes = 0;
  HRESULT result = find_info(file, remaining ? &left : nullptr, list_bytes);
  if (result == QVERR_RIFF_NOTFOUND && remaining) *remaining = left;
  if (SUCCEEDED(result)) result = find_in_list(file, id, list_bytes);
  if (SUCCEEDED(result)) result = read_text(file, list_bytes, text, capacity);
  return result;
}

} // namespace

HRESULT QvSummary_GetStringFromFile(HANDLE file, DWORD id, WCHAR* text, DWORD capacity, DWORD* remaining) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = fetch(file, id, text, capacity, remaining);
  return kept.restore() ? result : QVERR_RIFF_READ;
}
