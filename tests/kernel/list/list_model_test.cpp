// Every operation of every kind of list, at random, against a model that is compared slot by slot after each.
#include "tests/kernel/list/list_fixture.h"
#include "tests/kernel/list/list_model.h"

#include <cstring>
#include <random>

using namespace kernel_test;

namespace {

constexpr size_t kItemBytes = 12; ///< of an array list: a value three times
constexpr LONGLONG kCriteria = 0x123456789ABCDEF;

DWORD compared_kind = 0; ///< the options of the list that callbacks are called for

int value_of(const void* item) {
  if ((compared_kind & (QVLIST_OPT_ARRAY | QVLIST_OPT_HEAPITEMS)) == 0) return static_cast<int>(intptr_t(item));
  int values[3] = {};
  if (item) std::memcpy(values, item, (compared_kind & QVLIST_OPT_ARRAY) != 0 ? sizeof values : sizeof(int));
  if ((compared_kind & QVLIST_OPT_ARRAY) != 0) EXPECT_TRUE(values[0] == values[1] && values[1] == values[2]);
  return values[0];
}

LONG CALLBACK compare_keys(LONGLONG criteria, const void* a, const void* b) {
  EXPECT_EQ(criteria, kCriteria);
  return key_of(value_of(a)) - key_of(value_of(b));
}

LONG CALLBACK match_key(LONGLONG key, const void* item) { return key_of(value_of(item)) == key ? 0 : -1; }

class Driver {
public:
  Driver(DWORD options, LONG growth, unsigned seed)
      : options_(options), growth_(growth), random_(seed), model_(4, growth),
        list_(List(options, kItemBytes - 1, 4, growth).release()) {
    compared_kind = options;
  }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;
  ~Driver() {
    QvList_DeleteList(list_, -1, -1, 0);
    EXPECT_EQ(QvList_Destroy(list_), S_OK);
  }

  void step() {
    constexpr void (Driver::*kOperations[])() = {
        &Driver::insert, &Driver::insert,      &Driver::insert,     &Driver::insert_own,    &Driver::alloc,
        &Driver::alloc,  &Driver::pending,     &Driver::reallocate, &Driver::erase,         &Driver::erase,
        &Driver::erase,  &Driver::force_count, &Driver::resize,     &Driver::move,          &Driver::move,
        &Driver::find,   &Driver::select_sort, &Driver::heap_sort,  &Driver::search_sorted, &Driver::with_another,
        &Driver::fields,
    };
    const int operation = below(std::size(kOperations));
    SCOPED_TRACE(testing::Message() << "operation " << operation << " on " << model_.count << " items");
    (this->*kOperations[operation])();
    ASSERT_NO_FATAL_FAILURE(expect_equal(list_, model_));
    EXPECT_EQ(list_->pendingItem != nullptr, pending_ != 0);
    EXPECT_EQ(QvList_IsValidIndexSlow(list_, model_.count), 0);
    EXPECT_EQ(QvList_IsValidIndexSlow(list_, model_.count - 1), model_.count > 0 ? 1 : 0);
    ULONGLONG bytes = sizeof *list_ + static_cast<LONG>(list_->allocated) * list_->itemSize;
    for (int i = 0; i < model_.count && heap_items(); ++i)
      bytes += QvList_AllocSize(list_, i);
    if ((heap_items() || array()) && model_.allocated() > 0) EXPECT_EQ(QvList_AllocSize(list_, -1), bytes);
  }

private:
  int below(size_t limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  /// An index of a slot or behind the last, negative now and then.
  int any_index() { return below(8) == 0 ? -1 - below(3) : below(model_.count + 2); }
  int new_value() { return ++serial_ * 10 + below(10); }
  bool heap_items() const { return (options_ & QVLIST_OPT_HEAPITEMS) != 0; }
  bool array() const { return (options_ & QVLIST_OPT_ARRAY) != 0; }
  const void* item_at(const tQVLIST* list, int index) const {
    return array() ? static_cast<BYTE*>(list->items) + index * list->itemSize : static_cast<void**>(list->items)[index];
  }

  /// A range as a search is given it, and what it comes to.
  struct Range {
    int start, n, first, end;
  };
  Range any_range() {
    const int start = any_index(), n = below(model_.count + 3) - 1, first = std::max(start, 0);
    return {start, n, first, n < 0 ? model_.count : std::min(model_.count, first + n)};
  }
  template <class Matches>
  int first_in(const Range& range, Matches matches) const {
    for (int i = range.first; i < range.end; ++i)
      if (matches(i)) return i;
    return -1;
  }

  /// Slots as a client would hand them over; the items of a heap-item list become the list's.
  std::vector<BYTE> slots_of(const std::vector<int>& values) {
    std::vector<BYTE> bytes;
    for (const int value : values) {
      const int triple[3] = {value, value, value};
      const void* const pointer = heap_items() ? client_item(value) : reinterpret_cast<void*>(intptr_t{value});
      const auto* slot = array() ? reinterpret_cast<const BYTE*>(triple) : reinterpret_cast<const BYTE*>(&pointer);
      bytes.insert(bytes.end(), slot, slot + list_->itemSize);
    }
    return bytes;
  }
  void* client_item(int value) {
    const size_t bytes = sizeof value + below(20);
    void* item = list_->itemHeap ? HeapAlloc(list_->itemHeap, list_->heapAllocFlags, bytes) : std::calloc(1, bytes);
    return std::memcpy(item, &value, sizeof value);
  }

  void insert() {
    if (heap_items()) EXPECT_EQ(QvList_InsertList(list_, 0, &list_, 1), E_FAIL);
    std::vector<int> values(1 + below(6));
    for (int& value : values)
      value = new_value();
    const std::vector<BYTE> slots = slots_of(values);
    const int index = any_index(), n = static_cast<int>(values.size());
    void* const forgotten = list_->pendingItem;
    EXPECT_EQ(QvList_InsertList(list_, index, slots.data(), heap_items() || below(2) == 0 ? -n : n), S_OK);
    model_.insert(index, values);
    pending_ = 0;
    if (!list_->itemHeap) std::free(forgotten); // no longer the list's
  }
  void insert_own() {
    if (heap_items() || model_.count == 0) return;
    const int from = below(model_.count), n = 1 + below(std::min(4, model_.count - from)), index = any_index();
    const std::vector<int> values(model_.slots.begin() + from, model_.slots.begin() + from + n);
    const void* source = static_cast<BYTE*>(list_->items) + from * list_->itemSize;
    EXPECT_EQ(QvList_InsertList(list_, index, source, n), S_OK);
    model_.insert(index, values);
  }
  void alloc() {
    const int value = new_value(), index = any_index();
    const bool possible = heap_items() && pending_ == 0;
    const LONG expected = !possible ? -1 : index < 0 || index > model_.count ? model_.count : index;
    LONG at = 77;
    EXPECT_EQ(QvList_AllocAndInsertItem(list_, &value, sizeof value, index, &at), possible ? S_OK : E_FAIL);
    EXPECT_EQ(at, expected);
    pending_ = 0;
    if (!possible) return;
    EXPECT_EQ(QvList_AllocSize(list_, at), sizeof value);
    model_.insert(index, {value});
  }
  void pending() {
    void* item = &item;
    const ULONGLONG size = sizeof(int) + below(30);
    const bool possible = heap_items() && pending_ == 0;
    ASSERT_EQ(QvList_AllocItem(list_, size, &item), possible ? S_OK : E_FAIL);
    ASSERT_EQ(item, possible ? list_->pendingItem : nullptr);
    if (possible) {
      for (ULONGLONG i = 0; i < size; ++i)
        EXPECT_EQ(static_cast<BYTE*>(item)[i], 0);
      pending_ = new_value();
      std::memcpy(item, &pending_, sizeof pending_);
    }
    if (below(2) == 0) return;
    const HRESULT expected = pending_ != 0 ? S_OK : E_FAIL;
    if (below(3) == 0) {
      EXPECT_EQ(QvList_DeleteList(list_, -1, -1, 0), expected);
    } else {
      const int index = any_index();
      EXPECT_EQ(QvList_InsertList(list_, index, nullptr, -1), expected);
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
    const int index = below(model_.count + 1), n = below(12) - 1;
    const bool give_back = below(2) == 0, nothing = n == 0 || (n < 0 && index == model_.count);
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
    const bool grows = below(3) == 0;
    EXPECT_EQ(grows ? QvList_GrowAllocated(list_, n) : QvList_ShrinkAllocated(list_, n), S_OK);
    grows ? model_.grow(n) : model_.shrink(n);
  }
  void move() {
    const int from = below(model_.count + 2), to = any_index(), place = std::max(to, 0), asked = below(10) - 1;
    const int n = asked < 0 ? model_.count - std::max(from, place) : asked;
    const bool fits = from + n <= model_.count && place + n <= model_.count;
    EXPECT_EQ(QvList_MoveRange(list_, from, to, asked), fits ? S_OK : E_FAIL);
    EXPECT_EQ(QvList_MoveRange(list_, -1, to, asked), E_INVALIDARG);
    if (fits && n > 0) model_.move(from, place, n);
  }
  void find() {
    const Range range = any_range();
    const int key = below(10);
    EXPECT_EQ(QvList_FindItemRange(list_, range.start, range.n, key, match_key),
              first_in(range, [&](int i) { return key_of(model_.slots[i]) == key; }));
    if (model_.count == 0) return;
    const int wanted = below(model_.count); // two items of a heap-item list are never the same
    EXPECT_EQ(
        QvList_FindSpecificItemRange(list_, range.start, range.n, item_at(list_, wanted)),
        first_in(range, [&](int i) { return heap_items() ? i == wanted : model_.slots[i] == model_.slots[wanted]; }));
  }
  void select_sort() {
    EXPECT_EQ(QvList_Sort(list_, kCriteria, compare_keys), S_OK);
    EXPECT_EQ(QvList_GetSortCriteria(list_), kCriteria);
    model_.selection_sort();
  }
  void heap_sort() {
    EXPECT_EQ(QvList_HeapSort(list_, kCriteria, compare_keys), S_OK);
    EXPECT_EQ(list_->sortCriteria, kCriteria);
    model_.heap_sort();
  }
  void search_sorted() {
    select_sort();
    const int key = below(10), triple[3] = {key, key, key};
    const void* item = heap_items() || array() ? triple : reinterpret_cast<void*>(intptr_t{key});
    const Range range = any_range();
    const int left = std::max(0, range.end - range.first);
    const auto [at, sign] = left > 0 ? model_.search(key, range.first, left) : std::pair(0, 0);
    EXPECT_EQ(QvList_FindSortedItemRange(list_, item, range.start, range.n, compare_keys),
              left > 0 && sign == 0 ? at : -1);
    EXPECT_EQ(QvList_FindSortedInsertIndexRange(list_, item, range.start, range.n, compare_keys),
              range.first > model_.count ? -1
              : left > 0 && sign > 0     ? at + 1
                                         : at);
  }
  void with_another() {
    // One lock alone: items go there and back, and two locks would be entered in both orders.
    const List other(options_ & ~QVLIST_OPT_THREADSAFE, kItemBytes, 4, growth_);
    ListModel expected(4, growth_);
    for (int i = 0; i < model_.count && !heap_items(); ++i) {
      const int value = model_.slots[i];
      const auto [at, sign] = i > 0 ? expected.search(key_of(value), 0, i) : std::pair(0, 0);
      expected.insert(sign > 0 ? at + 1 : at, {value});
    }
    EXPECT_EQ(QvList_SortTo(other, list_, kCriteria, compare_keys), S_OK);
    EXPECT_EQ(other->sortCriteria, kCriteria);
    expect_equal(other, expected);
    if (heap_items() && !list_->itemHeap) move_there_and_back(other, expected);
  }
  void move_there_and_back(tQVLIST* other, ListModel& expected) {
    const int from = below(model_.count + 1), n = below(model_.count + 2) - 1, moved = n < 0 ? model_.count : n;
    const bool fits = moved == 0 || from + moved <= model_.count;
    EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(other, -1, list_, from, n), fits ? S_OK : E_FAIL);
    for (int i = 0; i < moved && fits; ++i)
      expected.insert(-1, {model_.slots[from + i]});
    if (moved > 0 && fits) model_.erase(from, moved, false);
    expect_equal(other, expected);
    const int to = any_index(), at = to < 0 || to > model_.count ? model_.count : to;
    EXPECT_EQ(QvList_MoveItemsBetweenHeapLists(list_, to, other, 0, -1), pending_ != 0 ? E_FAIL : S_OK);
    for (int i = expected.count - 1; i >= 0 && pending_ == 0; --i)
      model_.insert(at, {expected.slots[i]});
  }
  void fields() {
    const LONGLONG value = below(1000);
    EXPECT_EQ(QvList_SetUserData(list_, value), user_data_);
    user_data_ = value;
    EXPECT_EQ(QvList_GetUserData(list_), value);
    if (list_ == &storage_ || below(100) != 0) return;
    ASSERT_EQ(QvList_ConvertToInPlace(&list_, &storage_), S_OK);
    EXPECT_EQ(list_, nullptr);
    list_ = &storage_;
  }

  void expect_equal(const tQVLIST* list, const ListModel& model) {
    ASSERT_EQ(list->count, model.count);
    ASSERT_EQ(list->allocated, model.allocated());
    for (int i = 0; i < model.allocated(); ++i)
      ASSERT_EQ(value_of(item_at(list, i)), model.slots[i]) << "slot " << i;
  }

  const DWORD options_;
  const LONG growth_;
  std::mt19937 random_;
  ListModel model_;
  tQVLIST* list_;
  tQVLIST storage_; ///< once the list is in place
  int serial_ = 0;
  int pending_ = 0; ///< value of the pending item
  LONGLONG user_data_ = 0;
};

TEST(Lists, DoWhatAModelDoes) {
  for (const DWORD kind :
       {DWORD{0}, QVLIST_OPT_ARRAY, QVLIST_OPT_HEAPITEMS, QVLIST_OPT_HEAPITEMS | QVLIST_OPT_PRIVATEHEAP}) {
    for (const LONG growth : {4, 16}) {
      for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << " by " << growth << " seed " << seed);
        Driver driver(kind | (seed % 2 == 0 ? QVLIST_OPT_THREADSAFE : 0), growth, seed);
        for (int i = 0; i < 10'000 && !testing::Test::HasFailure(); ++i)
          driver.step();
      }
    }
  }
}

} // namespace
