// Encoding through libsndfile.
#include "tools/qv/failure.h"
#include "tools/qv/file/codec/coded_audio.h"
#include "tools/qv/file/codec/sound_library.h"

#include "qv/audio_kernels.h"

#include <algorithm>

namespace qv::tool {

namespace {

int format_of(Container container, QVSAMPLETYPE type) {
  if (container == Container::kOgg) return SF_FORMAT_OGG | SF_FORMAT_VORBIS;
  const int bits = type == QVSAMPLE_PCM8    ? SF_FORMAT_PCM_S8
                   : type == QVSAMPLE_PCM16 ? SF_FORMAT_PCM_16
                                            : SF_FORMAT_PCM_24;
  return SF_FORMAT_FLAC | bits;
}

} // namespace

struct CodedWriter::Stream {
  Stream(const std::string& name, HANDLE handle, Container container, const _qvwaveformat& described)
      : library(sound_library(name)), file{handle}, format(described) {
    info.samplerate = static_cast<int>(format.samplesPerSec);
    info.channels = format.channels;
    info.format = format_of(container, format.sampleType);
    stream = library.open_virtual(&VirtualFile::functions(), SFM_WRITE, &info, &file);
    if (!stream) throw Failure(name, "cannot be encoded: " + std::string(library.strerror(nullptr)));
  }
  ~Stream() {
    if (stream) library.close(stream);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  const SoundLibrary& library;
  VirtualFile file;
  _qvwaveformat format;
  SF_INFO info = {};
  SNDFILE* stream = nullptr;
  std::vector<BYTE> block; ///< integers as libsndfile takes them
};

CodedWriter::CodedWriter(const std::string& name, HANDLE file, Container container, const _qvwaveformat& format)
    : stream_(std::make_unique<Stream>(name, file, container, format)) {}

CodedWriter::~CodedWriter() = default;

bool CodedWriter::write_texts(const CodedTexts& texts) {
  return write_coded_texts(stream_->library, stream_->stream, texts);
}

bool CodedWriter::write(const void* samples, DWORD frames) {
  constexpr DWORD kPart = 4096; // the encoder of Vorbis takes room on the stack for all that it gets at once
  Stream& to = *stream_;
  const QVSAMPLETYPE type = to.format.sampleType;
  const QVSAMPLETYPE taken = type == QVSAMPLE_PCM8 ? QVSAMPLE_PCM16 : type == QVSAMPLE_PCM24 ? QVSAMPLE_PCM32 : type;
  const auto copy = QvAudio_GetCopyFunction2(taken, type);
  const auto* from = static_cast<const BYTE*>(samples);
  for (DWORD done = 0; done < frames;) {
    const DWORD part = std::min(frames - done, kPart);
    const size_t count = size_t{part} * to.format.channels;
    to.block.resize(std::max(to.block.size(), count * sizeof(int)));
    void* const block = to.block.data();
    copy(block, from, static_cast<LONG>(count), 1.0f);
    const sf_count_t written =
        taken == QVSAMPLE_PCM16   ? to.library.writef_short(to.stream, static_cast<short*>(block), part)
        : taken == QVSAMPLE_PCM32 ? to.library.writef_int(to.stream, static_cast<int*>(block), part)
                                  : to.library.writef_float(to.stream, static_cast<float*>(block), part);
    if (written != part || to.file.error != ERROR_SUCCESS) {
      SetLastError(to.file.error);
      return false;
    }
    from += size_t{part} * to.format.blockAlign;
    done += part;
  }
  return true;
}

bool CodedWriter::finish() {
  const bool closed = stream_->library.close(std::exchange(stream_->stream, nullptr)) == 0;
  SetLastError(stream_->file.error);
  return closed && stream_->file.error == ERROR_SUCCESS;
}

} // namespace qv::tool
