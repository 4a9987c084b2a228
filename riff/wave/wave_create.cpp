// New wave files, and headers before audio that is there already.
#include "riff/wave/wave_header.h"

#include "qv/wave_file.h"

#include <limits>

namespace qv::riff {

namespace {

/// The size field of a Wave64 file without audio has always said 130, though the file has 112 bytes.
constexpr ULONGLONG kEmptyWave64Size = 130;

template <class Layout>
constexpr ULONGLONG kMaxSize = std::numeric_limits<typename Layout::Count>::max();

HRESULT check_format(const WAVEFORMATEX& format) {
  if (format.cbSize != 0) return QVERR_BADFORMAT;
  if (format.wFormatTag != WAVE_FORMAT_PCM) return S_OK;
  const DWORD frame = DWORD{format.nChannels} * (format.wBitsPerSample / 8u);
  return frame == format.nBlockAlign && format.wBitsPerSample != 20 ? S_OK : QVERR_BADFORMAT;
}

/// Writes in blocks, because junk may be of any size.
bool write_zeros(HANDLE file, ULONGLONG bytes) {
  static constexpr BYTE kZeros[65'536] = {};
  while (bytes != 0) {
    const ULONGLONG part = std::min<ULONGLONG>(bytes, sizeof kZeros);
    if (!write_exact(file, kZeros, part)) return false;
    bytes -= part;
  }
  return true;
}

/// Returns what the size field says of a file whose audio lies at data_start: in RIFF the bytes behind the field, in
/// Wave64 all of them; the most that the field holds where it is more.
template <class Layout>
typename Layout::Count stored_size(ULONGLONG data_start, ULONGLONG data_size) {
  const ULONGLONG size = data_start - Layout::kHeaderBytes + Layout::kCountedBytes + data_size;
  return static_cast<typename Layout::Count>(std::min(size, kMaxSize<Layout>));
}

/// Writes a header that ends at data_start, from the file's start on.
template <class Layout>
HRESULT write_wave_header(HANDLE file, WAVEFORMATEX format, typename Layout::Count stored,
                          typename Layout::Count data_size, typename Layout::Count data_start) {
  using Wave = WaveHeader<Layout>;
  format.cbSize = 0;
  if (!seek(file, 0)) return QVERR_RIFF_WRITE;
  // Not by write_file_id, which reports the last of its writes alone.
  HRESULT result = write_typed_header<Layout>(file, Layout::kFileId, Layout::kFormId, stored - Layout::kCountedBytes);
  if (SUCCEEDED(result)) result = write_chunk<Layout>(file, &Wave::kFormat, &format, kWaveRecordBytes, nullptr);
  if (SUCCEEDED(result) && data_start > Wave::kBytes) {
    const typename Layout::Count junk = data_start - Wave::kJunkedBytes;
    result = write_header<Layout>(file, Wave::kJunk, junk);
    if (SUCCEEDED(result) && !write_zeros(file, junk)) result = QVERR_RIFF_WRITE;
  }
  return SUCCEEDED(result) ? write_header<Layout>(file, Wave::kData, data_size) : result;
}

DWORD disposition_of(DWORD creation) {
  switch (creation) {
  case OPEN_EXISTING: return TRUNCATE_EXISTING;
  case OPEN_ALWAYS: return CREATE_ALWAYS;
  default: return creation;
  }
}

/// Creates a file without audio, which would start at data_start.
template <class Layout>
HRESULT create(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, typename Layout::Count stored,
               typename Layout::Count data_start) {
  if (!name || !format) return E_INVALIDARG;
  const HRESULT accepted = check_format(*format);
  if (FAILED(accepted)) return accepted;
  const HANDLE file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  disposition_of(creation), FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return QVERR_FILE_OPEN;
  const HRESULT result = write_wave_header<Layout>(file, *format, stored, 0, data_start);
  return CloseHandle(file) || FAILED(result) ? result : QVERR_RIFF_WRITE;
}

template <class Layout>
HRESULT create_with_junk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, ULONGLONG header_size) {
  const ULONGLONG start = padded<Layout>(header_size);
  if (start < WaveHeader<Layout>::kJunkedBytes || start > kMaxSize<Layout>) return E_INVALIDARG;
  return create<Layout>(name, format, creation, stored_size<Layout>(start, 0),
                        static_cast<typename Layout::Count>(start));
}

template <class Layout>
bool has_room(HANDLE file, ULONGLONG data_start) {
  using Wave = WaveHeader<Layout>;
  LARGE_INTEGER size;
  if (data_start % Layout::kAlignment != 0) return false;
  if (!GetFileSizeEx(file, &size) || size.QuadPart < LONGLONG{Wave::kBytes}) return false;
  return data_start == Wave::kBytes || data_start >= Wave::kJunkedBytes;
}

} // namespace

template <class Layout>
HRESULT insert_header(HANDLE file, const WAVEFORMATEX& format, typename Layout::Count data_size,
                      typename Layout::Count data_start) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  HRESULT result = check_format(format);
  if (SUCCEEDED(result) && !has_room<Layout>(file, data_start)) result = QVERR_RIFF_BADSIZE;
  if (SUCCEEDED(result))
    result = write_wave_header<Layout>(file, format, stored_size<Layout>(data_start, data_size), data_size, data_start);
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_WRITE;
}

template HRESULT insert_header<RiffLayout>(HANDLE, const WAVEFORMATEX&, DWORD, DWORD);
template HRESULT insert_header<Wave64Layout>(HANDLE, const WAVEFORMATEX&, ULONGLONG, ULONGLONG);

} // namespace qv::riff

using namespace qv::riff;

HRESULT QvInitializeWav(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation) {
  constexpr DWORD kStart = WaveHeader<RiffLayout>::kBytes;
  return create<RiffLayout>(name, format, creation, stored_size<RiffLayout>(kStart, 0), kStart);
}

HRESULT QvInitializeWavWithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, DWORD headerSize) {
  return create_with_junk<RiffLayout>(name, format, creation, headerSize);
}

HRESULT QvInitializeWav64(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation) {
  return create<Wave64Layout>(name, format, creation, kEmptyWave64Size, WaveHeader<Wave64Layout>::kBytes);
}

HRESULT QvInitializeWav64WithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation, LONGLONG headerSize) {
  if (headerSize < 0) return E_INVALIDARG;
  return create_with_junk<Wave64Layout>(name, format, creation, static_cast<ULONGLONG>(headerSize));
}

HRESULT QvInsertWavHeader(HANDLE file, const WAVEFORMATEX* format, DWORD dataSize, DWORD dataStart) {
  return format ? insert_header<RiffLayout>(file, *format, dataSize, dataStart) : E_INVALIDARG;
}

HRESULT QvInsertW64Header(HANDLE file, const WAVEFORMATEX* format, ULONGLONG dataSize, ULONGLONG dataStart) {
  return format ? insert_header<Wave64Layout>(file, *format, dataSize, dataStart) : E_INVALIDARG;
}
