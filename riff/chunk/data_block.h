// A chunk's data in a block of its own.
#pragma once

#include "riff/chunk/file_cursor.h"

namespace qv::riff {

/// Allocates `size` bytes, not 0, as a locked moveable global block, and has `read` fill it. What the file does not
/// hold is not allocated: QVERR_RIFF_READ. E_OUTOFMEMORY. `data` stays null on failure.
template <class Size>
HRESULT read_block(HANDLE file, Size size, HRESULT (*read)(HANDLE file, void* buffer, Size size), void*& data) {
  ULONGLONG left = 0;
  if (!bytes_left(file, left) || size > left) return QVERR_RIFF_READ;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
  if (!block) return E_OUTOFMEMORY;
  void* const memory = GlobalLock(block);
  const HRESULT result = memory ? read(file, memory, size) : E_OUTOFMEMORY;
  if (SUCCEEDED(result)) {
    data = memory;
    return result;
  }
  GlobalUnlock(block);
  GlobalFree(block);
  return result;
}

} // namespace qv::riff
