// Part of qv/win32.h on POSIX: critical sections, events, threads, and waiting. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0u
#define WAIT_IO_COMPLETION 192u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64u
#define STILL_ACTIVE 259u

/// Re-entrant. Holds no pointer into itself: its bytes may be moved while nobody is inside. As large as on Windows, so
/// that the public records that hold one have one layout everywhere.
struct CRITICAL_SECTION {
  void* lock;
  void* reserved[4];
};

QV_WIN32(void, InitializeCriticalSection, (CRITICAL_SECTION * section));
/// FALSE with ERROR_NOT_ENOUGH_MEMORY when memory is short. The spin count is ignored.
QV_WIN32(BOOL, InitializeCriticalSectionAndSpinCount, (CRITICAL_SECTION * section, DWORD spinCount));
QV_WIN32(void, EnterCriticalSection, (CRITICAL_SECTION * section));
QV_WIN32(BOOL, TryEnterCriticalSection, (CRITICAL_SECTION * section));
QV_WIN32(void, LeaveCriticalSection, (CRITICAL_SECTION * section));
QV_WIN32(void, DeleteCriticalSection, (CRITICAL_SECTION * section));

/// Named events are not supported: a name gives null with ERROR_NOT_SUPPORTED.
QV_WIN32(HANDLE, CreateEventW,
         (SECURITY_ATTRIBUTES * security, BOOL manualReset, BOOL initialState, const WCHAR* name));
QV_WIN32(BOOL, SetEvent, (HANDLE event));
QV_WIN32(BOOL, ResetEvent, (HANDLE event));

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(void*);

/// The stack size and the creation flags must be 0 (the system's default, running at once).
QV_WIN32(HANDLE, CreateThread,
         (SECURITY_ATTRIBUTES * security, SIZE_T stackBytes, LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
          DWORD* threadId));
QV_WIN32(BOOL, GetExitCodeThread, (HANDLE thread, DWORD* exitCode));
QV_WIN32(DWORD, GetCurrentThreadId, ());
QV_WIN32(void, Sleep, (DWORD milliseconds));

/// Events and threads can be waited on, 1 to 64 at a time, each handle at most once.
/// WAIT_OBJECT_0 + index of the object that ended the wait (0 when all were waited for), WAIT_TIMEOUT, or WAIT_FAILED
/// with an error.
QV_WIN32(DWORD, WaitForSingleObject, (HANDLE object, DWORD milliseconds));
QV_WIN32(DWORD, WaitForMultipleObjects, (DWORD count, const HANDLE* objects, BOOL waitAll, DWORD milliseconds));

#define QS_SENDMESSAGE 0x40u
#define MWMO_WAITALL 1u
#define MWMO_ALERTABLE 2u
#define MWMO_INPUTAVAILABLE 4u
#define PM_NOREMOVE 0u
#define PM_QS_SENDMESSAGE (QS_SENDMESSAGE << 16)

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};

/// Threads have no input and no asynchronous procedure calls here: the wake mask and MWMO_ALERTABLE change nothing,
/// and MWMO_WAITALL waits for the objects alone. At most 63 objects.
QV_WIN32(DWORD, MsgWaitForMultipleObjectsEx,
         (DWORD count, const HANDLE* objects, DWORD milliseconds, DWORD wakeMask, DWORD flags));
/// FALSE: there are no messages here.
QV_WIN32(BOOL, PeekMessageW, (MSG * message, HWND window, UINT first, UINT last, UINT flags));
