// AIFF and AIFF-C: recognition, the format of the audio, and sample rates as 80-bit extended numbers.
#include "riff/chunk/chunk_layout.h"
#include "riff/chunk/chunk_reader.h"

#include "qv/iff.h"

#include <algorithm>
#include <cstdint>

using namespace qv::riff;

namespace {

constexpr DWORD kCommonBytes = 18;     ///< of a "COMM" chunk, without the compression type
constexpr DWORD kCompressionBytes = 4; ///< behind them in AIFF-C
constexpr DWORD kSoundHeaderBytes = 8; ///< offset and block size in an "SSND" chunk

constexpr WORD kBias = 16'383;
constexpr WORD kSign = 0x8000;
constexpr DWORD kRateOfNegatives = 44'100;
/// Doubling stops above this rate: files with larger ones are known by the first double above it.
constexpr double kDoubledWhile = 96'000.0;

DWORD dword_at(const BYTE* bytes) { return DWORD{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3]; }
WORD word_at(const BYTE* bytes) { return static_cast<WORD>(bytes[0] << 8 | bytes[1]); }

/// Returns the compression type of an AIFF-C file whose position is behind the form type; 0 without one.
DWORD compression_type(HANDLE file, DWORD form_size) {
  DWORD remaining = IffLayout::form_size(form_size);
  DWORD size = 0;
  if (FAILED(iff_FindChunkHeader(file, QVIFF_ID_COMM, &size, &remaining))) return 0;
  BYTE common[kCommonBytes + kCompressionBytes];
  ChunkReader reader(file, size, QVERR_RIFF_BADSIZE);
  return SUCCEEDED(reader.read(common, sizeof common)) ? dword_at(common + kCommonBytes) : 0;
}

WORD format_tag(WORD bits, bool little_endian) {
  if (bits == 8) return QVAIFF_TAG_8BIT;
  return little_endian ? WORD{WAVE_FORMAT_PCM} : QVAIFF_TAG_BIG_ENDIAN;
}

HRESULT read_common(HANDLE file, bool little_endian, WAVEFORMATEX& format, DWORD& frames) {
  DWORD size = 0;
  HRESULT result = iff_FindChunkFromStart(file, QVIFF_ID_COMM, &size, nullptr);
  if (FAILED(result)) return result;
  BYTE common[kCommonBytes];
  result = ChunkReader(file, size, QVERR_RIFF_BADSIZE).read(common, sizeof common);
  if (FAILED(result)) return result;
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

/// Moves to the audio. `bytes` is what both the chunk and the file have of it.
HRESULT find_sound(HANDLE file, ULONGLONG& start, ULONGLONG& bytes) {
  DWORD size = 0;
  HRESULT result = iff_FindChunkFromStart(file, QVIFF_ID_SSND, &size, nullptr);
  if (FAILED(result)) return result;
  BYTE sound_header[kSoundHeaderBytes];
  ChunkReader reader(file, size, QVERR_RIFF_BADSIZE);
  result = reader.read(sound_header, sizeof sound_header);
  if (FAILED(result)) return result;
  LONGLONG position = 0;
  if (!tell(file, position) || !bytes_left(file, bytes)) return QVERR_RIFF_READ;
  start = static_cast<ULONGLONG>(position);
  bytes = std::min(bytes, reader.left());
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
  store(isLittleEndian, compression == QVIFF_COMPRESSION_SOWT ? 1 : 0);
  const bool usable = compression == QVIFF_COMPRESSION_NONE || compression == QVIFF_COMPRESSION_SOWT;
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

// ---- sample rates --------------------------------------------------------------------------------------------------

DWORD aiff_ConvertRate(WORD exponent, WORD mantissa1, WORD mantissa2, WORD mantissa3, WORD mantissa4) {
  if ((exponent & kSign) != 0) return kRateOfNegatives;
  const double fraction =
      ((mantissa1 & 0x7FFF) + (mantissa2 + (mantissa3 + mantissa4 / 65'536.0) / 65'536.0) / 65'536.0) / 32'768.0;
  double value = ((mantissa1 & 0x8000) != 0 ? 1.0 : 0.0) + fraction;
  // A number below 1 wraps to a large count, and is doubled until it is large.
  const auto doublings = static_cast<uint16_t>(exponent - kBias);
  for (uint32_t i = 0; i < doublings && value <= kDoubledWhile; ++i)
    value *= 2.0;
  return static_cast<DWORD>(value);
}

void aiff_CreateRate(DWORD rate, WORD* exponent, WORD* mantissa1, WORD* mantissa2, WORD* mantissa3, WORD* mantissa4) {
  double value = rate;
  WORD doublings = 0;
  for (; value >= 2.0; value /= 2.0)
    ++doublings;
  *exponent = static_cast<WORD>(kBias + doublings);
  const bool has_one = value >= 1.0;
  double rest = (has_one ? value - 1.0 : value) * 32'768.0;
  *mantissa1 = static_cast<WORD>((has_one ? 0x8000 : 0) | static_cast<WORD>(rest));
  for (WORD* word : {mantissa2, mantissa3, mantissa4}) {
    rest = (rest - static_cast<WORD>(rest)) * 65'536.0;
    *word = static_cast<WORD>(rest);
  }
}
