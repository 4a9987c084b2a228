#include "riff/wave/wave_header_layout.h"

#include "qv/riff64.h"

#include <algorithm>

namespace qv::riff {

namespace {

/// In blocks: junk may be of any size.
bool write_zeros(HANDLE file, ULONGLONG bytes) {
  static constexpr BYTE kZeros[65'536] = {};
  while (bytes != 0) {
    const ULONGLONG part = std::min<ULONGLONG>(bytes, sizeof kZeros);
    if (!write_exact(file, kZeros, part)) return false;
    bytes -= part;
  }
  return true;
}

bool write_record(HANDLE file, WAVEFORMATEX format) {
  format.cbSize = 0;
  return write_exact(file, &format, kWaveRecordBytes);
}

// The forms are written here, because riff_WriteFileID reports the last of its writes alone.

bool write_start(HANDLE file, DWORD riff_size) {
  const DWORD form = QVRIFF_FORM_WAVE;
  return seek(file, 0) && SUCCEEDED(riff_WriteChunkHeader(file, QVRIFF_ID_RIFF, riff_size)) &&
         write_exact(file, &form, sizeof form);
}

bool write_start64(HANDLE file, ULONGLONG file_size) {
  return seek(file, 0) && SUCCEEDED(riff64_WriteChunkHeader(file, &QVW64_RIFF, file_size - QVW64_HEADER_BYTES)) &&
         write_exact(file, &QVW64_WAVE, sizeof QVW64_WAVE);
}

} // namespace

HRESULT check_format(const WAVEFORMATEX& format) {
  if (format.cbSize != 0) return QVERR_BADFORMAT;
  if (format.wFormatTag != WAVE_FORMAT_PCM) return S_OK;
  const DWORD frame = DWORD{format.nChannels} * (format.wBitsPerSample / 8u);
  return frame == format.nBlockAlign && format.wBitsPerSample != 20 ? S_OK : QVERR_BADFORMAT;
}

HRESULT write_wave_header(HANDLE file, const WAVEFORMATEX& format, DWORD riff_size, DWORD data_size, DWORD data_start) {
  bool done = write_start(file, riff_size) && SUCCEEDED(riff_WriteChunkHeader(file, QVRIFF_ID_FMT, kWaveRecordBytes)) &&
              write_record(file, format);
  if (data_start > kWaveHeaderBytes) {
    const DWORD junk = data_start - kWaveJunkedBytes;
    done = done && SUCCEEDED(riff_WriteChunkHeader(file, QvFourCC("JUNK"), junk)) && write_zeros(file, junk);
  }
  done = done && SUCCEEDED(riff_WriteChunkHeader(file, QVRIFF_ID_DATA, data_size));
  return done ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT write_wave64_header(HANDLE file, const WAVEFORMATEX& format, ULONGLONG file_size, ULONGLONG data_size,
                            ULONGLONG data_start) {
  constexpr DWORD kPadding = kWave64FormatEnd - kWave64RecordAt - kWaveRecordBytes;
  bool done = write_start64(file, file_size) &&
              SUCCEEDED(riff64_WriteChunkHeader(file, &QVW64_FMT, kWaveRecordBytes)) && write_record(file, format) &&
              write_zeros(file, kPadding);
  if (data_start > kWave64HeaderBytes) {
    const ULONGLONG junk = data_start - kWave64JunkedBytes;
    done = done && SUCCEEDED(riff64_WriteChunkHeader(file, &QVW64_JUNK, junk)) && write_zeros(file, junk);
  }
  done = done && SUCCEEDED(riff64_WriteChunkHeader(file, &QVW64_DATA, data_size));
  return done ? S_OK : QVERR_RIFF_WRITE;
}

} // namespace qv::riff
