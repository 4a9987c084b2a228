// The blocks of heap-item lists: from the C runtime, so that clients can hand blocks of their own over and take them
// away, or from the list's private heap.
#pragma once

#include "qv/list.h"

namespace qv::kernel {

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
