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
  event_of(head).store(event);
  return 1;
}

void QvQueueDelete(tQVQHEAD* head) {
  if (!head) return;
  const HANDLE event = event_of(head).exchange(nullptr);
  if (!event) return;
  SetEvent(event);
  EnterCriticalSection(&head->lock);
  const bool inherited = QueueWait::orphan_all(head);
  LeaveCriticalSection(&head->lock);
  drain_visits(head);
  if (!inherited) CloseHandle(event);
  clear_ring(head);
  DeleteCriticalSection(&head->lock);
}

void QvQueueFlush(tQVQHEAD* head) {
  const InsideQueue inside(head);
  if (!inside) return;
  clear_ring(head);
  QueueWait::release_all(head);
  SetEvent(inside.event());
}
