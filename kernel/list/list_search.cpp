#include "kernel/list/list_gate.h"

#include <algorithm>
#include <cstring>

using namespace qv::kernel;

namespace {

struct Probed {
  int64_t index;   ///< of the last item compared
  LONG comparison; ///< of the key with it; 0 when it is equal
};

/// Binary search for `key` among the `left` > 0 items from `low` on. It probes as the C runtime's does: of an even
/// number of items, the lower of the two in the middle. item_of: a slot's argument for callbacks.
template <class ItemOf>
Probed probe(LONGLONG criteria, const void* key, int64_t low, uint64_t left, QVLISTCOMPARE compare, ItemOf item_of) {
  for (;;) {
    const uint64_t below = (left - 1) / 2;
    const int64_t at = low + static_cast<int64_t>(below);
    const LONG comparison = compare(criteria, key, item_of(at));
    if (comparison == 0) return {at, 0};
    left = comparison < 0 ? below : left - below - 1;
    low = comparison < 0 ? low : at + 1;
    if (left == 0) return {at, comparison};
  }
}

/// Binary search in a list, whose kind is looked at once rather than at every probe.
Probed probe(const tQVLIST* list, const void* key, int64_t low, int64_t count, QVLISTCOMPARE compare) {
  const auto left = static_cast<uint64_t>(count);
  if (is_array(list))
    return probe(
        list->sortCriteria, key, low, left, compare,
        [items = slot_address(list, 0), bytes = list->itemSize](int64_t index) {
          return items + static_cast<uint64_t>(index) * bytes;
        });
  return probe(list->sortCriteria, key, low, left, compare,
               [items = &slot_value(list, 0)](int64_t index) { return items[index]; });
}

} // namespace

LONG QvList_FindItemRange(tQVLIST* list, LONG start, LONG n, LONGLONG context, QVLISTMATCH match) {
  const ListGate gate(list);
  if (!gate || !match) return -1;
  const int64_t first = std::max<LONG>(start, 0);
  const int64_t end = first + cut_range(list, first, n);
  for (int64_t i = first; i < end; ++i)
    if (match(context, callback_item(list, i)) == 0) return static_cast<LONG>(i);
  return -1;
}

LONG QvList_FindSpecificItemRange(tQVLIST* list, LONG start, LONG n, const void* item) {
  const ListGate gate(list);
  if (!gate) return -1;
  const bool array = is_array(list);
  if (array && !item) return -1;
  const int64_t first = std::max<LONG>(start, 0);
  const int64_t end = first + cut_range(list, first, n);
  for (int64_t i = first; i < end; ++i) {
    const bool same =
        array ? std::memcmp(slot_address(list, i), item, list->itemSize) == 0 : slot_value(list, i) == item;
    if (same) return static_cast<LONG>(i);
  }
  return -1;
}

LONG QvList_FindSortedItemRange(tQVLIST* list, const void* key, LONG start, LONG n, QVLISTCOMPARE compare) {
  const ListGate gate(list);
  if (!gate || !compare) return -1;
  const int64_t first = std::max<LONG>(start, 0);
  const int64_t left = cut_range(list, first, n);
  if (left == 0) return -1;
  const Probed found = probe(list, key, first, left, compare);
  return found.comparison == 0 ? static_cast<LONG>(found.index) : -1;
}

LONG QvList_FindSortedInsertIndexRange(tQVLIST* list, const void* key, LONG start, LONG n, QVLISTCOMPARE compare) {
  const ListGate gate(list);
  if (!gate || !compare) return -1;
  const int64_t first = std::max<LONG>(start, 0);
  if (first > list->count) return -1;
  const int64_t left = cut_range(list, first, n);
  if (left == 0) return 0; // an empty range gives 0 even where it starts behind other items
  const Probed last = probe(list, key, first, left, compare);
  return static_cast<LONG>(last.comparison > 0 ? last.index + 1 : last.index);
}
