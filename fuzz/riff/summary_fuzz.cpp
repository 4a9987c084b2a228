// Summary lists out of any bytes: every load, fetch and stream ends within what is there, what was loaded survives
// being saved, and a merge keeps the texts that it promises to keep.
// Sources: riff/summary riff/chunk
#include "fuzz/riff/memory_file.h"

#include "qv/memory_stream.h"
#include "qv/summary.h"

#include <algorithm>

using namespace fuzz;

namespace {

class List : public _summarylisttag {
public:
  List() = default;
  ~List() { QvSummary_Free(this); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;
};

using Loader = HRESULT (*)(HANDLE, _summarylisttag*, DWORD*);
using Saver = HRESULT (*)(HANDLE, const _summarylisttag*, DWORD*);

void check_fields(const List& list, size_t most_items) {
  require((list.count == 0) == (!list.items) && list.count <= most_items);
  for (DWORD k = 0; k < list.count; ++k) {
    const WCHAR* const text = list.items[k].text;
    if (!text) continue;
    const size_t bytes = (std::char_traits<WCHAR>::length(text) + 1) * sizeof(WCHAR);
    require(bytes <= GlobalSize(GlobalHandle(text)));
  }
}

bool load(const MemoryFile& file, size_t size, DWORD remaining, Loader loader, List& list) {
  file.move(0, FILE_BEGIN);
  const bool loaded = SUCCEEDED(loader(file.handle, &list, &remaining));
  require(loaded || list.count == 0);
  check_fields(list, size / 8);
  return loaded;
}

/// Every text of a loaded list is in the saved chunk. What an INFO list brought from bytes goes back to the same.
void save_and_reload(const List& list, Saver saver, Loader loader) {
  const MemoryFile file(nullptr, 0);
  DWORD written = 0;
  require(SUCCEEDED(saver(file.handle, &list, &written)));
  require(file.move(0, FILE_END) == written);
  if (written == 0) return;
  List again;
  DWORD remaining = written - 12;
  file.move(12, FILE_BEGIN);
  require(SUCCEEDED(loader(file.handle, &again, &remaining)));
  require(file.move(0, FILE_CURRENT) == written);
  require(QvSummary_Compare(&list, &again));
}

void merge(const List& a, const List& b, BOOL overwrite, BOOL move) {
  List dst;
  List src;
  require(SUCCEEDED(QvSummary_Copy(&dst, &a)) && SUCCEEDED(QvSummary_Copy(&src, &b)));
  require(QvSummary_Compare(&dst, &a) && QvSummary_Compare(&src, &b));
  const HRESULT result = QvSummary_Merge(&dst, &src, overwrite, move);
  require(SUCCEEDED(result) || (result == E_INVALIDARG && !move)); // an id of 0
  check_fields(dst, size_t{a.count} + b.count);
  require(move ? src.count == 0 : QvSummary_Compare(&src, &b) != 0);
  if (FAILED(result)) return;
  for (DWORD k = 0; k < a.count && !overwrite; ++k) {
    const std::u16string kept = QvSummary_GetItemText(&a, a.items[k].id);
    require(QvSummary_GetItemText(&dst, a.items[k].id) == kept);
  }
  for (DWORD k = 0; k < b.count; ++k)
    require(QvSummary_GetItemIndex(&dst, b.items[k].id) >= 0);
}

void fetch(const MemoryFile& file, DWORD id, DWORD* remaining, LONGLONG from) {
  WCHAR text[10];
  std::fill(std::begin(text), std::end(text), u'#');
  file.move(from, FILE_BEGIN);
  const HRESULT result = QvSummary_GetStringFromFile(file.handle, id, text, 9, remaining);
  require(file.move(0, FILE_CURRENT) == from);
  require(text[9] == u'#' && text[8] == (SUCCEEDED(result) ? 0 : u'#'));
}

void create(const uint8_t* data, size_t size) {
  IStream* stream = nullptr;
  require(SUCCEEDED(QvCreateMemoryStream(data, size, &stream)));
  List list;
  if (FAILED(list.Create(stream))) require(list.count == 0);
  check_fields(list, size / 8);
  stream->Release();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte: how much more (or less) than there is the list claims, and where the second list of a merge starts.
  const uint8_t choice = *data++;
  --size;
  const MemoryFile file(data, size);
  const DWORD claimed = static_cast<DWORD>(size) + (choice & 15) - 4;
  List info;
  List unfo;
  List rest;
  if (load(file, size, claimed, QvSummary_Load, info)) save_and_reload(info, QvSummary_Save, QvSummary_Load);
  if (load(file, size, claimed, QvSummary_LoadUNFO, unfo))
    save_and_reload(unfo, QvSummary_SaveUNFO, QvSummary_LoadUNFO);
  const size_t half = size * (choice >> 4) / 16;
  const MemoryFile tail(data + half, size - half);
  load(tail, size - half, static_cast<DWORD>(size - half), QvSummary_Load, rest);
  for (int flags = 0; flags < 4; ++flags) {
    merge(info, rest, flags & 1, flags & 2);
    merge(rest, unfo, flags & 1, flags & 2);
  }
  for (const LONGLONG from : {0, 12}) {
    DWORD remaining = claimed;
    fetch(file, QvFourCC("INAM"), nullptr, from);
    fetch(file, QvFourCC("INAM"), &remaining, from);
    fetch(file, QvFourCC("ICMT"), nullptr, from);
  }
  create(data, size);
  return 0;
}
