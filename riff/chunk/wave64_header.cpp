// The 40 bytes at a Wave64 file's start: riff GUID, size, form.
#include "riff/chunk/wave64_layout.h"

using namespace qv::riff;

namespace {

constexpr LONGLONG kSizeAt = 16;

/// Reads the riff GUID and the size after it, at the position.
HRESULT read_size(HANDLE file, ULONGLONG& size) {
  GUID id;
  if (!read_exact(file, &id, sizeof id) || !read_exact(file, &size, sizeof size)) return QVERR_RIFF_READ;
  return id == QVW64_RIFF ? S_OK : QVERR_RIFF_NOTRIFF;
}

HRESULT write_size_field(HANDLE file, ULONGLONG size) {
  return seek(file, kSizeAt) && write_exact(file, &size, sizeof size) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT update_size_field(HANDLE file, LONGLONG change) {
  ULONGLONG size = 0;
  if (!seek(file, kSizeAt) || !read_exact(file, &size, sizeof size)) return QVERR_RIFF_READ;
  return write_size_field(file, size + static_cast<ULONGLONG>(change));
}

} // namespace

HRESULT Wave64Layout::read_stored_size(HANDLE file, ULONGLONG& size) {
  return seek(file, 0) ? read_size(file, size) : QVERR_RIFF_READ;
}

HRESULT riff64_ReadFileID(HANDLE file, ULONGLONG* size, GUID* form) {
  ULONGLONG stored = 0;
  const HRESULT result = read_size(file, stored);
  if (FAILED(result)) return result;
  GUID type;
  if (!read_exact(file, &type, sizeof type)) return QVERR_RIFF_READ;
  if (size) *size = data_size_of(stored) - sizeof type;
  if (form) *form = type;
  return S_OK;
}

HRESULT riff64_WriteFileID(HANDLE file, const GUID* form, ULONGLONG size) {
  if (!form) return E_INVALIDARG;
  // Callers count on the result being that of the last write alone.
  const ULONGLONG stored = size + QVW64_HEADER_BYTES;
  if (write_exact(file, &QVW64_RIFF, sizeof(GUID))) write_exact(file, &stored, sizeof stored);
  return write_exact(file, form, sizeof *form) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT riff64_SeekDataStart(HANDLE file) { return seek(file, QVW64_FILE_HEADER_BYTES) ? S_OK : QVERR_RIFF_READ; }

HRESULT riff64_SetRIFFSize(HANDLE file, ULONGLONG size) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_WRITE;
  const HRESULT result = write_size_field(file, size + QVW64_HEADER_BYTES);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}

HRESULT riff64_UpdateRIFFSize(HANDLE file, LONGLONG change) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = update_size_field(file, change);
  return kept.restore() ? result : QVERR_RIFF_WRITE;
}
