#include "riff/chunk/file_cursor.h"

#include <algorithm>
#include <limits>

namespace qv::riff {

namespace {

/// ReadFile and WriteFile count in 32 bits.
constexpr ULONGLONG kMaxAtOnce = 1 << 30;

bool move(HANDLE file, LONGLONG distance, DWORD method, LONGLONG* position) {
  LARGE_INTEGER to;
  LARGE_INTEGER reached;
  to.QuadPart = distance;
  if (!SetFilePointerEx(file, to, &reached, method)) return false;
  if (position) *position = reached.QuadPart;
  return true;
}

} // namespace

bool read_exact(HANDLE file, void* buffer, ULONGLONG bytes) {
  auto* at = static_cast<BYTE*>(buffer);
  while (bytes != 0) {
    const auto part = static_cast<DWORD>(std::min(bytes, kMaxAtOnce));
    DWORD done = 0;
    if (!ReadFile(file, at, part, &done, nullptr) || done != part) return false;
    at += part;
    bytes -= part;
  }
  return true;
}

bool write_exact(HANDLE file, const void* buffer, ULONGLONG bytes) {
  const auto* at = static_cast<const BYTE*>(buffer);
  while (bytes != 0) {
    const auto part = static_cast<DWORD>(std::min(bytes, kMaxAtOnce));
    DWORD done = 0;
    if (!WriteFile(file, at, part, &done, nullptr) || done != part) return false;
    at += part;
    bytes -= part;
  }
  return true;
}

bool tell(HANDLE file, LONGLONG& position) { return move(file, 0, FILE_CURRENT, &position); }

bool seek(HANDLE file, LONGLONG position) { return move(file, position, FILE_BEGIN, nullptr); }

bool skip_forward(HANDLE file, ULONGLONG bytes) {
  constexpr ULONGLONG kMax = std::numeric_limits<LONGLONG>::max();
  return bytes == 0 || (bytes <= kMax && move(file, static_cast<LONGLONG>(bytes), FILE_CURRENT, nullptr));
}

bool bytes_left(HANDLE file, ULONGLONG& bytes) {
  LONGLONG position = 0;
  LARGE_INTEGER size;
  if (!tell(file, position) || !GetFileSizeEx(file, &size)) return false;
  bytes = position < size.QuadPart ? static_cast<ULONGLONG>(size.QuadPart - position) : 0;
  return true;
}

bool holds(HANDLE file, ULONGLONG bytes) {
  ULONGLONG left = 0;
  return bytes_left(file, left) && bytes <= left;
}

} // namespace qv::riff
