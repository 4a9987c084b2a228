// Inserting, deleting and moving slots.
#include "kernel/list/list_gate.h"
#include "kernel/list/list_memory.h"

#include <algorithm>
#include <cstring>

using namespace qv::kernel;

namespace {

HRESULT insert_pending(tQVLIST* list, LONG index) {
  if (!list->pendingItem) return E_FAIL;
  const void* pending = list->pendingItem;
  const HRESULT result = insert_slots(list, index, &pending, 1);
  if (SUCCEEDED(result)) list->pendingItem = nullptr;
  return result;
}

/// True when one of the `n` slots that a client hands over is the pending item.
bool has_pending(const tQVLIST* list, const void* slots, int64_t n) {
  for (int64_t i = 0; i < n; ++i)
    if (std::memcmp(static_cast<const BYTE*>(slots) + i * int64_t{sizeof(void*)}, &list->pendingItem, sizeof(void*)) ==
        0)
      return true;
  return false;
}

} // namespace

HRESULT QvList_InsertList(tQVLIST* list, LONG index, const void* src, LONG n) {
  const ListGate gate(list);
  if (!gate) return E_FAIL;
  if (!src) return n == -1 ? insert_pending(list, index) : E_FAIL;
  if (n >= 0 && is_heap_list(list)) return E_FAIL;
  const int64_t slots = n < 0 ? -int64_t{n} : n;
  const bool forgets_pending = list->pendingItem && !has_pending(list, src, slots);
  const HRESULT result = insert_slots(list, index, src, slots);
  if (FAILED(result)) return result;
  if (forgets_pending) let_item_go(list, list->pendingItem);
  list->pendingItem = nullptr;
  return S_OK;
}

namespace {

HRESULT delete_pending(tQVLIST* list) {
  if (!list->pendingItem) return E_FAIL;
  free_item(list, list->pendingItem);
  list->pendingItem = nullptr;
  return S_OK;
}

/// Deletes the slots index .. index + n - 1, which are in the list, and the items of a heap-item list.
void delete_slots(tQVLIST* list, int64_t index, int64_t n) {
  if (is_heap_list(list))
    for (int64_t i = index; i < index + n; ++i)
      free_item(list, slot_value(list, i));
  const int64_t behind = list->count - index - n;
  std::memmove(slot_address(list, index), slot_address(list, index + n),
               static_cast<uint64_t>(behind) * list->itemSize);
  std::memset(slot_address(list, index + behind), 0, static_cast<uint64_t>(n) * list->itemSize);
  list->count = static_cast<LONG>(list->count - n);
}

} // namespace

HRESULT QvList_DeleteList(tQVLIST* list, LONG index, LONG n, LONG shrink) {
  const ListGate gate(list);
  if (!gate) return E_FAIL;
  if (n < 0 && index < 0) return delete_pending(list);
  const int64_t wanted = n < 0 ? int64_t{list->count} - index : n;
  if (wanted < 1) return S_OK;
  if (index < 0 || index >= list->count) return E_FAIL;
  delete_slots(list, index, cut_range(list, index, wanted));
  const int64_t slack = list->allocated - list->count;
  return shrink != 0 && slack > list->growBy ? qv::kernel::shrink(list, slack) : S_OK;
}

HRESULT QvList_ArrayForceItemCount(tQVLIST* list, LONG newCount, LONG) {
  const ListGate gate(list);
  if (!gate || !is_array(list) || newCount < 0) return E_FAIL;
  if (newCount > list->allocated) {
    const HRESULT result = grow(list, int64_t{newCount} - list->allocated);
    if (FAILED(result)) return result;
  }
  // Dropped slots keep their bytes and their memory: clients lower the count, raise it again and find them.
  list->count = newCount;
  return S_OK;
}

HRESULT QvList_GrowAllocated(tQVLIST* list, LONG n) {
  const ListGate gate(list);
  return gate ? grow(list, n) : E_FAIL;
}

HRESULT QvList_ShrinkAllocated(tQVLIST* list, LONG n) {
  const ListGate gate(list);
  return gate ? shrink(list, n) : E_FAIL;
}

namespace {

/// A buffer for the slots that a move carries: 512 bytes on the stack, which most moves fit in, else a global block.
class Scratch {
public:
  explicit Scratch(uint64_t bytes)
      : block_(bytes > sizeof here_ ? GlobalAlloc(GMEM_FIXED, bytes) : nullptr),
        memory_(bytes > sizeof here_ ? block_ : here_) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    if (block_) GlobalFree(block_);
  }
  void* memory() { return memory_; }

private:
  BYTE here_[512];
  HGLOBAL block_;
  void* memory_;
};

HRESULT move_slots(tQVLIST* list, int64_t from, int64_t to, int64_t n) {
  const uint64_t bytes = static_cast<uint64_t>(n) * list->itemSize;
  Scratch scratch(bytes);
  if (!scratch.memory()) return E_OUTOFMEMORY;
  std::memcpy(scratch.memory(), slot_address(list, from), bytes);
  // The slots between the old and the new place move by n towards the old one.
  if (from < to) {
    std::memmove(slot_address(list, from), slot_address(list, from + n),
                 static_cast<uint64_t>(to - from) * list->itemSize);
  } else {
    std::memmove(slot_address(list, to + n), slot_address(list, to), static_cast<uint64_t>(from - to) * list->itemSize);
  }
  std::memcpy(slot_address(list, to), scratch.memory(), bytes);
  return S_OK;
}

} // namespace

HRESULT QvList_MoveRange(tQVLIST* list, LONG from, LONG to, LONG n) {
  if (from < 0) return E_INVALIDARG;
  const ListGate gate(list);
  if (!gate) return E_FAIL;
  to = std::max<LONG>(to, 0);
  const int64_t moved = n < 0 ? int64_t{list->count} - std::max(from, to) : n;
  if (from + moved > list->count || to + moved > list->count) return E_FAIL;
  return moved < 1 || from == to ? S_OK : move_slots(list, from, to, moved);
}
