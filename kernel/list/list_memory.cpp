#include "kernel/list/list_memory.h"

#include "kernel/list/list_gate.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace qv::kernel {

void* allocate_slots(uint64_t slots, uint64_t slot_bytes) {
  static_assert(sizeof(SIZE_T) == sizeof(uint64_t), "a LONG of slots of 4 GiB each has a size below 2^63");
  const HGLOBAL block = GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, slots * slot_bytes);
  return block ? GlobalLock(block) : nullptr;
}

void free_slots(void* items) {
  const HGLOBAL block = GlobalHandle(items);
  GlobalUnlock(block);
  GlobalFree(block);
}

uint64_t slot_block_bytes(const tQVLIST* list) { return GlobalSize(GlobalHandle(list->items)); }

int64_t whole_steps(const tQVLIST* list, int64_t n) {
  const int64_t rounded = n + list->growBy - 1;
  return rounded - rounded % list->growBy;
}

namespace {

/// Changes the size of the slot block; added bytes are zero. may_move: GMEM_MOVEABLE or 0. False: nothing has changed.
bool resize_block(tQVLIST* list, uint64_t bytes, UINT may_move) {
  const HGLOBAL block = GlobalHandle(list->items);
  GlobalUnlock(block);
  const HGLOBAL resized = GlobalReAlloc(block, bytes, GMEM_ZEROINIT | may_move);
  list->items = GlobalLock(resized ? resized : block);
  return resized != nullptr;
}

} // namespace

HRESULT grow(tQVLIST* list, int64_t n) {
  const int64_t allocated = list->allocated + whole_steps(list, n < 1 ? list->growBy : n);
  if (allocated > INT_MAX) return E_OUTOFMEMORY;
  if (!resize_block(list, static_cast<uint64_t>(allocated) * list->itemSize, GMEM_MOVEABLE)) return E_OUTOFMEMORY;
  // Shrinking to a capacity of 0 left the block one slot long, whose bytes are old.
  if (list->allocated == 0) std::memset(list->items, 0, list->itemSize);
  list->allocated = static_cast<LONG>(allocated);
  return S_OK;
}

HRESULT shrink(tQVLIST* list, int64_t n) {
  const int64_t slack = list->allocated - list->count;
  int64_t fewer = whole_steps(list, n < 0 ? slack : std::min(n, slack));
  if (fewer > slack) fewer -= list->growBy;
  if (fewer <= 0) return S_OK;
  const uint64_t bytes = std::max(static_cast<uint64_t>(list->allocated - fewer) * list->itemSize, list->itemSize);
  if (!resize_block(list, bytes, 0)) return E_OUTOFMEMORY;
  list->allocated = static_cast<LONG>(list->allocated - fewer);
  return S_OK;
}

namespace {

/// Copies `bytes` bytes within a slot block in which everything from `gap` on has just moved up by as many, to make
/// room for them there. `offset` is where they were before that move.
void fill_from_own(BYTE* items, uint64_t gap, uint64_t bytes, uint64_t offset) {
  const uint64_t below = offset < gap ? std::min(bytes, gap - offset) : 0;
  std::memcpy(items + gap, items + offset, below);
  std::memcpy(items + gap + below, items + offset + below + bytes, bytes - below);
}

} // namespace

HRESULT insert_slots(tQVLIST* list, int64_t index, const void* source, int64_t slots) {
  const int64_t count = list->count;
  const int64_t position = index < 0 || index > count ? count : index;
  const uint64_t slot_bytes = list->itemSize;
  const uint64_t bytes = static_cast<uint64_t>(slots) * slot_bytes;
  const uint64_t offset = std::bit_cast<uintptr_t>(source) - std::bit_cast<uintptr_t>(list->items);
  const bool from_own = offset < static_cast<uint64_t>(count) * slot_bytes;
  if (count + slots > INT_MAX) return E_OUTOFMEMORY;
  if (count + slots > list->allocated) {
    const HRESULT result = grow(list, slots);
    if (FAILED(result)) return result;
  }
  BYTE* gap = slot_address(list, position);
  if (position < count) std::memmove(gap + bytes, gap, static_cast<uint64_t>(count - position) * slot_bytes);
  if (from_own)
    fill_from_own(static_cast<BYTE*>(list->items), static_cast<uint64_t>(position) * slot_bytes, bytes, offset);
  else
    std::memcpy(gap, source, bytes);
  list->count = static_cast<LONG>(count + slots);
  return S_OK;
}

namespace {

/// The size that an item was allocated with, noted in the last bytes of its block. The C runtime knows only the usable
/// size, which may be larger. There the note needs no header, and free() takes the block as it is. The check tells it
/// from what a block that the client allocated happens to hold there.
struct SizeNote {
  uint64_t bytes;
  uint64_t check;
};

constexpr uint64_t kMaxItemBytes = SIZE_MAX - sizeof(SizeNote);

uint64_t check_of(const void* block, uint64_t bytes) {
  return (std::bit_cast<uintptr_t>(block) ^ bytes) * 0x9E3779B97F4A7C15u + 0x5156;
}

void* with_note(void* block, uint64_t bytes) {
  if (!block) return nullptr;
  const SizeNote note{bytes, check_of(block, bytes)};
  std::memcpy(static_cast<BYTE*>(block) + _msize(block) - sizeof note, &note, sizeof note);
  return block;
}

/// The size in a block's note; nothing when it has no note.
std::optional<uint64_t> noted_bytes(void* block) {
  const uint64_t usable = _msize(block);
  if (usable < sizeof(SizeNote)) return std::nullopt;
  SizeNote note;
  std::memcpy(&note, static_cast<BYTE*>(block) + usable - sizeof note, sizeof note);
  const bool valid = note.bytes <= usable - sizeof note && note.check == check_of(block, note.bytes);
  return valid ? std::optional(note.bytes) : std::nullopt;
}

/// Makes a block's note invalid, so that a later block at the same address is not given its size. The write is volatile
/// because compilers drop others to memory that is freed next.
void strike_note(void* block) {
  if (!noted_bytes(block)) return;
  volatile BYTE* last = static_cast<BYTE*>(block) + _msize(block) - 1;
  *last = static_cast<BYTE>(~*last);
}

bool has_private_heap(const tQVLIST* list) { return list->itemHeap != nullptr; }

} // namespace

void* allocate_item(const tQVLIST* list, uint64_t bytes) {
  if (has_private_heap(list)) return HeapAlloc(list->itemHeap, list->heapAllocFlags, bytes);
  return bytes > kMaxItemBytes ? nullptr : with_note(std::calloc(1, bytes + sizeof(SizeNote)), bytes);
}

void* reallocate_item(const tQVLIST* list, void* item, uint64_t bytes) {
  if (!item) return allocate_item(list, bytes);
  if (has_private_heap(list)) return HeapReAlloc(list->itemHeap, list->heapAllocFlags, item, bytes);
  if (bytes > kMaxItemBytes) return nullptr;
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
