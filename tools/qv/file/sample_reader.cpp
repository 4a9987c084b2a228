#include "tools/qv/file/sample_reader.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"

namespace qv::tool {

namespace {

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
