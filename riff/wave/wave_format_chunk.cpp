// Recognising wave files, and reading and replacing the format of one.
#include "riff/wave/wave_format_chunk.h"

#include "riff/wave/wave_header_layout.h"

#include "qv/iff.h"
#include "qv/riff64.h"
#include "qv/wave_file.h"

namespace qv::riff {

HRESULT find_format_chunk(HANDLE file, DWORD& size) {
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  DWORD remaining = 0;
  DWORD form = 0;
  const HRESULT result = riff_ReadFileID(file, &remaining, &form);
  if (FAILED(result)) return result;
  if (form != QVRIFF_FORM_WAVE) return QVERR_RIFF_WRONGFORM;
  return riff_FindChunkHeader(file, QVRIFF_ID_FMT, &size, &remaining);
}

} // namespace qv::riff

using namespace qv::riff;

namespace {

/// Whether the file can be opened and is what `test` asks for.
template <class Test>
LONG file_passes(const WCHAR* name, Test test) {
  if (!name) return 0;
  const HANDLE file =
      CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 0;
  const bool passes = test(file);
  CloseHandle(file);
  return passes ? 1 : 0;
}

bool is_wave(HANDLE file, bool allow_compressed) {
  DWORD size = 0;
  WAVEFORMATEXTENSIBLE format;
  if (FAILED(find_format_chunk(file, size)) || FAILED(read_format(file, size, format))) return false;
  return allow_compressed || !QvAudio_IsCompressed(&format.Format);
}

bool is_wave64(HANDLE file) {
  ULONGLONG remaining = 0;
  ULONGLONG size = 0;
  GUID form;
  WAVEFORMATEXTENSIBLE format;
  return SUCCEEDED(riff64_ReadFileID(file, &remaining, &form)) && form == QVW64_WAVE &&
         SUCCEEDED(riff64_FindChunkHeader(file, &QVW64_FMT, &size, &remaining)) &&
         SUCCEEDED(read_format(file, size, format));
}

/// Finds the format chunk, does `then` with its size, and goes back to the position.
template <class Then>
HRESULT with_format_chunk(HANDLE file, Then then) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  DWORD size = 0;
  HRESULT result = find_format_chunk(file, size);
  if (SUCCEEDED(result)) result = then(size);
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_READ;
}

} // namespace

LONG QvFileIsWave(const WCHAR* name, BOOL allowCompressed) {
  return file_passes(
      name, [=](HANDLE file) { return is_wave(file, allowCompressed != 0); });
}

LONG QvFileIsAiff(const WCHAR* name) {
  return file_passes(
      name, [](HANDLE file) { return iff_IsAIFFFile(file, nullptr) != 0; });
}

LONG QvFileIsWave64(const WCHAR* name) { return file_passes(name, is_wave64); }

HRESULT QvGetFileWfx(HANDLE file, WAVEFORMATEX* format) {
  if (!format) return E_INVALIDARG;
  return with_format_chunk(file, [=](DWORD size) {
    WAVEFORMATEX record;
    const HRESULT result = read_format(file, size, record);
    if (SUCCEEDED(result)) *format = record;
    return result;
  });
}

HRESULT QvSetFileWfx(HANDLE file, const WAVEFORMATEX* format) {
  if (!format) return E_INVALIDARG;
  return with_format_chunk(file, [=](DWORD size) -> HRESULT {
    const bool fits = size == kWaveRecordBytes || (size == kLeastFormatBytes && format->cbSize == 0);
    if (!fits) return QVERR_RIFF_BADSIZE;
    return write_exact(file, format, size) ? S_OK : QVERR_RIFF_WRITE;
  });
}
