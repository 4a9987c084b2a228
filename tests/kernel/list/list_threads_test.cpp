// The thread gate, and lists under several threads.
#include "qv/list.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace {

tQVLIST* make(DWORD options) {
  tQVLIST* list = nullptr;
  EXPECT_EQ(QvList_CreateExZ(&list, sizeof(int), 0, 0, options, 0, 0, 0), S_OK);
  return list;
}

LONG CALLBACK compare_addresses(LONGLONG, const void* a, const void* b) { return a < b ? -1 : a > b ? 1 : 0; }
LONG CALLBACK match_any(LONGLONG, const void*) { return 0; }

struct GatedOperation {
  const char* name;
  std::function<LONGLONG(tQVLIST*)> run;
  LONGLONG refused;
};

const std::vector<GatedOperation>& gated_operations() {
  static int number = 5;
  static void* item = nullptr;
  static const std::vector<GatedOperation> all = {
      {"DeleteList", [](tQVLIST* l) { return QvList_DeleteList(l, 0, 0, 0); }, E_FAIL},
      {"AllocItem", [](tQVLIST* l) { return QvList_AllocItem(l, 4, &item); }, E_FAIL},
      {"AllocAndInsertItem", [](tQVLIST* l) { return QvList_AllocAndInsertItem(l, &number, 4, 0, nullptr); }, E_FAIL},
      {"ReAllocItem", [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 4); }, E_FAIL},
      {"AllocSize", [](tQVLIST* l) { return static_cast<LONGLONG>(QvList_AllocSize(l, -1)); }, -1},
      {"ArrayForceItemCount", [](tQVLIST* l) { return QvList_ArrayForceItemCount(l, 1, 0); }, E_FAIL},
      {"GrowAllocated", [](tQVLIST* l) { return QvList_GrowAllocated(l, 1); }, E_FAIL},
      {"ShrinkAllocated", [](tQVLIST* l) { return QvList_ShrinkAllocated(l, 1); }, E_FAIL},
      {"InsertList", [](tQVLIST* l) { return QvList_InsertList(l, 0, &number, 1); }, E_FAIL},
      {"MoveRange", [](tQVLIST* l) { return QvList_MoveRange(l, 0, 0, 0); }, E_FAIL},
      {"FindItemRange", [](tQVLIST* l) { return QvList_FindItemRange(l, 0, -1, 0, match_any); }, -1},
      {"FindSpecificItemRange", [](tQVLIST* l) { return QvList_FindSpecificItemRange(l, 0, -1, &number); }, -1},
      {"FindSortedItemRange",
       [](tQVLIST* l) { return QvList_FindSortedItemRange(l, nullptr, 0, -1, compare_addresses); }, -1},
      {"FindSortedInsertIndexRange",
       [](tQVLIST* l) { return QvList_FindSortedInsertIndexRange(l, nullptr, 0, -1, compare_addresses); }, -1},
      {"Sort", [](tQVLIST* l) { return QvList_Sort(l, 1, nullptr); }, E_FAIL},
      {"HeapSort", [](tQVLIST* l) { return QvList_HeapSort(l, 1, nullptr); }, E_FAIL},
      {"SetUserData", [](tQVLIST* l) { return QvList_SetUserData(l, 3); }, 0xFFFFFFFF},
      {"GetUserData", [](tQVLIST* l) { return QvList_GetUserData(l); }, 0xFFFFFFFF},
      {"IsValidIndexSlow", [](tQVLIST* l) { return QvList_IsValidIndexSlow(l, 0); }, 0},
      {"Destroy", [](tQVLIST* l) { return QvList_Destroy(l); }, E_FAIL},
  };
  return all;
}

/// The kind on which the operation does something else than refuse.
DWORD kind_for(const std::string& operation) {
  const bool items =
      operation.find("AllocItem") != std::string::npos || operation.find("AndInsert") != std::string::npos;
  return items ? QVLIST_OPT_HEAPITEMS : QVLIST_OPT_ARRAY;
}

TEST(ListGate, RefusesOtherThreadsOnceTheOptionIsCleared) {
  for (const GatedOperation& operation : gated_operations()) {
    SCOPED_TRACE(operation.name);
    tQVLIST* list = make(kind_for(operation.name));
    if (kind_for(operation.name) == QVLIST_OPT_HEAPITEMS) {
      ASSERT_EQ(QvList_AllocAndInsertItem(list, nullptr, 4, 0, nullptr), S_OK);
    } else {
      const int number = 5;
      ASSERT_EQ(QvList_InsertList(list, 0, &number, 1), S_OK);
    }
    EXPECT_EQ(list->options & QVLIST_OPT_ANYTHREAD, QVLIST_OPT_ANYTHREAD);
    list->options &= ~QVLIST_OPT_ANYTHREAD;
    LONGLONG elsewhere = 0;
    std::thread([&] { elsewhere = operation.run(list); }).join();
    EXPECT_EQ(elsewhere, operation.refused);
    EXPECT_EQ(operation.run(nullptr), std::string(operation.name) == "Destroy" ? S_OK : operation.refused);

    std::thread([&] { QvList_SetThreadOwner(list, 0); }).join(); // another owner: now this thread is refused
    EXPECT_EQ(operation.run(list), operation.refused);
    EXPECT_EQ(QvList_SetThreadOwner(list, GetCurrentThreadId()), S_OK);
    EXPECT_EQ(QvList_GetThreadOwner(list), GetCurrentThreadId());
    const bool searches_nothing = std::string(operation.name).find("Sorted") != std::string::npos;
    if (!searches_nothing) EXPECT_NE(operation.run(list), operation.refused);
    if (std::string(operation.name) == "Destroy") continue;
    QvList_DeleteList(list, -1, -1, 0);
    EXPECT_EQ(QvList_Destroy(list), S_OK);
  }
}

TEST(ListGate, QuestionsPassIt) {
  tQVLIST* list = make(QVLIST_OPT_ARRAY);
  ASSERT_EQ(QvList_Sort(list, 77, nullptr), S_OK);
  list->options &= ~QVLIST_OPT_ANYTHREAD;
  std::thread([&] {
    EXPECT_EQ(QvList_GetSortCriteria(list), 77);
    EXPECT_EQ(QvList_GetCreateOptions(list), QVLIST_OPT_ARRAY);
    EXPECT_EQ(QvList_IsList(list, sizeof *list), 1);
    EXPECT_NE(QvList_GetThreadOwner(list), GetCurrentThreadId());
  }).join();
  tQVLIST* dest = make(QVLIST_OPT_ARRAY);
  std::thread([&] { EXPECT_EQ(QvList_SortTo(dest, list, 1, compare_addresses), E_FAIL); }).join();
  EXPECT_EQ(QvList_Destroy(dest), S_OK);
  EXPECT_EQ(QvList_Destroy(list), S_OK);
}

TEST(ListGate, CompositeOperationsPassItAndAreRefusedByTheirParts) {
  const int number = 5;
  tQVLIST* lists[] = {make(QVLIST_OPT_HEAPITEMS), make(QVLIST_OPT_HEAPITEMS)};
  for (tQVLIST* list : lists)
    ASSERT_EQ(QvList_AllocAndInsertItem(list, &number, sizeof number, 0, nullptr), S_OK);
  // Refused by both, by the destination, by the source.
  for (const auto& [dest_refuses, src_refuses] : {std::pair(true, true), {true, false}, {false, true}}) {
    lists[0]->options ^= dest_refuses ? QVLIST_OPT_ANYTHREAD : 0;
    lists[1]->options ^= src_refuses ? QVLIST_OPT_ANYTHREAD : 0;
    std::thread([&] {
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(lists[0], 0, lists[1], 0, 0), S_OK) << "nothing is moved";
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(lists[0], 0, lists[1], 0, 1), E_FAIL);
    }).join();
    for (tQVLIST* list : lists) {
      list->options |= QVLIST_OPT_ANYTHREAD;
      EXPECT_EQ(list->count, 1);
      EXPECT_EQ(list->pendingItem, nullptr);
    }
  }
  void* pending = nullptr;
  ASSERT_EQ(QvList_AllocItem(lists[0], 4, &pending), S_OK);
  lists[0]->options &= ~QVLIST_OPT_ANYTHREAD;
  LONG index = 77;
  std::thread([&] { EXPECT_EQ(QvList_AllocAndInsertItem(lists[0], &number, 4, 0, &index), E_FAIL); }).join();
  EXPECT_EQ(index, -1);
  EXPECT_EQ(lists[0]->pendingItem, nullptr) << "no failure leaves an item pending";
  for (tQVLIST* list : lists)
    EXPECT_EQ(QvList_Destroy(list), S_OK);
}

TEST(ListThreads, EightWritersLoseNothing) {
  constexpr int kWriters = 8;
  constexpr int kEach = 2000;
  for (const DWORD kind : {QVLIST_OPT_ARRAY, QVLIST_OPT_HEAPITEMS, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP}) {
    tQVLIST* list = make(kind | QVLIST_OPT_THREADSAFE);
    tQVLIST storage;
    ASSERT_EQ(QvList_ConvertToInPlace(&list, &storage), S_OK); // the lock has moved
    std::vector<std::thread> writers;
    for (int writer = 0; writer < kWriters; ++writer) {
      writers.emplace_back([&, writer] {
        for (int i = 0; i < kEach; ++i) {
          const int number = writer * kEach + i;
          const LONG at = i % 7 == 0 ? 0 : -1;
          if (kind == QVLIST_OPT_ARRAY)
            EXPECT_EQ(QvList_InsertList(&storage, at, &number, 1), S_OK);
          else
            EXPECT_EQ(QvList_AllocAndInsertItem(&storage, &number, sizeof number, at, nullptr), S_OK);
          if (i % 5 == 4) EXPECT_EQ(QvList_DeleteList(&storage, 0, 1, 1), S_OK);
          QvList_SetUserData(&storage, number);
        }
      });
    }
    for (std::thread& writer : writers)
      writer.join();
    EXPECT_EQ(storage.count, kWriters * kEach * 4 / 5);
    std::vector<int> seen(kWriters * kEach);
    for (LONG i = 0; i < storage.count; ++i) {
      const int number =
          kind == QVLIST_OPT_ARRAY ? static_cast<int*>(storage.items)[i] : *static_cast<int**>(storage.items)[i];
      ASSERT_EQ(++seen[number], 1);
    }
    EXPECT_EQ(QvList_Destroy(&storage), S_OK);
  }
}

TEST(ListThreads, ItemsPassBetweenListsUnderWriters) {
  constexpr int kEach = 2000;
  tQVLIST* from = make(QVLIST_OPT_HEAPITEMS | QVLIST_OPT_THREADSAFE);
  tQVLIST* to = make(QVLIST_OPT_HEAPITEMS | QVLIST_OPT_THREADSAFE);
  std::thread writer([&] {
    for (int i = 0; i < kEach; ++i)
      EXPECT_EQ(QvList_AllocAndInsertItem(from, &i, sizeof i, -1, nullptr), S_OK);
  });
  std::thread mover([&] {
    for (int i = 0; i < kEach; ++i)
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(to, -1, from, 0, -1), S_OK);
  });
  writer.join();
  mover.join();
  EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(to, -1, from, 0, -1), S_OK);
  ASSERT_EQ(to->count, kEach);
  for (int i = 0; i < kEach; ++i)
    EXPECT_EQ(*static_cast<int**>(to->items)[i], i);
  EXPECT_EQ(QvList_Destroy(from), S_OK);
  EXPECT_EQ(QvList_Destroy(to), S_OK);
}

} // namespace
