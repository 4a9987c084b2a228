// AIFF and AIFF-C: recognition, and the format of the audio.
#include "riff/chunk/chunk_walk.h"
#include "riff/iff/iff_layout.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr DWORD kCommonBytes = 18;     ///< of a "COMM" chunk, without the compression type
constexpr DWORD kCompressionBytes = 4; ///< behind them in AIFF-C
constexpr DWORD kSoundHeaderBytes = 8; ///< offset and block size in an "SSND" chunk
constexpr DWORD kNotCompressed = QvIffId("NONE");
constexpr DWORD kLittleEndian = QvIffId("sowt");

DWORD dword_at(const BYTE* bytes) { return DWORD{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3]; }
WORD word_at(const BYTE* bytes) { return static_cast<WORD>(bytes[0] << 8 | bytes[1]); }

/// The compression type of an AIFF-C file that stands behind its form type; 0 without one.
DWORD compression_type(HANDLE file, DWORD form_size) {
  DWORD remaining = form_size < 4 ? 0 : form_size - 4;
  DWORD size = 0;
  BYTE common[kCommonBytes + kCompressionBytes];
  if (FAILED(iff_FindChunkHeader(file, QVIFF_ID_COMM, &size, &remaining)) || size < sizeof common) return 0;
  return read_exact(file, common, sizeof common) ? dword_at(common + kCommonBytes) : 0;
}

WORD format_tag(WORD bits, bool little_endian) {
  if (bits == 8) return QVAIFF_TAG_8BIT;
  return little_endian ? WORD{WAVE_FORMAT_PCM} : QVAIFF_TAG_BIG_ENDIAN;
}

HRESULT read_common(HANDLE file, bool little_endian, WAVEFORMATEX& format, DWORD& frames) {
  DWORD size = 0;
  const HRESULT found = iff_FindChunkFromStart(file, QVIFF_ID_COMM, &size, nullptr);
  if (FAILED(found)) return found;
  if (size < kCommonBytes) return QVERR_RIFF_BADSIZE;
  BYTE common[kCommonBytes];
  if (!read_exact(file, common, sizeof common)) return QVERR_RIFF_READ;
  frames = dword_at(common + 2);
  format = {};
  format.nChannels = word_at(common);
  format.wBitsPerSample = word_at(common + 6);
  format.nSamplesPerSec = aiff_ConvertRate(word_at(common + 8), word_at(common + 10), word_at(common + 12),
                                           word_at(common + 14), word_at(common + 16));
  format.wFormatTag = format_tag(format.wBitsPerSample, little_endian);
  const auto align = static_cast<WORD>(format.wBitsPerSample / 8 * format.nChannels);
  format.nBlockAlign = align == 0 ? WORD{1} : align;
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
  return S_OK;
}

/// Moves to the audio; `bytes` is what the chunk and the file have of it.
HRESULT find_sound(HANDLE file, ULONGLONG& start, ULONGLONG& bytes) {
  DWORD size = 0;
  const HRESULT found = iff_FindChunkFromStart(file, QVIFF_ID_SSND, &size, nullptr);
  if (FAILED(found)) return found;
  if (size < kSoundHeaderBytes) return QVERR_RIFF_BADSIZE;
  BYTE sound_header[kSoundHeaderBytes];
  LONGLONG position = 0;
  if (!read_exact(file, sound_header, sizeof sound_header) || !tell(file, position) || !bytes_left(file, bytes))
    return QVERR_RIFF_READ;
  start = static_cast<ULONGLONG>(position);
  bytes = std::min<ULONGLONG>(bytes, size - kSoundHeaderBytes);
  return S_OK;
}

template <class Value, class Result>
void store(Value* out, Result value) {
  if (out) *out = static_cast<Value>(value);
}

} // namespace

LONG iff_IsAIFFFile(HANDLE file, DWORD* formSize) { return iff_IsAIFFFileEx(file, formSize, nullptr, nullptr); }

LONG iff_IsAIFFFileEx(HANDLE file, DWORD* formSize, LONG* isAifc, LONG* isLittleEndian) {
  store(isAifc, 0);
  store(isLittleEndian, 0);
  const KeptPosition kept(file);
  QVIFFCHUNK header;
  DWORD type = 0;
  if (!kept.known() || !seek(file, 0) || FAILED(iff_ReadFormType(file, &header, &type))) return 0;
  store(formSize, header.size);
  if (type == QVIFF_FORM_AIFF) return 1;
  if (type != QVIFF_FORM_AIFC) return 0;
  store(isAifc, 1);
  const DWORD compression = compression_type(file, header.size);
  store(isLittleEndian, compression == kLittleEndian ? 1 : 0);
  const bool usable = compression == kNotCompressed || compression == kLittleEndian;
  return kept.restore() && usable ? 1 : 0;
}

HRESULT iff_GetAIFFWfx(HANDLE file, WAVEFORMATEX* format, DWORD* frames, ULONGLONG* dataStart, ULONGLONG* dataBytes) {
  if (!format) return E_INVALIDARG;
  LONG little_endian = 0;
  if (iff_IsAIFFFileEx(file, nullptr, nullptr, &little_endian) == 0) return QVERR_RIFF_WRONGFORM;
  WAVEFORMATEX described;
  DWORD count = 0;
  HRESULT result = read_common(file, little_endian != 0, described, count);
  ULONGLONG start = 0;
  ULONGLONG bytes = 0;
  if (SUCCEEDED(result)) result = find_sound(file, start, bytes);
  if (FAILED(result)) return result;
  *format = described;
  store(frames, count);
  store(dataStart, start);
  store(dataBytes, std::min(bytes, ULONGLONG{count} * described.nBlockAlign));
  return S_OK;
}
