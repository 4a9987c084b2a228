// Queues as sequences: every operation against a plain model, and the ends of a queue's life.
#include "tests/kernel/queue/queue_fixture.h"

#include <algorithm>
#include <deque>
#include <random>

using namespace kernel_test;

namespace {

constexpr int kElements = 12;

/// What becomes of an element that an operation found.
enum class Effect { kStays, kRemoved, kToHead, kToTail };

struct Search {
  tQVQELM* (*run)(tQVQHEAD*, QVQUEUEMATCH, LONGLONG);
  bool reverse;
  Effect effect;
};
const Search kSearches[] = {
    {QvQueueFind, false, Effect::kStays},
    {QvQueueFindRev, true, Effect::kStays},
    {QvQueueFindAndRemove, false, Effect::kRemoved},
    {QvQueueFindAndRemoveRev, true, Effect::kRemoved},
    {QvQueueFindAndMoveToHead, false, Effect::kToHead},
    {QvQueueFindAndMoveToTail, false, Effect::kToTail},
};

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
    if (operation >= 12)
      search(kSearches[operation - 12], limit);
    else if (operation >= 6)
      other(operation, value, limit);
    else if (!is_queued(value))
      insert(operation, &elements_[value].link, value, limit);
    check();
  }

private:
  using Place = std::deque<int>::iterator;

  Place place(int value) { return std::find(model_.begin(), model_.end(), value); }
  bool is_queued(int value) { return place(value) != model_.end(); }
  Place above(int limit, bool reverse) {
    const auto matches = [=](int each) { return each > limit; };
    if (!reverse) return std::find_if(model_.begin(), model_.end(), matches);
    const auto found = std::find_if(model_.rbegin(), model_.rend(), matches);
    return found == model_.rend() ? model_.end() : std::prev(found.base());
  }

  void insert(unsigned operation, tQVQELM* element, int value, int limit) {
    Place before = model_.end();
    switch (operation) {
    case 0: QvQueueInsert(queue_, element); break;
    case 1: QvQueueInsertHead(queue_, element), before = model_.begin(); break;
    case 2: QvQueueInsertEx(queue_, is_above, limit, element), before = above(limit, false); break;
    case 3: QvQueueInsertExRev(queue_, is_above, limit, element), before = above(limit, true); break;
    case 4: QvQueueInsertEx(queue_, nullptr, limit, element); break;
    default: QvQueueInsertExRev(queue_, nullptr, limit, element); break;
    }
    model_.insert(before, value);
  }
  /// `element` is what an operation found, and `expected` where the model has it.
  void found(const tQVQELM* element, Place expected, Effect effect) {
    ASSERT_EQ(element, expected == model_.end() ? nullptr : &elements_[*expected].link);
    if (!element || effect == Effect::kStays) return;
    const int value = *expected;
    model_.erase(expected);
    if (effect == Effect::kToHead) model_.push_front(value);
    if (effect == Effect::kToTail) model_.push_back(value);
    if (effect == Effect::kRemoved) EXPECT_TRUE(!element->next && !element->prev);
  }
  void search(const Search& search, int limit) {
    found(search.run(queue_, is_above, limit), above(limit, search.reverse), search.effect);
    EXPECT_EQ(search.run(queue_, nullptr, limit), nullptr);
  }
  void move(LONG (*run)(tQVQHEAD*, tQVQELM*), tQVQELM* element, size_t end, Effect effect) {
    const Place from = place(value_of(element));
    const bool queued = from != model_.end(), moves = queued && from != model_.begin() + static_cast<int>(end);
    EXPECT_EQ(run(queue_, element), moves ? 1 : 0);
    found(queued ? element : nullptr, from, effect);
  }
  void other(unsigned operation, int value, int limit) {
    tQVQELM* const element = &elements_[value].link;
    const Place last = model_.empty() ? model_.end() : model_.end() - 1;
    switch (operation) {
    case 6: return found(QvQueueRemove(queue_, 0), model_.begin(), Effect::kRemoved);
    case 7: return found(QvQueueRemoveTail(queue_, 0), last, Effect::kRemoved);
    case 8: return move(QvQueueMoveToHead, element, 0, Effect::kToHead);
    case 9: return move(QvQueueMoveToTail, element, model_.size() - 1, Effect::kToTail);
    case 10:
      EXPECT_EQ(QvQueueWait(queue_, 0), model_.empty() ? 0 : 1);
      for (const auto insert : {QvQueueInsert, QvQueueInsertHead})
        insert(queue_, nullptr);
      for (const auto insert : {QvQueueInsertEx, QvQueueInsertExRev})
        insert(queue_, is_above, limit, nullptr);
      return;
    default: return limit >= 8 ? empty(value) : void(); // now and then
    }
  }
  /// The elements keep links that are no longer true.
  void empty(int value) {
    const HANDLE event = queue_->event;
    model_.clear();
    flushed_ = value % 3 == 0;
    if (flushed_) return QvQueueFlush(queue_);
    if (value % 3 == 1) QvQueueDelete(queue_);
    EXPECT_EQ(QvQueueInitialize(queue_), 1);
    if (value % 3 == 2) EXPECT_EQ(queue_->event, event);
  }

  void check() {
    ASSERT_EQ(queue_.values(), std::vector<int>(model_.begin(), model_.end()));
    if (!model_.empty()) flushed_ = false; // a flush is signalled until the next element is gone
    ASSERT_EQ(queue_.signalled(), !model_.empty() || flushed_);
    for (int i = 0; i < kElements; ++i)
      ASSERT_EQ(IsInQvQueue(queue_, &elements_[i].link), is_queued(i) ? 1 : 0) << i;
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
  Number a, b;
  DWORD result = 77;
  for (const auto insert : {QvQueueInsert, QvQueueInsertHead})
    insert(head, &a.link);
  for (const auto insert : {QvQueueInsertEx, QvQueueInsertExRev})
    insert(head, has_value, 0, &a.link);
  EXPECT_TRUE(!a.link.next && !a.link.prev);
  for (const auto remove : {QvQueueRemove, QvQueueRemoveAlertable, QvQueueRemoveTail})
    EXPECT_EQ(remove(head, INFINITE), nullptr);
  EXPECT_EQ(QvQueueRemoveEx(head, nullptr, 0, 0, INFINITE, &result), nullptr);
  EXPECT_EQ(result, 77u);
  EXPECT_EQ(QvQueueWait(head, INFINITE), 0);
  for (const Search& search : kSearches)
    EXPECT_EQ(search.run(head, has_value, 0), nullptr);
  a.link = {&b.link, &b.link};
  for (const auto move : {QvQueueMoveToHead, QvQueueMoveToTail})
    EXPECT_EQ(move(head, &a.link), 0);
  EXPECT_EQ(IsInQvQueue(head, &a.link), 0);
  QvQueueFlush(head);
  QvQueueDelete(head);
}

TEST(Queues, WithoutAQueueNothingIsReturned) {
  Queue deleted;
  Number a;
  QvQueueInsert(deleted, &a.link);
  QvQueueDelete(deleted);
  EXPECT_EQ(deleted->event, nullptr);
  EXPECT_EQ(deleted->next, static_cast<tQVQHEAD*>(deleted));
  EXPECT_NE(a.link.next, nullptr) << "the elements are the caller's";
  tQVQHEAD zero{};
  for (tQVQHEAD* head : {static_cast<tQVQHEAD*>(deleted), &zero, static_cast<tQVQHEAD*>(nullptr)})
    expect_no_queue(head);
  EXPECT_EQ(QvQueueInitialize(nullptr), 0);
}

} // namespace
