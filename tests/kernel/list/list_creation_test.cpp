// Creating, converting and recognising lists, and the limits of their numbers.
#include "tests/kernel/list/list_fixture.h"

#include <climits>
#include <cstdlib>
#include <cstring>

using namespace kernel_test;

namespace {

TEST(ListCreation, RoundsAndLimitsItsNumbers) {
  struct Case {
    DWORD options, item_bytes;
    LONG initial, growth;
    ULONGLONG expected_bytes;
    LONG expected_allocated, expected_growth;
  };
  const Case cases[] = {
      {0, 5, 0, 0, 8, 16, 16},
      {0, 5, 0, 4, 8, 16, 4},
      {QVLIST_OPT_ARRAY, 5, -1, -1, 8, 16, 16},
      {QVLIST_OPT_ARRAY, 12, 20, 16, 12, 32, 16},
      {QVLIST_OPT_ARRAY, 1, 1, 1, 4, 4, 4},
      {QVLIST_OPT_ARRAY, 0, 1, 1, 0, 4, 4},
      {QVLIST_OPT_HEAPITEMS, 100, 17, 5, 8, 20, 5},
      {0, 0, 1, 100'000, 8, 66560, 66560},
      {0, 0, 66561, INT_MAX, 8, 2 * 66560, 66560},
      {0, 0, INT_MIN, INT_MIN, 8, 16, 16},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.item_bytes << " " << each.initial << " " << each.growth);
    const List list(each.options, each.item_bytes, each.initial, each.growth);
    EXPECT_EQ(list->itemSize, each.expected_bytes);
    EXPECT_EQ(list->allocated, each.expected_allocated);
    EXPECT_EQ(list->growBy, each.expected_growth);
    EXPECT_EQ(list->options, each.options | QVLIST_OPT_ANYTHREAD);
    EXPECT_EQ(QvList_GetCreateOptions(list), list->options);
    EXPECT_EQ(list->count, 0);
    EXPECT_EQ(list->ownerThread, GetCurrentThreadId());
    EXPECT_EQ(list->heapAllocFlags, each.options == QVLIST_OPT_HEAPITEMS ? 9u : 0u);
    EXPECT_EQ(list->heapFreeFlags, each.options == QVLIST_OPT_HEAPITEMS ? 1u : 0u);
    if (each.expected_bytes == 0) continue; // what a block of 0 bytes has is the system's affair
    EXPECT_EQ(QvList_AllocSize(list, -1),
              each.expected_bytes * static_cast<ULONGLONG>(each.expected_allocated) + sizeof(tQVLIST));
  }
}

TEST(ListCreation, RefusesWhatCannotBe) {
  tQVLIST storage;
  std::memset(static_cast<void*>(&storage), 0xAA, sizeof storage);
  auto* const wild = reinterpret_cast<tQVLIST*>(1);
  const auto create = [](tQVLIST* list, DWORD item_bytes, LONG initial, DWORD options) {
    const HRESULT result = QvList_CreateExZ(&list, item_bytes, initial, 66560, options, 0, 0, 0);
    return std::pair(result, list);
  };
  const auto nothing_but = [](HRESULT result) { return std::pair(result, static_cast<tQVLIST*>(nullptr)); };
  EXPECT_EQ(QvList_CreateExZ(nullptr, 4, 0, 0, 0, 0, 0, 0), E_FAIL);
  EXPECT_EQ(create(nullptr, 4, 0, QVLIST_OPT_INPLACE), nothing_but(E_FAIL));
  EXPECT_EQ(create(wild, 4, 0, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ARRAY), nothing_but(E_FAIL));
  EXPECT_EQ(create(wild, 4, INT_MAX, QVLIST_OPT_ARRAY), nothing_but(E_OUTOFMEMORY)) << "2^31 slots are no LONG";
  EXPECT_EQ(create(wild, ~0u, 1 << 30, QVLIST_OPT_ARRAY), nothing_but(E_OUTOFMEMORY)) << "of 4 GiB each";
  EXPECT_EQ(create(&storage, 4, INT_MAX, QVLIST_OPT_ARRAY | QVLIST_OPT_INPLACE), std::pair(E_OUTOFMEMORY, &storage));
  EXPECT_EQ(storage.signature, 0u);
  EXPECT_EQ(QvList_Destroy(&storage), E_FAIL) << "it is no list";
}

TEST(ListCreation, InPlaceListsLeaveTheirStorage) {
  tQVLIST storage, not_a_list{};
  std::memset(static_cast<void*>(&storage), 0xAA, sizeof storage);
  tQVLIST *list = &storage, *none = nullptr, *bad = &not_a_list;
  ASSERT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_INPLACE | QVLIST_OPT_ARRAY, 0, 0, 0), S_OK);
  EXPECT_EQ(list, &storage);
  EXPECT_EQ(storage.userData, 0);
  EXPECT_EQ(storage.pendingItem, nullptr);
  EXPECT_EQ(QvList_ConvertToInPlace(&list, &storage), E_FAIL);
  EXPECT_EQ(QvList_Destroy(list), S_OK);
  EXPECT_EQ(QvList_IsListFast(&storage), 0);

  list = List(QVLIST_OPT_THREADSAFE | QVLIST_OPT_HEAPITEMS).release();
  EXPECT_EQ(QvList_ConvertToInPlace(nullptr, &storage), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&list, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&none, &storage), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&bad, &storage), E_INVALIDARG);
  ASSERT_EQ(QvList_ConvertToInPlace(&list, &storage), S_OK);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(storage.options, QVLIST_OPT_THREADSAFE | QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ANYTHREAD | QVLIST_OPT_INPLACE);
  EXPECT_EQ(QvList_Destroy(&storage), S_OK);
}

TEST(ListNumbers, HugeCountsAreOutOfMemoryAndChangeNothing) {
  const List list(0), array(QVLIST_OPT_ARRAY, 0xFFFFFFF0, 4, 4), heap(QVLIST_OPT_HEAPITEMS);
  const void* slots[2] = {list, list};
  ASSERT_EQ(QvList_InsertList(list, 0, slots, 2), S_OK);
  const void* items = list->items;
  EXPECT_EQ(QvList_InsertList(list, 0, slots, INT_MIN), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_InsertList(list, 0, slots, INT_MAX), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_GrowAllocated(list, INT_MAX), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_ShrinkAllocated(list, INT_MAX), S_OK) << "all slack is 14, one step would be more";
  EXPECT_EQ(list->allocated, 16);
  EXPECT_EQ(list->items, items);
  EXPECT_EQ(list->count, 2);
  EXPECT_EQ(QvList_DeleteList(list, 5, 0, 1), S_OK) << "nothing is deleted, wherever";
  EXPECT_EQ(QvList_DeleteList(list, -1, 1, 1), E_FAIL);
  EXPECT_EQ(QvList_DeleteList(list, 0, INT_MIN, 0), S_OK);
  EXPECT_EQ(list->count, 0);

  EXPECT_EQ(QvList_ArrayForceItemCount(array, INT_MAX, 0), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_ArrayForceItemCount(array, -1, 0), E_FAIL);
  EXPECT_EQ(array->count, 0);
  EXPECT_EQ(array->allocated, 4);

  void* item = nullptr;
  for (const ULONGLONG size : {~ULONGLONG{0}, ~ULONGLONG{0} - 8, ~ULONGLONG{0} - 16, ULONGLONG{1} << 63}) {
    EXPECT_EQ(QvList_AllocItem(heap, size, &item), E_OUTOFMEMORY) << size;
    EXPECT_EQ(item, nullptr);
  }
  ASSERT_EQ(QvList_AllocAndInsertItem(heap, "keep", 5, 0, nullptr), S_OK);
  EXPECT_EQ(QvList_ReAllocItem(heap, 0, ~ULONGLONG{0}), E_OUTOFMEMORY);
  EXPECT_STREQ(static_cast<char**>(heap->items)[0], "keep");
  EXPECT_EQ(QvList_AllocSize(heap, 0), 5u);
}

TEST(ListItems, BlocksOfTheClientsAreTakenOver) {
  const List list(QVLIST_OPT_HEAPITEMS);
  void* blocks[4] = {std::calloc(1, 100), std::calloc(1, 1), nullptr, nullptr};
  EXPECT_EQ(QvList_InsertList(list, 0, blocks, 3), E_FAIL);
  ASSERT_EQ(QvList_AllocItem(list, 10, &blocks[3]), S_OK);
  ASSERT_EQ(QvList_InsertList(list, 0, blocks, -4), S_OK);
  EXPECT_GE(QvList_AllocSize(list, 0), 100u);
  EXPECT_EQ(QvList_AllocSize(list, 2), 0u);
  EXPECT_EQ(QvList_AllocSize(list, 3), 10u) << "a pending item that comes in like the client's stays the list's";
  for (const LONG index : {1, 2}) {
    ASSERT_EQ(QvList_ReAllocItem(list, index, 40), S_OK);
    EXPECT_EQ(QvList_AllocSize(list, index), 40u);
  }
}

TEST(ListRecords, AreRecognisedWithoutFaults) {
  const List list(0);
  EXPECT_EQ(QvList_IsList(list, sizeof(tQVLIST)), 1);
  EXPECT_EQ(QvList_IsList(list, sizeof(tQVLIST) - 1), 0);
  EXPECT_EQ(QvList_IsList(list, sizeof(tQVLIST) + (ULONGLONG{1} << 32)), 0);
  tQVLIST zero{};
  EXPECT_EQ(QvList_IsList(&zero, sizeof zero), 0);
  for (const uintptr_t address : {uintptr_t{0}, uintptr_t{8}, ~uintptr_t{0xFF}, uintptr_t{1} << 63})
    EXPECT_EQ(QvList_IsList(reinterpret_cast<const void*>(address), sizeof(tQVLIST)), 0);
  EXPECT_EQ(QvList_IsListFast(nullptr), 0);

  WCHAR text[2] = {'x', 'y'};
  EXPECT_EQ(QvList_GetFileAndLine(list, text), -1);
  EXPECT_EQ(text[0], 0);
  EXPECT_EQ(text[1], 'y');
  EXPECT_EQ(QvList_GetFileAndLine(list, nullptr), -1);
}

} // namespace
