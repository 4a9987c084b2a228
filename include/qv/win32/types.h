// Part of qv/win32.h on POSIX: types. Do not include it directly.
//
// Widths are those of 64-bit Windows (LONG, DWORD and HRESULT are 32 bits). In the headers beside this one each
// function behaves as published for Windows unless its comment says otherwise. All functions may be called from any
// thread.
#pragma once

#include "qv/export.h"

#include <cstddef>
#include <cstdint>

using BOOL = int32_t;
using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using INT = int32_t;
using UINT = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using SIZE_T = size_t;
using INT_PTR = intptr_t;
using UINT_PTR = uintptr_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using DWORD_PTR = uintptr_t;
using HRESULT = int32_t;
using LCID = uint32_t;
using LCTYPE = uint32_t;
using MMRESULT = uint32_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using WCHAR = char16_t;
using HANDLE = void*;
using HGLOBAL = void*;
using HACMDRIVER = void*;
using HWND = void*;
using LPVOID = void*;

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct POINT {
  LONG x;
  LONG y;
};

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};

struct SECURITY_ATTRIBUTES;

/// A place in a file; only LockFileEx looks at it.
struct OVERLAPPED {
  ULONG_PTR Internal;
  ULONG_PTR InternalHigh;
  DWORD Offset;
  DWORD OffsetHigh;
  HANDLE hEvent;
};

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(intptr_t{-1}))
#define WINAPI
#define CALLBACK

/// Declares a POSIX implementation under the symbol qvw32_<name>.
#define QV_WIN32(result, name, arguments) extern "C" QV_API result name arguments __asm__("qvw32_" #name)
