// A summary list from a file: the sub-chunks are counted, then read.
#include "riff/chunk/file_cursor.h"
#include "riff/chunk/scratch_block.h"
#include "riff/summary/summary_storage.h"

using namespace qv::riff;

namespace {

constexpr DWORD kHeaderBytes = 8;

/// The subtraction wraps where a sub-chunk claims more than remains. The count then goes on past the list's end, and
/// since every step reads a header, it ends where the file does.
HRESULT count_items(HANDLE file, DWORD remaining, DWORD& count) {
  while (remaining >= kHeaderBytes) {
    DWORD id = 0;
    DWORD size = 0;
    const HRESULT result = riff_ReadChunkHeader(file, &id, &size);
    if (FAILED(result)) return result;
    if (!skip(file, static_cast<LONGLONG>(padded(size)))) return QVERR_RIFF_READ;
    ++count;
    remaining -= static_cast<DWORD>(kHeaderBytes + padded(size));
  }
  return S_OK;
}

bool is_there(HANDLE file, DWORD size) {
  ULONGLONG left = 0;
  return bytes_left(file, left) && size <= left;
}

HRESULT read_ansi(HANDLE file, DWORD size, WCHAR*& text) {
  if (!is_there(file, size)) return QVERR_RIFF_READ;
  const Scratch ansi(SIZE_T{size} + 2);
  if (!ansi.get()) return E_OUTOFMEMORY;
  const HRESULT result = riff_ReadData(file, ansi.get(), size);
  if (FAILED(result)) return result;
  const ULONGLONG capacity = ULONGLONG{size} + 1;
  text = new_text(capacity);
  if (!text) return E_OUTOFMEMORY;
  convert_ansi(ansi.get(), text, capacity);
  return S_OK;
}

HRESULT read_utf16(HANDLE file, DWORD size, WCHAR*& text) {
  if (!is_there(file, size)) return QVERR_RIFF_READ;
  text = static_cast<WCHAR*>(new_block(ULONGLONG{size} + 2));
  if (!text) return E_OUTOFMEMORY;
  const HRESULT result = riff_ReadData(file, text, size);
  text[size / 2] = 0; // where the half character of an odd size is
  return result;
}

using TextReader = HRESULT (*)(HANDLE file, DWORD size, WCHAR*& text);

HRESULT read_items(HANDLE file, _summarylisttag& list, TextReader read_text) {
  for (DWORD index = 0; index < list.count; ++index) {
    _summaryitemtag& item = list.items[index];
    DWORD size = 0;
    HRESULT result = riff_ReadChunkHeader(file, &item.id, &size);
    if (SUCCEEDED(result)) result = read_text(file, size, item.text);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

HRESULT load(HANDLE file, _summarylisttag& list, DWORD remaining, TextReader read_text) {
  QvSummary_Free(&list);
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  DWORD count = 0;
  const HRESULT counted = count_items(file, remaining, count);
  if (!kept.restore()) return QVERR_RIFF_READ;
  if (FAILED(counted) || count == 0) return counted;
  if (!resize_array(list, count)) return E_OUTOFMEMORY;
  list.count = count;
  const HRESULT result = read_items(file, list, read_text);
  if (FAILED(result)) QvSummary_Free(&list);
  return result;
}

} // namespace

HRESULT QvSummary_Load(HANDLE file, _summarylisttag* list, DWORD* remaining) {
  if (!list || !remaining) return E_INVALIDARG;
  return load(file, *list, *remaining, read_ansi);
}

HRESULT QvSummary_LoadUNFO(HANDLE file, _summarylisttag* list, DWORD* remaining) {
  return load(file, *list, *remaining, read_utf16);
}
