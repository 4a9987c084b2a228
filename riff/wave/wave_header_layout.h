// The headers that wave files are written with, byte by byte.
#pragma once

#include "riff/chunk/file_cursor.h"

#include "qv/audio.h"

namespace qv::riff {

inline constexpr DWORD kWaveRecordBytes = 18; ///< WAVEFORMATEX without extra bytes

static_assert(sizeof(WAVEFORMATEX) == kWaveRecordBytes);

inline constexpr DWORD kWaveRecordAt = 20;       ///< in a RIFF wave file
inline constexpr DWORD kWaveFormatEnd = 38;      ///< behind the format chunk
inline constexpr DWORD kWaveHeaderBytes = 46;    ///< without junk
inline constexpr DWORD kWaveJunkedBytes = 54;    ///< with an empty junk chunk, the least
inline constexpr DWORD kWave64RecordAt = 64;     ///< the same in a Wave64 file
inline constexpr DWORD kWave64FormatEnd = 88;    ///<
inline constexpr DWORD kWave64HeaderBytes = 112; ///<
inline constexpr DWORD kWave64JunkedBytes = 136; ///<

/// S_OK or QVERR_BADFORMAT.
HRESULT check_format(const WAVEFORMATEX& format);

/// Writes a header that ends at data_start, from the file's start on.
HRESULT write_wave_header(HANDLE file, const WAVEFORMATEX& format, DWORD riff_size, DWORD data_size, DWORD data_start);
HRESULT write_wave64_header(HANDLE file, const WAVEFORMATEX& format, ULONGLONG file_size, ULONGLONG data_size,
                            ULONGLONG data_start);

} // namespace qv::riff
