#include "tools/qv/file/sample_reader.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/sample_bytes.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

/// Throws the reason why a file's samples cannot be read.
[[noreturn]] void refuse(const AudioFile& audio) {
  const _qvwaveformat& format = audio.format();
  const DWORD bits = format.BitsPerSample();
  if (is_pcm_or_float(format.FormatTag()) && bits <= 64)
    throw Failure(audio.name, "a block align of " + std::to_string(audio.wave_header()->nBlockAlign) +
                                  " does not fit " + std::to_string(format.channels) + " channels of " +
                                  std::to_string(bits) + " bits");
  WCHAR text[64];
  QvAudio_GetTagText(format.FormatTag(), text, 64);
  throw Failure(audio.name, "the format is compressed or unknown (" + utf8(text) + ", tag " +
                                std::to_string(format.FormatTag()) + ", " + std::to_string(bits) +
                                " bits): its samples cannot be read");
}

} // namespace

SampleReader::SampleReader(const AudioFile& audio)
    : audio_(audio), coding_(coding_of(audio)), frames_(audio.frames), position_(audio.audio_start) {
  if (coding_.type == QVSAMPLE_NONE) refuse(audio);
  format_.Init(audio.format().samplesPerSec, coding_.type, audio.format().channels, audio.format().channelMask,
               sizeof format_);
}

void SampleReader::read_bytes(void* buffer, size_t bytes) {
  DWORD done = 0;
  if (!move_to(audio_.file, position_) || !ReadFile(audio_.file, buffer, static_cast<DWORD>(bytes), &done, nullptr))
    throw Failure(audio_.name, system_error_text(GetLastError()));
  if (done != bytes) throw Failure(audio_.name, "the file became shorter while it was read");
  position_ += bytes;
}

void SampleReader::read(void* buffer, DWORD frames) {
  const size_t samples = size_t{frames} * format_.channels;
  const size_t bytes = samples * coding_.stored_bytes;
  auto* place = static_cast<BYTE*>(buffer);
  if (coding_.expand) {
    stored_.resize(std::max(stored_.size(), bytes));
    place = stored_.data();
  }
  read_bytes(place, bytes);
  if (audio_.has_reversed_bytes) reverse_samples(place, samples, coding_.stored_bytes);
  if (coding_.expand) coding_.expand(buffer, place, samples, coding_.stored_bytes);
}

} // namespace qv::tool
