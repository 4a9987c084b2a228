#include "riff/chunk/file_cursor.h"

#include <algorithm>
#include <limits>

namespace qv::riff {

namespace {

/// The system's calls count in 32 bits.
constexpr ULONGLONG kMostAtOnce = 1 << 30;

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
    const auto part = static_cast<DWORD>(std::min(bytes, kMostAtOnce));
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
    const auto part = static_cast<DWORD>(std::min(bytes, kMostAtOnce));
    DWORD done = 0;
    if (!WriteFile(file, at, part, &done, nullptr) || done != part) return false;
    at += part;
    bytes -= part;
  }
  return true;
}

bool tell(HANDLE file, LONGLONG& position) { return move(file, 0, FILE_CURRENT, &position); }

bool seek(HANDLE file, LONGLONG position) { return move(file, position, FILE_BEGIN, nullptr); }

bool skip(HANDLE file, LONGLONG bytes) { return bytes == 0 || move(file, bytes, FILE_CURRENT, nullptr); }

bool skip_forward(HANDLE file, ULONGLONG bytes) {
  constexpr ULONGLONG kMost = std::numeric_limits<LONGLONG>::max();
  return bytes <= kMost && skip(file, static_cast<LONGLONG>(bytes));
}

bool bytes_left(HANDLE file, ULONGLONG& bytes) {
  LONGLONG position = 0;
  LARGE_INTEGER size;
  if (!tell(file, position) || !GetFileSizeEx(file, &size)) return false;
  bytes = position < size.QuadPart ? static_cast<ULONGLONG>(size.QuadPart - position) : 0;
  return true;
}

HRESULT read_riff_size(HANDLE file, DWORD& size) {
  DWORD id = 0;
  const HRESULT result = riff_ReadChunkHeader(file, &id, &size);
  if (FAILED(result)) return result;
  return id == QVRIFF_ID_RIFF ? S_OK : QVERR_RIFF_NOTRIFF;
}

} // namespace qv::riff
