#include "tools/qv/file/audio_output.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/samples/sample_bytes.h"

#include <iterator>

namespace qv::tool {

namespace {

/// The type of that name; for "" the source's own, or the nearest that a wave file usually has.
QVSAMPLETYPE nearest_type(const std::string& name, QVSAMPLETYPE source) {
  for (const TypeName& row : written_types())
    if (name.empty() ? row.type == source : row.name == name) return row.type;
  switch (QvAudio_BitsFromSampleType(source)) {
  case 8: return QVSAMPLE_PCM8;
  case 16: return QVSAMPLE_PCM16;
  case 24: return QVSAMPLE_PCM24;
  default: return source == QVSAMPLE_PCM24IN32 ? QVSAMPLE_PCM24 : QVSAMPLE_PCM32;
  }
}

bool is_coded(Container container) { return container == Container::kFlac || container == Container::kOgg; }

struct DitherName {
  const char* name;
  QVDITHER type;
};

constexpr DitherName kDitherNames[] = {
    {"none", QVDITHER_NONE}, {"rect", QVDITHER_RECTANGULAR}, {"tri", QVDITHER_TRIANGULAR}, {"shaped", QVDITHER_SHAPED}};
/// Any seed will do, as long as the same file comes out each time.
constexpr ULONGLONG kSeed = 1;

} // namespace

const std::vector<TypeName>& written_types() {
  static const std::vector<TypeName> types = [] {
    std::vector<TypeName> rows;
#define QV_WRITTEN_TYPE(type, value, name, bits, bytes, tag, ...)                                                      \
  if (tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT) rows.push_back({name, type});
    QV_SAMPLE_TYPE_TABLE(QV_WRITTEN_TYPE)
#undef QV_WRITTEN_TYPE
    return rows;
  }();
  return types;
}

QVSAMPLETYPE output_type(const std::string& name, QVSAMPLETYPE source, const OutputTarget& target) {
  if (target.container == Container::kOgg) {
    if (!name.empty() && name != "float32") throw Failure(target.name, "Vorbis has no sample type: leave it out");
    return QVSAMPLE_FLOAT32;
  }
  QVSAMPLETYPE type = nearest_type(name, source);
  if (target.container == Container::kFlac && QvAudio_BitsFromSampleType(type) > 24) {
    if (!name.empty()) throw Failure(target.name, "FLAC takes pcm8, pcm16 and pcm24, not " + name);
    type = QVSAMPLE_PCM24;
  }
  return type;
}

AudioOutput::AudioOutput(const OutputTarget& target, const _qvwaveformat& format, uint64_t frames, CarriedChunks chunks)
    : layout_(layout_of(target.name, target.container, target.stays_riff, format, frames, chunks)),
      chunks_(std::move(chunks)), format_(format), file_(target.name, target.input_name) {
  if (is_coded(target.container)) {
    coded_ = std::make_unique<CodedWriter>(target.name, file_, target.container, format);
    CodedTexts texts;
    for (const CarriedChunk& chunk : chunks_.before_audio)
      texts.emplace_back(chunk.id, chunk.data);
    if (!coded_->write_texts(texts)) file_.write_failed();
    return;
  }
  if (peak_chunk()) peaks_.emplace(format);
  if (layout_.container == Container::kWave64) {
    // libsndfile, and who reads by it, takes what follows the audio there for more of it.
    std::move(chunks_.behind_audio.begin(), chunks_.behind_audio.end(), std::back_inserter(chunks_.before_audio));
    chunks_.behind_audio.clear();
  }
  file_.append(layout_.front.data(), static_cast<DWORD>(layout_.front.size()));
  write_chunks(chunks_.before_audio);
  file_.append(layout_.audio_header.data(), static_cast<DWORD>(layout_.audio_header.size()));
}

CarriedChunk* AudioOutput::peak_chunk() {
  for (CarriedChunk& chunk : chunks_.behind_audio)
    if (chunk.id == kPeakId) return &chunk;
  return nullptr;
}

void AudioOutput::write_zeros(uint64_t count) const {
  const BYTE zeros[8] = {};
  if (count != 0) file_.append(zeros, static_cast<DWORD>(count));
}

void AudioOutput::write_chunks(const std::vector<CarriedChunk>& chunks) const {
  const ChunkShape& shape = chunk_shape(layout_.container);
  for (const CarriedChunk& chunk : chunks) {
    std::string header = shape.header(chunk.id, chunk.size());
    if (chunk.guid) header.replace(0, sizeof(GUID), reinterpret_cast<const char*>(&*chunk.guid), sizeof(GUID));
    file_.append(header.data(), static_cast<DWORD>(header.size()));
    if (chunk.is_copied())
      file_.append(chunk.source->file, chunk.source->name, chunk.source_offset, chunk.source_bytes);
    else
      file_.append(chunk.data.data(), static_cast<DWORD>(chunk.data.size()));
    write_zeros(shape.padding(chunk.size()));
  }
}

void AudioOutput::write_frames(const void* samples, DWORD frames) {
  if (coded_) {
    if (!coded_->write(samples, frames)) file_.write_failed();
    return;
  }
  const size_t bytes = size_t{frames} * format_.blockAlign;
  if (peaks_) peaks_->take(samples, frames);
  if (chunk_shape(layout_.container).is_big_endian) {
    const auto* const from = static_cast<const BYTE*>(samples);
    encoded_.assign(from, from + bytes);
    if (format_.sampleType == QVSAMPLE_PCM8)
      change_sign(encoded_.data(), bytes);
    else
      reverse_samples(encoded_.data(), bytes / format_.BytesPerSample(), format_.BytesPerSample());
    samples = encoded_.data();
  }
  file_.append(samples, static_cast<DWORD>(bytes));
}

void AudioOutput::commit() {
  if (coded_) {
    if (!coded_->finish()) file_.write_failed();
    return file_.commit(size_of(file_));
  }
  const ChunkShape& shape = chunk_shape(layout_.container);
  if (peaks_) peaks_->write_to(peak_chunk()->data, shape.is_big_endian ? ByteOrder::kBig : ByteOrder::kLittle);
  write_zeros(shape.padding(layout_.audio_bytes));
  write_chunks(chunks_.behind_audio);
  file_.commit(layout_.file_bytes);
}

std::vector<std::string> DoubleOutput::dither_names() { return names_of(kDitherNames); }

DoubleOutput::DoubleOutput(AudioOutput& output, const std::string& name, const _qvwaveformat& format,
                           const std::string& dither)
    : output_(output), channels_(format.channels),
      store_(QvAudio_GetCopyFunction2(format.sampleType, QVSAMPLE_FLOAT64)),
      clipping_(format.sampleType, QVSAMPLE_FLOAT64, 1.0f), sample_bytes_(format.BytesPerSample()) {
  const QVDITHER type = row_of(kDitherNames, dither).type;
  if (type == QVDITHER_NONE) return; // the kernel rounds as well
  if (format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT) throw Failure(name, "float samples are not dithered");
  const HRESULT result = dither_.emplace().Init(type, format.BitsPerSample(), channels_, kSeed);
  if (FAILED(result)) throw Failure(name, result_text(result));
}

void DoubleOutput::write(double* samples, DWORD frames) {
  const size_t count = size_t{frames} * channels_;
  if (dither_) {
    clipping_.add(nullptr, samples, count); // dither brings them into the scale
    dither_->ProcessDouble(samples, samples, frames, 0);
  }
  bytes_.resize(std::max(bytes_.size(), count * sample_bytes_));
  store_(bytes_.data(), samples, static_cast<LONG>(count), 1.0f);
  if (!dither_) clipping_.add(bytes_.data(), samples, count);
  output_.write_frames(bytes_.data(), frames);
}

} // namespace qv::tool
