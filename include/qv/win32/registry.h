// The Win32 registry on POSIX: do not include it directly.
//
// One SQLite database per user, $QV_REGISTRY or $XDG_CONFIG_HOME/QvKernel/registry.db ($HOME/.config where that is
// unset or relative), holds both roots. It is created, for its user alone, by the first key that is, and may be used by
// several processes at once. Triggers and views that others added to it are not run. A key keeps its store open: each
// path is opened once per process while keys of it are open.
//
// Key and value names are case-insensitive and keep the case of their first writing; a component has at most 255
// characters. Keys are separated by backslashes; a path that begins with one is not valid, doubled ones count once.
// Functions return registry errors:
//
//   ERROR_FILE_NOT_FOUND      no such key or value
//   ERROR_INVALID_HANDLE      not an open key
//   ERROR_KEY_DELETED         the key was deleted while open
//   ERROR_MORE_DATA           the buffer is too small
//   ERROR_ACCESS_DENIED       the store cannot be read or written by this user, or the key has sub-keys
//   ERROR_BADDB               the store is damaged, or is no database of the registry's
//   ERROR_REGISTRY_IO_FAILED  reading or writing the store failed, or it stayed locked for long
//   ERROR_DISK_FULL, ERROR_NOT_ENOUGH_MEMORY, ERROR_INVALID_PARAMETER
//
// A change is whole or not done, whatever ends the process. Functions may be called from any thread; a key is closed
// once and while nobody uses it. Keys are not to be used in a child after fork.
#pragma once

#include "qv/win32/types.h"

struct HKEY__;
using HKEY = HKEY__*;
using REGSAM = DWORD;

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(uintptr_t{0x80000001}))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(uintptr_t{0x80000002}))

#define KEY_QUERY_VALUE 0x1u
#define KEY_SET_VALUE 0x2u
#define KEY_READ 0x20019u
#define KEY_WRITE 0x20006u
#define KEY_ALL_ACCESS 0xF003Fu

#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
#define REG_QWORD 11u

/// Opens a key and creates what is missing of its path; a null or empty path is the key itself, opened again.
/// *key is null on failure.
QV_WIN32(LONG, RegCreateKeyW, (HKEY parent, const WCHAR* path, HKEY* key));
/// Opens a key; `options` must be 0. The access asked for is not enforced: a store that cannot be written fails where
/// it is written to.
QV_WIN32(LONG, RegOpenKeyExW, (HKEY parent, const WCHAR* path, DWORD options, REGSAM access, HKEY* key));
/// A root needs no closing: ERROR_SUCCESS.
QV_WIN32(LONG, RegCloseKey, (HKEY key));
/// name: null or empty is the key's own value. data null: *bytes (optional) is the size needed. ERROR_MORE_DATA sets
/// *bytes and *type and leaves the buffer. The bytes are those that were stored, terminated or not.
QV_WIN32(LONG, RegQueryValueExW, (HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* bytes));
QV_WIN32(LONG, RegSetValueExW,
         (HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data, DWORD bytes));
QV_WIN32(LONG, RegDeleteValueW, (HKEY key, const WCHAR* name));
/// Deletes a key with its values; ERROR_ACCESS_DENIED while it has sub-keys.
QV_WIN32(LONG, RegDeleteKeyW, (HKEY parent, const WCHAR* path));
/// The index-th sub-key or value in the order of names; ERROR_NO_MORE_ITEMS behind the last. *nameCapacity: characters,
/// terminator included; out: without. keyClass must be null; writeTime (optional) is zeroed.
QV_WIN32(LONG, RegEnumKeyExW,
         (HKEY key, DWORD index, WCHAR* name, DWORD* nameCapacity, DWORD* reserved, WCHAR* keyClass,
          DWORD* keyClassCapacity, FILETIME* writeTime));
QV_WIN32(LONG, RegEnumValueW,
         (HKEY key, DWORD index, WCHAR* name, DWORD* nameCapacity, DWORD* reserved, DWORD* type, BYTE* data,
          DWORD* bytes));
