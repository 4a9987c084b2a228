// How an AIFF or AIFF-C file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"

#include "qv/iff.h"

#include <algorithm>
#include <iterator>

namespace qv::tool {

namespace {

constexpr uint64_t kFileHeader = 12;
constexpr uint64_t kChunkHeader = 8;
constexpr DWORD kCommonBytes = 18;   ///< of a "COMM" chunk, behind which AIFF-C has the type of compression
constexpr uint64_t kSoundHeader = 8; ///< offset and block size in an "SSND" chunk

/// What a type of compression stores. Without a tag: integers of the bits that "COMM" says.
struct Compression {
  DWORD id; ///< its characters in file order
  WORD tag;
  WORD bits;
  bool is_little_endian;
};

constexpr Compression kCompressions[] = {
    {QvFourCC("NONE"), 0, 0, false},
    {QvFourCC("twos"), 0, 0, false},
    {QvFourCC("sowt"), 0, 0, true},
    {QvFourCC("raw "), WAVE_FORMAT_PCM, 8, false},
    {QvFourCC("in24"), QVAIFF_TAG_BIG_ENDIAN, 24, false},
    {QvFourCC("in32"), QVAIFF_TAG_BIG_ENDIAN, 32, false},
    {QvFourCC("23ni"), WAVE_FORMAT_PCM, 24, true},
    {QvFourCC("42ni"), WAVE_FORMAT_PCM, 24, true},
    {QvFourCC("fl32"), WAVE_FORMAT_IEEE_FLOAT, 32, false},
    {QvFourCC("FL32"), WAVE_FORMAT_IEEE_FLOAT, 32, false},
    {QvFourCC("fl64"), WAVE_FORMAT_IEEE_FLOAT, 64, false},
    {QvFourCC("FL64"), WAVE_FORMAT_IEEE_FLOAT, 64, false},
    {QvFourCC("alaw"), WAVE_FORMAT_ALAW, 8, false},
    {QvFourCC("ALAW"), WAVE_FORMAT_ALAW, 8, false},
    {QvFourCC("ulaw"), WAVE_FORMAT_MULAW, 8, false},
    {QvFourCC("ULAW"), WAVE_FORMAT_MULAW, 8, false},
};

DWORD big_endian(const BYTE* bytes) { return DWORD{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3]; }
WORD big_endian_word(const BYTE* bytes) { return static_cast<WORD>(bytes[0] << 8 | bytes[1]); }
DWORD id_at(const BYTE* bytes) { return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | DWORD{bytes[3]} << 24; }

/// Reads bytes at a place that the file has.
void read_at(const AudioFile& audio, uint64_t position, BYTE* bytes, DWORD count) {
  DWORD done = 0;
  if (!move_to(audio.file, position) || !ReadFile(audio.file, bytes, count, &done, nullptr) || done != count)
    fail(audio, result_text(QVERR_RIFF_READ));
}

const ChunkEntry* find(const AudioFile& audio, const char (&id)[5]) {
  const auto found = std::find_if(audio.chunks.begin(), audio.chunks.end(),
                                  [&](const ChunkEntry& chunk) { return chunk.id == QvFourCC(id); });
  return found == audio.chunks.end() ? nullptr : &*found;
}

/// Lists the chunks of the form; behind its end those that the file has, as long as format or audio are missing.
void list_chunks(AudioFile& audio, uint64_t form_end) {
  bool has_common = false;
  bool has_sound = false;
  for (uint64_t position = audio.form_start + kFileHeader;
       position + kChunkHeader <= (has_common && has_sound ? form_end : audio.file_bytes);) {
    if (audio.chunks.size() == kMaxChunks) return warn_of_many_chunks(audio);
    BYTE header[kChunkHeader];
    read_at(audio, position, header, sizeof header);
    const DWORD size = big_endian(header + 4);
    audio.chunks.push_back({id_at(header), 0, position, size, position + kChunkHeader});
    has_common |= audio.chunks.back().id == QvFourCC("COMM");
    has_sound |= audio.chunks.back().id == QvFourCC("SSND");
    position += kChunkHeader + uint64_t{size} + size % 2;
  }
}

/// The rate of an 80-bit number, sign and exponent in front of 64 bits of mantissa; 0 for one that is no rate.
DWORD rate_at(const BYTE* bytes) {
  constexpr int kBias = 16383;
  const int exponent = big_endian_word(bytes) - kBias; // huge for a negative number
  if (exponent < 0 || exponent > 31) return 0;
  const uint64_t mantissa = uint64_t{big_endian(bytes + 2)} << 32 | big_endian(bytes + 6);
  return static_cast<DWORD>(mantissa >> (63 - exponent));
}

/// The type of compression of a "COMM" chunk; of AIFF files "NONE".
Compression compression_of(const AudioFile& audio, const ChunkEntry& common) {
  BYTE id[4] = {'N', 'O', 'N', 'E'};
  if (audio.kind == Container::kAifc) {
    if (common.size < kCommonBytes + sizeof id) fail(audio, "is AIFF-C without a compression type");
    read_at(audio, common.data + kCommonBytes, id, sizeof id);
  }
  const auto known = std::find_if(std::begin(kCompressions), std::end(kCompressions),
                                  [&](const Compression& row) { return row.id == id_at(id); });
  return known != std::end(kCompressions) ? *known : Compression{id_at(id), WAVE_FORMAT_UNKNOWN, 1, false};
}

/// Reads the format, and answers the count of frames.
uint64_t read_common(AudioFile& audio, const ChunkEntry& chunk) {
  if (chunk.size < kCommonBytes) fail(audio, result_text(QVERR_RIFF_BADSIZE));
  BYTE common[kCommonBytes];
  read_at(audio, chunk.data, common, sizeof common);
  const Compression compression = compression_of(audio, chunk);
  audio.header.assign(sizeof(WAVEFORMATEXTENSIBLE), 0);
  auto& format = *reinterpret_cast<WAVEFORMATEX*>(audio.header.data());
  format.nChannels = big_endian_word(common);
  format.nSamplesPerSec = rate_at(common + 8);
  format.wBitsPerSample = compression.bits != 0 ? compression.bits : big_endian_word(common + 6);
  format.wFormatTag = compression.tag;
  if (compression.bits == 0 && format.wBitsPerSample <= 8)
    format.wFormatTag = QVAIFF_TAG_8BIT;
  else if (compression.bits == 0)
    format.wFormatTag = compression.is_little_endian ? WORD{WAVE_FORMAT_PCM} : QVAIFF_TAG_BIG_ENDIAN;
  const DWORD align = (format.wBitsPerSample + 7u) / 8 * format.nChannels;
  if (align > 0xFFFF) fail(audio, "its frames are too large: " + std::to_string(align) + " bytes");
  format.nBlockAlign = static_cast<WORD>(align);
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
  audio.record.format.Init(sizeof audio.record, format);
  audio.has_reversed_bytes = !compression.is_little_endian;
  return big_endian(common + 2);
}

/// Notes where the audio lies: what the chunk, the count of frames and the file have of it.
void take_sound(AudioFile& audio, const ChunkEntry& chunk, uint64_t frames) {
  BYTE header[kSoundHeader];
  const uint64_t held = audio.file_bytes - std::min(audio.file_bytes, chunk.data);
  if (chunk.size < sizeof header || held < sizeof header) fail(audio, result_text(QVERR_RIFF_BADSIZE));
  read_at(audio, chunk.data, header, sizeof header);
  const uint64_t bytes = std::min(chunk.size, held) - sizeof header;
  const uint64_t offset = std::min<uint64_t>(big_endian(header), bytes);
  audio.audio_start = chunk.data + sizeof header + offset;
  audio.audio_bytes = bytes - offset;
  const DWORD align = audio.wave_header()->nBlockAlign;
  if (align == 0 || audio.format().FormatTag() == WAVE_FORMAT_UNKNOWN) return;
  if (frames * align > audio.audio_bytes)
    audio.warnings.push_back("the header says " + std::to_string(frames) + " frames, the file holds " +
                             std::to_string(audio.audio_bytes / align) + ": they are read");
  audio.audio_bytes = std::min(audio.audio_bytes, frames * align);
}

} // namespace

void read_aiff(AudioFile& audio) {
  BYTE header[kFileHeader];
  if (audio.file_bytes - audio.form_start < sizeof header) fail(audio, "the file ends inside its header");
  read_at(audio, audio.form_start, header, sizeof header);
  const DWORD form = id_at(header + 8);
  if (form != QvFourCC("AIFF") && form != QvFourCC("AIFC")) fail(audio, "is an IFF file, but no AIFF");
  audio.kind = form == QvFourCC("AIFC") ? Container::kAifc : Container::kAiff;
  audio.container = name_of(audio.kind);
  audio.is_big_endian = true;
  list_chunks(audio, std::min(audio.form_start + 8 + uint64_t{big_endian(header + 4)}, audio.file_bytes));
  const ChunkEntry* const common = find(audio, "COMM");
  const ChunkEntry* const sound = find(audio, "SSND");
  if (!common || !sound) fail(audio, "has no \"COMM\" or no \"SSND\" chunk");
  take_sound(audio, *sound, read_common(audio, *common));
  check_format(audio);
}

} // namespace qv::tool
