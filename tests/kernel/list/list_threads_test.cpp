// The thread gate, and lists under several threads.
#include "tests/kernel/list/list_fixture.h"

#include <functional>
#include <thread>
#include <vector>

using namespace kernel_test;

namespace {

LONG CALLBACK compare_equal(LONGLONG, const void*, const void*) { return 0; }
LONG CALLBACK match_any(LONGLONG, const void*) { return 0; }

/// Runs something on a thread of its own and waits for it.
void elsewhere(const std::function<void()>& run) { std::thread(run).join(); }

constexpr DWORD kArray = QVLIST_OPT_ARRAY;
constexpr DWORD kHeap = QVLIST_OPT_HEAPITEMS;
int number = 5;
void* item = nullptr;

struct GatedOperation {
  DWORD kind; ///< of list, on which it does something
  LONGLONG refused;
  std::function<LONGLONG(tQVLIST*)> run;
};

const GatedOperation kGatedOperations[] = {
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_DeleteList(l, 0, 0, 0); }},
    {kHeap, E_FAIL, [](tQVLIST* l) { return QvList_AllocItem(l, 4, &item); }},
    {kHeap, E_FAIL, [](tQVLIST* l) { return QvList_AllocAndInsertItem(l, &number, 4, 0, nullptr); }},
    {kHeap, E_FAIL, [](tQVLIST* l) { return QvList_ReAllocItem(l, 0, 4); }},
    {kHeap, -1, [](tQVLIST* l) { return static_cast<LONGLONG>(QvList_AllocSize(l, -1)); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_ArrayForceItemCount(l, 1, 0); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_GrowAllocated(l, 1); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_ShrinkAllocated(l, 1); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_InsertList(l, 0, &number, 1); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_MoveRange(l, 0, 0, 0); }},
    {kArray, -1, [](tQVLIST* l) { return QvList_FindItemRange(l, 0, -1, 0, match_any); }},
    {kArray, -1, [](tQVLIST* l) { return QvList_FindSpecificItemRange(l, 0, -1, &number); }},
    {kArray, -1, [](tQVLIST* l) { return QvList_FindSortedItemRange(l, nullptr, 0, -1, compare_equal); }},
    {kArray, -1, [](tQVLIST* l) { return QvList_FindSortedInsertIndexRange(l, nullptr, 0, -1, compare_equal); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_Sort(l, 1, nullptr); }},
    {kArray, E_FAIL, [](tQVLIST* l) { return QvList_HeapSort(l, 1, nullptr); }},
    {kArray, 0xFFFFFFFF, [](tQVLIST* l) { return QvList_SetUserData(l, 3); }},
    {kArray, 0xFFFFFFFF, [](tQVLIST* l) { return QvList_GetUserData(l); }},
    {kArray, 0, [](tQVLIST* l) { return QvList_IsValidIndexSlow(l, 0); }},
};

TEST(ListGate, RefusesOtherThreadsOnceTheOptionIsCleared) {
  const List dest(kArray);
  for (const GatedOperation& operation : kGatedOperations) {
    SCOPED_TRACE(testing::Message() << "operation " << &operation - kGatedOperations);
    tQVLIST* list = List(operation.kind).release();
    ASSERT_EQ(operation.kind == kHeap ? QvList_AllocAndInsertItem(list, nullptr, 4, 0, nullptr)
                                      : QvList_InsertList(list, 0, &number, 1),
              S_OK);
    list->options &= ~QVLIST_OPT_ANYTHREAD;
    elsewhere([&] {
      EXPECT_EQ(operation.run(list), operation.refused);
      EXPECT_EQ(QvList_GetSortCriteria(list), 0);
      EXPECT_EQ(QvList_GetCreateOptions(list), operation.kind);
      EXPECT_EQ(QvList_IsList(list, sizeof *list), 1);
      EXPECT_EQ(QvList_SortTo(dest, list, 1, compare_equal), E_FAIL);
    });
    EXPECT_EQ(operation.run(nullptr), operation.refused);
    elsewhere([&] { QvList_SetThreadOwner(list, 0); }); // which makes this thread another one
    EXPECT_EQ(operation.run(list), operation.refused);
    EXPECT_EQ(QvList_Destroy(list), E_FAIL);
    EXPECT_EQ(QvList_SetThreadOwner(list, GetCurrentThreadId()), S_OK);
    EXPECT_EQ(QvList_GetThreadOwner(list), GetCurrentThreadId());
    EXPECT_NE(operation.run(list), operation.refused);
    QvList_DeleteList(list, -1, -1, 0);
    EXPECT_EQ(QvList_Destroy(list), S_OK);
  }
  EXPECT_EQ(QvList_Destroy(nullptr), S_OK);
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
  for (const DWORD heap : {DWORD{0}, QVLIST_OPT_PRIVATEHEAP}) {
    tQVLIST* list = List(kHeap | heap | QVLIST_OPT_THREADSAFE).release();
    tQVLIST from;
    ASSERT_EQ(QvList_ConvertToInPlace(&list, &from), S_OK); // the lock has moved
    const List moved(kHeap | QVLIST_OPT_THREADSAFE);
    std::vector<std::jthread> threads;
    for (int writer = 0; writer < kWriters; ++writer) {
      threads.emplace_back([&, writer] {
        for (int i = writer * kEach; i < (writer + 1) * kEach; ++i) {
          EXPECT_EQ(QvList_AllocAndInsertItem(&from, &i, sizeof i, i % 7 == 0 ? 0 : -1, nullptr), S_OK);
          QvList_SetUserData(&from, i);
        }
      });
    }
    for (int i = 0; i < kEach && heap == 0; ++i)
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(moved, -1, &from, 0, -1), S_OK);
    threads.clear();
    std::vector<int> seen(kWriters * kEach);
    for (const tQVLIST* each : {&from, static_cast<tQVLIST*>(moved)})
      for (LONG i = 0; i < each->count; ++i)
        ++seen[*static_cast<int**>(each->items)[i]];
    EXPECT_EQ(seen, std::vector<int>(kWriters * kEach, 1));
    EXPECT_EQ(QvList_Destroy(&from), S_OK);
  }
}

} // namespace
