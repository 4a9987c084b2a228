#include "kernel/list/list_gate.h"
#include "kernel/list/list_memory.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

using namespace qv::kernel;

namespace {

constexpr LONG kDefaultSlots = 16;
constexpr LONG kMinSlots = 4;
constexpr LONG kMaxGrowth = 0x10400;
constexpr SIZE_T kPrivateHeapBytes = 4096;

/// Frees the header of a list whose creation failed, or takes the signature from storage of the caller's.
HRESULT give_up(tQVLIST** list, tQVLIST* header, bool in_place) {
  header->signature = 0;
  if (!in_place) {
    std::free(header);
    *list = nullptr;
  }
  return E_OUTOFMEMORY;
}

void free_items(tQVLIST* list) {
  if (list->itemHeap) {
    HeapDestroy(list->itemHeap); // frees every item in it
    list->itemHeap = nullptr;
    return;
  }
  for (LONG i = 0; i < list->count; ++i)
    free_item(list, slot_value(list, i));
}

} // namespace

HRESULT QvList_CreateExZ(tQVLIST** list, DWORD itemSize, LONG initialCount, LONG growBy, DWORD options, ULONG_PTR,
                         ULONG_PTR, ULONG_PTR) {
  options |= QVLIST_OPT_ANYTHREAD;
  const bool in_place = (options & QVLIST_OPT_INPLACE) != 0;
  if (!list) return E_FAIL;
  tQVLIST* header = *list;
  if (in_place) {
    if (!header) return E_FAIL;
    std::memset(static_cast<void*>(header), 0, sizeof *header);
  } else {
    *list = nullptr;
  }
  if ((options & QVLIST_OPT_HEAPITEMS) != 0 && (options & QVLIST_OPT_ARRAY) != 0) return E_FAIL;
  if (!in_place) header = static_cast<tQVLIST*>(std::calloc(1, sizeof *header));
  if (!header) return E_OUTOFMEMORY;

  header->signature = QVLIST_SIGNATURE;
  header->itemSize = (options & QVLIST_OPT_ARRAY) != 0 ? (uint64_t{itemSize} + 3) / 4 * 4 : sizeof(void*);
  header->growBy = std::clamp(growBy <= 0 ? kDefaultSlots : growBy, kMinSlots, kMaxGrowth);
  const int64_t slots = whole_steps(header, std::max(initialCount <= 0 ? kDefaultSlots : initialCount, kMinSlots));
  if (slots <= INT_MAX) header->items = allocate_slots(static_cast<uint64_t>(slots), header->itemSize);
  if (!header->items) return give_up(list, header, in_place);
  header->allocated = static_cast<LONG>(slots);

  if ((options & QVLIST_OPT_THREADSAFE) != 0 && !InitializeCriticalSectionAndSpinCount(&header->lock, 0)) {
    free_slots(header->items);
    header->items = nullptr;
    return give_up(list, header, in_place);
  }
  header->options = options;
  header->ownerThread = GetCurrentThreadId();
  if ((options & QVLIST_OPT_HEAPITEMS) != 0) {
    if ((options & QVLIST_OPT_PRIVATEHEAP) != 0) {
      header->itemHeap = HeapCreate(HEAP_NO_SERIALIZE, kPrivateHeapBytes, 0);
      if (!header->itemHeap) {
        QvList_Destroy(header);
        return E_OUTOFMEMORY;
      }
    }
    header->heapAllocFlags = HEAP_NO_SERIALIZE | HEAP_ZERO_MEMORY;
    header->heapFreeFlags = HEAP_NO_SERIALIZE;
  }
  *list = header;
  return S_OK;
}

HRESULT QvList_Destroy(tQVLIST* list) {
  if (!list) return S_OK;
  if (list->signature != QVLIST_SIGNATURE) return E_FAIL;
  {
    const ListGate gate(list);
    if (!gate) return E_FAIL;
    if (is_heap_list(list)) {
      let_item_go(list, list->pendingItem);
      free_items(list);
    }
    free_slots(list->items);
    list->items = nullptr;
    list->count = list->allocated = 0;
  }
  if (has_option(list, QVLIST_OPT_THREADSAFE)) DeleteCriticalSection(&list->lock);
  list->signature = 0;
  if (!has_option(list, QVLIST_OPT_INPLACE)) std::free(list);
  return S_OK;
}

HRESULT QvList_ConvertToInPlace(tQVLIST** list, void* storage) {
  if (!list || !storage || !*list || (*list)->signature != QVLIST_SIGNATURE) return E_INVALIDARG;
  if (has_option(*list, QVLIST_OPT_INPLACE)) return E_FAIL;
  std::memcpy(storage, *list, sizeof **list);
  static_cast<tQVLIST*>(storage)->options |= QVLIST_OPT_INPLACE;
  std::free(*list);
  *list = nullptr;
  return S_OK;
}
