// Decoding through libsndfile.
#include "tools/qv/failure.h"
#include "tools/qv/file/codec/coded_audio.h"
#include "tools/qv/file/codec/sound_library.h"

#include "qv/audio_kernels.h"

#include <algorithm>

namespace qv::tool {

namespace {

/// What libsndfile says where it does not know how many frames there are.
constexpr sf_count_t kUnknown = SF_COUNT_MAX;

/// What comes of a coding, and the tag of a plain wave header that names it.
struct Coding {
  int subtype;
  QVSAMPLETYPE type;
  WORD tag;
};

constexpr Coding kCodings[] = {
    {SF_FORMAT_PCM_S8, QVSAMPLE_PCM16, 0xF1AC},         {SF_FORMAT_PCM_16, QVSAMPLE_PCM16, 0xF1AC},
    {SF_FORMAT_PCM_24, QVSAMPLE_PCM24, 0xF1AC},         {SF_FORMAT_VORBIS, QVSAMPLE_FLOAT32, 0x566F},
    {SF_FORMAT_MPEG_LAYER_I, QVSAMPLE_FLOAT32, 0x50},   {SF_FORMAT_MPEG_LAYER_II, QVSAMPLE_FLOAT32, 0x50},
    {SF_FORMAT_MPEG_LAYER_III, QVSAMPLE_FLOAT32, 0x55}, {SF_FORMAT_OPUS, QVSAMPLE_FLOAT32, 0x704F},
};

/// Of all others, ADPCM and GSM among them.
constexpr Coding kOther = {0, QVSAMPLE_PCM16, 0};

const Coding& coding_of(int format) {
  const auto found = std::find_if(std::begin(kCodings), std::end(kCodings),
                                  [&](const Coding& row) { return row.subtype == (format & SF_FORMAT_SUBMASK); });
  return found == std::end(kCodings) ? kOther : *found;
}

} // namespace

struct CodedReader::Stream {
  explicit Stream(const AudioFile& audio)
      : library(sound_library(audio.name)), name(audio.name), file{audio.file},
        stream(library.open_virtual(&VirtualFile::functions(), SFM_READ, &info, &file)) {
    if (!stream) check_reading();
    if (!stream) throw Failure(audio.name, "its compressed audio cannot be read: " + reason());
  }
  ~Stream() { library.close(stream); }
  /// Why the stream could not be opened. Of bytes that it does not know libsndfile says that there may be no file.
  std::string reason() const {
    const std::string text = library.strerror(nullptr);
    return text.find("does not exist") == std::string::npos ? text : "it is of no kind that libsndfile knows";
  }
  /// Throws Failure where reading failed: to the decoder it looks like the end of the file.
  void check_reading() const {
    if (file.error != ERROR_SUCCESS) throw Failure(name, system_error_text(file.error));
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  const SoundLibrary& library;
  std::string name;
  VirtualFile file;
  SF_INFO info = {};
  SNDFILE* stream;
  std::vector<int> wide; ///< 24 bits as libsndfile gives them: in the upper ones of 32
};

CodedReader::CodedReader(const AudioFile& audio) {
  const Silence silence;
  stream_ = std::make_unique<Stream>(audio);
  const SF_INFO& info = stream_->info;
  if (info.samplerate <= 0 || info.channels <= 0 || info.channels > 1024)
    throw Failure(audio.name, "its compressed audio has no usable format");
  format_.Init(static_cast<DWORD>(info.samplerate), coding_of(info.format).type, static_cast<WORD>(info.channels), 0,
               sizeof format_);
  // A header's count is believed when the last of the frames can be decoded.
  const auto said = static_cast<uint64_t>(std::max<sf_count_t>(info.frames, 0));
  const bool is_known = info.frames < kUnknown;
  frames_ = said;
  if (said == 0) return;
  if (!is_known || !can_reach(said - 1)) {
    stream_ = std::make_unique<Stream>(audio);
    frames_ = count_by_decoding();
    is_cut_ = is_known && frames_ < said;
  }
  stream_ = std::make_unique<Stream>(audio);
}

CodedReader::~CodedReader() = default;

CodedTexts CodedReader::texts() const { return read_coded_texts(stream_->library, stream_->stream); }

WORD CodedReader::format_tag() const { return coding_of(stream_->info.format).tag; }

bool CodedReader::can_reach(uint64_t frame) {
  std::vector<BYTE> one(format_.blockAlign);
  const auto place = static_cast<sf_count_t>(frame);
  return stream_->library.seek(stream_->stream, place, SEEK_SET) == place && read(one.data(), 1);
}

uint64_t CodedReader::count_by_decoding() {
  constexpr DWORD kBlock = 4096;
  std::vector<BYTE> block(size_t{kBlock} * format_.blockAlign);
  uint64_t there = 0;
  while (const DWORD count = read_some(block.data(), kBlock))
    there += count;
  return there;
}

bool CodedReader::read(void* buffer, DWORD frames) { return read_some(buffer, frames) == frames; }

DWORD CodedReader::read_some(void* buffer, DWORD frames) {
  const DWORD count = decode(buffer, frames);
  stream_->check_reading();
  return count;
}

DWORD CodedReader::decode(void* buffer, DWORD frames) {
  const Silence silence;
  const auto checked = [](sf_count_t count) { return static_cast<DWORD>(std::max<sf_count_t>(count, 0)); };
  const SoundLibrary& library = stream_->library;
  SNDFILE* const stream = stream_->stream;
  switch (format_.sampleType) {
  case QVSAMPLE_PCM16: return checked(library.readf_short(stream, static_cast<short*>(buffer), frames));
  case QVSAMPLE_FLOAT32: return checked(library.readf_float(stream, static_cast<float*>(buffer), frames));
  default: break;
  }
  std::vector<int>& wide = stream_->wide;
  wide.resize(std::max(wide.size(), size_t{frames} * format_.channels));
  const DWORD count = checked(library.readf_int(stream, wide.data(), frames));
  const auto narrow = QvAudio_GetCopyFunction2(QVSAMPLE_PCM24, QVSAMPLE_PCM32);
  narrow(buffer, wide.data(), static_cast<LONG>(count * format_.channels), 1.0f);
  return count;
}

} // namespace qv::tool
