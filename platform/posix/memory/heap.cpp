// Private heaps: the blocks of one heap are linked, so that destroying it frees them all.
#include "platform/posix/handle.h"
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace qv::platform {

namespace {

/// In front of the caller's bytes.
struct alignas(16) Block {
  Block* next;
  Block* prev;
  size_t bytes;
};

Block* block_of(const void* memory) { return const_cast<Block*>(static_cast<const Block*>(memory)) - 1; }

class Heap final : public KernelObject {
public:
  ~Heap() override {
    for (Block* block = first_; block;) {
      Block* next = block->next;
      std::free(block);
      block = next;
    }
  }

  void link(Block* block) {
    block->prev = nullptr;
    block->next = first_;
    if (first_) first_->prev = block;
    first_ = block;
  }
  void unlink(Block* block) {
    (block->prev ? block->prev->next : first_) = block->next;
    if (block->next) block->next->prev = block->prev;
  }

private:
  Block* first_ = nullptr;
};

bool too_large(SIZE_T bytes) {
  if (!allocation_fails() && bytes <= SIZE_MAX / 2) return false;
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return true;
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

HANDLE HeapCreate(DWORD, SIZE_T, SIZE_T maximum) {
  if (maximum != 0) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  auto* heap = allocation_fails() ? nullptr : new (std::nothrow) Heap;
  if (!heap) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return heap->handle();
}

BOOL HeapDestroy(HANDLE heap) {
  auto* object = object_of<Heap>(heap);
  if (!object) return FALSE;
  object->release();
  return TRUE;
}

void* HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes) {
  auto* object = object_of<Heap>(heap);
  if (!object || too_large(bytes)) return nullptr;
  const size_t whole = sizeof(Block) + bytes;
  auto* block = static_cast<Block*>((flags & HEAP_ZERO_MEMORY) != 0 ? std::calloc(1, whole) : std::malloc(whole));
  if (!block) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  block->bytes = bytes;
  object->link(block);
  return block + 1;
}

void* HeapReAlloc(HANDLE heap, DWORD flags, void* memory, SIZE_T bytes) {
  auto* object = object_of<Heap>(heap);
  if (!object || !memory || too_large(bytes)) return nullptr;
  Block* old = block_of(memory);
  const size_t old_bytes = old->bytes;
  object->unlink(old);
  auto* block = static_cast<Block*>(std::realloc(old, sizeof(Block) + bytes));
  if (!block) {
    object->link(old);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  block->bytes = bytes;
  object->link(block);
  auto* grown = reinterpret_cast<BYTE*>(block + 1);
  if ((flags & HEAP_ZERO_MEMORY) != 0 && bytes > old_bytes) std::memset(grown + old_bytes, 0, bytes - old_bytes);
  return grown;
}

BOOL HeapFree(HANDLE heap, DWORD, void* memory) {
  auto* object = object_of<Heap>(heap);
  if (!object) return FALSE;
  if (!memory) return TRUE;
  object->unlink(block_of(memory));
  std::free(block_of(memory));
  return TRUE;
}

SIZE_T HeapSize(HANDLE heap, DWORD, const void* memory) {
  if (!object_of<Heap>(heap) || !memory) return SIZE_MAX;
  return block_of(memory)->bytes;
}
