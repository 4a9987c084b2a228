// The thread's last error, by which the platform layer reports failures; from errno where a system call failed.
#pragma once

#include "qv/win32.h"

#include <new>

namespace qv::platform {

DWORD error_from_errno(int error);

/// Sets the last error and returns FALSE.
BOOL fail_with(DWORD error);
BOOL fail_with_errno();

/// The body's result, or `failure` with ERROR_NOT_ENOUGH_MEMORY when memory runs out in it: nothing is thrown at
/// callers.
template <class Result, class Body>
Result or_out_of_memory(Result failure, Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
  }
}

} // namespace qv::platform
