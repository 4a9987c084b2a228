// The few things that the RIFF functions do with a file handle: exact reads and writes, and positions in 64 bits.
//
// A skip by an unsigned 32-bit size does not fit SetFilePointer's signed distance, so every move goes through
// SetFilePointerEx.
#pragma once

#include "qv/riff.h"

#include <bit>

static_assert(std::endian::native == std::endian::little, "files and memory hold the same byte order");

namespace qv::riff {

/// What a chunk's data takes on disk: its size rounded up to even, which may be 2^32.
constexpr ULONGLONG padded(ULONGLONG size) { return size + (size & 1); }

/// False when fewer bytes were there.
bool read_exact(HANDLE file, void* buffer, ULONGLONG bytes);
bool write_exact(HANDLE file, const void* buffer, ULONGLONG bytes);

bool tell(HANDLE file, LONGLONG& position);
bool seek(HANDLE file, LONGLONG position);
bool skip(HANDLE file, LONGLONG bytes);
/// Forward by a count that a file claims; false for one that no position can have.
bool skip_forward(HANDLE file, ULONGLONG bytes);

/// The bytes from the position to the file's end, 0 behind it.
bool bytes_left(HANDLE file, ULONGLONG& bytes);

/// Reads "RIFF" and the size after it, at the position.
HRESULT read_riff_size(HANDLE file, DWORD& size);

/// Remembers a file's position and goes back to it.
class KeptPosition {
public:
  explicit KeptPosition(HANDLE file) : file_(file), known_(tell(file, position_)) {}

  bool known() const { return known_; }
  bool restore() const { return seek(file_, position_); }

private:
  HANDLE file_;
  LONGLONG position_ = 0;
  bool known_;
};

} // namespace qv::riff
