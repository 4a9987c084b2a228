// New wave files, and headers before audio that is there already.
#include "riff/wave/wave_header_layout.h"

#include "qv/wave_file.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr ULONGLONG kMost32 = 0xFFFFFFFF;
/// What the size field of a Wave64 file without audio has always said, though the file has 112 bytes.
constexpr ULONGLONG kEmptyWave64Size = 130;

DWORD disposition_of(DWORD creation) {
  switch (creation) {
  case OPEN_EXISTING: return TRUNCATE_EXISTING;
  case OPEN_ALWAYS: return CREATE_ALWAYS;
  default: return creation;
  }
}

/// Creates the file and has `write` fill it.
template <class Write>
HRESULT create(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, Write write) {
  if (!name || !format) return E_INVALIDARG;
  const HRESULT accepted = check_format(*format);
  if (FAILED(accepted)) return accepted;
  const HANDLE file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  disposition_of(creation), FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return QVERR_FILE_OPEN;
  const HRESULT result = write(file);
  return CloseHandle(file) || FAILED(result) ? result : QVERR_RIFF_WRITE;
}

/// Whether a header of these bounds fits the file, whose audio starts at data_start.
bool has_room(HANDLE file, ULONGLONG data_start, DWORD plain, DWORD junked) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size) || size.QuadPart < LONGLONG{plain}) return false;
  return data_start == plain || data_start >= junked;
}

/// Does `write` and goes back to the position.
template <class Write>
HRESULT insert(HANDLE file, const WAVEFORMATEX* format, Write write) {
  if (!format) return E_INVALIDARG;
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  HRESULT result = check_format(*format);
  if (SUCCEEDED(result)) result = write();
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_WRITE;
}

} // namespace

HRESULT QvInitializeWav(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation) {
  return create(
      name, format, creation,
      [format](HANDLE file) { return write_wave_header(file, *format, kWaveHeaderBytes - 8, 0, kWaveHeaderBytes); });
}

HRESULT QvInitializeWavWithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, DWORD headerSize) {
  const ULONGLONG start = padded(headerSize);
  if (start < kWaveJunkedBytes || start > kMost32) return E_INVALIDARG;
  return create(name, format, creation, [format, start](HANDLE file) {
    return write_wave_header(file, *format, static_cast<DWORD>(start - 8), 0, static_cast<DWORD>(start));
  });
}

HRESULT QvInitializeWav64(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation) {
  return create(
      name, format, creation,
      [format](HANDLE file) { return write_wave64_header(file, *format, kEmptyWave64Size, 0, kWave64HeaderBytes); });
}

HRESULT QvInitializeWav64WithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, LONGLONG headerSize) {
  if (headerSize < 0) return E_INVALIDARG;
  const ULONGLONG start = (static_cast<ULONGLONG>(headerSize) + 7) / 8 * 8;
  if (start < kWave64JunkedBytes) return E_INVALIDARG;
  return create(name, format, creation,
                [format, start](HANDLE file) { return write_wave64_header(file, *format, start, 0, start); });
}

HRESULT QvInsertWavHeader(HANDLE file, const WAVEFORMATEX* format, DWORD dataSize, DWORD dataStart) {
  return insert(
      file, format,
      [=]() -> HRESULT {
        if (dataStart % 2 != 0 || !has_room(file, dataStart, kWaveHeaderBytes, kWaveJunkedBytes))
          return QVERR_RIFF_BADSIZE;
        const ULONGLONG riff_size = std::min(ULONGLONG{dataStart} - 8 + dataSize, kMost32);
        return write_wave_header(file, *format, static_cast<DWORD>(riff_size), dataSize, dataStart);
      });
}

HRESULT QvInsertW64Header(HANDLE file, const WAVEFORMATEX* format, ULONGLONG dataSize, ULONGLONG dataStart) {
  return insert(
      file, format,
      [=]() -> HRESULT {
        if (dataStart % 8 != 0 || !has_room(file, dataStart, kWave64HeaderBytes, kWave64JunkedBytes))
          return QVERR_RIFF_BADSIZE;
        return write_wave64_header(file, *format, dataStart + dataSize, dataSize, dataStart);
      });
}
