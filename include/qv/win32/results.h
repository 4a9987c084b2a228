// Part of qv/win32.h on POSIX: results and the last error. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

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
/// An error of the system as a result; success stays what it is.
#define HRESULT_FROM_WIN32(error)                                                                                      \
  (static_cast<HRESULT>((error) == 0 ? 0u : 0x80070000u | (static_cast<uint32_t>(error) & 0xFFFFu)))

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
#define ERROR_LOCK_VIOLATION 33u
#define ERROR_HANDLE_EOF 38u
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
#define ERROR_INVALID_OWNER 1307u
#define ERROR_CANT_RESOLVE_FILENAME 1921u

/// The calling thread's last error: what a function that failed has set, or SetLastError.
QV_WIN32(DWORD, GetLastError, ());
QV_WIN32(void, SetLastError, (DWORD error));
