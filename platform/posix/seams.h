// Seams for tests of the POSIX platform layer: a settable clock, and failures on the n-th call. Not for applications.
//
// Counting is per process. A seam that is not set costs one relaxed load.
#pragma once

#include "qv/export.h"

#include <cstdint>

namespace qv::platform {

/// Makes the n-th allocation from now on fail, and no other: GlobalAlloc, GlobalReAlloc, those of private heaps,
/// critical sections with a spin count. 1 is the next; 0 switches off.
QV_API void fail_allocation(int nth);
/// Makes the n-th call of ReadFile, WriteFile, SetFilePointer(Ex) or SetEndOfFile from now on fail with
/// ERROR_IO_DEVICE, and no other. 0 switches off.
QV_API void fail_io(int nth);
/// Calls counted since the last fail_io with an n other than 0 (INT_MAX counts and never fails).
QV_API int io_calls();
/// Stops the clock behind GetTickCount and QueryPerformanceCounter at this many nanoseconds; negative returns to the
/// system's.
QV_API void set_clock(int64_t nanoseconds);

/// For the implementation: whether this call is the one that fails.
bool allocation_fails();
bool io_fails();
int64_t clock_nanoseconds();

} // namespace qv::platform
