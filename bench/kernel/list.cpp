// Lists against std::vector and std::lower_bound.
#include "qv/list.h"

#include "bench/kernel/groups.h"
#include "bench/ratios.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr int kAppended = 1'000'000;
constexpr LONG kGrowth = 66560;

template <size_t Words>
struct Item {
  int64_t words[Words];
};

template <size_t Words>
void fill_list() {
  tQVLIST* list = nullptr;
  if (QvList_CreateExZ(&list, sizeof(Item<Words>), kGrowth, kGrowth, QVLIST_OPT_ARRAY, 0, 0, 0) != S_OK) std::abort();
  for (int i = 0; i < kAppended; ++i) {
    const Item<Words> item{i};
    QvList_InsertList(list, -1, &item, 1);
  }
  int64_t sum = 0;
  const auto* items = static_cast<const Item<Words>*>(list->items);
  for (LONG i = 0; i < list->count; ++i)
    sum += items[i].words[0];
  if (sum != int64_t{kAppended} * (kAppended - 1) / 2) std::abort();
  QvList_Destroy(list);
}

template <size_t Words>
void fill_vector() {
  std::vector<Item<Words>> items;
  for (int i = 0; i < kAppended; ++i) {
    if (items.size() == items.capacity()) items.reserve(items.capacity() + kGrowth);
    items.push_back(Item<Words>{i});
  }
  int64_t sum = 0;
  for (const Item<Words>& item : items)
    sum += item.words[0];
  if (sum != int64_t{kAppended} * (kAppended - 1) / 2) std::abort();
}

template <size_t Words>
void add_appending() {
  add(Group{"list: append a million slots of " + std::to_string(8 * Words) + " bytes and walk them",
            fill_list<Words>,
            {{"std::vector with the same steps", fill_vector<Words>, 1.0 / 1.5}}});
}

LONG CALLBACK compare_words(LONGLONG, const void* a, const void* b) {
  const int64_t left = *static_cast<const int64_t*>(a);
  const int64_t right = *static_cast<const int64_t*>(b);
  return left < right ? -1 : left > right ? 1 : 0;
}

constexpr size_t kKeysOfARun = 1000;
constexpr size_t kAllKeys = kKeysOfARun * 256; // more than a branch predictor learns by heart

/// Sorted numbers in a list and in a vector, and what to look for among them.
struct Sorted {
  explicit Sorted(int count) {
    QvList_CreateExZ(&list, sizeof(int64_t), count, 16, QVLIST_OPT_ARRAY, 0, 0, 0);
    for (int i = 0; i < count; ++i)
      numbers.push_back(3 * i);
    QvList_InsertList(list, 0, numbers.data(), count);
    std::mt19937 random(1);
    for (size_t i = 0; i < kAllKeys; ++i)
      keys.push_back(static_cast<int64_t>(random() % (3 * static_cast<unsigned>(count))));
  }
  Sorted(const Sorted&) = delete;
  Sorted& operator=(const Sorted&) = delete;
  ~Sorted() { QvList_Destroy(list); }

  /// Those of the next run of the contestant with the counter `runs`.
  std::span<const int64_t> next_keys(size_t& runs) const {
    return std::span(keys).subspan(runs++ * kKeysOfARun % kAllKeys, kKeysOfARun);
  }

  tQVLIST* list = nullptr;
  std::vector<int64_t> numbers;
  std::vector<int64_t> keys;
};

void add_search(int count) {
  const auto sorted = std::make_shared<Sorted>(count);
  const auto ours = [sorted, runs = size_t{0}]() mutable {
    LONG sum = 0;
    for (const int64_t& key : sorted->next_keys(runs))
      sum += QvList_FindSortedItemRange(sorted->list, &key, 0, -1, compare_words);
    keep(&sum);
  };
  const auto standard = [sorted, runs = size_t{0}]() mutable {
    LONG sum = 0;
    const std::vector<int64_t>& numbers = sorted->numbers;
    // Called through a pointer, as a list calls it.
    QVLISTCOMPARE volatile pointer = compare_words;
    const QVLISTCOMPARE compare = pointer;
    for (const int64_t& key : sorted->next_keys(runs)) {
      const auto found = std::lower_bound(numbers.begin(), numbers.end(), key,
                                          [compare](const int64_t& a, int64_t b) { return compare(0, &a, &b) < 0; });
      sum += found != numbers.end() && *found == key ? static_cast<LONG>(found - numbers.begin()) : -1;
    }
    keep(&sum);
  };
  add(Group{"list: 1000 searches among " + std::to_string(count) + " sorted items",
            ours,
            {{"std::lower_bound with the same callback", standard, 1.0 / 1.2}}});
}

} // namespace

void add_list_groups() {
  add_appending<1>();
  add_appending<2>();
  add_search(1000);
  add_search(1'000'000);
}

} // namespace bench
