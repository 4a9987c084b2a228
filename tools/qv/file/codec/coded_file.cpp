// How a file is read that is nothing but compressed audio: FLAC, Ogg, MP3.
#include "tools/qv/file/codec/coded_audio.h"
#include "tools/qv/file/container_readers.h"

namespace qv::tool {

namespace {

void read_coded(AudioFile& audio, Container kind) {
  audio.kind = kind;
  audio.container = name_of(kind);
  audio.form_start = 0;
  const CodedReader reader(audio);
  audio.header.assign(sizeof(WAVEFORMATEXTENSIBLE), 0);
  auto& format = *reinterpret_cast<WAVEFORMATEX*>(audio.header.data());
  format.wFormatTag = reader.format_tag();
  format.nChannels = reader.format().channels;
  format.nSamplesPerSec = reader.format().samplesPerSec;
  format.nBlockAlign = 1;
  if (kind == Container::kFlac) format.wBitsPerSample = static_cast<WORD>(reader.format().BitsPerSample());
  audio.record.format.Init(sizeof audio.record, format);
  audio.audio_bytes = audio.file_bytes;
  audio.frames = reader.frames();
  audio.coded_texts = reader.texts();
  if (reader.is_cut())
    audio.warnings.push_back("the header says more frames than can be decoded: " + std::to_string(audio.frames) +
                             " are read");
}

} // namespace

void read_flac(AudioFile& audio) { read_coded(audio, Container::kFlac); }
void read_ogg(AudioFile& audio) { read_coded(audio, Container::kOgg); }
void read_mp3(AudioFile& audio) { read_coded(audio, Container::kMp3); }

} // namespace qv::tool
