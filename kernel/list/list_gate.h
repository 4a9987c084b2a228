// The thread gate, which operations on lists pass first; and what they share: the kind of a list, its slots, ranges.
#pragma once

#include "qv/list.h"

#include <atomic>

namespace qv::kernel {

/// A list's options, read atomically: QvList_MoveItemsBetweenHeapLists changes them inside the lock, while other
/// threads look at them to find out whether there is one.
inline DWORD options_of(const tQVLIST* list) {
  return std::atomic_ref<DWORD>(const_cast<DWORD&>(list->options)).load(std::memory_order_relaxed);
}

inline bool has_option(const tQVLIST* list, DWORD option) { return (options_of(list) & option) != 0; }

/// Holds the lock of a thread-safe list while it lives. A list of another kind, or null, has nothing to hold.
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

/// True when a list that is not thread-safe may not be used by the calling thread.
inline bool refuses_thread(const tQVLIST* list) {
  return !has_option(list, QVLIST_OPT_ANYTHREAD) && GetCurrentThreadId() != list->ownerThread;
}

/// The thread gate: a ListLock that converts to false when the list is null or refuses the calling thread.
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
/// The value in a slot of a pointer or heap-item list.
inline void*& slot_value(const tQVLIST* list, int64_t index) { return static_cast<void**>(list->items)[index]; }
/// The argument that callbacks get for a slot: its address in an array list, its value in others.
inline const void* callback_item(const tQVLIST* list, int64_t index) {
  return is_array(list) ? slot_address(list, index) : slot_value(list, index);
}

/// The length of a range as callers give it, from `start` on: `n` slots, or all for n < 0, cut to those that there are.
inline int64_t cut_range(const tQVLIST* list, int64_t start, int64_t n) {
  const int64_t left = list->count > start ? list->count - start : 0;
  return n < 0 || n > left ? left : n;
}

} // namespace qv::kernel
