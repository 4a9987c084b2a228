// Initialising, deleting and flushing a queue, and inserting elements.
#include "kernel/queue/queue_links.h"
#include "kernel/queue/queue_users.h"

using namespace qv::kernel;

LONG QvQueueInitialize(tQVQHEAD* head) {
  if (!head) return 0;
  if (const InsideQueue inside(head); inside) {
    clear_ring(head);
    ResetEvent(inside.event());
    return 1;
  }
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (!event) return 0;
  if (!InitializeCriticalSectionAndSpinCount(&head->lock, 0)) {
    CloseHandle(event);
    return 0;
  }
  clear_ring(head);
  if (!QueueUsers::begin(head, event)) {
    DeleteCriticalSection(&head->lock);
    CloseHandle(event);
    return 0;
  }
  event_of(head).store(event);
  return 1;
}

void QvQueueDelete(tQVQHEAD* head) {
  if (!head) return;
  const HANDLE event = event_of(head).exchange(nullptr);
  if (!event) return;
  QueueUsers* users = QueueUsers::of(head);
  users->turn_away();
  EnterCriticalSection(&head->lock);
  SetEvent(event); // inside the lock, so that no removal that has begun takes the signal back
  LeaveCriticalSection(&head->lock);
  users->drain();
  clear_ring(head);
  DeleteCriticalSection(&head->lock);
  users->end();
}

void QvQueueFlush(tQVQHEAD* head) {
  const InsideQueue inside(head);
  if (!inside) return;
  clear_ring(head);
  inside.users().release_waits();
  SetEvent(inside.event());
}

namespace {

/// Links an element before `position`, and signals the event when the queue was empty.
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
