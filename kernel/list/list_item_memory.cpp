#include "kernel/list/list_item_memory.h"

#include "kernel/list/list_gate.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <optional>

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

std::optional<uint64_t> noted_bytes(void* block) {
  const uint64_t usable = _msize(block);
  if (usable < sizeof(SizeNote)) return std::nullopt;
  SizeNote note;
  std::memcpy(&note, static_cast<BYTE*>(block) + usable - sizeof note, sizeof note);
  const bool valid = note.bytes <= usable - sizeof note && note.check == check_of(block, note.bytes);
  return valid ? std::optional(note.bytes) : std::nullopt;
}

/// Makes the note of a block invalid, which a later block at that address would be sized by. Volatile, as compilers
/// drop writes to what is freed next.
void strike_note(void* block) {
  if (!noted_bytes(block)) return;
  volatile BYTE* last = static_cast<BYTE*>(block) + _msize(block) - 1;
  *last = static_cast<BYTE>(~*last);
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
  if (bytes > kLargest) return nullptr;
  const std::optional<uint64_t> noted = noted_bytes(item);
  strike_note(item);
  void* const resized = std::realloc(item, bytes + sizeof(SizeNote));
  if (!resized && noted) with_note(item, *noted);
  return with_note(resized, bytes);
}

void let_item_go(const tQVLIST* list, void* item) {
  if (item && !has_private_heap(list)) strike_note(item);
}

void free_item(const tQVLIST* list, void* item) {
  if (!item) return;
  if (has_private_heap(list)) {
    HeapFree(list->itemHeap, list->heapFreeFlags, item);
    return;
  }
  strike_note(item);
  std::free(item);
}

uint64_t item_bytes(const tQVLIST* list, void* item) {
  if (!item) return 0;
  if (has_private_heap(list)) return HeapSize(list->itemHeap, list->heapFreeFlags, item);
  return noted_bytes(item).value_or(_msize(item));
}

} // namespace qv::kernel
