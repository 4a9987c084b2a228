// Reading a chunk's data: never past the chunk's end, and into memory only where the file holds it.
#pragma once

#include "riff/chunk/file_cursor.h"

namespace qv::riff {

/// Reads the data of one chunk, field by field, from the position on. An id, a count or a length in the data cannot
/// lead it out of the chunk.
class ChunkReader {
public:
  /// `too_short` is the result of a read for which the chunk has too few bytes.
  ChunkReader(HANDLE file, ULONGLONG chunk_bytes, HRESULT too_short)
      : file_(file), left_(chunk_bytes), too_short_(too_short) {}

  ULONGLONG left() const { return left_; }

  /// QVERR_RIFF_READ where the file ends before the chunk does.
  HRESULT read(void* buffer, ULONGLONG bytes) {
    if (left_ < bytes) return too_short_;
    left_ -= bytes;
    return read_exact(file_, buffer, bytes) ? S_OK : QVERR_RIFF_READ;
  }

  /// Reads a number that stands in the byte order of the layout's container.
  template <class Layout, class Number>
  HRESULT number(Number& value) {
    Number stored = 0;
    const HRESULT result = read(&stored, sizeof stored);
    if (SUCCEEDED(result)) value = Layout::in_order(stored);
    return result;
  }

private:
  HANDLE file_;
  ULONGLONG left_;
  HRESULT too_short_;
};

/// Memory for the length of one call. GlobalAlloc reports a shortage instead of throwing.
class Scratch {
public:
  Scratch() = default;
  /// Zeroed; get() is null when there is none.
  explicit Scratch(ULONGLONG bytes) : memory_(static_cast<char*>(GlobalAlloc(GPTR, bytes))) {}
  ~Scratch() {
    if (memory_) GlobalFree(memory_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  char* get() const { return memory_; }

  /// Reads that many bytes at the position into an empty Scratch, with two zeros behind them. What the file does not
  /// hold is not allocated: QVERR_RIFF_READ. E_OUTOFMEMORY.
  HRESULT read(HANDLE file, ULONGLONG bytes) {
    if (!holds(file, bytes)) return QVERR_RIFF_READ;
    memory_ = static_cast<char*>(GlobalAlloc(GPTR, bytes + 2));
    if (!memory_) return E_OUTOFMEMORY;
    return read_exact(file, memory_, bytes) ? S_OK : QVERR_RIFF_READ;
  }

private:
  char* memory_ = nullptr;
};

} // namespace qv::riff
