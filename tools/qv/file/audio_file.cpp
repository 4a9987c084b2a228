#include "tools/qv/file/audio_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/file/samples/sample_coding.h"
#include "tools/qv/mp4/mp4_file.h"
#include "tools/qv/repair/header_doubts.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"

#include <string_view>

namespace qv::tool {

namespace {

struct Reader {
  std::string_view magic; ///< what its files begin with
  void (*read)(AudioFile& audio);
};

constexpr Reader kReaders[] = {{"riff", read_wave64}, {"FORM", read_aiff}, {"RIFF", read_riff}, {"RIFX", read_riff},
                               {"RF64", read_riff},   {"BW64", read_riff}, {"fLaC", read_flac}, {"OggS", read_ogg}};

std::string characters_at(const AudioFile& audio, uint64_t position, size_t count) {
  std::string characters(count, '\0');
  DWORD done = 0;
  if (!move_to(audio.file, position) ||
      !ReadFile(audio.file, characters.data(), static_cast<DWORD>(count), &done, nullptr))
    fail(audio, system_error_text(GetLastError()));
  characters.resize(done);
  return characters;
}

/// The bytes of an ID3v2 tag at the file's start; 0 where there is none.
uint64_t tag_bytes(const AudioFile& audio) {
  constexpr size_t kHeader = 10;
  constexpr unsigned kHasFooter = 0x10;
  const std::string header = characters_at(audio, 0, kHeader);
  if (header.size() < kHeader || !header.starts_with("ID3")) return 0;
  uint64_t bytes = kHeader + ((header[5] & kHasFooter) != 0 ? kHeader : 0);
  for (size_t k = 0; k < 4; ++k) // 7 bits each
    bytes += uint64_t{static_cast<BYTE>(header[6 + k]) & 0x7Fu} << 7 * (3 - k);
  return bytes;
}

/// Whether four bytes are the header of an MP3 frame: eleven bits that are set, and a version, layer, rate of bits and
/// of samples that exist.
bool is_mp3_frame(const std::string& start) {
  if (start.size() < 4) return false;
  const auto byte = [&](size_t k) { return static_cast<BYTE>(start[k]); };
  const unsigned version = byte(1) >> 3 & 3, layer = byte(1) >> 1 & 3, bit_rate = byte(2) >> 4, rate = byte(2) >> 2 & 3;
  return byte(0) == 0xFF && byte(1) >= 0xE0 && version != 1 && layer != 0 && bit_rate != 0 && bit_rate != 15 &&
         rate != 3;
}

/// The audio of an MP4 file is compressed, and nothing here decodes it.
void read_mp4(AudioFile& audio) {
  fail(audio, "it is an MP4 file, whose audio is not decoded; \"qv info\" describes it");
}

/// The reader of what stands behind a tag of some bytes.
auto reader_of(const AudioFile& audio, uint64_t tag) {
  const std::string start = characters_at(audio, tag, 4);
  for (const Reader& reader : kReaders)
    if (start.starts_with(reader.magic)) return reader.read;
  if (is_box_file_start(characters_at(audio, tag, 8))) return read_mp4;
  // What is no container at all is refused by the reader of RIFF.
  return tag != 0 || is_mp3_frame(start) ? read_mp3 : read_riff;
}

} // namespace

void fail(const AudioFile& audio, const std::string& reason) { throw Failure(audio.name, reason); }

void warn_of_many_chunks(AudioFile& audio) {
  const std::string count = std::to_string(kMaxChunks);
  audio.warnings.emplace_back("it has more than " + count + " chunks: those behind them are not looked at");
}

void check_format(AudioFile& audio) {
  const WAVEFORMATEX& format = *audio.wave_header();
  if (format.nChannels == 0) fail(audio, "the format has no channels");
  if (format.nSamplesPerSec == 0) fail(audio, "the format has a sample rate of 0");
  if (format.nBlockAlign == 0) fail(audio, "the format has a block align of 0");
  if (audio.format().FormatTag() == QVTAG_BIGENDIAN) audio.has_reversed_bytes = true;
  const SampleCoding coding = coding_of(audio);
  if (coding.type == QVSAMPLE_NONE) {
    if (!audio.format().IsCompressed() && audio.format().blockAlign != 0)
      audio.frames = audio.audio_bytes / audio.format().blockAlign;
    return;
  }
  audio.frames = audio.audio_bytes / format.nBlockAlign;
  // Left-justified in an extensible format, which the library's type is not.
  if (audio.format().sampleType == QVSAMPLE_PCM24IN32) audio.record.format.sampleType = coding.type;
}

AudioFile inspect_audio_file(const std::string& name) {
  AudioFile audio;
  audio.name = name;
  audio.file = open_existing(name, GENERIC_READ, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN);
  inspect_headers(audio);
  return audio;
}

void inspect_headers(AudioFile& audio) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(audio.file, &size)) fail(audio, system_error_text(GetLastError()));
  audio.file_bytes = static_cast<uint64_t>(size.QuadPart);
  if (audio.file_bytes == 0) fail(audio, "the file is empty");
  audio.form_start = tag_bytes(audio);
  const auto read = reader_of(audio, audio.form_start);
  if (!move_to(audio.file, audio.form_start)) fail(audio, system_error_text(GetLastError()));
  read(audio);
  note_doubts(audio);
}

AudioFile read_audio_file(const std::string& name) {
  AudioFile audio = inspect_audio_file(name);
  for (const std::string& warning : audio.warnings)
    print_warning(audio.name, warning);
  return audio;
}

uint64_t duration_of(const AudioFile& audio) {
  constexpr uint64_t kPerSecond = 10'000'000;
  // In two steps, because a file of any size has to fit.
  const auto duration = [](uint64_t amount, uint64_t per_second) {
    return amount / per_second * kPerSecond + amount % per_second * kPerSecond / per_second;
  };
  const _qvwaveformat& format = audio.format();
  if (!format.IsCompressed() || audio.frames != 0) return duration(audio.frames, format.samplesPerSec);
  return format.avgBytesPerSec == 0 ? 0 : duration(audio.audio_bytes, format.avgBytesPerSec);
}

} // namespace qv::tool
