// A queue of numbered elements, checked link by link.
#pragma once

#include "qv/queue.h"

#include <gtest/gtest.h>
#include <vector>

namespace kernel_test {

struct Number {
  tQVQELM link{};
  int value = 0;
};

inline int value_of(const tQVQELM* element) { return reinterpret_cast<const Number*>(element)->value; }

inline LONG CALLBACK has_value(const tQVQELM* element, LONGLONG value) { return value_of(element) == value ? 1 : 0; }
inline LONG CALLBACK is_above(const tQVQELM* element, LONGLONG value) { return value_of(element) > value ? -1 : 0; }

/// An initialised queue, deleted at the end.
class Queue {
public:
  Queue() { EXPECT_EQ(QvQueueInitialize(&head_), 1); }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  ~Queue() { QvQueueDelete(&head_); }
  operator tQVQHEAD*() { return &head_; }
  tQVQHEAD* operator->() { return &head_; }

  bool signalled() { return WaitForSingleObject(head_.event, 0) == WAIT_OBJECT_0; }

  /// The values from the head on; fails where the two directions disagree.
  std::vector<int> values() {
    const tQVQELM* ring = &head_;
    std::vector<int> forward;
    for (const tQVQELM* each = head_.next; each != ring; each = each->next) {
      EXPECT_EQ(each->next->prev, each);
      EXPECT_EQ(each->prev->next, each);
      forward.push_back(value_of(each));
    }
    EXPECT_EQ(head_.prev->next, ring);
    return forward;
  }

private:
  tQVQHEAD head_{};
};

} // namespace kernel_test
