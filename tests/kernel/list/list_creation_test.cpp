// Creating, converting and recognising lists, and the limits of their numbers.
#include "qv/list.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

struct DestroyList {
  void operator()(tQVLIST* list) const { QvList_Destroy(list); }
};
using List = std::unique_ptr<tQVLIST, DestroyList>;

List make(DWORD options, DWORD item_bytes = 0, LONG initial = 0, LONG growth = 0) {
  tQVLIST* list = nullptr;
  EXPECT_EQ(QvList_CreateExZ(&list, item_bytes, initial, growth, options, 0, 0, 0), S_OK);
  return List(list);
}

TEST(ListCreation, RoundsAndLimitsItsNumbers) {
  struct Case {
    DWORD options, item_bytes;
    LONG initial, growth;
    ULONGLONG expected_bytes;
    LONG expected_allocated, expected_growth;
  };
  const Case cases[] = {
      {0, 5, 0, 0, 8, 16, 16},
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
    const List list = make(each.options, each.item_bytes, each.initial, each.growth);
    EXPECT_EQ(list->itemSize, each.expected_bytes);
    EXPECT_EQ(list->allocated, each.expected_allocated);
    EXPECT_EQ(list->growBy, each.expected_growth);
    EXPECT_EQ(list->options, each.options | QVLIST_OPT_ANYTHREAD);
    EXPECT_EQ(QvList_GetCreateOptions(list.get()), each.options | QVLIST_OPT_ANYTHREAD);
    EXPECT_EQ(list->count, 0);
    EXPECT_EQ(list->signature, QVLIST_SIGNATURE);
    EXPECT_EQ(list->ownerThread, GetCurrentThreadId());
    EXPECT_EQ(list->heapAllocFlags, each.options == QVLIST_OPT_HEAPITEMS ? 9u : 0u);
    EXPECT_EQ(list->heapFreeFlags, each.options == QVLIST_OPT_HEAPITEMS ? 1u : 0u);
    if (each.expected_bytes == 0) continue; // what a block of 0 bytes has is the system's affair
    EXPECT_EQ(QvList_AllocSize(list.get(), -1),
              each.expected_bytes * static_cast<ULONGLONG>(each.expected_allocated) + sizeof(tQVLIST));
  }
}

TEST(ListCreation, RefusesWhatCannotBe) {
  tQVLIST* list = nullptr;
  EXPECT_EQ(QvList_CreateExZ(nullptr, 4, 0, 0, 0, 0, 0, 0), E_FAIL);
  EXPECT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_INPLACE, 0, 0, 0), E_FAIL);
  list = reinterpret_cast<tQVLIST*>(1);
  EXPECT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ARRAY, 0, 0, 0), E_FAIL);
  EXPECT_EQ(list, nullptr);
  // 2^31 slots are no LONG; 2^30 of 4 GiB are more than there is.
  EXPECT_EQ(QvList_CreateExZ(&list, 4, INT_MAX, 66560, QVLIST_OPT_ARRAY, 0, 0, 0), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_CreateExZ(&list, 0xFFFFFFFF, 1 << 30, 4, QVLIST_OPT_ARRAY, 0, 0, 0), E_OUTOFMEMORY);
  EXPECT_EQ(list, nullptr);
  tQVLIST storage;
  std::memset(static_cast<void*>(&storage), 0xAA, sizeof storage);
  list = &storage;
  EXPECT_EQ(QvList_CreateExZ(&list, 4, INT_MAX, 66560, QVLIST_OPT_ARRAY | QVLIST_OPT_INPLACE, 0, 0, 0), E_OUTOFMEMORY);
  EXPECT_EQ(storage.signature, 0u);
  EXPECT_EQ(QvList_Destroy(&storage), E_FAIL) << "it is no list";
}

TEST(ListCreation, InPlaceListsLeaveTheirStorage) {
  tQVLIST storage;
  std::memset(static_cast<void*>(&storage), 0xAA, sizeof storage);
  tQVLIST* list = &storage;
  ASSERT_EQ(QvList_CreateExZ(&list, 4, 0, 0, QVLIST_OPT_INPLACE | QVLIST_OPT_ARRAY | QVLIST_OPT_THREADSAFE, 0, 0, 0),
            S_OK);
  EXPECT_EQ(list, &storage);
  EXPECT_EQ(storage.userData, 0);
  EXPECT_EQ(storage.pendingItem, nullptr);
  EXPECT_EQ(QvList_ConvertToInPlace(&list, &storage), E_FAIL);
  EXPECT_EQ(QvList_IsListFast(&storage), 1);
  EXPECT_EQ(QvList_Destroy(list), S_OK);
  EXPECT_EQ(QvList_IsListFast(&storage), 0);
  EXPECT_EQ(QvList_Destroy(nullptr), S_OK);
}

TEST(ListCreation, ConvertingMovesTheHeader) {
  tQVLIST storage, bad{};
  tQVLIST* list = make(QVLIST_OPT_THREADSAFE | QVLIST_OPT_HEAPITEMS).release();
  tQVLIST* none = nullptr;
  tQVLIST* not_a_list = &bad;
  EXPECT_EQ(QvList_ConvertToInPlace(nullptr, &storage), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&list, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&none, &storage), E_INVALIDARG);
  EXPECT_EQ(QvList_ConvertToInPlace(&not_a_list, &storage), E_INVALIDARG);
  ASSERT_EQ(QvList_AllocAndInsertItem(list, "item", 5, -1, nullptr), S_OK);
  ASSERT_EQ(QvList_ConvertToInPlace(&list, &storage), S_OK);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(storage.options, QVLIST_OPT_THREADSAFE | QVLIST_OPT_HEAPITEMS | QVLIST_OPT_ANYTHREAD | QVLIST_OPT_INPLACE);
  EXPECT_STREQ(static_cast<char**>(storage.items)[0], "item");
  EXPECT_EQ(QvList_Destroy(&storage), S_OK);
}

TEST(ListNumbers, HugeCountsAreOutOfMemoryAndChangeNothing) {
  const List list = make(0);
  const void* slots[2] = {list.get(), list.get()};
  ASSERT_EQ(QvList_InsertList(list.get(), 0, slots, 2), S_OK);
  const void* items = list->items;
  EXPECT_EQ(QvList_InsertList(list.get(), 0, slots, INT_MIN), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_InsertList(list.get(), 0, slots, INT_MAX), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_GrowAllocated(list.get(), INT_MAX), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_ShrinkAllocated(list.get(), INT_MAX), S_OK) << "all slack is 14, one step would be more";
  EXPECT_EQ(list->allocated, 16);
  EXPECT_EQ(list->items, items);
  EXPECT_EQ(list->count, 2);
  EXPECT_EQ(QvList_DeleteList(list.get(), 0, INT_MIN, 0), S_OK);
  EXPECT_EQ(list->count, 0);

  const List array = make(QVLIST_OPT_ARRAY, 0xFFFFFFF0, 4, 4);
  EXPECT_EQ(QvList_ArrayForceItemCount(array.get(), INT_MAX, 0), E_OUTOFMEMORY);
  EXPECT_EQ(QvList_ArrayForceItemCount(array.get(), -1, 0), E_FAIL);
  EXPECT_EQ(QvList_ArrayForceItemCount(array.get(), INT_MIN, 1), E_FAIL);
  EXPECT_EQ(array->count, 0);
  EXPECT_EQ(array->allocated, 4);

  const List heap = make(QVLIST_OPT_HEAPITEMS);
  void* item = nullptr;
  for (const ULONGLONG size : {~ULONGLONG{0}, ~ULONGLONG{0} - 8, ~ULONGLONG{0} - 16, ULONGLONG{1} << 63}) {
    EXPECT_EQ(QvList_AllocItem(heap.get(), size, &item), E_OUTOFMEMORY) << size;
    EXPECT_EQ(item, nullptr);
  }
  ASSERT_EQ(QvList_AllocAndInsertItem(heap.get(), "keep", 5, 0, nullptr), S_OK);
  EXPECT_EQ(QvList_ReAllocItem(heap.get(), 0, ~ULONGLONG{0}), E_OUTOFMEMORY);
  EXPECT_STREQ(static_cast<char**>(heap->items)[0], "keep");
  EXPECT_EQ(QvList_AllocSize(heap.get(), 0), 5u);
}

TEST(ListItems, AllocSizeIsWhatWasAskedFor) {
  for (const DWORD heap : {DWORD{0}, QVLIST_OPT_PRIVATEHEAP}) {
    const List list = make(QVLIST_OPT_HEAPITEMS | heap);
    ULONGLONG all = QvList_AllocSize(list.get(), -1);
    for (ULONGLONG size = 0; size < 70; ++size) {
      LONG index = -1;
      ASSERT_EQ(QvList_AllocAndInsertItem(list.get(), nullptr, size, 0, &index), S_OK);
      ASSERT_EQ(QvList_AllocSize(list.get(), index), size);
      all += size;
    }
    ASSERT_EQ(QvList_ReAllocItem(list.get(), 0, 10), S_OK);
    EXPECT_EQ(QvList_AllocSize(list.get(), 0), 10u);
    EXPECT_EQ(QvList_AllocSize(list.get(), -1), all - 69 + 10 + (list->allocated - 16) * sizeof(void*));
  }
}

TEST(ListItems, BlocksOfTheClientsAreTakenOver) {
  const List list = make(QVLIST_OPT_HEAPITEMS);
  void* blocks[3] = {std::calloc(1, 100), std::calloc(1, 1), nullptr};
  EXPECT_EQ(QvList_InsertList(list.get(), 0, blocks, 3), E_FAIL);
  ASSERT_EQ(QvList_InsertList(list.get(), 0, blocks, -3), S_OK);
  EXPECT_GE(QvList_AllocSize(list.get(), 0), 100u);
  EXPECT_EQ(QvList_AllocSize(list.get(), 2), 0u);
  ASSERT_EQ(QvList_ReAllocItem(list.get(), 1, 40), S_OK);
  EXPECT_EQ(QvList_AllocSize(list.get(), 1), 40u);
  ASSERT_EQ(QvList_ReAllocItem(list.get(), 2, 3), S_OK);
  EXPECT_EQ(QvList_AllocSize(list.get(), 2), 3u);
  // A pending item that comes in like one of the client's stays the list's.
  void* slots[2] = {};
  ASSERT_EQ(QvList_AllocItem(list.get(), 10, &slots[1]), S_OK);
  ASSERT_EQ(QvList_InsertList(list.get(), 0, slots, -2), S_OK);
  EXPECT_EQ(QvList_AllocSize(list.get(), 1), 10u);
}

TEST(ListRecords, GetFileAndLineKeepsNone) {
  const List list = make(0);
  WCHAR text[4] = {'x', 'y', 'z', 0};
  EXPECT_EQ(QvList_GetFileAndLine(list.get(), text), -1);
  EXPECT_EQ(text[0], 0);
  EXPECT_EQ(text[1], 'y');
  EXPECT_EQ(QvList_GetFileAndLine(list.get(), nullptr), -1);
}

TEST(ListRecords, DeletingNothingDoesNotShrink) {
  const List list = make(0, 0, 64, 4);
  EXPECT_EQ(QvList_DeleteList(list.get(), 0, 0, 1), S_OK);
  EXPECT_EQ(QvList_DeleteList(list.get(), 5, 0, 1), S_OK);
  EXPECT_EQ(list->allocated, 64);
  EXPECT_EQ(QvList_DeleteList(list.get(), -1, 1, 1), E_FAIL);
  EXPECT_EQ(QvList_DeleteList(list.get(), 0, 1, 1), E_FAIL);
}

TEST(ListRecords, LoweredCountsBringTheirBytesBack) {
  const List list = make(QVLIST_OPT_ARRAY, 4);
  const int numbers[3] = {7, 8, 9};
  ASSERT_EQ(QvList_InsertList(list.get(), 0, numbers, 3), S_OK);
  EXPECT_EQ(QvList_ArrayForceItemCount(list.get(), 1, 1), S_OK);
  EXPECT_EQ(QvList_ArrayForceItemCount(list.get(), 3, 0), S_OK);
  EXPECT_EQ(std::memcmp(list->items, numbers, sizeof numbers), 0);
}

TEST(ListRecords, IsListNeverFaults) {
  const List list = make(0);
  EXPECT_EQ(QvList_IsList(list.get(), sizeof(tQVLIST)), 1);
  EXPECT_EQ(QvList_IsList(list.get(), sizeof(tQVLIST) - 1), 0);
  EXPECT_EQ(QvList_IsList(list.get(), sizeof(tQVLIST) + (ULONGLONG{1} << 32)), 0);
  EXPECT_EQ(QvList_IsList(nullptr, sizeof(tQVLIST)), 0);
  EXPECT_EQ(QvList_IsListFast(nullptr), 0);
  for (const uintptr_t address : {uintptr_t{8}, uintptr_t{0xFFFFFFFFFFFFFF00u}, uintptr_t{0x8000000000000000u}})
    EXPECT_EQ(QvList_IsList(reinterpret_cast<const void*>(address), sizeof(tQVLIST)), 0);
  tQVLIST zero{};
  EXPECT_EQ(QvList_IsList(&zero, sizeof zero), 0);
}

} // namespace
