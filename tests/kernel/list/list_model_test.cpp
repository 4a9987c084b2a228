// Every operation of every kind of list, at random, against a model that is compared slot by slot after each.
#include "tests/kernel/list/list_model.h"

#include "qv/list.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>

using namespace kernel_test;

namespace {

struct Configuration {
  const char* name;
  DWORD options;
  LONG growth;
};

void PrintTo(const Configuration& configuration, std::ostream* out) { *out << configuration.name; }

using Triple = std::array<int32_t, 3>; ///< an array item: one value three times

int value_of(const tQVLIST* list, const void* item) {
  int32_t value = 0;
  if ((list->options & QVLIST_OPT_HEAPITEMS) != 0) {
    if (item) std::memcpy(&value, item, sizeof value);
  } else if ((list->options & QVLIST_OPT_ARRAY) != 0) {
    Triple triple;
    std::memcpy(&triple, item, sizeof triple);
    EXPECT_TRUE(triple[0] == triple[1] && triple[1] == triple[2]);
    value = triple[0];
  } else {
    value = static_cast<int32_t>(reinterpret_cast<intptr_t>(item));
  }
  return value;
}

const tQVLIST* compared_list = nullptr; ///< whose kind the callbacks go by
constexpr LONGLONG kCriteria = 0x123456789ABCDEF;

LONG CALLBACK compare_keys(LONGLONG criteria, const void* a, const void* b) {
  EXPECT_EQ(criteria, kCriteria);
  return key_of(value_of(compared_list, a)) - key_of(value_of(compared_list, b));
}

LONG CALLBACK match_key(LONGLONG key, const void* item) {
  return key_of(value_of(compared_list, item)) == key ? 0 : -1;
}

class Driver {
public:
  Driver(const Configuration& configuration, unsigned seed)
      : configuration_(configuration), random_(seed), model_(initial_, configuration.growth) {
    EXPECT_EQ(create(&list_, initial_), S_OK);
    compared_list = list_;
  }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;
  ~Driver() {
    QvList_DeleteList(list_, -1, -1, 0);
    EXPECT_EQ(QvList_Destroy(list_), S_OK);
  }

  void step() {
    const unsigned operation = below(kOperations);
    SCOPED_TRACE(testing::Message() << "operation " << operation << " on " << model_.count << " items");
    run(operation);
    check();
  }

private:
  static constexpr unsigned kOperations = 21;

  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  /// An index of a slot or behind the last, negative now and then.
  int any_index() { return below(8) == 0 ? -1 - below(3) : below(model_.count + 2); }
  int new_value() { return ++serial_ * 10 + below(10); }
  bool heap_items() const { return (configuration_.options & QVLIST_OPT_HEAPITEMS) != 0; }
  bool array() const { return (configuration_.options & QVLIST_OPT_ARRAY) != 0; }

  HRESULT create(tQVLIST** list, int initial, DWORD without = 0) {
    *list = nullptr;
    return QvList_CreateExZ(list, sizeof(Triple) - 1, initial, configuration_.growth, configuration_.options & ~without,
                            0, 0, 0);
  }

  /// Slots as a client would hand them over.
  std::vector<BYTE> slots_of(const std::vector<int>& values) {
    std::vector<BYTE> bytes(values.size() * list_->itemSize);
    for (size_t i = 0; i < values.size(); ++i) {
      BYTE* slot = bytes.data() + i * list_->itemSize;
      if (array()) {
        const Triple triple{values[i], values[i], values[i]};
        std::memcpy(slot, &triple, sizeof triple);
      } else {
        const void* pointer = heap_items() ? client_item(values[i]) : reinterpret_cast<void*>(intptr_t{values[i]});
        std::memcpy(slot, &pointer, sizeof pointer);
      }
    }
    return bytes;
  }
  void* client_item(int value) {
    const size_t bytes = sizeof value + below(20);
    void* item = list_->itemHeap ? HeapAlloc(list_->itemHeap, list_->heapAllocFlags, bytes) : std::calloc(1, bytes);
    std::memcpy(item, &value, sizeof value);
    return item;
  }
  std::vector<int> new_values(int most) {
    std::vector<int> values(1 + below(most));
    for (int& value : values)
      value = new_value();
    return values;
  }

  void run(unsigned operation) {
    switch (operation) {
    case 0:
    case 1: return insert(true);
    case 2: return insert(false);
    case 3: return insert_own();
    case 4:
    case 5: return alloc_and_insert();
    case 6: return pending();
    case 7: return reallocate();
    case 8:
    case 9:
    case 10: return erase();
    case 11: return force_count();
    case 12: return resize();
    case 13:
    case 14: return move();
    case 15: return find();
    case 16: return sort(QvList_Sort, &ListModel::selection_sort);
    case 17: return sort(QvList_HeapSort, &ListModel::heap_sort);
    case 18: return search_sorted();
    case 19: return sort_to_or_move_to();
    default: return change_header();
    }
  }

  void insert(bool negative) {
    if (heap_items() && !negative) {
      const intptr_t slot = 1;
      EXPECT_EQ(QvList_InsertList(list_, 0, &slot, 1), E_FAIL);
      return;
    }
    const std::vector<int> values = new_values(6);
    const std::vector<BYTE> slots = slots_of(values);
    const int index = any_index();
    const int n = static_cast<int>(values.size());
    void* const forgotten = list_->pendingItem;
    EXPECT_EQ(QvList_InsertList(list_, index, slots.data(), negative ? -n : n), S_OK);
    model_.insert(index, values);
    pending_ = 0;
    if ((configuration_.options & QVLIST_OPT_PRIVATEHEAP) == 0) std::free(forgotten); // no longer the list's
  }
  void insert_own() {
    if (heap_items() || model_.count == 0) return;
    const int from = below(model_.count);
    const int n = 1 + below(std::min(4, model_.count - from));
    const int index = any_index();
    const std::vector<int> values(model_.slots.begin() + from, model_.slots.begin() + from + n);
    const void* source = static_cast<BYTE*>(list_->items) + static_cast<size_t>(from) * list_->itemSize;
    EXPECT_EQ(QvList_InsertList(list_, index, source, n), S_OK);
    model_.insert(index, values);
  }
  void alloc_and_insert() {
    const int value = new_value();
    const int index = any_index();
    LONG at = 77;
    if (!heap_items() || pending_ != 0) {
      EXPECT_EQ(QvList_AllocAndInsertItem(list_, &value, sizeof value, index, &at), E_FAIL);
      EXPECT_EQ(at, -1);
      pending_ = 0;
      return;
    }
    EXPECT_EQ(QvList_AllocAndInsertItem(list_, &value, sizeof value, index, &at), S_OK);
    EXPECT_EQ(at, index < 0 || index > model_.count ? model_.count : index);
    EXPECT_EQ(QvList_AllocSize(list_, at), sizeof value);
    model_.insert(index, {value});
  }
  void pending() {
    void* item = &item;
    const ULONGLONG size = sizeof(int) + below(30);
    const HRESULT result = QvList_AllocItem(list_, size, &item);
    if (!heap_items() || pending_ != 0) {
      EXPECT_EQ(result, E_FAIL);
      EXPECT_EQ(item, nullptr);
    } else {
      ASSERT_EQ(result, S_OK);
      ASSERT_EQ(list_->pendingItem, item);
      for (ULONGLONG i = 0; i < size; ++i)
        EXPECT_EQ(static_cast<BYTE*>(item)[i], 0);
      pending_ = new_value();
      std::memcpy(item, &pending_, sizeof pending_);
    }
    if (below(2) == 0) return;
    if (below(3) == 0) {
      EXPECT_EQ(QvList_DeleteList(list_, -1, -1, 0), pending_ != 0 ? S_OK : E_FAIL);
    } else {
      const int index = any_index();
      EXPECT_EQ(QvList_InsertList(list_, index, nullptr, -1), pending_ != 0 ? S_OK : E_FAIL);
      if (pending_ != 0) model_.insert(index, {pending_});
    }
    pending_ = 0;
  }
  void reallocate() {
    if (!heap_items() || model_.count == 0) return;
    const int index = below(model_.count);
    const ULONGLONG size = sizeof(int) + below(100);
    EXPECT_EQ(QvList_ReAllocItem(list_, index, size), S_OK);
    EXPECT_EQ(QvList_AllocSize(list_, index), size);
  }
  void erase() {
    const int index = below(model_.count + 1);
    const int n = below(12) - 1;
    const bool give_back = below(2) == 0;
    const bool nothing = n == 0 || (n < 0 && index == model_.count);
    EXPECT_EQ(QvList_DeleteList(list_, index, n, give_back ? 1 : 0), nothing || index < model_.count ? S_OK : E_FAIL);
    if (!nothing && index < model_.count) model_.erase(index, n, give_back);
  }
  void force_count() {
    const int count = below(model_.count + 4);
    EXPECT_EQ(QvList_ArrayForceItemCount(list_, count, 1), array() ? S_OK : E_FAIL);
    if (!array()) return;
    if (count > model_.allocated()) model_.grow(count - model_.allocated());
    model_.count = count;
  }
  void resize() {
    const int n = below(40) - 5;
    if (below(3) == 0) {
      EXPECT_EQ(QvList_GrowAllocated(list_, n), S_OK);
      model_.grow(n);
    } else {
      EXPECT_EQ(QvList_ShrinkAllocated(list_, n), S_OK);
      model_.shrink(n);
    }
  }
  void move() {
    const int from = below(model_.count + 2);
    const int to = any_index();
    const int place = std::max(to, 0);
    const int asked = below(10) - 1;
    const int n = asked < 0 ? model_.count - std::max(from, place) : asked;
    const bool fits = from + n <= model_.count && place + n <= model_.count;
    EXPECT_EQ(QvList_MoveRange(list_, from, to, asked), fits ? S_OK : E_FAIL);
    EXPECT_EQ(QvList_MoveRange(list_, -1, to, asked), E_INVALIDARG);
    if (fits && n > 0) model_.move(from, place, n);
  }
  void find() {
    const int start = any_index();
    const int n = below(model_.count + 3) - 1;
    const int first = std::clamp(start, 0, model_.count);
    const int end = n < 0 ? model_.count : std::min(model_.count, first + n);
    const int key = below(10);
    const auto begin = model_.slots.begin();
    auto found = std::find_if(begin + first, begin + end, [=](int value) { return key_of(value) == key; });
    const int expected = first >= end || found == begin + end ? -1 : static_cast<int>(found - begin);
    EXPECT_EQ(QvList_FindItemRange(list_, start, n, key, match_key), expected);
    if (model_.count == 0) return;
    const int wanted = below(model_.count);
    const void* item = array() ? static_cast<BYTE*>(list_->items) + static_cast<size_t>(wanted) * list_->itemSize
                               : static_cast<void**>(list_->items)[wanted];
    found = std::find(begin + first, begin + end, model_.slots[wanted]);
    if (!heap_items()) // two items of a heap-item list are never the same
      EXPECT_EQ(QvList_FindSpecificItemRange(list_, start, n, item),
                first >= end || found == begin + end ? -1 : static_cast<int>(found - begin));
    else
      EXPECT_EQ(QvList_FindSpecificItemRange(list_, start, n, item), wanted >= first && wanted < end ? wanted : -1);
  }
  void sort(HRESULT (*sort_list)(tQVLIST*, LONGLONG, QVLISTCOMPARE), void (ListModel::*sort_model)()) {
    EXPECT_EQ(sort_list(list_, kCriteria, compare_keys), S_OK);
    EXPECT_EQ(QvList_GetSortCriteria(list_), kCriteria);
    (model_.*sort_model)();
  }
  void search_sorted() {
    sort(QvList_Sort, &ListModel::selection_sort);
    const int key = below(10);
    const std::vector<BYTE> slot = key_slot(key);
    const void* item = array() ? static_cast<const void*>(slot.data()) : nullptr;
    if (!array()) std::memcpy(&item, slot.data(), sizeof item);
    const int start = any_index();
    const int n = below(model_.count + 3) - 1;
    const int first = std::max(start, 0);
    const int left = std::max(0, n < 0 ? model_.count - first : std::min(n, model_.count - first));
    const auto [at, sign] = left > 0 ? model_.search(key, first, left) : std::pair(0, 0);
    EXPECT_EQ(QvList_FindSortedItemRange(list_, item, start, n, compare_keys), left > 0 && sign == 0 ? at : -1);
    const int insert_at = first > model_.count ? -1 : left == 0 ? 0 : sign > 0 ? at + 1 : at;
    EXPECT_EQ(QvList_FindSortedInsertIndexRange(list_, item, start, n, compare_keys), insert_at);
  }
  /// A key as a slot; a heap-item list's points to `key_item_`.
  std::vector<BYTE> key_slot(int key) {
    if (!heap_items()) return slots_of({key});
    key_item_ = key;
    const void* pointer = &key_item_;
    std::vector<BYTE> slot(sizeof pointer);
    std::memcpy(slot.data(), &pointer, sizeof pointer);
    return slot;
  }
  void sort_to_or_move_to() {
    tQVLIST* other = nullptr;
    // One lock alone: items go there and back, and two locks would be entered in both orders.
    ASSERT_EQ(create(&other, 4, QVLIST_OPT_THREADSAFE), S_OK);
    if (heap_items()) {
      EXPECT_EQ(QvList_SortTo(other, list_, kCriteria, compare_keys), S_OK);
      EXPECT_EQ(other->count, 0);
      if (!list_->itemHeap) move_there_and_back(other);
    } else {
      sort_to(other);
    }
    EXPECT_EQ(QvList_Destroy(other), S_OK);
  }
  void sort_to(tQVLIST* other) {
    ListModel expected(4, configuration_.growth);
    for (int i = 0; i < model_.count; ++i) {
      const int value = model_.slots[i];
      if (expected.count == 0) {
        expected.insert(0, {value});
      } else {
        const auto [at, sign] = expected.search(key_of(value), 0, expected.count);
        expected.insert(sign > 0 ? at + 1 : at, {value});
      }
    }
    EXPECT_EQ(QvList_SortTo(other, list_, kCriteria, compare_keys), S_OK);
    EXPECT_EQ(other->sortCriteria, kCriteria);
    expect_equal(other, expected);
  }
  void move_there_and_back(tQVLIST* other) {
    const int from = below(model_.count + 1);
    const int n = below(model_.count + 2) - 1;
    const int moved = n < 0 ? model_.count : n;
    const HRESULT result = QvList_MoveItemsBetweenHeapLists(other, -1, list_, from, n);
    ListModel expected(4, configuration_.growth);
    if (moved == 0) {
      EXPECT_EQ(result, S_OK);
    } else if (from + moved > model_.count) {
      EXPECT_EQ(result, E_FAIL);
    } else {
      EXPECT_EQ(result, S_OK);
      for (int i = 0; i < moved; ++i)
        expected.insert(-1, {model_.slots[from + i]});
      model_.erase(from, moved, false);
    }
    expect_equal(other, expected);
    if (pending_ != 0) {
      EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(list_, 0, other, 0, -1), E_FAIL);
      return; // destroying the other list frees what it has
    }
    const int to = any_index();
    EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(list_, to, other, 0, -1), S_OK);
    for (int i = expected.count - 1, at = to < 0 || to > model_.count ? model_.count : to; i >= 0; --i)
      model_.insert(at, {expected.slots[i]});
  }
  void change_header() {
    const LONGLONG value = below(1000);
    EXPECT_EQ(QvList_SetUserData(list_, value), user_data_);
    user_data_ = value;
    EXPECT_EQ(QvList_GetUserData(list_), value);
    if (in_place_ || below(100) != 0) return;
    ASSERT_EQ(QvList_ConvertToInPlace(&list_, &storage_), S_OK);
    EXPECT_EQ(list_, nullptr);
    list_ = &storage_;
    compared_list = list_;
    in_place_ = true;
  }

  void check() {
    ASSERT_NO_FATAL_FAILURE(expect_equal(list_, model_));
    EXPECT_EQ(list_->pendingItem != nullptr, pending_ != 0);
    EXPECT_EQ(QvList_IsValidIndexSlow(list_, model_.count), 0);
    EXPECT_EQ(QvList_IsValidIndexSlow(list_, model_.count - 1), model_.count > 0 ? 1 : 0);
  }
  void expect_equal(const tQVLIST* list, const ListModel& model) {
    ASSERT_EQ(list->count, model.count);
    ASSERT_EQ(list->allocated, model.allocated());
    for (int i = 0; i < model.allocated(); ++i) {
      const BYTE* slot = static_cast<const BYTE*>(list->items) + static_cast<size_t>(i) * list->itemSize;
      const void* item = slot;
      if (!array()) std::memcpy(&item, slot, sizeof item);
      ASSERT_EQ(value_of(list, item), model.slots[i]) << "slot " << i;
    }
  }

  static constexpr int initial_ = 4;
  const Configuration& configuration_;
  std::mt19937 random_;
  tQVLIST* list_ = nullptr;
  tQVLIST storage_;
  bool in_place_ = false;
  ListModel model_;
  int serial_ = 0;
  int pending_ = 0; ///< value of the pending item
  int key_item_ = 0;
  LONGLONG user_data_ = 0;
};

constexpr Configuration kConfigurations[] = {
    {"PointersBy4", 0, 4},
    {"PointersBy16ThreadSafe", QVLIST_OPT_THREADSAFE, 16},
    {"ArrayBy4ThreadSafe", QVLIST_OPT_ARRAY | QVLIST_OPT_THREADSAFE, 4},
    {"ArrayBy16", QVLIST_OPT_ARRAY, 16},
    {"HeapItemsBy4", QVLIST_OPT_HEAPITEMS, 4},
    {"HeapItemsBy16ThreadSafe", QVLIST_OPT_HEAPITEMS | QVLIST_OPT_THREADSAFE, 16},
    {"PrivateHeapBy4ThreadSafe", QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP | QVLIST_OPT_THREADSAFE, 4},
    {"PrivateHeapBy16", QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP, 16},
};

class Lists : public testing::TestWithParam<Configuration> {};

TEST_P(Lists, DoWhatAModelDoes) {
  for (unsigned seed = 1; seed <= 10; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Driver driver(GetParam(), seed);
    for (int i = 0; i < 10'000; ++i) {
      driver.step();
      if (testing::Test::HasFailure()) FAIL() << "in step " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Lists, testing::ValuesIn(kConfigurations),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
