// A list's memory: the block of its slots, and the blocks of a heap-item list's items. The latter come from the C
// runtime, so that clients can hand blocks of their own over and take them away, or from the list's private heap. All
// of this happens behind the gate.
#pragma once

#include "qv/list.h"

namespace qv::kernel {

/// Allocates a zeroed block for `slots` slots; null when out of memory.
void* allocate_slots(uint64_t slots, uint64_t slot_bytes);
void free_slots(void* items);
uint64_t slot_block_bytes(const tQVLIST* list);

/// `n` rounded up to a multiple of growBy.
int64_t whole_steps(const tQVLIST* list, int64_t n);

/// Raises the capacity by n slots (n < 1: growBy), rounded up to whole steps. S_OK or E_OUTOFMEMORY.
HRESULT grow(tQVLIST* list, int64_t n);
/// Lowers the capacity by n slots (n < 0: the slack), rounded up to whole steps, or one step less where that is more
/// than the slack. S_OK or E_OUTOFMEMORY.
HRESULT shrink(tQVLIST* list, int64_t n);
/// Inserts copies of the `slots` slots at `source`, which may be the list's own, before `index` (outside 0 .. count: at
/// the end). S_OK or E_OUTOFMEMORY. The pending item is left to the caller.
HRESULT insert_slots(tQVLIST* list, int64_t index, const void* source, int64_t slots);

/// Allocates a zeroed item; null when out of memory.
void* allocate_item(const tQVLIST* list, uint64_t bytes);
/// Changes an item's size; null, and the old item stays, when out of memory. A null item is allocated.
void* reallocate_item(const tQVLIST* list, void* item, uint64_t bytes);
void free_item(const tQVLIST* list, void* item);
/// Prepares an item that the list forgets without freeing it, and which the client may free: a later block at its
/// address must not be taken for one of the list's. Null does nothing.
void let_item_go(const tQVLIST* list, void* item);
/// The size that an item was allocated with; for a block that the client allocated, its usable size. Null has 0 bytes.
uint64_t item_bytes(const tQVLIST* list, void* item);

} // namespace qv::kernel
