// Objects that can be waited on.
//
// A signal satisfies the waits that are going on at that moment, as on Windows: they end even when the object is reset
// before their threads run. Nobody waiting is the common case and takes no lock: the state is an atomic, and a signal
// looks for waiters after setting it while a waiter looks at the state after announcing itself, so that one of the two
// sees the other. Otherwise one process-wide lock guards who waits for what, so that a wait for several objects sees
// them all at one moment.
#pragma once

#include "platform/posix/handle.h"

#include <atomic>
#include <span>
#include <vector>

namespace qv::platform {

struct Wait;

class Waitable : public KernelObject {
public:
  /// Makes the object signalled and ends the waits that this satisfies.
  void signal();
  void reset() { signalled_.store(false); }

protected:
  Waitable(bool manual_reset, bool signalled) : manual_reset_(manual_reset), signalled_(signalled) {}

private:
  friend struct Wait;
  friend DWORD wait_for(std::span<Waitable* const> objects, bool all, DWORD milliseconds);

  const bool manual_reset_;
  std::atomic<bool> signalled_;
  std::atomic<int> waits_going_on_{0};
  std::vector<Wait*> waits_; ///< under the lock, oldest first
};

/// WAIT_OBJECT_0 + index of the first signalled object (0 when all are wanted), or WAIT_TIMEOUT. Throws bad_alloc.
DWORD wait_for(std::span<Waitable* const> objects, bool all, DWORD milliseconds);

} // namespace qv::platform
