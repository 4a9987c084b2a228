// Recognising wave files, and reading and replacing the format of one.
#include "riff/chunk/chunk_reader.h"
#include "riff/chunk/chunk_walk.h"
#include "riff/wave/wave_header.h"

#include "qv/iff.h"
#include "qv/wave_file.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr DWORD kMinFormatBytes = 16;

/// Moves to the data of a wave file's format chunk. `size` is the chunk's, which may be beyond the file's end.
/// QVERR_RIFF_NOTRIFF, QVERR_RIFF_WRONGFORM, QVERR_RIFF_NOTFOUND.
template <class Layout>
HRESULT find_format(HANDLE file, typename Layout::Count& size) {
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  typename Layout::Count remaining = 0;
  typename Layout::Id form{};
  const HRESULT result = read_file_header<Layout>(file, &remaining, &form);
  if (FAILED(result)) return result;
  if (form != Layout::kFormId) return QVERR_RIFF_WRONGFORM;
  return find_chunk_header<Layout>(file, &WaveHeader<Layout>::kFormat, &size, &remaining);
}

/// Reads the first bytes of the chunk's data at the position, with zeros behind a shorter chunk. The record has 40
/// bytes, because what reads an extensible header reads its GUID, whatever its extra size says. QVERR_RIFF_BADSIZE.
HRESULT read_format(HANDLE file, ULONGLONG chunk_size, WAVEFORMATEXTENSIBLE& record) {
  if (chunk_size < kMinFormatBytes) return QVERR_RIFF_BADSIZE;
  record = {};
  ChunkReader reader(file, chunk_size, QVERR_RIFF_BADSIZE);
  return reader.read(&record, std::min<ULONGLONG>(chunk_size, sizeof record));
}

template <class Layout>
bool has_format(HANDLE file, WAVEFORMATEXTENSIBLE& format) {
  typename Layout::Count size = 0;
  return SUCCEEDED(find_format<Layout>(file, size)) && SUCCEEDED(read_format(file, size, format));
}

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

/// Finds the format chunk, does `then` with its size, and goes back to the position.
template <class Then>
HRESULT with_format_chunk(HANDLE file, Then then) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  DWORD size = 0;
  HRESULT result = find_format<RiffLayout>(file, size);
  if (SUCCEEDED(result)) result = then(size);
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_READ;
}

} // namespace

LONG QvFileIsWave(const WCHAR* name, BOOL allowCompressed) {
  return file_passes(
      name,
      [=](HANDLE file) {
        WAVEFORMATEXTENSIBLE format;
        return has_format<RiffLayout>(file, format) && (allowCompressed || !QvAudio_IsCompressed(&format.Format));
      });
}

LONG QvFileIsWave64(const WCHAR* name) {
  return file_passes(
      name,
      [](HANDLE file) {
        WAVEFORMATEXTENSIBLE format;
        return has_format<Wave64Layout>(file, format);
      });
}

LONG QvFileIsAiff(const WCHAR* name) {
  return file_passes(
      name, [](HANDLE file) { return iff_IsAIFFFile(file, nullptr) != 0; });
}

HRESULT QvGetFileWfx(HANDLE file, WAVEFORMATEX* format) {
  if (!format) return E_INVALIDARG;
  return with_format_chunk(file, [=](DWORD size) {
    WAVEFORMATEXTENSIBLE record;
    const HRESULT result = read_format(file, std::min(size, kWaveRecordBytes), record);
    if (SUCCEEDED(result)) *format = record.Format;
    return result;
  });
}

HRESULT QvSetFileWfx(HANDLE file, const WAVEFORMATEX* format) {
  if (!format) return E_INVALIDARG;
  return with_format_chunk(file, [=](DWORD size) -> HRESULT {
    const bool fits = size == kWaveRecordBytes || (size == kMinFormatBytes && format->cbSize == 0);
    if (!fits) return QVERR_RIFF_BADSIZE;
    return write_exact(file, format, size) ? S_OK : QVERR_RIFF_WRITE;
  });
}
