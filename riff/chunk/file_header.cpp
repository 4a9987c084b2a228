// The 12 bytes at a RIFF file's start: "RIFF", size, form type.
#include "riff/chunk/file_cursor.h"

using namespace qv::riff;

namespace {

constexpr LONGLONG kSizeAt = 4;
constexpr LONGLONG kFirstChunkAt = 12;
/// A RIFF size from here on would leave no room for the header and padding within 32 bits.
constexpr LONGLONG kRiffSizeLimit = 0xFFFFFFF8;

HRESULT write_size_field(HANDLE file, DWORD size) {
  return seek(file, kSizeAt) && write_exact(file, &size, sizeof size) ? S_OK : QVERR_RIFF_WRITE;
}

/// Shortens the file to what a RIFF size describes. A file that is shorter already stays as it is.
HRESULT cut_to(HANDLE file, DWORD riff_size) {
  const LONGLONG end = LONGLONG{riff_size} + 8;
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return QVERR_RIFF_WRITE;
  if (size.QuadPart <= end) return QVERR_RIFF_TOOBIG;
  return seek(file, end) && SetEndOfFile(file) ? QVERR_RIFF_TOOBIG : QVERR_RIFF_WRITE;
}

HRESULT update_size_field(HANDLE file, LONGLONG change) {
  DWORD old = 0;
  if (!seek(file, kSizeAt) || !read_exact(file, &old, sizeof old)) return QVERR_RIFF_READ;
  // Compared by differences, because old + change may not fit 64 bits.
  if (change >= kRiffSizeLimit - LONGLONG{old}) return cut_to(file, old);
  if (change < -LONGLONG{old}) return QVERR_RIFF_BADSIZE;
  return write_size_field(file, static_cast<DWORD>(LONGLONG{old} + change));
}

} // namespace

HRESULT riff_ReadFileID(HANDLE file, DWORD* size, DWORD* formType) {
  DWORD riff_size = 0;
  DWORD form = 0;
  const HRESULT result = read_riff_size(file, riff_size);
  if (FAILED(result)) return result;
  if (!read_exact(file, &form, sizeof form)) return QVERR_RIFF_READ;
  if (size) *size = riff_size < 4 ? 0 : riff_size - 4;
  if (formType) *formType = form;
  return S_OK;
}

HRESULT riff_WriteFileID(HANDLE file, DWORD formType, DWORD riffSize) {
  // Callers count on the result being that of the last write alone.
  const DWORD riff = QVRIFF_ID_RIFF;
  if (write_exact(file, &riff, sizeof riff)) write_exact(file, &riffSize, sizeof riffSize);
  return write_exact(file, &formType, sizeof formType) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff_SeekDataStart(HANDLE file) { return seek(file, kFirstChunkAt) ? S_OK : QVERR_RIFF_READ; }

HRESULT riff_GetFileSize(HANDLE file, DWORD* size) {
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  DWORD riff_size = 0;
  const HRESULT result = read_riff_size(file, riff_size);
  if (SUCCEEDED(result) && size) *size = riff_size + 4;
  return result;
}

HRESULT riff_SetRIFFSize(HANDLE file, DWORD size) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_WRITE;
  const HRESULT result = write_size_field(file, size);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}

HRESULT riff_UpdateRIFFSize(HANDLE file, LONGLONG change) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = update_size_field(file, change);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}
