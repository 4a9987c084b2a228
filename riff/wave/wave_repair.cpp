// New headers for damaged files, from what can be salvaged.
#include "riff/chunk/chunk_walk.h"
#include "riff/wave/wave_header.h"

#include "qv/wave_file.h"

#include <algorithm>
#include <limits>

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

/// What announces the audio in a file that is searched byte by byte: "data", or its GUID.
struct Mark {
  const void* bytes;
  size_t length;
  LONGLONG audio; ///< from the mark's start to the audio's
};

/// Searches from `from` on, in blocks that overlap by a mark's length. `audio` is `bound` where the search passes it in
/// vain. QVERR_RIFF_NOTFOUND where the file ends first.
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

/// Walks the chunks from `from` on, and searches where the walk fails. `bound` is the number of bytes that the walk may
/// pass, and the offset at which the search ends.
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

template <class Layout>
HRESULT repair(HANDLE file, const WAVEFORMATEX* hint, ULONGLONG limit) {
  using Wave = WaveHeader<Layout>;
  using Count = typename Layout::Count;
  constexpr ULONGLONG kMaxSize = std::numeric_limits<Count>::max();
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return QVERR_RIFF_READ;
  const auto file_size = static_cast<ULONGLONG>(size.QuadPart);
  const auto bound = static_cast<LONGLONG>(std::min(file_size, limit));
  WAVEFORMATEX format;
  if (!seek(file, Wave::kRecordAt) || !read_exact(file, &format, sizeof format)) return QVERR_RIFF_READ;
  mend(format, Defaults(hint));
  if (format.nBlockAlign == 0) return QVERR_BADFORMAT;

  LONGLONG audio = 0;
  const HRESULT found = find_audio<Layout>(file, Wave::kFormatEnd, bound, Wave::kData, audio);
  if (FAILED(found)) return found;
  const auto start = static_cast<ULONGLONG>(audio);
  if (start > kMaxSize) return QVERR_RIFF_BADSIZE;
  const ULONGLONG there = std::min(start < file_size ? file_size - start : 0, kMaxSize);
  return insert_header<Layout>(file, format, static_cast<Count>(there - there % format.nBlockAlign),
                               static_cast<Count>(start));
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
