// The format chunk of a wave file.
#pragma once

#include "riff/chunk/file_cursor.h"

#include "qv/audio.h"

namespace qv::riff {

inline constexpr DWORD kLeastFormatBytes = 16;

/// Moves to the data of the format chunk of a RIFF wave file; `size` is the chunk's, which may be beyond the file's
/// end. QVERR_RIFF_NOTRIFF, QVERR_RIFF_WRONGFORM, QVERR_RIFF_NOTFOUND.
HRESULT find_format_chunk(HANDLE file, DWORD& size);

/// The first bytes of the chunk's data at the position, zeros behind a shorter chunk. QVERR_RIFF_BADSIZE below 16
/// bytes.
template <class Record>
HRESULT read_format(HANDLE file, ULONGLONG chunk_size, Record& record) {
  if (chunk_size < kLeastFormatBytes) return QVERR_RIFF_BADSIZE;
  record = {};
  const ULONGLONG bytes = chunk_size < sizeof record ? chunk_size : sizeof record;
  return read_exact(file, &record, bytes) ? S_OK : QVERR_RIFF_READ;
}

} // namespace qv::riff
