// Part of qv/win32.h on POSIX: files. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

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

/// Opens a file by its UTF-16 path; INVALID_HANDLE_VALUE with an error on failure. A directory gives
/// ERROR_ACCESS_DENIED. Share modes are not enforced between processes; a handle for reading alone whose share mode
/// excludes writers may read ahead. The last error is ERROR_ALREADY_EXISTS when CREATE_ALWAYS or OPEN_ALWAYS found a
/// file. One thread at a time uses a file's handle.
QV_WIN32(HANDLE, CreateFileW,
         (const WCHAR* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
          HANDLE templateFile));
/// Reads at the position, which moves behind what was read: fewer bytes only at the end of the file, which is no
/// failure. bytesRead may be null; overlapped is not looked at.
QV_WIN32(BOOL, ReadFile, (HANDLE file, void* buffer, DWORD bytes, DWORD* bytesRead, OVERLAPPED* overlapped));
/// Writes at the position, which moves behind what was written. On failure *bytesWritten (optional) is what was.
QV_WIN32(BOOL, WriteFile, (HANDLE file, const void* buffer, DWORD bytes, DWORD* bytesWritten, OVERLAPPED* overlapped));
/// Moves the position; behind the end is allowed. Without distanceHigh the distance is signed, and a position that does
/// not fit the result is refused. INVALID_SET_FILE_POINTER with an error on failure.
QV_WIN32(DWORD, SetFilePointer, (HANDLE file, LONG distance, LONG* distanceHigh, DWORD method));
QV_WIN32(BOOL, SetFilePointerEx, (HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method));
/// Cuts or extends the file to the position.
QV_WIN32(BOOL, SetEndOfFile, (HANDLE file));
QV_WIN32(BOOL, GetFileSizeEx, (HANDLE file, LARGE_INTEGER* size));
/// What was written is on the disk when this returns TRUE.
QV_WIN32(BOOL, FlushFileBuffers, (HANDLE file));
QV_WIN32(BOOL, DeleteFileW, (const WCHAR* path));
/// The new name is on the disk when this returns, where the file system lets a folder be synced. FALSE with
/// ERROR_IO_DEVICE may mean that the file was renamed and that this could not be made to last.
QV_WIN32(BOOL, MoveFileExW, (const WCHAR* from, const WCHAR* to, DWORD flags));
/// One of the FILE_ATTRIBUTE_* above, by what the file is and whether anybody may write it; INVALID_FILE_ATTRIBUTES
/// with an error for none.
QV_WIN32(DWORD, GetFileAttributesW, (const WCHAR* path));
/// FALSE when closing a file fails, as where a write is reported that late; the handle is gone even then.
QV_WIN32(BOOL, CloseHandle, (HANDLE object));
