// Items of heap-item lists: allocating them, asking for their size, moving them between lists.
#include "kernel/list/list_gate.h"
#include "kernel/list/list_memory.h"

#include <cstring>

using namespace qv::kernel;

HRESULT QvList_AllocItem(tQVLIST* list, ULONGLONG size, void** item) {
  const ListGate gate(list);
  if (!item) return E_FAIL;
  *item = nullptr;
  if (!gate || !is_heap_list(list) || list->pendingItem) return E_FAIL;
  list->pendingItem = allocate_item(list, size);
  *item = list->pendingItem;
  return *item ? S_OK : E_OUTOFMEMORY;
}

HRESULT QvList_AllocAndInsertItem(tQVLIST* list, const void* src, ULONGLONG size, LONG index, LONG* outIndex) {
  if (outIndex) *outIndex = -1;
  if (!list) return E_FAIL;
  // Other threads are refused by the gate of QvList_AllocItem, and that ends as any failure does.
  const ListLock whole(list);
  if (index < 0 || index > list->count) index = list->count;
  void* item = nullptr;
  HRESULT result = QvList_AllocItem(list, size, &item);
  if (SUCCEEDED(result)) {
    if (src) std::memcpy(item, src, size);
    result = QvList_InsertList(list, index, nullptr, -1);
  }
  if (FAILED(result)) {
    // The pending item is the new one, or one that was there before: a failure leaves neither.
    free_item(list, list->pendingItem);
    list->pendingItem = nullptr;
    return result;
  }
  if (outIndex) *outIndex = index;
  return S_OK;
}

HRESULT QvList_ReAllocItem(tQVLIST* list, LONG index, ULONGLONG size) {
  const ListGate gate(list);
  if (!gate || !is_heap_list(list) || index < 0 || index >= list->count) return E_FAIL;
  void* item = reallocate_item(list, slot_value(list, index), size);
  if (!item) return E_OUTOFMEMORY;
  slot_value(list, index) = item;
  return S_OK;
}

ULONGLONG QvList_AllocSize(tQVLIST* list, LONG index) {
  const ListGate gate(list);
  if (!gate) return ~ULONGLONG{0};
  if (index >= 0 && is_array(list)) return list->itemSize;
  if (index >= 0) return index < list->count ? item_bytes(list, slot_value(list, index)) : 0;
  ULONGLONG bytes = slot_block_bytes(list) + sizeof *list;
  if (!is_array(list))
    for (LONG i = 0; i < list->count; ++i)
      bytes += item_bytes(list, slot_value(list, i));
  return bytes;
}

namespace {

/// Makes a heap-item list one of pointers while it lives, so that deleting a slot does not free the item.
class BorrowedItems {
public:
  explicit BorrowedItems(tQVLIST* list) : options_(list->options) {
    options_.fetch_and(~QVLIST_OPT_HEAPITEMS, std::memory_order_relaxed);
  }
  BorrowedItems(const BorrowedItems&) = delete;
  BorrowedItems& operator=(const BorrowedItems&) = delete;
  ~BorrowedItems() { options_.fetch_or(QVLIST_OPT_HEAPITEMS, std::memory_order_relaxed); }

private:
  std::atomic_ref<DWORD> options_;
};

} // namespace

HRESULT QvList_MoveItemsBetweenHeapLists(tQVLIST* dest, LONG destIndex, tQVLIST* src, LONG srcIndex, LONG n) {
  if (!dest || !src || dest == src) return E_FAIL;
  const ListLock dest_lock(dest);
  const ListLock src_lock(src);
  if (!is_heap_list(dest) || !is_heap_list(src) || dest->pendingItem) return E_FAIL;
  if (destIndex < 0 || destIndex > dest->count) destIndex = dest->count;
  const int64_t moved = n < 0 ? src->count : n;
  if (moved == 0) return S_OK;
  if (srcIndex < 0 || srcIndex + moved > src->count) return E_FAIL;
  // If src refused the deletion after dest has accepted the insertion, the item would be in both lists.
  if (!src_lock && refuses_thread(src)) return E_FAIL;
  const BorrowedItems borrowed(src);
  HRESULT result = S_OK;
  // From the last item to the first, each inserted at the same index: so they keep their order.
  for (int64_t i = srcIndex + moved - 1; i >= srcIndex && SUCCEEDED(result); --i) {
    dest->pendingItem = slot_value(src, i);
    result = QvList_InsertList(dest, destIndex, nullptr, -1);
    if (SUCCEEDED(result)) result = QvList_DeleteList(src, static_cast<LONG>(i), 1, 0);
  }
  dest->pendingItem = nullptr;
  return result;
}
