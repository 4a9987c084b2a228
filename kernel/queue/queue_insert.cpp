#include "kernel/queue/queue_links.h"
#include "kernel/queue/queue_users.h"

using namespace qv::kernel;

namespace {

/// Links the element before `position` and signals the event when the queue was empty.
void insert_before(tQVQHEAD* head, HANDLE event, tQVQELM* position, tQVQELM* element) {
  const bool first = is_empty(head);
  link_before(position, element);
  if (first) SetEvent(event);
}

void insert_matching(tQVQHEAD* head, Direction direction, QVQUEUEMATCH match, LONGLONG context, tQVQELM* element) {
  if (!element) return;
  const InsideQueue inside(head);
  if (!inside) return;
  tQVQELM* position = nullptr;
  if (match) position = find_element(head, direction, [=](const tQVQELM* each) { return match(each, context) != 0; });
  insert_before(head, inside.event(), position ? position : head, element);
}

} // namespace

void QvQueueInsert(tQVQHEAD* head, tQVQELM* element) {
  if (!element) return;
  const InsideQueue inside(head);
  if (inside) insert_before(head, inside.event(), head, element);
}

void QvQueueInsertHead(tQVQHEAD* head, tQVQELM* element) {
  if (!element) return;
  const InsideQueue inside(head);
  if (inside) insert_before(head, inside.event(), head->next, element);
}

void QvQueueInsertEx(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context, tQVQELM* element) {
  insert_matching(head, Direction::kForward, match, context, element);
}

void QvQueueInsertExRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context, tQVQELM* element) {
  insert_matching(head, Direction::kBackward, match, context, element);
}
