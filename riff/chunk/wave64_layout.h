// Chunks as Wave64 files have them.
#pragma once

#include "riff/chunk/file_cursor.h"

#include "qv/riff64.h"

namespace qv::riff {

/// What a stored size, which includes a header, says of the data: 0 when it is negative.
inline ULONGLONG data_size_of(ULONGLONG stored) {
  const auto size = static_cast<LONGLONG>(stored);
  return size < LONGLONG{QVW64_HEADER_BYTES} ? 0 : stored - QVW64_HEADER_BYTES;
}

struct Wave64Layout {
  using Id = GUID;
  using Count = ULONGLONG;
  static constexpr DWORD kHeaderBytes = QVW64_HEADER_BYTES;
  static constexpr DWORD kTypeBytes = sizeof(GUID);
  static constexpr DWORD kAlignment = 8;

  static const Id& list_id() { return QVW64_LIST; }
  static bool is_same(const Id& a, const Id& b) { return a == b; }
  static HRESULT read_header(HANDLE file, Id& id, Count& size) { return riff64_ReadChunkHeader(file, &id, &size); }
  static HRESULT read_file_header(HANDLE file, Count& size) { return riff64_ReadFileID(file, &size, nullptr); }
  static HRESULT read_stored_size(HANDLE file, ULONGLONG& size);
  static HRESULT update_size(HANDLE file, LONGLONG change) { return riff64_UpdateRIFFSize(file, change); }
};

} // namespace qv::riff
