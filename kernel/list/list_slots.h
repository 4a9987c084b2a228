// The slot block. Everything here happens behind the gate.
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

} // namespace qv::kernel
