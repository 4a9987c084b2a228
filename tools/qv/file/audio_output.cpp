#include "tools/qv/file/audio_output.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include "qv/riff.h"
#include "qv/riff64.h"

namespace qv::tool {

namespace {

constexpr DWORD kPlainPcmBytes = 16;
/// The RIFF size stays below this, as riff_UpdateRIFFSize demands.
constexpr uint64_t kRiffSizeLimit = 0xFFFFFFF8;

bool is_float(const _qvwaveformat& format) { return format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT; }

/// The bytes that a chunk's data take in a Wave64 file.
uint64_t padded64(uint64_t bytes) { return (bytes + 7) / 8 * 8; }

/// Returns the name when the file can have that length; otherwise throws Failure, before the file is created.
const std::string& checked_name(const std::string& name, bool is_wave64, uint64_t file_bytes) {
  if (!is_wave64 && file_bytes - 8 >= kRiffSizeLimit)
    throw Failure(name, result_text(QVERR_RIFF_TOOBIG) + "; a name that ends in .w64 makes a Wave64 file");
  return name;
}

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

AudioOutput::FormatChunk AudioOutput::format_chunk(const _qvwaveformat& format) {
  FormatChunk chunk;
  const bool extensible = format.channels > 2;
  format.ToWfx(&chunk.header.Format, sizeof chunk.header,
               extensible ? QVWAVEFORMAT_COPY_EXTENSIBLE : QVWAVEFORMAT_COPY_MASK);
  if (chunk.header.Format.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    chunk.size = sizeof chunk.header;
  } else {
    // Plain PCM is written without the count of extra bytes, as every reader knows it.
    chunk.size = is_float(format) ? sizeof(WAVEFORMATEX) : kPlainPcmBytes;
  }
  return chunk;
}

uint64_t AudioOutput::total_bytes(const FormatChunk& chunk, bool has_fact) const {
  if (is_wave64_)
    return QVW64_FILE_HEADER_BYTES + 2 * uint64_t{QVW64_HEADER_BYTES} + padded64(chunk.size) + padded64(data_bytes_);
  return 12 + 8 + uint64_t{chunk.size} + (has_fact ? 12 : 0) + 8 + data_bytes_ + (data_bytes_ & 1);
}

AudioOutput::AudioOutput(const std::string& name, const std::string& input_name, const _qvwaveformat& format,
                         uint64_t frames)
    : is_wave64_(is_wave64_name(name)), block_align_(format.blockAlign), data_bytes_(frames * format.blockAlign),
      file_bytes_(total_bytes(format_chunk(format), is_float(format))),
      file_(checked_name(name, is_wave64_, file_bytes_), input_name) {
  const FormatChunk chunk = format_chunk(format);
  const HRESULT result = is_wave64_ ? write_wave64_headers(chunk) : write_riff_headers(chunk, is_float(format), frames);
  if (FAILED(result)) file_.write_failed();
}

HRESULT AudioOutput::write_riff_headers(const FormatChunk& chunk, bool has_fact, uint64_t frames) {
  const DWORD count = static_cast<DWORD>(frames);
  HRESULT result = riff_WriteFileID(file_, QVRIFF_FORM_WAVE, static_cast<DWORD>(file_bytes_ - 8));
  if (SUCCEEDED(result)) result = riff_WriteChunk(file_, QVRIFF_ID_FMT, &chunk.header, chunk.size, nullptr);
  if (SUCCEEDED(result) && has_fact) result = riff_WriteChunk(file_, QVRIFF_ID_FACT, &count, sizeof count, nullptr);
  return SUCCEEDED(result) ? riff_WriteChunkHeader(file_, QVRIFF_ID_DATA, static_cast<DWORD>(data_bytes_)) : result;
}

HRESULT AudioOutput::write_wave64_headers(const FormatChunk& chunk) {
  HRESULT result = riff64_WriteFileID(file_, &QVW64_WAVE, file_bytes_ - QVW64_HEADER_BYTES);
  if (SUCCEEDED(result)) result = riff64_WriteChunk(file_, &QVW64_FMT, &chunk.header, chunk.size, nullptr);
  return SUCCEEDED(result) ? riff64_WriteChunkHeader(file_, &QVW64_DATA, data_bytes_) : result;
}

void AudioOutput::write_frames(const void* samples, DWORD frames) {
  const DWORD bytes = frames * block_align_;
  DWORD done = 0;
  if (!WriteFile(file_, samples, bytes, &done, nullptr) || done != bytes) file_.write_failed();
}

void AudioOutput::commit() {
  const BYTE pad[8] = {};
  const auto bytes = static_cast<DWORD>(is_wave64_ ? padded64(data_bytes_) - data_bytes_ : data_bytes_ & 1);
  DWORD done = 0;
  if (bytes != 0 && !WriteFile(file_, pad, bytes, &done, nullptr)) file_.write_failed();
  file_.commit(file_bytes_);
}

std::vector<std::string> DoubleOutput::dither_names() { return names_of(kDitherNames); }

DoubleOutput::DoubleOutput(AudioOutput& output, const std::string& name, const _qvwaveformat& format,
                           const std::string& dither)
    : output_(output), channels_(format.channels),
      store_(QvAudio_GetCopyFunction2(format.sampleType, QVSAMPLE_FLOAT64)), sample_bytes_(format.BytesPerSample()) {
  const QVDITHER type = row_of(kDitherNames, dither).type;
  if (type == QVDITHER_NONE) return; // the kernel rounds as well
  if (format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT) throw Failure(name, "float samples are not dithered");
  const HRESULT result = dither_.emplace().Init(type, format.BitsPerSample(), channels_, kSeed);
  if (FAILED(result)) throw Failure(name, result_text(result));
}

void DoubleOutput::write(double* samples, DWORD frames) {
  const size_t count = size_t{frames} * channels_;
  if (dither_) dither_->ProcessDouble(samples, samples, frames, 0);
  bytes_.resize(std::max(bytes_.size(), count * sample_bytes_));
  store_(bytes_.data(), samples, static_cast<LONG>(count), 1.0f);
  output_.write_frames(bytes_.data(), frames);
}

} // namespace qv::tool
