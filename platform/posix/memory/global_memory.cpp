// The GlobalAlloc family over malloc.
//
// A block is a header followed by the caller's bytes. The pointer to a block's bytes is 16-aligned; the handle of a
// moveable block is that pointer plus 8, so that a handle used as a pointer (which Windows forbids) is noticed, and
// either can be told from the other. Only GlobalReAlloc moves a block, and only a fixed one.
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include "qv/win32.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr uint32_t kLive = 0x51564D42;
constexpr uintptr_t kHandleOffset = 8;
constexpr uint32_t kMaxLocks = GMEM_LOCKCOUNT;

struct alignas(16) Block {
  size_t bytes;
  uint32_t mark;
  uint16_t moveable;
  std::atomic<uint16_t> locks;
};
static_assert(sizeof(Block) == 16, "the caller's bytes follow the header and stay 16-aligned");

Block* block_of_memory(const void* memory) {
  const auto address = reinterpret_cast<uintptr_t>(memory);
  if (address < sizeof(Block) || address % 16 != 0) return nullptr;
  auto* block = reinterpret_cast<Block*>(address) - 1;
  return block->mark == kLive ? block : nullptr;
}

bool is_moveable_handle(HGLOBAL handle) { return reinterpret_cast<uintptr_t>(handle) % 16 == kHandleOffset; }

Block* block_of_handle(HGLOBAL handle) {
  const auto address = reinterpret_cast<uintptr_t>(handle);
  if (!handle) return nullptr;
  return block_of_memory(reinterpret_cast<void*>(is_moveable_handle(handle) ? address - kHandleOffset : address));
}

void* memory_of(Block* block) { return block + 1; }

HGLOBAL handle_of(Block* block) { return static_cast<BYTE*>(memory_of(block)) + (block->moveable ? kHandleOffset : 0); }

/// Gives the whole pages of a range back to the system; they read as zeros then.
void drop_pages(BYTE* first, BYTE* last) {
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const uintptr_t begin = (reinterpret_cast<uintptr_t>(first) + page - 1) / page * page;
  const uintptr_t end = reinterpret_cast<uintptr_t>(last) / page * page;
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
}

/// Null when there is no room where the block is and it may not move, or when there is no memory.
Block* resize(Block* block, size_t bytes, bool may_move) {
  if (bytes <= malloc_usable_size(block) - sizeof(Block)) return block;
  if (!may_move || block->moveable != 0 || bytes > SIZE_MAX - sizeof(Block)) return nullptr;
  block->mark = 0; // where it was, it is no block any more
  void* moved = std::realloc(static_cast<void*>(block), sizeof(Block) + bytes);
  auto* live = moved ? static_cast<Block*>(moved) : block;
  live->mark = kLive;
  return moved ? live : nullptr;
}

Block* require(Block* block) {
  if (!block) SetLastError(ERROR_INVALID_HANDLE);
  return block;
}

} // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
  void* raw = nullptr;
  if (!qv::platform::allocation_fails() && bytes <= SIZE_MAX - sizeof(Block)) {
    const size_t whole = sizeof(Block) + bytes;
    raw = (flags & GMEM_ZEROINIT) ? std::calloc(1, whole) : std::malloc(whole);
  }
  if (!raw) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  const uint16_t moveable = (flags & GMEM_MOVEABLE) ? 1 : 0;
  return handle_of(new (raw) Block{bytes, kLive, moveable, 0});
}

void* GlobalLock(HGLOBAL handle) {
  Block* block = require(block_of_handle(handle));
  if (!block) return nullptr;
  if (is_moveable_handle(handle) && block->locks.load() < kMaxLocks) block->locks.fetch_add(1);
  return memory_of(block);
}

BOOL GlobalUnlock(HGLOBAL handle) {
  Block* block = require(block_of_handle(handle));
  if (!block) return FALSE;
  if (!is_moveable_handle(handle)) return TRUE;
  if (block->locks.load() == 0) return qv::platform::fail_with(ERROR_NOT_OWNER);
  const bool locked = block->locks.fetch_sub(1) != 1;
  if (!locked) SetLastError(ERROR_SUCCESS);
  return locked ? TRUE : FALSE;
}

HGLOBAL GlobalHandle(const void* memory) {
  Block* block = require(block_of_memory(memory));
  if (!block) return nullptr;
  return handle_of(block);
}

SIZE_T GlobalSize(HGLOBAL handle) {
  const Block* block = require(block_of_handle(handle));
  return block ? block->bytes : 0;
}

UINT GlobalFlags(HGLOBAL handle) {
  const Block* block = require(block_of_handle(handle));
  return block ? block->locks.load() & GMEM_LOCKCOUNT : GMEM_INVALID_HANDLE;
}

HGLOBAL GlobalFree(HGLOBAL handle) {
  if (!handle) return nullptr;
  Block* block = require(block_of_handle(handle));
  if (!block) return handle;
  block->mark = 0;
  block->~Block();
  std::free(block);
  return nullptr;
}

HGLOBAL GlobalReAlloc(HGLOBAL handle, SIZE_T bytes, UINT flags) {
  Block* block = require(block_of_handle(handle));
  if (!block) return nullptr;
  Block* resized = nullptr;
  if (!qv::platform::allocation_fails()) resized = resize(block, bytes, (flags & GMEM_MOVEABLE) != 0);
  if (!resized) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  auto* memory = static_cast<BYTE*>(memory_of(resized));
  if (bytes < resized->bytes)
    drop_pages(memory + bytes, memory + resized->bytes);
  else if ((flags & GMEM_ZEROINIT) != 0)
    std::memset(memory + resized->bytes, 0, bytes - resized->bytes);
  resized->bytes = bytes;
  return handle_of(resized);
}
