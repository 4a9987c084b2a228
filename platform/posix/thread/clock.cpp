#include "platform/posix/seams.h"

#include "qv/win32.h"

#include <algorithm>
#include <thread>
#include <unistd.h>

using qv::platform::clock_nanoseconds;

DWORD GetTickCount() { return static_cast<DWORD>(static_cast<uint64_t>(clock_nanoseconds()) / 1'000'000); }

BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks) {
  ticks->QuadPart = clock_nanoseconds();
  return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* ticksPerSecond) {
  ticksPerSecond->QuadPart = 1'000'000'000;
  return TRUE;
}

void GetSystemInfo(SYSTEM_INFO* info) {
  *info = {};
  info->dwPageSize = static_cast<DWORD>(sysconf(_SC_PAGESIZE));
  info->dwNumberOfProcessors = std::max(1u, std::thread::hardware_concurrency());
}
