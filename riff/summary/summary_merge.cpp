// Whole summary lists: merged, copied, compared.
#include "riff/summary/summary_storage.h"

using namespace qv::riff;

namespace {

HRESULT merge_copies(_summarylisttag& dst, const _summarylisttag& src, bool overwrite) {
  for (DWORD index = 0; index < src.count; ++index) {
    const _summaryitemtag& item = src.items[index];
    if (!overwrite && find_item(dst, item.id, dst.count) < dst.count) continue;
    const HRESULT result = QvSummary_SetItem(&dst, item.id, item.text);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

/// Whether the contents of a record have gone over to the other list.
bool is_cleared(const _summaryitemtag& item) { return item.id == 0 && !item.text; }

void move_over_shared(_summarylisttag& dst, _summarylisttag& src) {
  for (DWORD index = 0; index < src.count; ++index) {
    const DWORD at = find_item(dst, src.items[index].id, dst.count);
    if (at == dst.count) continue;
    free_block(dst.items[at].text);
    dst.items[at] = src.items[index];
    src.items[index] = {};
  }
}

HRESULT move_missing(_summarylisttag& dst, _summarylisttag& src) {
  const DWORD before = dst.count;
  const auto is_missing = [&](const _summaryitemtag& item) {
    return !is_cleared(item) && find_item(dst, item.id, before) == before;
  };
  ULONGLONG missing = 0;
  for (DWORD index = 0; index < src.count; ++index)
    missing += is_missing(src.items[index]) ? 1 : 0;
  if (missing == 0) return S_OK;
  if (!resize_array(dst, before + missing)) return E_OUTOFMEMORY;
  for (DWORD index = 0; index < src.count; ++index) {
    if (!is_missing(src.items[index])) continue;
    dst.items[dst.count++] = src.items[index];
    src.items[index] = {};
  }
  return S_OK;
}

HRESULT merge_by_moving(_summarylisttag& dst, _summarylisttag& src, bool overwrite) {
  if (dst.count == 0) {
    QvSummary_Free(&dst);
    dst = src;
    src = {};
    return S_OK;
  }
  if (overwrite) move_over_shared(dst, src);
  const HRESULT result = move_missing(dst, src);
  QvSummary_Free(&src);
  return result;
}

bool same_text(const WCHAR* a, const WCHAR* b) {
  if (!a || !b) return a == b;
  const SIZE_T length = text_length(a);
  return text_length(b) == length && std::char_traits<WCHAR>::compare(a, b, length) == 0;
}

} // namespace

HRESULT QvSummary_Merge(_summarylisttag* dst, _summarylisttag* src, BOOL overwrite, BOOL move) {
  if (!dst || !src) return E_INVALIDARG;
  if (src->count == 0 || src == dst) return S_OK;
  if (move) return merge_by_moving(*dst, *src, overwrite != 0);
  return merge_copies(*dst, *src, overwrite != 0);
}

HRESULT QvSummary_Copy(_summarylisttag* dst, const _summarylisttag* src) {
  if (!dst || !src) return E_INVALIDARG;
  if (dst == src) return S_OK;
  QvSummary_Free(dst);
  if (src->count == 0) return S_OK;
  if (!resize_array(*dst, src->count)) return E_OUTOFMEMORY;
  dst->count = src->count;
  for (DWORD index = 0; index < src->count; ++index) {
    const _summaryitemtag& item = src->items[index];
    WCHAR* const text = item.text ? copy_text(item.text) : nullptr;
    dst->items[index] = {item.id, text};
    if (text || !item.text) continue;
    QvSummary_Free(dst);
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

BOOL QvSummary_Compare(const _summarylisttag* a, const _summarylisttag* b) {
  if (!a || !b || a->count != b->count) return FALSE;
  for (DWORD index = 0; index < a->count; ++index)
    if (!same_text(a->items[index].text, b->items[index].text)) return FALSE;
  return TRUE;
}
