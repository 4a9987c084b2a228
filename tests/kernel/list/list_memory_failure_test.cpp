// Lists when memory is short: the n-th allocation of an operation fails, and the list is as it was.
#include "platform/posix/seams.h"
#include "tests/kernel/list/list_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <vector>

using namespace kernel_test;

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

namespace {

std::atomic<int> runtime_countdown{0};

/// Makes the n-th allocation of the C runtime's from now on fail; 0: none.
void fail_runtime(int n) { runtime_countdown = n; }

} // namespace

#if QV_OWN_ALLOCATOR
static bool runtime_fails() {
  return runtime_countdown.load(std::memory_order_relaxed) > 0 && runtime_countdown.fetch_sub(1) == 1;
}

// The library's calloc and realloc are these, as the program's come before the C library's. A sanitizer has its own.
extern "C" void* __libc_calloc(size_t count, size_t bytes);
extern "C" void* __libc_realloc(void* block, size_t bytes);
extern "C" void* calloc(size_t count, size_t bytes) { return runtime_fails() ? nullptr : __libc_calloc(count, bytes); }
extern "C" void* realloc(void* block, size_t bytes) { return runtime_fails() ? nullptr : __libc_realloc(block, bytes); }
#endif

namespace {

constexpr DWORD kPrivate = QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP;
constexpr LONG kSlots = 300;

/// What callers can see of a list.
struct Snapshot {
  LONG count, allocated;
  std::vector<BYTE> slots;
  const void* pending;
  ULONGLONG bytes;

  explicit Snapshot(tQVLIST* list)
      : count(list->count), allocated(list->allocated),
        slots(static_cast<BYTE*>(list->items), static_cast<BYTE*>(list->items) + list->count * list->itemSize),
        pending(list->pendingItem), bytes(QvList_AllocSize(list, -1)) {}
  bool operator==(const Snapshot&) const = default;
};

/// Fills every slot.
void fill(tQVLIST* list) {
  for (int i = 0; i < list->allocated; ++i)
    if ((list->options & QVLIST_OPT_HEAPITEMS) != 0)
      ASSERT_EQ(QvList_AllocAndInsertItem(list, "item", 5, 0, nullptr), S_OK);
    else
      ASSERT_EQ(QvList_InsertList(list, -1, &i, 1), S_OK);
}

/// Does something to a list again and again, while the n-th allocation fails, until none does. Returns how often one
/// failed; the list was as before each time.
int failures_of(HRESULT (*run)(tQVLIST*), tQVLIST* list, void (*fail_allocation)(int)) {
  const Snapshot before(list);
  for (int failures = 0;; ++failures) {
    fail_allocation(failures + 1);
    const HRESULT result = run(list);
    fail_allocation(0);
    if (SUCCEEDED(result) || failures == 9) return failures;
    EXPECT_EQ(result, E_OUTOFMEMORY);
    EXPECT_EQ(Snapshot(list), before);
  }
}

TEST(ListsShortOfMemory, StayAsTheyWere) {
  struct Case {
    const char* name;
    DWORD options;
    int blocks;         ///< that the system's services allocate
    int runtime_blocks; ///< that the C runtime allocates, at least
    HRESULT (*run)(tQVLIST*);
  };
  constexpr auto alloc = [](tQVLIST* l) {
    void* item = l;
    const HRESULT result = QvList_AllocItem(l, 8, &item);
    EXPECT_EQ(item != nullptr, result == S_OK);
    return result;
  };
  constexpr auto alloc_and_insert = [](tQVLIST* l) {
    LONG index = 77;
    const HRESULT result = QvList_AllocAndInsertItem(l, "more", 5, 0, &index);
    EXPECT_EQ(index, result == S_OK ? 0 : -1);
    return result;
  };
  const Case cases[] = {
      {"insert", QVLIST_OPT_ARRAY, 1, 0, [](tQVLIST* l) { return QvList_InsertList(l, 1, "12345678", 2); }},
      {"force count", QVLIST_OPT_ARRAY, 1, 0, [](tQVLIST* l) { return QvList_ArrayForceItemCount(l, 350, 0); }},
      {"move", QVLIST_OPT_ARRAY, 1, 0, [](tQVLIST* l) { return QvList_MoveRange(l, 0, 128, 129); }},
      {"move 512 bytes", QVLIST_OPT_ARRAY, 0, 0, [](tQVLIST* l) { return QvList_MoveRange(l, 0, 128, 128); }},
      {"grow", QVLIST_OPT_ARRAY, 1, 0, [](tQVLIST* l) { return QvList_GrowAllocated(l, 1); }},
      {"allocate", QVLIST_OPT_HEAPITEMS, 0, 1, alloc},
      {"reallocate", QVLIST_OPT_HEAPITEMS, 0, 1, [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 1000); }},
      {"allocate and insert", QVLIST_OPT_HEAPITEMS, 1, 1, alloc_and_insert},
      {"allocate in private heap", kPrivate, 1, 0, alloc},
      {"reallocate in private heap", kPrivate, 1, 0, [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 1000); }},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    for (const bool runtime : {false, QV_OWN_ALLOCATOR != 0}) {
      const List list(each.options, 4, kSlots, 4);
      fill(list);
      const int failures = failures_of(each.run, list, runtime ? fail_runtime : qv::platform::fail_allocation);
      EXPECT_TRUE(runtime ? failures >= each.runtime_blocks : failures == each.blocks) << failures;
      QvList_DeleteList(list, -1, -1, 0);
    }
  }
  const List slack(0, 4, kSlots, 4);
  EXPECT_EQ(failures_of([](tQVLIST* l) { return QvList_ShrinkAllocated(l, 4); }, slack, qv::platform::fail_allocation),
            1);
}

TEST(ListsShortOfMemory, AMoveThatFailsHalfWayLeavesEachItemInOneList) {
  const List from(QVLIST_OPT_HEAPITEMS, 4, 4, 4), to(QVLIST_OPT_HEAPITEMS, 4, 4, 4);
  fill(from);
  fill(to);
  QvList_DeleteList(to, 0, 1, 0);
  qv::platform::fail_allocation(1);
  EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(to, 0, from, 0, 2), E_OUTOFMEMORY);
  qv::platform::fail_allocation(0);
  EXPECT_EQ(to->count, 4);
  EXPECT_EQ(from->count, 3);
  EXPECT_EQ(to->pendingItem, nullptr);
  EXPECT_EQ(from->options, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ANYTHREAD);
}

TEST(ListsShortOfMemory, CreationGivesEverythingBack) {
  for (const bool runtime : {false, QV_OWN_ALLOCATOR != 0}) {
    const auto fail = runtime ? fail_runtime : qv::platform::fail_allocation;
    tQVLIST* list = nullptr;
    int failures = 0;
    for (HRESULT result = E_OUTOFMEMORY; FAILED(result) && failures < 9; ++failures) {
      list = reinterpret_cast<tQVLIST*>(1);
      fail(failures + 1);
      result = QvList_CreateExZ(&list, 4, 0, 0, kPrivate | QVLIST_OPT_THREADSAFE, 0, 0, 0);
      fail(0);
      if (FAILED(result)) EXPECT_EQ(list, nullptr);
    }
    EXPECT_GE(failures, runtime ? 2 : 4) << "the header at least; slots, lock and heap";
    QvList_Destroy(list);
  }
}

#if QV_OWN_ALLOCATOR
TEST(ListItems, WhatTheListLetGoOfDoesNotSizeALaterBlockThere) {
  struct Case {
    const char* name;
    bool inserted; ///< whether the item is in the list; else it is pending, and the client frees it at the end
    HRESULT (*let_go)(tQVLIST* list);
  };
  static void* nothing = nullptr;
  const Case cases[] = {
      {"deleted", true, [](tQVLIST* l) { return QvList_DeleteList(l, 0, 1, 0); }},
      {"destroyed with its list", true, QvList_Destroy},
      {"moved", true, [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 1'000'000); }},
      {"forgotten for another", false, [](tQVLIST* l) { return QvList_InsertList(l, 0, &nothing, -1); }},
      {"left by a destroyed list", false, QvList_Destroy},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    tQVLIST storage;
    tQVLIST* first = List(QVLIST_OPT_HEAPITEMS).release();
    ASSERT_EQ(QvList_ConvertToInPlace(&first, &storage), S_OK);
    const List second(QVLIST_OPT_HEAPITEMS);
    void* item = nullptr;
    ASSERT_EQ(QvList_AllocItem(&storage, 700, &item), S_OK);
    const size_t usable = _msize(item);
    void* others[16]; // which leave room in that list
    std::generate(others, std::end(others), [=] { return std::malloc(usable); });
    if (each.inserted) ASSERT_EQ(QvList_InsertList(&storage, 0, nullptr, -1), S_OK);
    EXPECT_EQ(each.let_go(&storage), S_OK);
    if (!each.inserted) std::free(item);
    void* block = std::malloc(usable);
    ASSERT_EQ(block, item) << "the C library hands out first what was freed last, from a short list";
    std::for_each(others, std::end(others), std::free);
    ASSERT_EQ(QvList_InsertList(second, 0, &block, -1), S_OK);
    EXPECT_EQ(QvList_AllocSize(second, 0), usable);
    if (storage.signature != 0) QvList_Destroy(&storage);
  }
}
#endif

} // namespace
