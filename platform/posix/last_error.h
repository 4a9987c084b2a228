// How the platform layer reports failures: the thread's last error, from errno where a system call failed.
#pragma once

#include "qv/win32.h"

namespace qv::platform {

DWORD error_from_errno(int error);

/// Sets the last error and answers FALSE.
BOOL fail_with(DWORD error);
BOOL fail_with_errno();

} // namespace qv::platform
