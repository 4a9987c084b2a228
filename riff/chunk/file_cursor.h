// A file handle as the chunk functions use one: exact reads and writes, and positions in 64 bits. Nothing here knows
// what a chunk is.
//
// Every move goes through SetFilePointerEx, because a skip by an unsigned 32-bit size does not fit SetFilePointer's
// signed distance.
#pragma once

#include "qv/result.h"

#include <bit>

static_assert(std::endian::native == std::endian::little, "RIFF and Wave64 files have the machine's byte order");

namespace qv::riff {

/// False when fewer bytes were there.
bool read_exact(HANDLE file, void* buffer, ULONGLONG bytes);
bool write_exact(HANDLE file, const void* buffer, ULONGLONG bytes);

bool tell(HANDLE file, LONGLONG& position);
bool seek(HANDLE file, LONGLONG position);
/// Moves forward by a count that a file claims. False for one that no position can have.
bool skip_forward(HANDLE file, ULONGLONG bytes);

/// The bytes from the position to the file's end, 0 behind it.
bool bytes_left(HANDLE file, ULONGLONG& bytes);
/// Whether the file has that many bytes from the position on: asked before memory is allocated for them.
bool holds(HANDLE file, ULONGLONG bytes);

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
