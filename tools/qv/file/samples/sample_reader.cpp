#include "tools/qv/file/samples/sample_reader.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/samples/sample_bytes.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

void require_block_align(const AudioFile& audio) {
  const _qvwaveformat& format = audio.format();
  if (!is_pcm_or_float(format.FormatTag()) || format.BitsPerSample() > 64) return;
  throw Failure(audio.name, "a block align of " + std::to_string(audio.wave_header()->nBlockAlign) + " does not fit " +
                                std::to_string(format.channels) + " channels of " +
                                std::to_string(format.BitsPerSample()) + " bits");
}

/// Refuses a format of a wave or AIFF file that libsndfile does not take either.
[[noreturn]] void refuse(const AudioFile& audio, const Failure& failure) {
  const _qvwaveformat& format = audio.format();
  WCHAR text[64];
  QvAudio_GetTagText(format.FormatTag(), text, 64);
  const std::string why = std::string(failure.what()).substr(audio.name.size() + 2);
  throw Failure(audio.name, "the format is compressed or unknown (" + utf8(text) + ", tag " +
                                std::to_string(format.FormatTag()) + ", " + std::to_string(format.BitsPerSample()) +
                                " bits): " + why);
}

bool is_all_coded(const AudioFile& audio) {
  return audio.kind == Container::kFlac || audio.kind == Container::kOgg || audio.kind == Container::kMp3;
}

/// The count without what fills up the last block, and with some writers another one: the "fact" chunk has it.
uint64_t true_frames(const AudioFile& audio, uint64_t decoded) {
  const bool has_block_frames = audio.wave_header()->cbSize >= 2;
  const uint64_t block_frames = has_block_frames ? audio.header[18] | audio.header[19] << 8 : 0;
  return audio.frames <= decoded && decoded - audio.frames < 2 * block_frames ? audio.frames : decoded;
}

} // namespace

SampleReader::SampleReader(const AudioFile& audio)
    : audio_(audio), coding_(coding_of(audio)), frames_(audio.frames), position_(audio.audio_start) {
  if (coding_.type == QVSAMPLE_NONE) {
    open_coded();
    return;
  }
  format_.Init(audio.format().samplesPerSec, coding_.type, audio.format().channels, audio.format().channelMask,
               sizeof format_);
}

void SampleReader::open_coded() {
  require_block_align(audio_);
  if (is_all_coded(audio_)) {
    coded_ = std::make_unique<CodedReader>(audio_);
  } else {
    try {
      coded_ = std::make_unique<CodedReader>(audio_);
    } catch (const Failure& failure) {
      refuse(audio_, failure);
    }
    frames_ = true_frames(audio_, coded_->frames());
  }
  format_ = coded_->format();
}

void SampleReader::read_bytes(void* buffer, size_t bytes) {
  DWORD done = 0;
  if (!move_to(audio_.file, position_) || !ReadFile(audio_.file, buffer, static_cast<DWORD>(bytes), &done, nullptr))
    throw Failure(audio_.name, system_error_text(GetLastError()));
  if (done != bytes) throw Failure(audio_.name, "the file became shorter while it was read");
  position_ += bytes;
}

void SampleReader::read(void* buffer, DWORD frames) {
  if (coded_) {
    if (!coded_->read(buffer, frames)) throw Failure(audio_.name, "its compressed audio ends before it should");
    return;
  }
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
