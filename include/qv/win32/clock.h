// Part of qv/win32.h on POSIX: the clock and the machine. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

struct SYSTEM_INFO {
  DWORD dwOemId;
  DWORD dwPageSize;
  void* lpMinimumApplicationAddress;
  void* lpMaximumApplicationAddress;
  DWORD_PTR dwActiveProcessorMask;
  DWORD dwNumberOfProcessors;
  DWORD dwProcessorType;
  DWORD dwAllocationGranularity;
  WORD wProcessorLevel;
  WORD wProcessorRevision;
};

/// Milliseconds of the monotonic clock, modulo 2^32.
QV_WIN32(DWORD, GetTickCount, ());
QV_WIN32(BOOL, QueryPerformanceCounter, (LARGE_INTEGER * ticks));
QV_WIN32(BOOL, QueryPerformanceFrequency, (LARGE_INTEGER * ticksPerSecond));
/// Fills the page size and the number of logical processors; the other fields are 0.
QV_WIN32(void, GetSystemInfo, (SYSTEM_INFO * info));
