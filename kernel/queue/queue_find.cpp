// Finding elements by a callback, and moving them to an end of the queue.
#include "kernel/queue/queue_links.h"
#include "kernel/queue/queue_users.h"

using namespace qv::kernel;

namespace {

/// Finds the first match, calls then(inside, match) while inside the queue, and returns it; null when there is none.
template <class Then>
tQVQELM* find_and(tQVQHEAD* head, Direction direction, QVQUEUEMATCH match, LONGLONG context, Then then) {
  if (!match) return nullptr;
  const InsideQueue inside(head);
  if (!inside) return nullptr;
  tQVQELM* found = find_element(head, direction, [=](const tQVQELM* each) { return match(each, context) != 0; });
  if (found) then(inside, found);
  return found;
}

tQVQELM* find(tQVQHEAD* head, Direction direction, QVQUEUEMATCH match, LONGLONG context) {
  return find_and(
      head, direction, match, context, [](const InsideQueue&, tQVQELM*) {});
}

tQVQELM* find_and_remove(tQVQHEAD* head, Direction direction, QVQUEUEMATCH match, LONGLONG context) {
  return find_and(
      head, direction, match, context,
      [head](const InsideQueue& inside, tQVQELM* found) {
        unlink(found);
        if (is_empty(head)) ResetEvent(inside.event());
      });
}

/// Moves an element to the end of the queue from which a walk in the direction `end` begins: the head for kForward.
/// False when it is there already.
bool move_to_end(tQVQHEAD* head, tQVQELM* element, Direction end) {
  if (step(head, end) == element) return false;
  unlink(element);
  link_before(end == Direction::kForward ? head->next : head, element);
  return true;
}

tQVQELM* find_and_move(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context, Direction end) {
  return find_and(
      head, Direction::kForward, match, context,
      [=](const InsideQueue&, tQVQELM* found) { move_to_end(head, found, end); });
}

/// True when the element is in the queue, which is walked: an element that a flush dropped still has links.
bool holds(tQVQHEAD* head, const tQVQELM* element) {
  return find_element(
             head, Direction::kForward, [=](const tQVQELM* each) { return each == element; }) != nullptr;
}

bool is_linked(const tQVQELM* element) { return element && element->next && element->prev; }

LONG move(tQVQHEAD* head, tQVQELM* element, Direction end) {
  const InsideQueue inside(head);
  return inside && is_linked(element) && holds(head, element) && move_to_end(head, element, end) ? 1 : 0;
}

} // namespace

tQVQELM* QvQueueFind(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find(head, Direction::kForward, match, context);
}

tQVQELM* QvQueueFindRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find(head, Direction::kBackward, match, context);
}

tQVQELM* QvQueueFindAndRemove(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find_and_remove(head, Direction::kForward, match, context);
}

tQVQELM* QvQueueFindAndRemoveRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find_and_remove(head, Direction::kBackward, match, context);
}

tQVQELM* QvQueueFindAndMoveToHead(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find_and_move(head, match, context, Direction::kForward);
}

tQVQELM* QvQueueFindAndMoveToTail(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context) {
  return find_and_move(head, match, context, Direction::kBackward);
}

LONG QvQueueMoveToHead(tQVQHEAD* head, tQVQELM* element) { return move(head, element, Direction::kForward); }

LONG QvQueueMoveToTail(tQVQHEAD* head, tQVQELM* element) { return move(head, element, Direction::kBackward); }

LONG IsInQvQueue(tQVQHEAD* head, const tQVQELM* element) {
  const InsideQueue inside(head);
  return inside && is_linked(element) && holds(head, element) ? 1 : 0;
}
