// The ring of a queue's elements, in which the head is the sentinel. All of this happens inside the queue's lock.
#pragma once

#include "qv/queue.h"

namespace qv::kernel {

inline bool is_empty(const tQVQHEAD* head) { return head->next == head; }

inline void clear_ring(tQVQHEAD* head) { head->next = head->prev = head; }

inline void link_before(tQVQELM* position, tQVQELM* element) {
  element->next = position;
  element->prev = position->prev;
  position->prev->next = element;
  position->prev = element;
}

inline void unlink(tQVQELM* element) {
  element->prev->next = element->next;
  element->next->prev = element->prev;
  element->next = element->prev = nullptr;
}

/// The direction of a walk: from the head to the tail, or back.
enum class Direction { kForward, kBackward };
inline tQVQELM* step(const tQVQELM* element, Direction direction) {
  return direction == Direction::kForward ? element->next : element->prev;
}

/// The first element that satisfies `matches`, or null.
template <class Matches>
tQVQELM* find_element(tQVQHEAD* head, Direction direction, Matches matches) {
  for (tQVQELM* each = step(head, direction); each != head; each = step(each, direction))
    if (matches(each)) return each;
  return nullptr;
}

} // namespace qv::kernel
