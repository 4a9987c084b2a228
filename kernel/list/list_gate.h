// The thread gate that operations on lists pass first, and what the operations share about a list's kind.
#pragma once

#include "qv/list.h"

#include <atomic>

namespace qv::kernel {

/// The options as another thread may see them: QvList_MoveItemsBetweenHeapLists changes them while it has the lock.
inline DWORD options_of(const tQVLIST* list) {
  return std::atomic_ref<DWORD>(const_cast<DWORD&>(list->options)).load(std::memory_order_relaxed);
}

inline bool has_option(const tQVLIST* list, DWORD option) { return (options_of(list) & option) != 0; }

/// Holds the lock of a list that is thread-safe; of any other list, or null, nothing.
class ListLock {
public:
  explicit ListLock(tQVLIST* list) : locked_(list && has_option(list, QVLIST_OPT_THREADSAFE) ? list : nullptr) {
    if (locked_) EnterCriticalSection(&locked_->lock);
  }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;
  ~ListLock() {
    if (locked_) LeaveCriticalSection(&locked_->lock);
  }
  explicit operator bool() const { return locked_ != nullptr; }

private:
  tQVLIST* locked_;
};

/// Whether a list without a lock refuses the calling thread.
inline bool refuses_thread(const tQVLIST* list) {
  return !has_option(list, QVLIST_OPT_ANYTHREAD) && GetCurrentThreadId() != list->ownerThread;
}

/// What operations pass first: holds the lock as ListLock does. False when the list is null or refuses the thread.
class ListGate {
public:
  explicit ListGate(tQVLIST* list) : lock_(list), open_(lock_ || (list && !refuses_thread(list))) {}
  explicit operator bool() const { return open_; }

private:
  ListLock lock_;
  bool open_;
};

inline bool is_array(const tQVLIST* list) { return has_option(list, QVLIST_OPT_ARRAY); }
inline bool is_heap_list(const tQVLIST* list) { return has_option(list, QVLIST_OPT_HEAPITEMS); }

inline BYTE* slot_address(const tQVLIST* list, int64_t index) {
  return static_cast<BYTE*>(list->items) + static_cast<uint64_t>(index) * list->itemSize;
}
/// The slot of a list that is not an array list.
inline void*& slot_value(const tQVLIST* list, int64_t index) { return static_cast<void**>(list->items)[index]; }
/// What callbacks get for a slot.
inline const void* callback_item(const tQVLIST* list, int64_t index) {
  return is_array(list) ? slot_address(list, index) : slot_value(list, index);
}

/// What is left of `n` items from `start` on (both as callers give them: n < 0 means all).
inline int64_t cut_range(const tQVLIST* list, int64_t start, int64_t n) {
  const int64_t left = list->count > start ? list->count - start : 0;
  return n < 0 || n > left ? left : n;
}

} // namespace qv::kernel
