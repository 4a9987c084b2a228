// The headers that wave files are written with, byte by byte: file header, format chunk, junk where there is room for
// it, and the header of the audio's chunk.
#pragma once

#include "riff/chunk/chunk_io.h"

#include "qv/audio.h"

namespace qv::riff {

inline constexpr DWORD kWaveRecordBytes = 18; ///< WAVEFORMATEX without extra bytes
static_assert(sizeof(WAVEFORMATEX) == kWaveRecordBytes);

/// The ids of the chunks.
template <class Layout>
struct WaveIds;

template <>
struct WaveIds<RiffLayout> {
  static constexpr DWORD kFormat = QVRIFF_ID_FMT;
  static constexpr DWORD kJunk = QVRIFF_ID_JUNK;
  static constexpr DWORD kData = QVRIFF_ID_DATA;
};

template <>
struct WaveIds<Wave64Layout> {
  static constexpr GUID kFormat = QVW64_FMT;
  static constexpr GUID kJunk = QVW64_JUNK;
  static constexpr GUID kData = QVW64_DATA;
};

/// Where the parts of a header lie in the file.
template <class Layout>
struct WaveHeader : WaveIds<Layout> {
  static constexpr DWORD kRecordAt = Layout::kFirstChunkAt + Layout::kHeaderBytes;
  static constexpr DWORD kFormatEnd = kRecordAt + padded<Layout>(kWaveRecordBytes);
  static constexpr DWORD kBytes = kFormatEnd + Layout::kHeaderBytes;   ///< without junk
  static constexpr DWORD kJunkedBytes = kBytes + Layout::kHeaderBytes; ///< with an empty junk chunk, the least
};
static_assert(WaveHeader<RiffLayout>::kRecordAt == 20 && WaveHeader<RiffLayout>::kFormatEnd == 38);
static_assert(WaveHeader<RiffLayout>::kBytes == 46 && WaveHeader<RiffLayout>::kJunkedBytes == 54);
static_assert(WaveHeader<Wave64Layout>::kRecordAt == 64 && WaveHeader<Wave64Layout>::kFormatEnd == 88);
static_assert(WaveHeader<Wave64Layout>::kBytes == 112 && WaveHeader<Wave64Layout>::kJunkedBytes == 136);

/// Writes a header that ends at data_start over what is there, and goes back to the position. QVERR_BADFORMAT;
/// QVERR_RIFF_BADSIZE for a data_start where no header can end, or a file shorter than a header without junk.
template <class Layout>
HRESULT insert_header(HANDLE file, const WAVEFORMATEX& format, typename Layout::Count data_size,
                      typename Layout::Count data_start);

} // namespace qv::riff
