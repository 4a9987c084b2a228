// Single items of a summary list, and its end.
#include "riff/summary/summary_storage.h"

#include <algorithm>

using namespace qv::riff;

namespace {

void remove_item(_summarylisttag& list, DWORD index) {
  if (list.count == 1) {
    QvSummary_Free(&list);
    return;
  }
  free_block(list.items[index].text);
  std::copy(list.items + index + 1, list.items + list.count, list.items + index);
  --list.count;
  list.items[list.count] = {};
}

} // namespace

HRESULT QvSummary_SetItem(_summarylisttag* list, DWORD id, const WCHAR* text) {
  if (!list || id == 0) return E_INVALIDARG;
  const DWORD index = find_item(*list, id, list->count);
  const bool found = index < list->count;
  if (found && !text) {
    remove_item(*list, index);
    return S_OK;
  }
  WCHAR* const copy = text ? copy_text(text) : nullptr;
  if (text && !copy) return E_OUTOFMEMORY;
  if (found) {
    free_block(list->items[index].text);
    list->items[index].text = copy;
    return S_OK;
  }
  if (!resize_array(*list, ULONGLONG{list->count} + 1)) {
    free_block(copy);
    return E_OUTOFMEMORY;
  }
  list->items[list->count++] = {id, copy};
  return S_OK;
}

const WCHAR* QvSummary_GetItemText(const _summarylisttag* list, DWORD id) {
  if (!list) return nullptr;
  const DWORD index = find_item(*list, id, list->count);
  return index < list->count ? list->items[index].text : nullptr;
}

HRESULT QvSummary_GetItemIndex(const _summarylisttag* list, DWORD id) {
  if (!list) return QVERR_RIFF_NOTFOUND;
  const DWORD index = find_item(*list, id, list->count);
  return index < list->count ? static_cast<HRESULT>(index) : QVERR_RIFF_NOTFOUND;
}

HRESULT QvSummary_Free(_summarylisttag* list) {
  if (!list) return S_OK;
  for (DWORD index = 0; index < list->count; ++index)
    free_block(list->items[index].text);
  free_block(list->items);
  *list = {};
  return S_OK;
}
