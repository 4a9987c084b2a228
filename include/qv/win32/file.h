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
#define FILE_FLAG_OPEN_REPARSE_POINT 0x00200000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define FILE_BEGIN 0u
#define FILE_CURRENT 1u
#define FILE_END 2u
#define MOVEFILE_REPLACE_EXISTING 1u
#define MOVEFILE_WRITE_THROUGH 8u
#define LOCKFILE_FAIL_IMMEDIATELY 1u
#define LOCKFILE_EXCLUSIVE_LOCK 2u
#define FILE_NAME_NORMALIZED 0u

/// Opens a file by its UTF-16 path; INVALID_HANDLE_VALUE with an error on failure. A directory gives
/// ERROR_ACCESS_DENIED, but with FILE_FLAG_BACKUP_SEMANTICS a handle that FlushFileBuffers takes: the names in it then
/// last. With FILE_FLAG_OPEN_REPARSE_POINT a symbolic link gives ERROR_CANT_RESOLVE_FILENAME, where Windows opens the
/// link itself. Share modes are not enforced between processes; a handle for reading alone whose share mode excludes
/// writers may read ahead. The last error is ERROR_ALREADY_EXISTS when CREATE_ALWAYS or OPEN_ALWAYS found a file. One
/// thread at a time uses a file's handle.
///
/// A template file, which is optional, vouches for another: a file that is made is its owner's alone to read and write,
/// and has the template's owner and group as far as the user may give it away; one that is there is opened only where
/// it is regular and nobody but this user and the template's owner can have written it, otherwise ERROR_INVALID_OWNER.
/// (Windows gives a new file the template's attributes, and looks at none for an existing one.)
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
/// With MOVEFILE_WRITE_THROUGH the new name is on the disk when this returns, where the file system lets a folder be
/// synced; FALSE with ERROR_IO_DEVICE may then mean that the file was renamed and that this could not be made to last.
/// Without MOVEFILE_REPLACE_EXISTING a name that is taken gives ERROR_ALREADY_EXISTS.
QV_WIN32(BOOL, MoveFileExW, (const WCHAR* from, const WCHAR* to, DWORD flags));
/// One of the FILE_ATTRIBUTE_* above, by what the file is and whether anybody may write it; INVALID_FILE_ATTRIBUTES
/// with an error for none.
QV_WIN32(DWORD, GetFileAttributesW, (const WCHAR* path));
/// Locks a file until its handle is closed: waits while another handle, of this process or another, holds a lock that
/// excludes this one, unless LOCKFILE_FAIL_IMMEDIATELY asks for FALSE with ERROR_LOCK_VIOLATION. Without
/// LOCKFILE_EXCLUSIVE_LOCK a lock is shared. On Windows the lock is on the range of bytes, which others can then not
/// read or write, and ends where nobody writes: give one far behind the file's end. Here it is on the file whatever the
/// range, hinders only those who ask for a lock (flock), and a file system without locks answers TRUE.
QV_WIN32(BOOL, LockFileEx,
         (HANDLE file, DWORD flags, DWORD reserved, DWORD bytesLow, DWORD bytesHigh, OVERLAPPED* place));
/// The path of an open file, with no symbolic link in it, and without the prefix that Windows puts in front. The number
/// of units without the closing zero; more than `units` holds give the number with it, and nothing is written. 0 with
/// an error, ERROR_FILE_NOT_FOUND when the file is no longer under the name by which it was opened, because another has
/// taken it, say (Windows then knows the new name). `flags` is FILE_NAME_NORMALIZED.
QV_WIN32(DWORD, GetFinalPathNameByHandleW, (HANDLE file, WCHAR* path, DWORD units, DWORD flags));
/// FALSE when closing a file fails, as where a write is reported that late; the handle is gone even then.
QV_WIN32(BOOL, CloseHandle, (HANDLE object));
