#include "kernel/list/list_item_memory.h"

#include "kernel/list/list_gate.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace qv::kernel {

namespace {

/// How many bytes were asked for. The C runtime only knows how many may be used, which some round up; so the note
/// stands at the end of those, where it needs no header and free() takes the block as it is. The check tells it from
/// what a block that the client allocated happens to hold there.
struct SizeNote {
  uint64_t bytes;
  uint64_t check;
};

constexpr uint64_t kLargest = SIZE_MAX - sizeof(SizeNote);

uint64_t check_of(const void* block, uint64_t bytes) {
  return (std::bit_cast<uintptr_t>(block) ^ bytes) * 0x9E3779B97F4A7C15u + 0x5156;
}

void* with_note(void* block, uint64_t bytes) {
  if (!block) return nullptr;
  const SizeNote note{bytes, check_of(block, bytes)};
  std::memcpy(static_cast<BYTE*>(block) + _msize(block) - sizeof note, &note, sizeof note);
  return block;
}

uint64_t noted_bytes(void* block) {
  const uint64_t usable = _msize(block);
  if (usable < sizeof(SizeNote)) return usable;
  SizeNote note;
  std::memcpy(&note, static_cast<BYTE*>(block) + usable - sizeof note, sizeof note);
  const bool valid = note.bytes <= usable - sizeof note && note.check == check_of(block, note.bytes);
  return valid ? note.bytes : usable;
}

bool has_private_heap(const tQVLIST* list) { return list->itemHeap != nullptr; }

} // namespace

void* allocate_item(const tQVLIST* list, uint64_t bytes) {
  if (has_private_heap(list)) return HeapAlloc(list->itemHeap, list->heapAllocFlags, bytes);
  return bytes > kLargest ? nullptr : with_note(std::calloc(1, bytes + sizeof(SizeNote)), bytes);
}

void* reallocate_item(const tQVLIST* list, void* item, uint64_t bytes) {
  if (!item) return allocate_item(list, bytes);
  if (has_private_heap(list)) return HeapReAlloc(list->itemHeap, list->heapAllocFlags, item, bytes);
  return bytes > kLargest ? nullptr : with_note(std::realloc(item, bytes + sizeof(SizeNote)), bytes);
}

void free_item(const tQVLIST* list, void* item) {
  if (!item) return;
  if (has_private_heap(list))
    HeapFree(list->itemHeap, list->heapFreeFlags, item);
  else
    std::free(item);
}

uint64_t item_bytes(const tQVLIST* list, void* item) {
  if (!item) return 0;
  return has_private_heap(list) ? HeapSize(list->itemHeap, list->heapFreeFlags, item) : noted_bytes(item);
}

} // namespace qv::kernel
