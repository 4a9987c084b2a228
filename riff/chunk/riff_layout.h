// Chunks as RIFF files have them.
#pragma once

#include "riff/chunk/file_cursor.h"

namespace qv::riff {

struct RiffLayout {
  using Id = DWORD;
  using Count = DWORD;
  static constexpr DWORD kHeaderBytes = 8;
  static constexpr DWORD kTypeBytes = 4;
  static constexpr DWORD kAlignment = 2;

  static constexpr Id list_id() { return QVRIFF_ID_LIST; }
  static bool is_same(Id a, Id b) { return a == b; }
  static HRESULT read_header(HANDLE file, Id& id, Count& size) { return riff_ReadChunkHeader(file, &id, &size); }
  static HRESULT read_file_header(HANDLE file, Count& size) { return riff_ReadFileID(file, &size, nullptr); }
  static HRESULT read_stored_size(HANDLE file, ULONGLONG& size) {
    DWORD stored = 0;
    if (!seek(file, 0)) return QVERR_RIFF_READ;
    const HRESULT result = read_riff_size(file, stored);
    size = stored;
    return result;
  }
  static HRESULT update_size(HANDLE file, LONGLONG change) { return riff_UpdateRIFFSize(file, change); }
};

} // namespace qv::riff
