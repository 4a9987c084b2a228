#include "riff/file_cursor.h"

namespace qv::riff {

namespace {

bool move(HANDLE file, LONGLONG distance, DWORD method, LONGLONG* position) {
  LARGE_INTEGER to;
  LARGE_INTEGER reached;
  to.QuadPart = distance;
  if (!SetFilePointerEx(file, to, &reached, method)) return false;
  if (position != nullptr) *position = reached.QuadPart;
  return true;
}

} // namespace

bool read_exact(HANDLE file, void* buffer, DWORD bytes) {
  DWORD done = 0;
  return bytes == 0 || (ReadFile(file, buffer, bytes, &done, nullptr) && done == bytes);
}

bool write_exact(HANDLE file, const void* buffer, DWORD bytes) {
  DWORD done = 0;
  return bytes == 0 || (WriteFile(file, buffer, bytes, &done, nullptr) && done == bytes);
}

bool tell(HANDLE file, LONGLONG& position) { return move(file, 0, FILE_CURRENT, &position); }

bool seek(HANDLE file, LONGLONG position) { return move(file, position, FILE_BEGIN, nullptr); }

bool skip(HANDLE file, LONGLONG bytes) { return bytes == 0 || move(file, bytes, FILE_CURRENT, nullptr); }

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
