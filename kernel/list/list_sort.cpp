#include "kernel/list/list_gate.h"

#include <cstring>
#include <utility>

using namespace qv::kernel;

namespace {

void swap_slots(tQVLIST* list, int64_t a, int64_t b) {
  if (!is_array(list)) return std::swap(slot_value(list, a), slot_value(list, b));
  BYTE* first = slot_address(list, a);
  BYTE* second = slot_address(list, b);
  for (uint64_t at = 0; at < list->itemSize; at += sizeof(DWORD)) {
    DWORD word;
    std::memcpy(&word, first + at, sizeof word);
    std::memcpy(first + at, second + at, sizeof word);
    std::memcpy(second + at, &word, sizeof word);
  }
}

/// One step of heap sort: moves the slot at `parent` down to its place in the heap of the first `positions` slots.
/// Positions count from 1. The last of them is compared on the first level only: while sorting, its slot is the next to
/// leave the heap.
void sift_down(tQVLIST* list, QVLISTCOMPARE compare, int64_t parent, int64_t positions) {
  const auto above = [&](int64_t a, int64_t b) {
    return compare(list->sortCriteria, callback_item(list, a - 1), callback_item(list, b - 1)) > 0;
  };
  int64_t child = 2 * parent;
  do {
    if (child < positions && above(child + 1, child)) ++child;
    if (above(child, parent)) swap_slots(list, child - 1, parent - 1);
    parent = child;
    child = 2 * parent;
  } while (child < positions);
}

} // namespace

HRESULT QvList_Sort(tQVLIST* list, LONGLONG criteria, QVLISTCOMPARE compare) {
  const ListGate gate(list);
  if (!gate) return E_FAIL;
  list->sortCriteria = criteria;
  if (!compare) return S_OK;
  for (int64_t end = int64_t{list->count} - 1; end >= 1; --end) {
    int64_t best = 0;
    for (int64_t i = 1; i <= end; ++i)
      if (compare(criteria, callback_item(list, i), callback_item(list, best)) > 0) best = i;
    if (best != end) swap_slots(list, best, end);
  }
  return S_OK;
}

HRESULT QvList_HeapSort(tQVLIST* list, LONGLONG criteria, QVLISTCOMPARE compare) {
  const ListGate gate(list);
  if (!gate) return E_FAIL;
  list->sortCriteria = criteria;
  if (!compare) return S_OK;
  const int64_t count = list->count;
  for (int64_t i = count / 2; i >= 2; --i)
    sift_down(list, compare, i, count);
  for (int64_t end = count; end >= 2; --end) {
    sift_down(list, compare, 1, end);
    swap_slots(list, 0, end - 1);
  }
  return S_OK;
}

HRESULT QvList_SortTo(tQVLIST* dest, tQVLIST* src, LONGLONG criteria, QVLISTCOMPARE compare) {
  const ListGate gate(src);
  if (!gate || !dest || dest == src) return E_FAIL;
  if (dest->itemSize != src->itemSize && !is_heap_list(dest)) return E_INVALIDARG;
  dest->sortCriteria = criteria;
  if (!compare) return S_OK;
  for (LONG i = 0; i < src->count; ++i) {
    const LONG index = QvList_FindSortedInsertIndexRange(dest, callback_item(src, i), 0, -1, compare);
    QvList_InsertList(dest, index, slot_address(src, i), 1);
  }
  return S_OK;
}
