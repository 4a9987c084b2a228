// Part of qv/win32.h on POSIX: global memory, private heaps, and questions about memory. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

#define GMEM_FIXED 0x0u
#define GMEM_MOVEABLE 0x2u
#define GMEM_ZEROINIT 0x40u
#define GMEM_LOCKCOUNT 0xFFu
#define GMEM_INVALID_HANDLE 0x8000u
#define GHND 0x42u
#define GPTR 0x40u

/// A block of the process, the caller's to free; null with ERROR_NOT_ENOUGH_MEMORY. GMEM_MOVEABLE gives a handle that
/// GlobalLock turns into a pointer, anything else the pointer itself; GMEM_ZEROINIT clears the bytes.
QV_WIN32(HGLOBAL, GlobalAlloc, (UINT flags, SIZE_T bytes));
/// The block's bytes; null for what is no block. Locks of a moveable block are counted up to 255.
QV_WIN32(void*, GlobalLock, (HGLOBAL block));
/// Returns whether the block is still locked; the last unlock returns 0 with ERROR_SUCCESS.
QV_WIN32(BOOL, GlobalUnlock, (HGLOBAL block));
/// The handle of a block from the pointer that GlobalLock (or GMEM_FIXED) gave.
QV_WIN32(HGLOBAL, GlobalHandle, (const void* memory));
/// The bytes asked for; 0 for what is no block.
QV_WIN32(SIZE_T, GlobalSize, (HGLOBAL block));
/// The count of locks; GMEM_INVALID_HANDLE for what is no block.
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
/// The block moves if it must; the old one stays when null is returned.
QV_WIN32(void*, HeapReAlloc, (HANDLE heap, DWORD flags, void* block, SIZE_T bytes));
QV_WIN32(BOOL, HeapFree, (HANDLE heap, DWORD flags, void* block));
/// The bytes asked for; SIZE_MAX for null.
QV_WIN32(SIZE_T, HeapSize, (HANDLE heap, DWORD flags, const void* block));
/// Bytes that may be used of a block of the C runtime: what was asked for, rounded up by the allocator.
QV_WIN32(SIZE_T, _msize, (void* block));
/// Whether one of `bytes` bytes from the address on cannot be read. Never faults.
QV_WIN32(BOOL, IsBadReadPtr, (const void* memory, UINT_PTR bytes));
