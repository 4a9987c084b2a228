// A list's memory: the block of its slots, and the blocks of a heap-item list's items. The latter come from the C
// runtime, so that clients can hand blocks of their own over and take them away, or from the list's private heap. All
// of this happens behind the gate.
#pragma once

#include "qv/list.h"

namespace qv::kernel {

/// A zeroed block for `slots` slots; null when it cannot be had.
void* allocate_slots(uint64_t slots, uint64_t slot_bytes);
void free_slots(void* items);
uint64_t slot_block_bytes(const tQVLIST* list);

/// `n` rounded up to a multiple of growBy.
int64_t whole_steps(const tQVLIST* list, int64_t n);

/// Raises the capacity by n slots in whole steps. E_OUTOFMEMORY.
HRESULT grow(tQVLIST* list, int64_t n);
/// Lowers the capacity by n slots in whole steps, or one step less where that is more than the slack. E_OUTOFMEMORY.
HRESULT shrink(tQVLIST* list, int64_t n);
/// Copies `slots` slots from `source`, which may lie in the list's own, to before `index` (any). E_OUTOFMEMORY.
HRESULT insert_slots(tQVLIST* list, int64_t index, const void* source, int64_t slots);

/// Zeroed; null when it cannot be had.
void* allocate_item(const tQVLIST* list, uint64_t bytes);
/// Null, and the old item stays, when it cannot be had.
void* reallocate_item(const tQVLIST* list, void* item, uint64_t bytes);
void free_item(const tQVLIST* list, void* item);
/// For an item that becomes the client's.
void let_item_go(const tQVLIST* list, void* item);
/// The bytes asked for; for a block that the list did not allocate, what its heap says.
uint64_t item_bytes(const tQVLIST* list, void* item);

} // namespace qv::kernel
