// The thread gate, and lists under several threads.
#include "tests/kernel/list/list_fixture.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

using namespace kernel_test;

namespace {

LONG CALLBACK compare_addresses(LONGLONG, const void* a, const void* b) { return a < b ? -1 : a > b ? 1 : 0; }
LONG CALLBACK match_any(LONGLONG, const void*) { return 0; }

/// Runs something on a thread of its own and waits for it.
void elsewhere(const std::function<void()>& run) { std::thread(run).join(); }

constexpr DWORD kArray = QVLIST_OPT_ARRAY;
constexpr DWORD kHeap = QVLIST_OPT_HEAPITEMS;
int number = 5;
void* item = nullptr;

struct GatedOperation {
  const char* name;
  DWORD kind; ///< of list, on which it does something
  LONGLONG refused;
  LONGLONG (*run)(tQVLIST*);
};

constexpr GatedOperation kGatedOperations[] = {
    {"DeleteList", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_DeleteList(l, 0, 0, 0); }},
    {"AllocItem", kHeap, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_AllocItem(l, 4, &item); }},
    {"AllocAndInsertItem", kHeap, E_FAIL,
     [](tQVLIST* l) -> LONGLONG { return QvList_AllocAndInsertItem(l, &number, 4, 0, nullptr); }},
    {"ReAllocItem", kHeap, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_ReAllocItem(l, 0, 4); }},
    {"AllocSize", kHeap, -1, [](tQVLIST* l) { return static_cast<LONGLONG>(QvList_AllocSize(l, -1)); }},
    {"ArrayForceItemCount", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_ArrayForceItemCount(l, 1, 0); }},
    {"GrowAllocated", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_GrowAllocated(l, 1); }},
    {"ShrinkAllocated", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_ShrinkAllocated(l, 1); }},
    {"InsertList", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_InsertList(l, 0, &number, 1); }},
    {"MoveRange", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_MoveRange(l, 0, 0, 0); }},
    {"FindItemRange", kArray, -1, [](tQVLIST* l) -> LONGLONG { return QvList_FindItemRange(l, 0, -1, 0, match_any); }},
    {"FindSpecificItemRange", kArray, -1,
     [](tQVLIST* l) -> LONGLONG { return QvList_FindSpecificItemRange(l, 0, -1, &number); }},
    {"FindSortedItemRange", kArray, -1,
     [](tQVLIST* l) -> LONGLONG {
       return QvList_FindSortedItemRange(l, l ? l->items : nullptr, 0, -1, compare_addresses);
     }},
    {"FindSortedInsertIndexRange", kArray, -1,
     [](tQVLIST* l) -> LONGLONG { return QvList_FindSortedInsertIndexRange(l, nullptr, 0, -1, compare_addresses); }},
    {"Sort", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_Sort(l, 1, nullptr); }},
    {"HeapSort", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_HeapSort(l, 1, nullptr); }},
    {"SetUserData", kArray, 0xFFFFFFFF, [](tQVLIST* l) { return QvList_SetUserData(l, 3); }},
    {"GetUserData", kArray, 0xFFFFFFFF, [](tQVLIST* l) { return QvList_GetUserData(l); }},
    {"IsValidIndexSlow", kArray, 0, [](tQVLIST* l) -> LONGLONG { return QvList_IsValidIndexSlow(l, 0); }},
    {"Destroy", kArray, E_FAIL, [](tQVLIST* l) -> LONGLONG { return QvList_Destroy(l); }},
};

TEST(ListGate, RefusesOtherThreadsOnceTheOptionIsCleared) {
  for (const GatedOperation& operation : kGatedOperations) {
    SCOPED_TRACE(operation.name);
    const bool destroys = std::string(operation.name) == "Destroy";
    tQVLIST* list = List(operation.kind).release();
    ASSERT_EQ(operation.kind == kHeap ? QvList_AllocAndInsertItem(list, nullptr, 4, 0, nullptr)
                                      : QvList_InsertList(list, 0, &number, 1),
              S_OK);
    list->options &= ~QVLIST_OPT_ANYTHREAD;
    elsewhere([&] { EXPECT_EQ(operation.run(list), operation.refused); });
    EXPECT_EQ(operation.run(nullptr), destroys ? S_OK : operation.refused);
    elsewhere([&] { QvList_SetThreadOwner(list, 0); }); // which makes this thread another one
    EXPECT_EQ(operation.run(list), operation.refused);
    EXPECT_EQ(QvList_SetThreadOwner(list, GetCurrentThreadId()), S_OK);
    EXPECT_EQ(QvList_GetThreadOwner(list), GetCurrentThreadId());
    EXPECT_NE(operation.run(list), operation.refused);
    if (destroys) continue;
    QvList_DeleteList(list, -1, -1, 0);
    EXPECT_EQ(QvList_Destroy(list), S_OK);
  }
}

TEST(ListGate, QuestionsPassIt) {
  const List list(kArray), dest(kArray);
  ASSERT_EQ(QvList_Sort(list, 77, nullptr), S_OK);
  list->options &= ~QVLIST_OPT_ANYTHREAD;
  elsewhere([&] {
    EXPECT_EQ(QvList_GetSortCriteria(list), 77);
    EXPECT_EQ(QvList_GetCreateOptions(list), kArray);
    EXPECT_EQ(QvList_IsList(list, sizeof *list), 1);
    EXPECT_EQ(QvList_SortTo(dest, list, 1, compare_addresses), E_FAIL);
  });
}

TEST(ListGate, CompositeOperationsPassItAndAreRefusedByTheirParts) {
  const List lists[] = {List(kHeap), List(kHeap)};
  for (tQVLIST* list : lists)
    ASSERT_EQ(QvList_AllocAndInsertItem(list, &number, sizeof number, 0, nullptr), S_OK);
  for (const int refusing : {1, 2, 3}) { // the destination, the source, both
    for (const int i : {0, 1})
      if ((refusing >> i & 1) != 0) lists[i]->options &= ~QVLIST_OPT_ANYTHREAD;
    elsewhere([&] {
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(lists[0], 0, lists[1], 0, 0), S_OK) << "nothing is moved";
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(lists[0], 0, lists[1], 0, 1), E_FAIL);
    });
    for (tQVLIST* list : lists) {
      list->options |= QVLIST_OPT_ANYTHREAD;
      EXPECT_EQ(list->count, 1);
      EXPECT_EQ(list->pendingItem, nullptr);
    }
  }
  ASSERT_EQ(QvList_AllocItem(lists[0], 4, &item), S_OK);
  lists[0]->options &= ~QVLIST_OPT_ANYTHREAD;
  elsewhere([&] { EXPECT_EQ(QvList_AllocAndInsertItem(lists[0], &number, 4, 0, nullptr), E_FAIL); });
  EXPECT_EQ(lists[0]->pendingItem, nullptr) << "no failure leaves an item pending";
}

TEST(ListThreads, WritersAndAMoverLoseNothing) {
  constexpr int kWriters = 7;
  constexpr int kEach = 2000;
  for (const DWORD kind : {kArray, kHeap, kHeap | QVLIST_OPT_PRIVATEHEAP}) {
    tQVLIST* list = List(kind | QVLIST_OPT_THREADSAFE).release();
    tQVLIST from;
    ASSERT_EQ(QvList_ConvertToInPlace(&list, &from), S_OK); // the lock has moved
    const List moved(kHeap | QVLIST_OPT_THREADSAFE);
    std::vector<std::jthread> threads;
    for (int writer = 0; writer < kWriters; ++writer) {
      threads.emplace_back([&, writer] {
        for (int i = writer * kEach; i < (writer + 1) * kEach; ++i) {
          const LONG at = i % 7 == 0 ? 0 : -1;
          EXPECT_EQ(kind == kArray ? QvList_InsertList(&from, at, &i, 1)
                                   : QvList_AllocAndInsertItem(&from, &i, sizeof i, at, nullptr),
                    S_OK);
          QvList_SetUserData(&from, i);
        }
      });
    }
    if (kind == kHeap) {
      threads.emplace_back([&] {
        for (int i = 0; i < kEach; ++i)
          EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(moved, -1, &from, 0, -1), S_OK);
      });
    }
    threads.clear();
    std::vector<int> seen(kWriters * kEach);
    for (const tQVLIST* each : {&from, static_cast<tQVLIST*>(moved)})
      for (LONG i = 0; i < each->count; ++i)
        ++seen[kind == kArray ? static_cast<int*>(each->items)[i] : *static_cast<int**>(each->items)[i]];
    EXPECT_EQ(seen, std::vector<int>(kWriters * kEach, 1));
    EXPECT_EQ(QvList_Destroy(&from), S_OK);
  }
}

} // namespace
