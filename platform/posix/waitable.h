// Objects that can be waited on. One process-wide lock guards every state, so that a wait for several objects sees
// them all at one moment; each waiting thread has its own condition variable, so that a signal wakes only those who
// wait for that object.
#pragma once

#include "platform/posix/handle.h"

#include <condition_variable>
#include <mutex>
#include <vector>

namespace qv::platform {

class Waitable : public KernelObject {
public:
  /// Makes the object signalled and wakes its waiters.
  void signal();
  void reset();

protected:
  Waitable(bool manual_reset, bool signalled) : manual_reset_(manual_reset), signalled_(signalled) {}

private:
  friend DWORD wait_for(const std::vector<Waitable*>& objects, bool all, DWORD milliseconds);

  bool is_signalled() const { return signalled_; }
  /// What a successful wait does to the object.
  void consume() {
    if (!manual_reset_) signalled_ = false;
  }

  const bool manual_reset_;
  bool signalled_;
  std::vector<std::condition_variable*> waiters_;
};

/// WAIT_OBJECT_0 + index of the first signalled object (0 when all are wanted), or WAIT_TIMEOUT.
DWORD wait_for(const std::vector<Waitable*>& objects, bool all, DWORD milliseconds);

} // namespace qv::platform
