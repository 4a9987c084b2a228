// POSIX side of qv/win32.h: do not include it directly.
//
// Widths are those of 64-bit Windows (LONG, DWORD and HRESULT are 32 bits). Each function behaves as published for
// Windows unless its comment says otherwise. All functions may be called from any thread.
#pragma once

#include "qv/export.h"

#include <cstddef>
#include <cstdint>

// ---- types ---------------------------------------------------------------------------------------------------------

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
struct OVERLAPPED;

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(intptr_t{-1}))
#define WINAPI
#define CALLBACK

// ---- results -------------------------------------------------------------------------------------------------------

#define S_OK (HRESULT{0})
#define S_FALSE (HRESULT{1})
#define E_NOTIMPL (static_cast<HRESULT>(0x80004001u))
#define E_POINTER (static_cast<HRESULT>(0x80004003u))
#define E_FAIL (static_cast<HRESULT>(0x80004005u))
#define E_UNEXPECTED (static_cast<HRESULT>(0x8000FFFFu))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000Eu))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057u))
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)

#define ERROR_SUCCESS 0u
#define ERROR_FILE_NOT_FOUND 2u
#define ERROR_PATH_NOT_FOUND 3u
#define ERROR_TOO_MANY_OPEN_FILES 4u
#define ERROR_ACCESS_DENIED 5u
#define ERROR_INVALID_HANDLE 6u
#define ERROR_NOT_ENOUGH_MEMORY 8u
#define ERROR_WRITE_PROTECT 19u
#define ERROR_GEN_FAILURE 31u
#define ERROR_SHARING_VIOLATION 32u
#define ERROR_HANDLE_DISK_FULL 39u
#define ERROR_NOT_SUPPORTED 50u
#define ERROR_FILE_EXISTS 80u
#define ERROR_INVALID_PARAMETER 87u
#define ERROR_DISK_FULL 112u
#define ERROR_INSUFFICIENT_BUFFER 122u
#define ERROR_NEGATIVE_SEEK 131u
#define ERROR_DIR_NOT_EMPTY 145u
#define ERROR_ALREADY_EXISTS 183u
#define ERROR_FILENAME_EXCED_RANGE 206u
#define ERROR_MORE_DATA 234u
#define ERROR_NO_MORE_ITEMS 259u
#define ERROR_NOT_OWNER 288u
#define ERROR_NO_UNICODE_TRANSLATION 1113u
#define ERROR_BADDB 1009u
#define ERROR_BADKEY 1010u
#define ERROR_REGISTRY_CORRUPT 1015u
#define ERROR_REGISTRY_IO_FAILED 1016u
#define ERROR_KEY_DELETED 1018u
#define ERROR_IO_DEVICE 1117u

/// Declares a POSIX implementation under the symbol qvw32_<name>.
#define QV_WIN32(result, name, arguments) extern "C" QV_API result name arguments __asm__("qvw32_" #name)

QV_WIN32(DWORD, GetLastError, ());
QV_WIN32(void, SetLastError, (DWORD error));

// ---- files ---------------------------------------------------------------------------------------------------------

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 1u
#define FILE_SHARE_WRITE 2u
#define FILE_SHARE_DELETE 4u
#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define TRUNCATE_EXISTING 5u
#define FILE_ATTRIBUTE_READONLY 0x1u
#define FILE_ATTRIBUTE_DIRECTORY 0x10u
#define FILE_ATTRIBUTE_DEVICE 0x40u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define FILE_BEGIN 0u
#define FILE_CURRENT 1u
#define FILE_END 2u
#define MOVEFILE_REPLACE_EXISTING 1u

/// Opens a file by its UTF-16 path. A directory gives ERROR_ACCESS_DENIED. Share modes are not enforced between
/// processes; a handle for reading alone whose share mode excludes writers may read ahead.
QV_WIN32(HANDLE, CreateFileW,
         (const WCHAR* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
          HANDLE templateFile));
QV_WIN32(BOOL, ReadFile, (HANDLE file, void* buffer, DWORD bytes, DWORD* bytesRead, OVERLAPPED* overlapped));
QV_WIN32(BOOL, WriteFile, (HANDLE file, const void* buffer, DWORD bytes, DWORD* bytesWritten, OVERLAPPED* overlapped));
QV_WIN32(DWORD, SetFilePointer, (HANDLE file, LONG distance, LONG* distanceHigh, DWORD method));
QV_WIN32(BOOL, SetFilePointerEx, (HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method));
QV_WIN32(BOOL, SetEndOfFile, (HANDLE file));
QV_WIN32(BOOL, GetFileSizeEx, (HANDLE file, LARGE_INTEGER* size));
/// What was written is on the disk when this returns TRUE.
QV_WIN32(BOOL, FlushFileBuffers, (HANDLE file));
QV_WIN32(BOOL, DeleteFileW, (const WCHAR* path));
/// The new name is on the disk when this returns, where the file system lets a folder be synced. FALSE with
/// ERROR_IO_DEVICE may mean that the file was renamed and that this could not be made to last.
QV_WIN32(BOOL, MoveFileExW, (const WCHAR* from, const WCHAR* to, DWORD flags));
QV_WIN32(DWORD, GetFileAttributesW, (const WCHAR* path));
/// FALSE when closing a file fails, as where a write is reported that late; the handle is gone even then.
QV_WIN32(BOOL, CloseHandle, (HANDLE object));

// ---- memory --------------------------------------------------------------------------------------------------------

#define GMEM_FIXED 0x0u
#define GMEM_MOVEABLE 0x2u
#define GMEM_ZEROINIT 0x40u
#define GMEM_LOCKCOUNT 0xFFu
#define GMEM_INVALID_HANDLE 0x8000u
#define GHND 0x42u
#define GPTR 0x40u

QV_WIN32(HGLOBAL, GlobalAlloc, (UINT flags, SIZE_T bytes));
QV_WIN32(void*, GlobalLock, (HGLOBAL block));
/// Answers whether the block is still locked; the last unlock answers 0 with ERROR_SUCCESS.
QV_WIN32(BOOL, GlobalUnlock, (HGLOBAL block));
/// The handle of a block from the pointer that GlobalLock (or GMEM_FIXED) gave.
QV_WIN32(HGLOBAL, GlobalHandle, (const void* memory));
QV_WIN32(SIZE_T, GlobalSize, (HGLOBAL block));
QV_WIN32(UINT, GlobalFlags, (HGLOBAL block));
/// Null on success, the handle itself when it is none.
QV_WIN32(HGLOBAL, GlobalFree, (HGLOBAL block));
/// Resizes a block where it is: makes it smaller, or as large as its memory was before. GMEM_MOVEABLE lets a fixed
/// block move instead. With GMEM_ZEROINIT new bytes are zero. Null when it cannot be had, and the block is as it was.
QV_WIN32(HGLOBAL, GlobalReAlloc, (HGLOBAL block, SIZE_T bytes, UINT flags));

#define HEAP_NO_SERIALIZE 0x1u
#define HEAP_ZERO_MEMORY 0x8u

/// A private heap, whose blocks are freed one by one or all with it. It grows without limit (maximum must be 0) and is
/// used by one thread at a time, whatever the flags.
QV_WIN32(HANDLE, HeapCreate, (DWORD flags, SIZE_T initial, SIZE_T maximum));
QV_WIN32(BOOL, HeapDestroy, (HANDLE heap));
QV_WIN32(void*, HeapAlloc, (HANDLE heap, DWORD flags, SIZE_T bytes));
/// The block moves if it must; the old one stays when null is answered.
QV_WIN32(void*, HeapReAlloc, (HANDLE heap, DWORD flags, void* block, SIZE_T bytes));
QV_WIN32(BOOL, HeapFree, (HANDLE heap, DWORD flags, void* block));
/// The bytes asked for; SIZE_MAX for null.
QV_WIN32(SIZE_T, HeapSize, (HANDLE heap, DWORD flags, const void* block));
/// Bytes that may be used of a block of the C runtime: what was asked for, rounded up by the allocator.
QV_WIN32(SIZE_T, _msize, (void* block));
/// Whether one of `bytes` bytes from the address on cannot be read. Never faults.
QV_WIN32(BOOL, IsBadReadPtr, (const void* memory, UINT_PTR bytes));

// ---- critical sections, events, threads, waiting -------------------------------------------------------------------

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

// ---- clock and machine ---------------------------------------------------------------------------------------------

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

// ---- text and locale -----------------------------------------------------------------------------------------------

#define CP_ACP 0u
#define CP_UTF8 65001u
#define MB_PRECOMPOSED 1u
#define MB_ERR_INVALID_CHARS 8u
#define LOCALE_USER_DEFAULT 0x400u
#define LOCALE_SNAME 0x5Cu
#define LOCALE_SLIST 0x0Cu
#define LOCALE_SDECIMAL 0x0Eu
#define LOCALE_STHOUSAND 0x0Fu
#define LOCALE_SGROUPING 0x10u
#define LOCALE_STIME 0x1Eu

/// Code pages CP_ACP (1252) and CP_UTF8. The five codes that 1252 leaves undefined map to U+0081, 8D, 8F, 90 and 9D.
QV_WIN32(int, MultiByteToWideChar,
         (UINT codePage, DWORD flags, const char* bytes, int byteCount, WCHAR* text, int textCapacity));
/// What code page 1252 lacks becomes '?' (or *fallback).
QV_WIN32(int, WideCharToMultiByte,
         (UINT codePage, DWORD flags, const WCHAR* text, int textCount, char* bytes, int byteCapacity,
          const char* fallback, BOOL* usedFallback));
/// The locale of the user's environment (LC_ALL, LC_NUMERIC, LC_TIME, LANG); C and POSIX count as en-US. Serves the
/// LOCALE_S* names above. Answers characters written, terminator included; with capacity 0 the count needed.
QV_WIN32(int, GetLocaleInfoW, (LCID locale, LCTYPE type, WCHAR* text, int capacity));

// ---- audio formats -------------------------------------------------------------------------------------------------

#define WAVE_FORMAT_UNKNOWN 0x0000u
#define WAVE_FORMAT_PCM 0x0001u
#define WAVE_FORMAT_IEEE_FLOAT 0x0003u
#define WAVE_FORMAT_EXTENSIBLE 0xFFFEu

#pragma pack(push, 1)

/// 18 bytes, followed by cbSize bytes of the format's own.
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};

struct WAVEFORMATEXTENSIBLE {
  WAVEFORMATEX Format;
  union {
    WORD wValidBitsPerSample;
    WORD wSamplesPerBlock;
    WORD wReserved;
  } Samples;
  DWORD dwChannelMask;
  GUID SubFormat;
};

#pragma pack(pop)

static_assert(sizeof(WAVEFORMATEX) == 18 && sizeof(WAVEFORMATEXTENSIBLE) == 40);

#define ACMFORMATTAGDETAILS_FORMATTAG_CHARS 48
#define ACMFORMATDETAILS_FORMAT_CHARS 128
#define ACM_FORMATTAGDETAILSF_FORMATTAG 1u
#define ACM_FORMATDETAILSF_FORMAT 1u
#define MMSYSERR_NOERROR 0u
#define MMSYSERR_INVALPARAM 11u
#define ACMERR_NOTPOSSIBLE 512u

struct ACMFORMATTAGDETAILSW {
  DWORD cbStruct;
  DWORD dwFormatTagIndex;
  DWORD dwFormatTag;
  DWORD cbFormatSize;
  DWORD fdwSupport;
  DWORD cStandardFormats;
  WCHAR szFormatTag[ACMFORMATTAGDETAILS_FORMATTAG_CHARS];
};

struct ACMFORMATDETAILSW {
  DWORD cbStruct;
  DWORD dwFormatIndex;
  DWORD dwFormatTag;
  DWORD fdwSupport;
  WAVEFORMATEX* pwfx;
  DWORD cbwfx;
  WCHAR szFormat[ACMFORMATDETAILS_FORMAT_CHARS];
};

/// The name of a registered format tag; ACMERR_NOTPOSSIBLE for a tag that is not in the table of names.
QV_WIN32(MMRESULT, acmFormatTagDetailsW, (HACMDRIVER driver, ACMFORMATTAGDETAILSW* details, DWORD flags));
/// Rate, bits and channels of a format whose tag has a name, in words; ACMERR_NOTPOSSIBLE otherwise.
QV_WIN32(MMRESULT, acmFormatDetailsW, (HACMDRIVER driver, ACMFORMATDETAILSW* details, DWORD flags));
