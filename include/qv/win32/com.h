// The COM interfaces that the library uses, on POSIX: do not include it directly.
#pragma once

#include "qv/win32/types.h"

#include <cstring>

#define STDMETHODCALLTYPE

using IID = GUID;
using REFIID = const IID&;

inline bool IsEqualGUID(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator==(const GUID& a, const GUID& b) { return IsEqualGUID(a, b); }

#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002u))
#define STG_E_INVALIDFUNCTION (static_cast<HRESULT>(0x80030001u))
#define STG_E_MEDIUMFULL (static_cast<HRESULT>(0x80030070u))
#define STG_E_INVALIDPOINTER (static_cast<HRESULT>(0x80030009u))

inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ISequentialStream{
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

protected:
  ~IUnknown() = default;
};

struct ISequentialStream : IUnknown {
  virtual HRESULT Read(void* bytes, ULONG count, ULONG* read) = 0;
  virtual HRESULT Write(const void* bytes, ULONG count, ULONG* written) = 0;

protected:
  ~ISequentialStream() = default;
};

#define STREAM_SEEK_SET 0u
#define STREAM_SEEK_CUR 1u
#define STREAM_SEEK_END 2u
#define STATFLAG_NONAME 1u
#define STGTY_STREAM 2u

struct STATSTG {
  WCHAR* pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  GUID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

struct IStream : ISequentialStream {
  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* stream, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT Stat(STATSTG* status, DWORD flags) = 0;
  virtual HRESULT Clone(IStream** stream) = 0;

protected:
  ~IStream() = default;
};
