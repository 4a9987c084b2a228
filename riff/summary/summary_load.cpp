// A summary list from a file: the sub-chunks are counted, then read.
#include "riff/chunk/chunk_reader.h"
#include "riff/chunk/chunk_walk.h"
#include "riff/summary/summary_storage.h"

using namespace qv::riff;

namespace {

using Walk = ChunkWalk<RiffLayout>;

/// A sub-chunk that claims more than remains does not end the list: the count goes on to the file's end.
constexpr WalkRules kRules = {.stops_at_zero = false};

HRESULT read_ansi(HANDLE file, DWORD size, WCHAR*& text) {
  Scratch ansi;
  const HRESULT result = ansi.read(file, size);
  if (FAILED(result)) return result;
  if (!skip_forward(file, size & 1)) return QVERR_RIFF_READ;
  const ULONGLONG capacity = ULONGLONG{size} + 1;
  text = new_text(capacity);
  if (!text) return E_OUTOFMEMORY;
  convert_ansi(ansi.get(), text, capacity);
  return S_OK;
}

HRESULT read_utf16(HANDLE file, DWORD size, WCHAR*& text) {
  if (!holds(file, size)) return QVERR_RIFF_READ;
  text = static_cast<WCHAR*>(new_block(ULONGLONG{size} + 2));
  if (!text) return E_OUTOFMEMORY;
  const HRESULT result = read_data<RiffLayout>(file, text, size);
  text[size / 2] = 0; // where the half character of an odd size is
  return result;
}

using TextReader = HRESULT (*)(HANDLE file, DWORD size, WCHAR*& text);

HRESULT read_items(HANDLE file, _summarylisttag& list, TextReader read_text) {
  for (DWORD index = 0; index < list.count; ++index) {
    _summaryitemtag& item = list.items[index];
    DWORD size = 0;
    HRESULT result = read_header<RiffLayout>(file, item.id, size);
    if (SUCCEEDED(result)) result = read_text(file, size, item.text);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

HRESULT load(HANDLE file, _summarylisttag& list, DWORD remaining, TextReader read_text) {
  QvSummary_Free(&list);
  DWORD count = 0;
  const HRESULT counted = Walk::count_chunks(file, count, &remaining, kRules);
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
