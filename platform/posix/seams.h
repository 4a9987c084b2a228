// Seams for tests of the POSIX platform layer: a settable clock, failures on the n-th call, and the system's calls
// behind files. Not for applications.
//
// They hold for the whole process. A seam that is not set costs one relaxed load.
#pragma once

#include "qv/export.h"

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

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

/// The system's calls behind files and folders, each of which returns what the system's does: -1 with errno on failure.
struct FileCalls {
  ssize_t (*read)(int descriptor, void* buffer, size_t bytes, int64_t position);
  ssize_t (*write)(int descriptor, const void* buffer, size_t bytes, int64_t position);
  int (*sync)(int descriptor);
  int (*close)(int descriptor);
  int (*open)(const char* path, int flags, unsigned mode);
  int (*cut)(int descriptor, int64_t length);
  int (*rename)(const char* from, const char* to, unsigned flags);
  int (*remove)(const char* path);
};
QV_API extern const FileCalls kSystemFileCalls;
/// Puts calls in place of the system's, from now on and until null is given. They stay the caller's.
QV_API void set_file_calls(const FileCalls* calls);

/// For the implementation: whether this call is the one that fails.
bool allocation_fails();
bool io_fails();
int64_t clock_nanoseconds();
const FileCalls& file_calls();

} // namespace qv::platform
