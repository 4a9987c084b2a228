// Queues: intrusive, doubly linked, for any number of producers and consumers.
//
//     struct Job { tQVQELM link; int number; };      // the link comes first
//     tQVQHEAD queue = {};
//     QvQueueInitialize(&queue);
//     QvQueueInsert(&queue, &job->link);                                    // a producer
//     Job* next = reinterpret_cast<Job*>(QvQueueRemove(&queue, INFINITE));  // a consumer; null once it is deleted
//
// The caller owns the elements; a queue never allocates or frees one. An element is in one queue at most.
//
// Threads: every function may be called from any thread, also on a deleted queue, which returns null and 0 and inserts
// nothing. Callbacks run inside the lock and must not call functions of their queue that change it; other queues they
// may change, and delete.
//
// The event is signalled while the queue holds elements, and after a flush although it is empty: that goes on until a
// removal empties the queue, QvQueueInitialize does, or a consumer with QVQUEUE_RETRY takes the signal back, because it
// waits again. A consumer without retry never takes it back, so that a consumer that comes too late to be woken returns
// at once:
//
//     quit = true;                                                          // one who ends the consumers
//     QvQueueFlush(&queue);
//     while (!quit)                                                         // each consumer
//       if (tQVQELM* job = QvQueueRemove(&queue, INFINITE)) ...
//
// A loop of such removals must look at a flag of its own, as this one does: after a flush every removal returns null
// without waiting. Consumers with retry do not return for a flush at all.
//
// Null or 0 is returned for a null head and for a null callback.
#pragma once

#include "qv/win32.h"

/// The link at the start of an element. Both pointers are null while the element is in no queue.
struct tQVQELM {
  tQVQELM* next;
  tQVQELM* prev;
};

/// A queue's head. Zero it before QvQueueInitialize, and delete the queue before its memory goes.
/// It stands in the ring of its elements: next is the first of them, prev the last, and both are the head itself while
/// the queue is empty.
struct tQVQHEAD : tQVQELM {
  CRITICAL_SECTION lock;
  HANDLE event; ///< manual reset, signalled as described above; null once the queue is deleted
};
static_assert(sizeof(tQVQELM) == 16 && sizeof(CRITICAL_SECTION) == 40 && sizeof(tQVQHEAD) == 64);

/// Non-zero for a match.
typedef LONG(CALLBACK* QVQUEUEMATCH)(const tQVQELM* element, LONGLONG context);

/// Flags of QvQueueRemoveEx: a wake mask (QS_*) in bits 0-15, wait flags, and what follows from them.
inline constexpr DWORD QVQUEUE_WAITALL = 0x10000;        ///< MWMO_WAITALL: the event and all handles
inline constexpr DWORD QVQUEUE_ALERTABLE = 0x20000;      ///< MWMO_ALERTABLE
inline constexpr DWORD QVQUEUE_INPUTAVAILABLE = 0x40000; ///< MWMO_INPUTAVAILABLE
/// Adds QS_SENDMESSAGE to the wake mask, dispatches sent messages, and waits again after those and after I/O
/// completions, after a flush, and when another consumer took the element.
inline constexpr DWORD QVQUEUE_RETRY = 0x80000;

/// Creates event and lock when the event is null; always empties the queue and takes its signal back. 1; 0 when they
/// cannot be created.
QV_FUNCTION LONG QvQueueInitialize(tQVQHEAD* head);
/// Releases the waiters, waits until callers that are inside have left, empties the queue without touching the elements
/// and frees event and lock. Until this has returned the elements are in use. Visitors of other queues are not waited
/// for. Consumers that wait come back with null without touching the head: its memory may be given back when this has
/// returned and nobody else is about to call with it. Not from a callback of the same queue, which would wait for
/// itself. Deleting a deleted queue does nothing.
QV_FUNCTION void QvQueueDelete(tQVQHEAD* head);
/// Empties the queue without touching the elements, and leaves the event signalled (see above): consumers without retry
/// that wait return null, and so do those that come, until the signal is taken back.
QV_FUNCTION void QvQueueFlush(tQVQHEAD* head);

/// Append, and prepend. A null element does nothing.
QV_FUNCTION void QvQueueInsert(tQVQHEAD* head, tQVQELM* element);
QV_FUNCTION void QvQueueInsertHead(tQVQHEAD* head, tQVQELM* element);
/// Inserts before the first element, searching from the head or (Rev) from the tail, that matches; appends when none
/// does or match is null. A null element does nothing.
QV_FUNCTION void QvQueueInsertEx(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context, tQVQELM* element);
QV_FUNCTION void QvQueueInsertExRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context, tQVQELM* element);

/// The first element, unlinked; null after `milliseconds` (0: at once; INFINITE: never), after a flush, or when the
/// queue is deleted. Also null when another consumer took the element that woke this one.
QV_FUNCTION tQVQELM* QvQueueRemove(tQVQHEAD* head, DWORD milliseconds);
/// As QvQueueRemove with QVQUEUE_RETRY, running asynchronous procedure calls while it waits.
QV_FUNCTION tQVQELM* QvQueueRemoveAlertable(tQVQHEAD* head, DWORD milliseconds);
/// As QvQueueRemove, waiting for up to 62 handles besides: null when one of them is signalled, and at once for 63 or
/// more. waitResult (optional): the wait's last result: 0 for the queue's event, 1 .. handleCount for the handles,
/// handleCount + 1 for input, WAIT_TIMEOUT, WAIT_IO_COMPLETION or WAIT_FAILED; left alone when nothing was waited for.
QV_FUNCTION tQVQELM* QvQueueRemoveEx(tQVQHEAD* head, const HANDLE* handles, DWORD handleCount, DWORD flags,
                                     DWORD milliseconds, DWORD* waitResult);
/// The last element, unlinked. Waits at most once.
QV_FUNCTION tQVQELM* QvQueueRemoveTail(tQVQHEAD* head, DWORD milliseconds);
/// 1 if the queue is not empty, now or after one wait; else 0, after a flush at once.
QV_FUNCTION LONG QvQueueWait(tQVQHEAD* head, DWORD milliseconds);

/// The first element that matches, from the head or (Rev) from the tail; null when none does. It stays queued.
QV_FUNCTION tQVQELM* QvQueueFind(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
QV_FUNCTION tQVQELM* QvQueueFindRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
/// The same, unlinked.
QV_FUNCTION tQVQELM* QvQueueFindAndRemove(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
QV_FUNCTION tQVQELM* QvQueueFindAndRemoveRev(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
/// The first match from the head, moved to that end.
QV_FUNCTION tQVQELM* QvQueueFindAndMoveToHead(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
QV_FUNCTION tQVQELM* QvQueueFindAndMoveToTail(tQVQHEAD* head, QVQUEUEMATCH match, LONGLONG context);
/// 1 when moved; 0 when the element is at that end already or not in the queue.
QV_FUNCTION LONG QvQueueMoveToHead(tQVQHEAD* head, tQVQELM* element);
QV_FUNCTION LONG QvQueueMoveToTail(tQVQHEAD* head, tQVQELM* element);
/// 1 if the element is in this queue, which is walked; 0 at once when one of its links is null.
QV_FUNCTION LONG IsInQvQueue(tQVQHEAD* head, const tQVQELM* element);
