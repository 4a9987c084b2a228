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
  SetEvent(event);
  EnterCriticalSection(&head->lock);
  SetEvent(event); // a removal that was inside may have taken the signal back
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
