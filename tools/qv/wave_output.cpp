#include "tools/qv/wave_output.h"

#include "qv/riff.h"
#include "tools/qv/failure.h"

namespace qv::tool {

namespace {

constexpr DWORD kPlainPcmBytes = 16;
constexpr DWORD kFactId = QvFourCC("fact");
/// The RIFF size stays below this, as riff_UpdateRIFFSize demands.
constexpr uint64_t kRiffSizeLimit = 0xFFFFFFF8;

bool is_float(const _qvwaveformat& format) { return format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT; }

/// Answers the name when the file can have that length. Called before the file is created.
const std::string& checked_name(const std::string& name, uint64_t file_bytes) {
  if (file_bytes - 8 >= kRiffSizeLimit) throw Failure(name, QvResultText(QVERR_RIFF_TOOBIG));
  return name;
}

} // namespace

WaveOutput::FormatChunk WaveOutput::format_chunk(const _qvwaveformat& format) {
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

uint64_t WaveOutput::total_bytes(const FormatChunk& chunk, bool has_fact, uint64_t data_bytes) {
  return 12 + 8 + uint64_t{chunk.size} + (has_fact ? 12 : 0) + 8 + data_bytes + (data_bytes & 1);
}

WaveOutput::WaveOutput(const std::string& name, const std::string& input_name, const _qvwaveformat& format,
                       uint64_t frames)
    : block_align_(format.blockAlign), data_bytes_(frames * format.blockAlign),
      file_bytes_(total_bytes(format_chunk(format), is_float(format), data_bytes_)),
      file_(checked_name(name, file_bytes_), input_name) {
  write_headers(format_chunk(format), is_float(format), frames);
}

void WaveOutput::write_headers(const FormatChunk& chunk, bool has_fact, uint64_t frames) {
  const DWORD count = static_cast<DWORD>(frames);
  HRESULT result = riff_WriteFileID(file_, QVRIFF_FORM_WAVE, static_cast<DWORD>(file_bytes_ - 8));
  if (SUCCEEDED(result)) result = riff_WriteChunk(file_, QVRIFF_ID_FMT, &chunk.header, chunk.size, nullptr);
  if (SUCCEEDED(result) && has_fact) result = riff_WriteChunk(file_, kFactId, &count, sizeof count, nullptr);
  if (SUCCEEDED(result)) {
    result = riff_WriteChunkHeader(file_, QVRIFF_ID_DATA, static_cast<DWORD>(data_bytes_));
  }
  if (FAILED(result)) file_.write_failed();
}

void WaveOutput::write_frames(const void* samples, DWORD frames) {
  const DWORD bytes = frames * block_align_;
  DWORD done = 0;
  if (!WriteFile(file_, samples, bytes, &done, nullptr) || done != bytes) file_.write_failed();
}

void WaveOutput::commit() {
  const BYTE pad = 0;
  DWORD done = 0;
  if ((data_bytes_ & 1) && !WriteFile(file_, &pad, 1, &done, nullptr)) file_.write_failed();
  file_.commit(file_bytes_);
}

} // namespace qv::tool
