#include "tools/qv/file/audio_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"

#include <string_view>

namespace qv::tool {

namespace {

struct Reader {
  std::string_view magic; ///< what its files begin with
  void (*read)(AudioFile& audio, Detail detail);
};

/// The last takes what no other does: RIFF wave, and what is no container at all, which its reader refuses.
constexpr Reader kReaders[] = {{"riff", read_wave64}, {"FORM", read_aiff}, {"", read_riff}};

std::string first_characters(const AudioFile& audio) {
  std::string characters(4, '\0');
  DWORD done = 0;
  if (!ReadFile(audio.file, characters.data(), 4, &done, nullptr) || !move_to(audio.file, 0))
    fail(audio, system_error_text(GetLastError()));
  characters.resize(done);
  return characters;
}

void require_samples(const AudioFile& audio) {
  const _qvwaveformat& format = audio.format();
  const DWORD tag = format.FormatTag();
  const DWORD bits = format.BitsPerSample();
  const DWORD block_align = audio.wave_header()->nBlockAlign;
  if (format.IsCompressed() || !QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, format.sampleType)) {
    WCHAR text[64];
    QvAudio_GetTagText(tag, text, 64);
    throw Failure(audio.name, "the format is compressed or unknown (" + utf8(text) + ", tag " + std::to_string(tag) +
                                  ", " + std::to_string(bits) + " bits): its samples cannot be read");
  }
  if (block_align != DWORD{format.channels} * format.BytesPerSample())
    throw Failure(audio.name, "a block align of " + std::to_string(block_align) + " does not fit " +
                                  std::to_string(format.channels) + " channels of " + std::to_string(bits) + " bits");
}

} // namespace

void fail(const AudioFile& audio, const std::string& reason) { throw Failure(audio.name, reason); }

void check_format(AudioFile& audio) {
  const WAVEFORMATEX& format = *audio.wave_header();
  if (format.nChannels == 0) fail(audio, "the format has no channels");
  if (format.nSamplesPerSec == 0) fail(audio, "the format has a sample rate of 0");
  if (format.nBlockAlign == 0) fail(audio, "the format has a block align of 0");
  if (!audio.format().IsCompressed())
    audio.frames = audio.format().blockAlign == 0 ? 0 : audio.audio_bytes / audio.format().blockAlign;
}

AudioFile inspect_audio_file(const std::string& name, Detail detail) {
  AudioFile audio;
  audio.name = name;
  audio.file = open_existing(name, GENERIC_READ, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN);
  LARGE_INTEGER size;
  if (!GetFileSizeEx(audio.file, &size)) fail(audio, system_error_text(GetLastError()));
  audio.file_bytes = static_cast<uint64_t>(size.QuadPart);
  if (audio.file_bytes == 0) fail(audio, "the file is empty");
  const std::string start = first_characters(audio);
  for (const Reader& reader : kReaders) {
    if (!start.starts_with(reader.magic)) continue;
    reader.read(audio, detail);
    break;
  }
  return audio;
}

AudioFile read_audio_file(const std::string& name, Detail detail) {
  AudioFile audio = inspect_audio_file(name, detail);
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

SampleReader::SampleReader(const AudioFile& audio) : audio_(audio), position_(audio.audio_start) {
  require_samples(audio);
}

void SampleReader::read(void* buffer, DWORD frames) {
  const DWORD bytes = frames * audio_.format().blockAlign;
  DWORD done = 0;
  if (!move_to(audio_.file, position_) || !ReadFile(audio_.file, buffer, bytes, &done, nullptr))
    throw Failure(audio_.name, system_error_text(GetLastError()));
  if (done != bytes) throw Failure(audio_.name, "the file became shorter while it was read");
  position_ += bytes;
}

} // namespace qv::tool
