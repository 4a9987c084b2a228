// Chunks as IFF files have them.
#pragma once

#include "riff/chunk/file_cursor.h"

#include "qv/iff.h"

namespace qv::riff {

struct IffLayout {
  using Id = DWORD;
  using Count = DWORD;
  static constexpr DWORD kHeaderBytes = 8;
  static constexpr DWORD kAlignment = 2;

  static bool is_same(Id a, Id b) { return a == b; }
  static HRESULT read_header(HANDLE file, Id& id, Count& size) {
    QVIFFCHUNK header;
    const HRESULT result = iff_ReadChunkHdr(file, &header);
    if (FAILED(result)) return result;
    id = header.id;
    size = header.size;
    return S_OK;
  }
  /// QVERR_RIFF_NOTRIFF where iff_ReadFormType says QVERR_RIFF_WRONGFORM.
  static HRESULT read_file_header(HANDLE file, Count& size);
  static HRESULT read_stored_size(HANDLE file, ULONGLONG& size);
  static HRESULT update_size(HANDLE file, LONGLONG change);
};

} // namespace qv::riff
