// Settings ("metrics"): numbered, typed values per application and version, in the registry of the current user.
//
//     HQVMETRIC settings = nullptr;
//     QvMetric_Open(&settings, QV_TEXT("Editor"), 0x01020000, nullptr);  // Software\QvKernel\Editor\1.2\Metrics
//     DWORD zoom = QvGetMetricEx(settings, 7, 1, 100, 50);               // limited to 1 .. 100; 50 when absent
//     QvSetMetric(settings, 7, zoom);
//     QvMetric_Close(settings);
//
// A value is named by a number n and a registry type, see QvMetricGetName; n and -n are the same value. `version` has
// the major number in bits 24-31 and the minor one in bits 16-23; a major number of 0 means a path without version:
//
//     Software\COMPANY\APPLICATION\MAJOR.MINOR\Metrics      Software\COMPANY\APPLICATION\Metrics
//
// The company is "QvKernel" unless an argument names it. Paths have at most 259 characters: one that is longer opens no
// key (ERROR_FILENAME_EXCED_RANGE as a result) and deletes none. Company and application must not be empty.
//
// QVMETRIC_DEFAULT stands for the process's default handle in every getter and in what says so; where it is not
// accepted, functions behave as without a handle. Getters never fail: they return 0, the default, or zeroed buffers.
// Setters and deleters give E_FAIL for any registry error and for a missing handle or key. What the store holds is not
// trusted: texts are cut and terminated, types and sizes are checked.
//
// Threads: a handle is used by one thread at a time. The default handle is set once at start-up.
#pragma once

#include "qv/result.h"

struct QVMETRIC;
typedef QVMETRIC* HQVMETRIC;

/// The process's default handle.
#define QVMETRIC_DEFAULT (reinterpret_cast<HQVMETRIC>(static_cast<INT_PTR>(-1)))

// ---- handles -------------------------------------------------------------------------------------------------------

/// Opens, and creates where they are missing, the key of an application and its sub-key (null or empty: none). A
/// registry error e gives 0x80070000 | (e & 0xFFFF); the handle is stored all the same, has no key, and is closed by
/// the caller in every case. E_OUTOFMEMORY, and E_INVALIDARG for a null or empty argument: *handle is null.
QV_FUNCTION HRESULT QvMetric_Open(HQVMETRIC* handle, const WCHAR* application, DWORD version, const WCHAR* subKey);
QV_FUNCTION HRESULT QvMetric_OpenRegHiveAndVersion(HQVMETRIC* handle, const WCHAR* application, DWORD version,
                                                   const WCHAR* company, const WCHAR* subKey);
/// path: of the key, relative to HKEY_CURRENT_USER.
QV_FUNCTION HRESULT QvMetric_OpenAppVersion(HQVMETRIC* handle, const WCHAR* path, const WCHAR* subKey);
/// A sub-key directly below the parent's Metrics key, whatever sub-key the parent has. E_FAIL: a null parent.
QV_FUNCTION HRESULT QvMetric_OpenSubKey(HQVMETRIC* handle, HQVMETRIC parent, const WCHAR* subKey);
/// S_OK. Null is accepted, QVMETRIC_DEFAULT left alone.
QV_FUNCTION HRESULT QvMetric_Close(HQVMETRIC handle);
/// Closes the handle and deletes its key with everything below it, as far as it can be: S_OK. E_FAIL: null or
/// QVMETRIC_DEFAULT.
QV_FUNCTION HRESULT QvMetric_CloseAndDeleteKey(HQVMETRIC handle);
/// Sets the default handle, which stays the caller's, and returns the previous one. For start-up; null takes it away.
QV_FUNCTION HQVMETRIC QvMetric_SetDefault(HQVMETRIC handle);

// ---- deleting keys: S_OK always ------------------------------------------------------------------------------------

/// Deletes an application's key, or that of one version of it, with everything below it, from HKEY_LOCAL_MACHINE and
/// HKEY_CURRENT_USER.
QV_FUNCTION HRESULT QvMetric_DeleteAll(const WCHAR* application, DWORD version);
QV_FUNCTION HRESULT QvMetric_DeleteAllHiveAndVersion(const WCHAR* application, DWORD version, const WCHAR* company);
/// The same from HKEY_CURRENT_USER only.
QV_FUNCTION HRESULT QvMetric_DeleteUserMetrics(const WCHAR* application, DWORD version);
/// Deletes the Metrics key, or its sub-key where one is named, from both.
QV_FUNCTION HRESULT QvMetric_DeleteKey(const WCHAR* application, DWORD version, const WCHAR* subKey);
QV_FUNCTION HRESULT QvMetric_DeleteKeyHiveAndVersion(const WCHAR* application, DWORD version, const WCHAR* company,
                                                     const WCHAR* subKey);
/// Deletes a key with everything below it, up to the first that cannot be deleted. A registry error: ERROR_SUCCESS,
/// ERROR_FILE_NOT_FOUND, ERROR_INVALID_PARAMETER for a null or empty path, ...
QV_FUNCTION LONG QvRegDeleteKey(HKEY root, const WCHAR* path);

// ---- value names ---------------------------------------------------------------------------------------------------

/// Characters of the longest name, with its terminator: "S-2147483648".
inline constexpr DWORD QVMETRIC_NAME_CHARS = 13;

/// Writes the documented name of a value: "D%d" for REG_DWORD (the accessors themselves use "%d"), "S%d" for REG_SZ,
/// "B%d" for REG_BINARY, "Z%d" for any other type. E_POINTER for a null name.
QV_FUNCTION HRESULT QvMetricGetName(LONG n, DWORD type, WCHAR* name);

// ---- numbers -------------------------------------------------------------------------------------------------------

/// The value, or 0 when it is absent or not of 4 bytes.
QV_FUNCTION DWORD QvGetMetric(HQVMETRIC handle, LONG n);
/// The value, or `absent`, limited to minimum .. maximum in signed comparisons; not limited when they are equal.
QV_FUNCTION DWORD QvGetMetricEx(HQVMETRIC handle, LONG n, LONG minimum, LONG maximum, DWORD absent);
QV_FUNCTION BOOL QvGetMetricBool(HQVMETRIC handle, LONG n, BOOL absent);
/// Accepts QVMETRIC_DEFAULT.
QV_FUNCTION HRESULT QvSetMetric(HQVMETRIC handle, LONG n, DWORD value);

// ---- bytes ---------------------------------------------------------------------------------------------------------

/// Bytes read; the rest of the buffer is zeroed. 0 with a zeroed buffer when the value is absent, of another type or
/// larger than the buffer.
QV_FUNCTION DWORD QvGetMetricBinary(HQVMETRIC handle, LONG n, void* buffer, DWORD size);
/// S_OK and the bytes read, the rest zeroed; QVERR_MOREDATA and the bytes needed; S_FALSE and 0 with a zeroed buffer
/// when absent or of another type; QVERR_RIFF_NOTFOUND without handle or key; E_INVALIDARG for a null `bytes`. A null
/// buffer with size 0 asks for the size.
QV_FUNCTION HRESULT QvGetMetricBinaryEx(HQVMETRIC handle, LONG n, void* buffer, DWORD size, DWORD* bytes);
/// Refuses QVMETRIC_DEFAULT.
QV_FUNCTION HRESULT QvSetMetricBinary(HQVMETRIC handle, LONG n, const void* data, DWORD size);
/// Writes the value to the stream where it stands. E_POINTER: a null stream. E_UNEXPECTED: an empty or absent value.
/// E_OUTOFMEMORY, or the stream's own failure.
QV_FUNCTION HRESULT QvGetMetricStream(HQVMETRIC handle, LONG n, IStream* stream);
/// Stores the whole stream from its start; it then stands at its end. E_POINTER: a null stream. E_FAIL:
/// QVMETRIC_DEFAULT, a stream of 4 GiB or more, a registry error. E_OUTOFMEMORY, or the stream's own failure.
QV_FUNCTION HRESULT QvSetMetricStream(HQVMETRIC handle, LONG n, IStream* stream);

// ---- texts ---------------------------------------------------------------------------------------------------------

/// The text in the buffer of `capacity` characters, the rest zeroed; returns its length, which is that of the stored
/// value less its terminator. Absent, larger than the buffer, of another type, or empty without keepEmpty: the default
/// text (optional), cut to the capacity, and its length.
QV_FUNCTION DWORD QvGetMetricStringEx(HQVMETRIC handle, LONG n, WCHAR* buffer, DWORD capacity, const WCHAR* absent,
                                      BOOL keepEmpty);
/// Refuses QVMETRIC_DEFAULT and a null text.
QV_FUNCTION HRESULT QvSetMetricString(HQVMETRIC handle, LONG n, const WCHAR* text);
/// Texts one behind the other, each with its terminator, and a last terminator. Returns the characters stored less
/// one; 0 with a zeroed buffer when absent, larger than the buffer or of another type. What is read always ends with
/// two terminators where the capacity allows.
QV_FUNCTION DWORD QvGetMetricMultiStringEx(HQVMETRIC handle, LONG n, WCHAR* buffer, DWORD capacity);
/// count: characters, terminators included. Refuses QVMETRIC_DEFAULT and a null pointer.
QV_FUNCTION HRESULT QvSetMetricMultiString(HQVMETRIC handle, LONG n, const WCHAR* texts, DWORD count);

// ---- any type ------------------------------------------------------------------------------------------------------

/// Reads the value of number n and *type as it is stored. In: *type chooses the name, *size is the buffer's bytes.
/// Out: the type stored and the bytes read or needed. Results as QvGetMetricBinaryEx, but any type is read and the
/// rest of the buffer is left alone. E_INVALIDARG: a null type or size.
QV_FUNCTION HRESULT QvGetMetricAny(HQVMETRIC handle, LONG n, DWORD* type, void* buffer, DWORD* size);
/// S_OK when a value of that number exists with that type, else S_FALSE.
QV_FUNCTION HRESULT QvDoesMetricExist(HQVMETRIC handle, LONG n, DWORD type);
/// Accepts QVMETRIC_DEFAULT.
QV_FUNCTION HRESULT QvDeleteMetric(HQVMETRIC handle, LONG n, DWORD type);
/// Deletes the value of that name; the type is ignored.
QV_FUNCTION HRESULT QvDeleteMetricUsingName(HQVMETRIC handle, const WCHAR* name, DWORD type);
/// As QvGetMetric and QvSetMetric, for a value named by its text.
QV_FUNCTION DWORD QvGetMetricUsingName(HQVMETRIC handle, const WCHAR* name);
QV_FUNCTION HRESULT QvSetMetricUsingName(HQVMETRIC handle, const WCHAR* name, DWORD value);
