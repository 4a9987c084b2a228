// A list that is destroyed at the end, unless it was taken away.
#pragma once

#include "qv/list.h"

#include <gtest/gtest.h>
#include <utility>

namespace kernel_test {

class List {
public:
  explicit List(DWORD options, DWORD item_bytes = 4, LONG initial = 0, LONG growth = 0) {
    EXPECT_EQ(QvList_CreateExZ(&list_, item_bytes, initial, growth, options, 0, 0, 0), S_OK);
  }
  List(const List&) = delete;
  List& operator=(const List&) = delete;
  ~List() { EXPECT_EQ(QvList_Destroy(list_), S_OK); }
  operator tQVLIST*() const { return list_; }
  tQVLIST* operator->() const { return list_; }
  tQVLIST* release() { return std::exchange(list_, nullptr); }

private:
  tQVLIST* list_ = nullptr;
};

} // namespace kernel_test
