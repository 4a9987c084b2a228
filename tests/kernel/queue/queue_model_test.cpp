// Queues as sequences: every operation against a plain model, and the ends of a queue's life.
#include "tests/kernel/queue/queue_fixture.h"

#include <algorithm>
#include <deque>
#include <random>

using namespace kernel_test;

namespace {

constexpr int kElements = 12;

/// Drives a queue and a deque of values alike. An element's value is its index.
class Pair {
public:
  Pair() {
    for (int i = 0; i < kElements; ++i)
      elements_[i].value = i;
  }

  void step(std::mt19937& random) {
    const int value = static_cast<int>(random() % kElements);
    const int limit = static_cast<int>(random() % (kElements + 1)) - 1;
    const unsigned operation = random() % 18;
    SCOPED_TRACE(testing::Message() << "operation " << operation << " value " << value << " limit " << limit);
    if (operation < 6) {
      if (!is_queued(value)) insert(operation, value, limit);
    } else {
      other(operation, value, limit);
    }
    check();
  }

private:
  using Place = std::deque<int>::iterator;

  tQVQELM* element(int value) { return &elements_[value].link; }
  Place place(int value) { return std::find(model_.begin(), model_.end(), value); }
  bool is_queued(int value) { return place(value) != model_.end(); }
  Place first_above(int limit) {
    return std::find_if(
        model_.begin(), model_.end(), [=](int each) { return each > limit; });
  }
  Place last_above(int limit) {
    const auto found = std::find_if(model_.rbegin(), model_.rend(), [=](int each) { return each > limit; });
    return found == model_.rend() ? model_.end() : std::prev(found.base());
  }
  int at(Place found) { return found == model_.end() ? -1 : *found; }
  static int value_or_none(const tQVQELM* found) { return found ? value_of(found) : -1; }

  void insert(unsigned operation, int value, int limit) {
    tQVQELM* element = this->element(value);
    switch (operation) {
    case 0: QvQueueInsert(queue_, element); break;
    case 1: QvQueueInsertHead(queue_, element); return model_.push_front(value);
    case 2: QvQueueInsertEx(queue_, is_above, limit, element); return void(model_.insert(first_above(limit), value));
    case 3: QvQueueInsertExRev(queue_, is_above, limit, element); return void(model_.insert(last_above(limit), value));
    case 4: QvQueueInsertEx(queue_, nullptr, limit, element); break;
    default: QvQueueInsertExRev(queue_, nullptr, limit, element); break;
    }
    model_.push_back(value);
  }

  void removed(const tQVQELM* element, Place from) {
    ASSERT_EQ(value_or_none(element), at(from));
    if (!element) return;
    EXPECT_EQ(element->next, nullptr);
    EXPECT_EQ(element->prev, nullptr);
    model_.erase(from);
  }
  /// Moves what is at `from` to an end of the model.
  void moved(Place from, bool to_head) {
    if (from == model_.end()) return;
    const int value = *from;
    model_.erase(from);
    to_head ? model_.push_front(value) : model_.push_back(value);
  }

  void other(unsigned operation, int value, int limit) {
    switch (operation) {
    case 6: return removed(QvQueueRemove(queue_, 0), model_.begin());
    case 7: return removed(QvQueueRemoveTail(queue_, 0), model_.empty() ? model_.end() : model_.end() - 1);
    case 8: return removed(QvQueueFindAndRemove(queue_, is_above, limit), first_above(limit));
    case 9: return removed(QvQueueFindAndRemoveRev(queue_, is_above, limit), last_above(limit));
    case 10:
      EXPECT_EQ(value_or_none(QvQueueFind(queue_, is_above, limit)), at(first_above(limit)));
      EXPECT_EQ(value_or_none(QvQueueFindRev(queue_, is_above, limit)), at(last_above(limit)));
      return;
    case 11:
      EXPECT_EQ(value_or_none(QvQueueFindAndMoveToHead(queue_, is_above, limit)), at(first_above(limit)));
      return moved(first_above(limit), true);
    case 12:
      EXPECT_EQ(value_or_none(QvQueueFindAndMoveToTail(queue_, is_above, limit)), at(first_above(limit)));
      return moved(first_above(limit), false);
    case 13:
      EXPECT_EQ(QvQueueMoveToHead(queue_, element(value)), is_queued(value) && model_.front() != value ? 1 : 0);
      return moved(place(value), true);
    case 14:
      EXPECT_EQ(QvQueueMoveToTail(queue_, element(value)), is_queued(value) && model_.back() != value ? 1 : 0);
      return moved(place(value), false);
    case 15:
      EXPECT_EQ(IsInQvQueue(queue_, element(value)), is_queued(value) ? 1 : 0);
      EXPECT_EQ(QvQueueWait(queue_, 0), model_.empty() ? 0 : 1);
      return;
    case 16: return do_nothing();
    default: return limit >= 8 ? empty(value) : void(); // now and then
    }
  }
  void do_nothing() {
    QvQueueInsert(queue_, nullptr);
    QvQueueInsertHead(queue_, nullptr);
    QvQueueInsertEx(queue_, is_above, 0, nullptr);
    QvQueueInsertExRev(queue_, is_above, 0, nullptr);
    EXPECT_EQ(QvQueueFind(queue_, nullptr, 0), nullptr);
    EXPECT_EQ(QvQueueFindAndRemove(queue_, nullptr, 0), nullptr);
  }
  /// The elements keep links that are no longer true.
  void empty(int value) {
    const HANDLE event = queue_->event;
    flushed_ = value % 3 == 0;
    if (flushed_) return QvQueueFlush(queue_), model_.clear();
    if (value % 3 == 1) QvQueueDelete(queue_);
    EXPECT_EQ(QvQueueInitialize(queue_), 1);
    if (value % 3 == 2) EXPECT_EQ(queue_->event, event);
    model_.clear();
  }

  void check() {
    ASSERT_EQ(queue_.values(), std::vector<int>(model_.begin(), model_.end()));
    if (!model_.empty()) flushed_ = false; // a flush is signalled until the next element is gone
    ASSERT_EQ(queue_.signalled(), !model_.empty() || flushed_);
    for (int i = 0; i < kElements; ++i)
      ASSERT_EQ(IsInQvQueue(queue_, element(i)), is_queued(i) ? 1 : 0) << i;
  }

  Number elements_[kElements];
  Queue queue_;
  std::deque<int> model_;
  bool flushed_ = false;
};

TEST(Queues, TheHeadHasItsLayout) {
  const tQVQHEAD head{};
  const auto* start = reinterpret_cast<const BYTE*>(&head);
  EXPECT_EQ(reinterpret_cast<const BYTE*>(&head.prev) - start, 8);
  EXPECT_EQ(reinterpret_cast<const BYTE*>(&head.lock) - start, 16);
  EXPECT_EQ(reinterpret_cast<const BYTE*>(&head.event) - start, 56);
}

TEST(Queues, DoWhatAModelDoes) {
  std::mt19937 random(20240117);
  for (int run = 0; run < 20; ++run) {
    SCOPED_TRACE(testing::Message() << "run " << run);
    Pair pair;
    for (int i = 0; i < 2000 && !testing::Test::HasFailure(); ++i)
      pair.step(random);
  }
}

/// Every function on a queue that is deleted, was never initialised, or is null.
void expect_no_queue(tQVQHEAD* head) {
  Number a;
  DWORD result = 77;
  QvQueueInsert(head, &a.link);
  QvQueueInsertHead(head, &a.link);
  QvQueueInsertEx(head, has_value, 0, &a.link);
  QvQueueInsertExRev(head, has_value, 0, &a.link);
  EXPECT_EQ(a.link.next, nullptr);
  EXPECT_EQ(a.link.prev, nullptr);
  EXPECT_EQ(QvQueueRemove(head, INFINITE), nullptr);
  EXPECT_EQ(QvQueueRemoveAlertable(head, INFINITE), nullptr);
  EXPECT_EQ(QvQueueRemoveEx(head, nullptr, 0, 0, INFINITE, &result), nullptr);
  EXPECT_EQ(result, 77u);
  EXPECT_EQ(QvQueueRemoveTail(head, INFINITE), nullptr);
  EXPECT_EQ(QvQueueWait(head, INFINITE), 0);
  for (const auto find : {QvQueueFind, QvQueueFindRev, QvQueueFindAndRemove, QvQueueFindAndRemoveRev,
                          QvQueueFindAndMoveToHead, QvQueueFindAndMoveToTail})
    EXPECT_EQ(find(head, has_value, 0), nullptr);
  Number b;
  a.link = {&b.link, &b.link};
  EXPECT_EQ(QvQueueMoveToHead(head, &a.link), 0);
  EXPECT_EQ(QvQueueMoveToTail(head, &a.link), 0);
  EXPECT_EQ(IsInQvQueue(head, &a.link), 0);
  QvQueueFlush(head);
  QvQueueDelete(head);
}

TEST(Queues, WithoutAQueueEverythingAnswersNothing) {
  Queue deleted;
  Number a;
  QvQueueInsert(deleted, &a.link);
  QvQueueDelete(deleted);
  EXPECT_EQ(deleted->event, nullptr);
  EXPECT_EQ(deleted->next, static_cast<tQVQHEAD*>(deleted));
  EXPECT_NE(a.link.next, nullptr) << "the elements are the caller's";
  expect_no_queue(deleted);
  tQVQHEAD zero{};
  expect_no_queue(&zero);
  expect_no_queue(nullptr);
  EXPECT_EQ(QvQueueInitialize(nullptr), 0);
}

} // namespace
