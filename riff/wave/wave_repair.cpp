// New headers for damaged files, from what can be salvaged.
#include "riff/chunk/chunk_walk.h"
#include "riff/chunk/riff_layout.h"
#include "riff/chunk/wave64_layout.h"
#include "riff/wave/wave_header_layout.h"

#include "qv/wave_file.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr WORD kFloatTag = 3;

struct Defaults {
  DWORD rate = 44'100;
  WORD channels = 2;
  WORD tag = WAVE_FORMAT_PCM;
  WORD bits = 16;

  explicit Defaults(const WAVEFORMATEX* hint) {
    if (!hint) return;
    rate = hint->nSamplesPerSec;
    channels = hint->nChannels;
    tag = hint->wFormatTag;
    bits = hint->wBitsPerSample;
  }
};

void mend(WAVEFORMATEX& format, const Defaults& defaults) {
  if (format.nSamplesPerSec < 2'000 || format.nSamplesPerSec > 192'000) format.nSamplesPerSec = defaults.rate;
  if (format.nChannels != 1 && format.nChannels != 2) format.nChannels = defaults.channels;
  if (format.wFormatTag != WAVE_FORMAT_PCM && format.wFormatTag != kFloatTag) format.wFormatTag = defaults.tag;
  const WORD bits = format.wBitsPerSample;
  if (format.wFormatTag == kFloatTag) {
    if (bits != 32 && bits != 64) format.wBitsPerSample = defaults.bits <= 32 ? 32 : 64;
  } else if (bits != 8 && bits != 16 && bits != 24 && bits != 32) {
    format.wBitsPerSample = std::min<WORD>(defaults.bits, 32);
  }
  format.cbSize = 0;
  format.nBlockAlign = static_cast<WORD>(format.wBitsPerSample / 8 * format.nChannels);
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
}

/// What stands for "data" in the files that are searched byte by byte.
struct Mark {
  const void* bytes;
  size_t length;
  LONGLONG audio; ///< from the mark's start to the audio's
};

/// From `from` on in blocks that overlap by a mark's length. `bound` where the search passes it in vain;
/// QVERR_RIFF_NOTFOUND where the file ends first.
HRESULT search_mark(HANDLE file, LONGLONG from, LONGLONG bound, const Mark& mark, LONGLONG& audio) {
  constexpr DWORD kBlockBytes = 4096;
  BYTE block[kBlockBytes];
  const auto* const first = static_cast<const BYTE*>(mark.bytes);
  for (LONGLONG at = from; at < bound; at += kBlockBytes - static_cast<LONGLONG>(mark.length)) {
    DWORD bytes = 0;
    if (!seek(file, at) || !ReadFile(file, block, kBlockBytes, &bytes, nullptr)) return QVERR_RIFF_READ;
    const BYTE* const match = std::search(block, block + bytes, first, first + mark.length);
    if (match != block + bytes) {
      audio = at + (match - block) + mark.audio;
      return S_OK;
    }
    if (bytes < kBlockBytes) return QVERR_RIFF_NOTFOUND;
  }
  audio = bound;
  return S_OK;
}

/// The chunk walk from `from` on, and the search where it fails. `bound` is the count that the walk starts with.
template <class Layout>
HRESULT find_audio(HANDLE file, LONGLONG from, LONGLONG bound, const typename Layout::Id& id, LONGLONG& audio) {
  using Walk = ChunkWalk<Layout>;
  auto remaining = static_cast<typename Layout::Count>(bound);
  typename Layout::Count size = 0;
  if (!seek(file, from)) return QVERR_RIFF_READ;
  if (SUCCEEDED(Walk::find_chunk(file, id, size, typename Walk::Left(&remaining))))
    return tell(file, audio) ? S_OK : QVERR_RIFF_READ;
  return search_mark(file, from, bound, {&id, sizeof id, Layout::kHeaderBytes}, audio);
}

/// The parts in which the two repairs differ.
template <class Layout>
struct Kind;

template <>
struct Kind<RiffLayout> {
  static constexpr LONGLONG kRecordAt = kWaveRecordAt;
  static constexpr LONGLONG kSearchFrom = kWaveFormatEnd;
  static constexpr DWORD kData = QVRIFF_ID_DATA;
  static constexpr ULONGLONG kMostData = 0xFFFFFFFF;
  static HRESULT insert(HANDLE file, const WAVEFORMATEX& format, ULONGLONG size, ULONGLONG start) {
    if (start > kMostData) return QVERR_RIFF_BADSIZE;
    return QvInsertWavHeader(file, &format, static_cast<DWORD>(size), static_cast<DWORD>(start));
  }
};

template <>
struct Kind<Wave64Layout> {
  static constexpr LONGLONG kRecordAt = kWave64RecordAt;
  static constexpr LONGLONG kSearchFrom = kWave64FormatEnd;
  static constexpr GUID kData = QVW64_DATA;
  static constexpr ULONGLONG kMostData = ~ULONGLONG{0};
  static HRESULT insert(HANDLE file, const WAVEFORMATEX& format, ULONGLONG size, ULONGLONG start) {
    return QvInsertW64Header(file, &format, size, start);
  }
};

template <class Layout>
HRESULT repair(HANDLE file, const WAVEFORMATEX* hint, ULONGLONG limit) {
  using Here = Kind<Layout>;
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return QVERR_RIFF_READ;
  const auto file_size = static_cast<ULONGLONG>(size.QuadPart);
  const auto bound = static_cast<LONGLONG>(std::min(file_size, limit));
  WAVEFORMATEX format;
  if (!seek(file, Here::kRecordAt) || !read_exact(file, &format, sizeof format)) return QVERR_RIFF_READ;
  mend(format, Defaults(hint));
  if (format.nBlockAlign == 0) return QVERR_BADFORMAT;

  LONGLONG audio = 0;
  const HRESULT found = find_audio<Layout>(file, Here::kSearchFrom, bound, Here::kData, audio);
  if (FAILED(found)) return found;
  const auto start = static_cast<ULONGLONG>(audio);
  const ULONGLONG there = std::min(start < file_size ? file_size - start : 0, Here::kMostData);
  return Here::insert(file, format, there - there % format.nBlockAlign, start);
}

template <class Layout>
HRESULT repair_in_place(HANDLE file, const WAVEFORMATEX* hint, ULONGLONG limit) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = repair<Layout>(file, hint, limit);
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_READ;
}

} // namespace

HRESULT QvFixTrashedWav(HANDLE file, const WAVEFORMATEX* hint, DWORD limit) {
  return repair_in_place<RiffLayout>(file, hint, limit);
}

HRESULT QvFixTrashedW64(HANDLE file, const WAVEFORMATEX* hint, ULONGLONG limit) {
  return repair_in_place<Wave64Layout>(file, hint, limit);
}
