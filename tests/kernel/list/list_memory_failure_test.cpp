// Lists when memory is short: the n-th allocation of an operation fails, and the list is as it was.
#include "platform/posix/seams.h"

#include "qv/list.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QV_OWN_ALLOCATOR 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QV_OWN_ALLOCATOR 0
#endif
#endif
#ifndef QV_OWN_ALLOCATOR
#define QV_OWN_ALLOCATOR 1
#endif

#if QV_OWN_ALLOCATOR
namespace {

std::atomic<int> runtime_countdown{0};

bool runtime_fails() {
  return runtime_countdown.load(std::memory_order_relaxed) > 0 && runtime_countdown.fetch_sub(1) == 1;
}

} // namespace

// The library's calloc and realloc are these, as the program's come before the C library's. A sanitizer has its own.
extern "C" void* __libc_calloc(size_t count, size_t bytes);
extern "C" void* __libc_realloc(void* block, size_t bytes);
extern "C" void* calloc(size_t count, size_t bytes) { return runtime_fails() ? nullptr : __libc_calloc(count, bytes); }
extern "C" void* realloc(void* block, size_t bytes) { return runtime_fails() ? nullptr : __libc_realloc(block, bytes); }
#endif

namespace {

constexpr DWORD kPrivate = QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP;

/// What callers can see of a list.
struct Snapshot {
  LONG count, allocated;
  std::vector<BYTE> slots;
  const void* pending;

  explicit Snapshot(const tQVLIST* list)
      : count(list->count), allocated(list->allocated),
        slots(static_cast<BYTE*>(list->items), static_cast<BYTE*>(list->items) + list->count * list->itemSize),
        pending(list->pendingItem) {}
  bool operator==(const Snapshot&) const = default;
};

struct Operation {
  const char* name;
  DWORD options;
  int least_failures; ///< allocations of the seam that it makes
  std::function<HRESULT(tQVLIST*)> run;
};

const std::vector<Operation>& operations() {
  static const int numbers[20] = {};
  static const std::vector<Operation> all = {
      {"insert", QVLIST_OPT_ARRAY, 1, [](tQVLIST* l) { return QvList_InsertList(l, 1, numbers, 20); }},
      {"force count", QVLIST_OPT_ARRAY, 1, [](tQVLIST* l) { return QvList_ArrayForceItemCount(l, 50, 0); }},
      {"grow", 0, 1, [](tQVLIST* l) { return QvList_GrowAllocated(l, 1); }},
      {"shrink", 0, 1, [](tQVLIST* l) { return QvList_ShrinkAllocated(l, 4); }},
      {"alloc in private heap", kPrivate, 1,
       [](tQVLIST* l) {
         void* item = nullptr;
         return QvList_AllocItem(l, 8, &item);
       }},
      {"realloc in private heap", kPrivate, 1, [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 1000); }},
  };
  return all;
}

void fill(tQVLIST* list) {
  const intptr_t number = 5;
  if ((list->options & QVLIST_OPT_HEAPITEMS) != 0)
    ASSERT_EQ(QvList_AllocAndInsertItem(list, "item", 5, 0, nullptr), S_OK);
  else
    ASSERT_EQ(QvList_InsertList(list, 0, &number, 1), S_OK);
}

TEST(ListsShortOfMemory, StayAsTheyWere) {
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    tQVLIST* list = nullptr;
    ASSERT_EQ(QvList_CreateExZ(&list, 4, 12, 4, operation.options, 0, 0, 0), S_OK);
    fill(list);
    const Snapshot before(list);
    int failures = 0;
    for (HRESULT result = E_OUTOFMEMORY; FAILED(result); ++failures) {
      qv::platform::fail_allocation(failures + 1);
      result = operation.run(list);
      qv::platform::fail_allocation(0);
      if (SUCCEEDED(result)) break;
      ASSERT_EQ(result, E_OUTOFMEMORY);
      ASSERT_EQ(Snapshot(list), before);
    }
    EXPECT_GE(failures, operation.least_failures);
    QvList_DeleteList(list, -1, -1, 0);
    QvList_Destroy(list);
  }
}

TEST(ListsShortOfMemory, LongMovesNeedScratchMemory) {
  tQVLIST* list = nullptr;
  ASSERT_EQ(QvList_CreateExZ(&list, 4, 300, 4, QVLIST_OPT_ARRAY, 0, 0, 0), S_OK);
  ASSERT_EQ(QvList_ArrayForceItemCount(list, 300, 0), S_OK);
  for (int i = 0; i < 300; ++i)
    static_cast<int*>(list->items)[i] = i;
  const Snapshot before(list);
  qv::platform::fail_allocation(1);
  EXPECT_EQ(QvList_MoveRange(list, 0, 128, 129), E_OUTOFMEMORY);
  EXPECT_EQ(Snapshot(list), before);
  qv::platform::fail_allocation(1);
  EXPECT_EQ(QvList_MoveRange(list, 0, 128, 128), S_OK) << "512 bytes need none";
  qv::platform::fail_allocation(0);
  EXPECT_EQ(static_cast<int*>(list->items)[128], 0);
  QvList_Destroy(list);
}

TEST(ListsShortOfMemory, AFailedInsertionFreesItsItem) {
  tQVLIST* list = nullptr;
  ASSERT_EQ(QvList_CreateExZ(&list, 0, 4, 4, QVLIST_OPT_HEAPITEMS, 0, 0, 0), S_OK);
  for (int i = 0; i < 4; ++i)
    fill(list);
  const Snapshot before(list);
  qv::platform::fail_allocation(1); // the growth
  LONG index = 77;
  EXPECT_EQ(QvList_AllocAndInsertItem(list, "more", 5, 0, &index), E_OUTOFMEMORY);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(Snapshot(list), before);

  // A move of two items of which the second finds no room leaves one in each list.
  tQVLIST* other = nullptr;
  ASSERT_EQ(QvList_CreateExZ(&other, 0, 4, 4, QVLIST_OPT_HEAPITEMS, 0, 0, 0), S_OK);
  for (int i = 0; i < 3; ++i)
    fill(other);
  qv::platform::fail_allocation(1);
  EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(other, 0, list, 0, 2), E_OUTOFMEMORY);
  qv::platform::fail_allocation(0);
  EXPECT_EQ(other->count, 4);
  EXPECT_EQ(list->count, 3);
  EXPECT_EQ(other->pendingItem, nullptr);
  EXPECT_EQ(list->options, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ANYTHREAD);
  QvList_Destroy(other);
  QvList_Destroy(list);
}

TEST(ListsShortOfMemory, CreationGivesEverythingBack) {
  const DWORD options = kPrivate | QVLIST_OPT_THREADSAFE;
  int failures = 0;
  for (;; ++failures) {
    tQVLIST* list = reinterpret_cast<tQVLIST*>(1);
    qv::platform::fail_allocation(failures + 1);
    const HRESULT result = QvList_CreateExZ(&list, 4, 0, 0, options, 0, 0, 0);
    qv::platform::fail_allocation(0);
    if (SUCCEEDED(result)) {
      QvList_Destroy(list);
      break;
    }
    EXPECT_EQ(result, E_OUTOFMEMORY);
    EXPECT_EQ(list, nullptr);
  }
  EXPECT_EQ(failures, 3) << "slots, lock and heap";
}

#if QV_OWN_ALLOCATOR
TEST(ListsShortOfMemory, TheRuntimeFailsToo) {
  tQVLIST* list = reinterpret_cast<tQVLIST*>(1);
  runtime_countdown = 1;
  EXPECT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_HEAPITEMS, 0, 0, 0), E_OUTOFMEMORY);
  EXPECT_EQ(list, nullptr);
  ASSERT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_HEAPITEMS, 0, 0, 0), S_OK);
  fill(list);
  const Snapshot before(list);
  void* item = list;
  runtime_countdown = 1;
  EXPECT_EQ(QvList_AllocItem(list, 8, &item), E_OUTOFMEMORY);
  EXPECT_EQ(item, nullptr);
  runtime_countdown = 1;
  EXPECT_EQ(QvList_ReAllocItem(list, 0, 1000), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_AllocSize(list, 0), 5u);
  LONG index = 77;
  runtime_countdown = 1;
  EXPECT_EQ(QvList_AllocAndInsertItem(list, "more", 5, 0, &index), E_OUTOFMEMORY);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(runtime_countdown, 0) << "each failed once";
  EXPECT_EQ(Snapshot(list), before);
  QvList_Destroy(list);
}

TEST(ListItems, WhatTheListLetGoOfDoesNotSizeALaterBlockThere) {
  struct Case {
    const char* name;
    bool inserted; ///< whether the item is in the list, or pending
    void (*let_go)(tQVLIST* list, void* item);
  };
  const Case cases[] = {
      {"deleted", true, [](tQVLIST* l, void*) { EXPECT_EQ(QvList_DeleteList(l, 0, 1, 0), S_OK); }},
      {"destroyed with its list", true, [](tQVLIST* l, void*) { EXPECT_EQ(QvList_Destroy(l), S_OK); }},
      {"moved", true, [](tQVLIST* l, void*) { EXPECT_EQ(QvList_ReAllocItem(l, 0, 1'000'000), S_OK); }},
      {"forgotten for another, and freed by the client", false,
       [](tQVLIST* l, void* item) {
         void* null = nullptr;
         EXPECT_EQ(QvList_InsertList(l, 0, &null, -1), S_OK);
         std::free(item);
       }},
      {"left by a destroyed list, and freed by the client", false,
       [](tQVLIST* l, void* item) {
         EXPECT_EQ(QvList_Destroy(l), S_OK);
         std::free(item);
       }},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    tQVLIST storage;
    tQVLIST *first = &storage, *second = nullptr;
    ASSERT_EQ(QvList_CreateExZ(&first, 0, 0, 0, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_INPLACE, 0, 0, 0), S_OK);
    ASSERT_EQ(QvList_CreateExZ(&second, 0, 0, 0, QVLIST_OPT_HEAPITEMS, 0, 0, 0), S_OK);
    void* item = nullptr;
    ASSERT_EQ(QvList_AllocItem(first, 700, &item), S_OK); // a size that nobody else has
    const size_t usable = _msize(item);
    if (each.inserted) ASSERT_EQ(QvList_InsertList(first, 0, nullptr, -1), S_OK);
    each.let_go(first, item);
    void* block = std::malloc(usable); // the C library hands out first what was freed last
    ASSERT_EQ(block, item);
    ASSERT_EQ(QvList_InsertList(second, 0, &block, -1), S_OK);
    EXPECT_EQ(QvList_AllocSize(second, 0), usable);
    QvList_Destroy(second);
    if (storage.signature != 0) QvList_Destroy(first);
  }
}
#endif

} // namespace
