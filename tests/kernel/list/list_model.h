// What a list holds, slot by slot, kept by plain means: the values of all slots up to the capacity, 0 for a zeroed one.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace kernel_test {

/// Values compare by their last digit, so that equal ones can be told apart.
inline int key_of(int value) { return value % 10; }

struct ListModel {
  std::vector<int> slots;
  int count = 0;
  int grow_by;

  ListModel(int initial, int growth) : slots(rounded(initial, growth)), grow_by(growth) {}

  static int rounded(int n, int step) { return (n + step - 1) / step * step; }
  int allocated() const { return static_cast<int>(slots.size()); }
  int slack() const { return allocated() - count; }

  void grow(int n) { slots.resize(slots.size() + rounded(n < 1 ? grow_by : n, grow_by)); }
  void shrink(int n) {
    int fewer = rounded(n < 0 ? slack() : std::min(n, slack()), grow_by);
    if (fewer > slack()) fewer -= grow_by;
    if (fewer > 0) slots.resize(slots.size() - fewer);
  }
  void insert(int index, const std::vector<int>& values) {
    const int n = static_cast<int>(values.size());
    if (index < 0 || index > count) index = count;
    if (count + n > allocated()) grow(n);
    std::copy_backward(slots.begin() + index, slots.begin() + count, slots.begin() + count + n);
    std::copy(values.begin(), values.end(), slots.begin() + index);
    count += n;
  }
  void erase(int index, int n, bool give_back) {
    if (n < 0) n = count - index;
    n = std::min(n, count - index);
    std::copy(slots.begin() + index + n, slots.begin() + count, slots.begin() + index);
    std::fill_n(slots.begin() + count - n, n, 0);
    count -= n;
    if (give_back && slack() > grow_by) shrink(slack());
  }
  void move(int from, int to, int n) {
    const auto at = slots.begin();
    from < to ? std::rotate(at + from, at + from + n, at + to + n) : std::rotate(at + to, at + from, at + from + n);
  }

  void selection_sort() {
    for (int end = count - 1; end > 0; --end) {
      const auto last = slots.begin() + end + 1;
      const auto largest = std::max_element(slots.begin(), last, [](int a, int b) { return key_of(a) < key_of(b); });
      std::iter_swap(largest, slots.begin() + end); // max_element answers the first of equals
    }
  }
  void heap_sort() {
    const auto at = [this](int position) -> int& { return slots[position - 1]; };
    const auto sift = [&](int parent, int positions) {
      for (int child = 2 * parent, level = 0; level == 0 || child < positions; child = 2 * parent, ++level) {
        if (child + 1 <= positions && key_of(at(child + 1)) > key_of(at(child))) ++child;
        if (key_of(at(child)) > key_of(at(parent))) std::swap(at(child), at(parent));
        parent = child;
      }
    };
    if (count < 2) return;
    for (int i = count / 2; i > 1; --i)
      sift(i, count);
    for (int m = count; m > 1; --m) {
      sift(1, m);
      std::swap(at(1), at(m));
    }
  }

  /// Where a halving search for a key among n > 0 items ends: the index, and the sign of the last comparison.
  std::pair<int, int> search(int key, int start, int n) const {
    const int lower = (n - 1) / 2, at = start + lower, sign = key - key_of(slots[at]);
    const int left = sign < 0 ? lower : n - 1 - lower;
    if (sign == 0 || left == 0) return {at, sign};
    return search(key, sign < 0 ? start : at + 1, left);
  }
};

} // namespace kernel_test
