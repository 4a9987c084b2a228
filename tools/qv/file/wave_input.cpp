#include "tools/qv/file/wave_input.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/open_file.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"
#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kSmallestFormat = 16;
constexpr size_t kLargestFormat = sizeof(WAVEFORMATEX) + 0xFFFF;

} // namespace

WaveInput::WaveInput(const std::string& name)
    : name_(name), file_(open_existing(name, GENERIC_READ, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN)) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) fail(system_error_text(GetLastError()));
  file_size_ = static_cast<uint64_t>(size.QuadPart);
  if (file_size_ == 0) fail("the file is empty");
  switch (first_word()) {
  case QvFourCC("riff"): read_wave64(); break;
  case QvFourCC("FORM"): read_aiff(); break;
  default: read_riff();
  }
  check_format();
}

void WaveInput::fail(const std::string& reason) const { throw Failure(name_, reason); }

DWORD WaveInput::first_word() {
  DWORD word = 0;
  DWORD done = 0;
  const bool read = ReadFile(file_, &word, sizeof word, &done, nullptr);
  if (!read || !move_to(file_, 0)) fail(system_error_text(GetLastError()));
  return done == sizeof word ? word : 0;
}

void WaveInput::require_chunks() const {
  if (header_.empty()) fail("has no \"fmt \" chunk");
  if (!has_data_) fail("has no \"data\" chunk");
}

bool WaveInput::ends_behind_audio(DWORD cut_id) const {
  const std::string reason = "the chunk \"" + printable_code(cut_id) + "\" runs past the end of the file";
  if (header_.empty() || !has_data_) fail(reason);
  print_warning(name_, reason);
  return false;
}

void WaveInput::read_format(uint64_t size) {
  if (size < kSmallestFormat) fail("the \"fmt \" chunk has only " + std::to_string(size) + " bytes");
  const auto taken = static_cast<size_t>(std::min<uint64_t>(size, kLargestFormat));
  header_.assign(std::max(taken, sizeof(WAVEFORMATEXTENSIBLE)), 0);
  if (FAILED(riff_ReadData(file_, header_.data(), static_cast<DWORD>(taken)))) fail(result_text(QVERR_RIFF_READ));
  auto* header = reinterpret_cast<WAVEFORMATEX*>(header_.data());
  const size_t extra = taken < sizeof(WAVEFORMATEX) ? 0 : taken - sizeof(WAVEFORMATEX);
  header->cbSize = static_cast<WORD>(taken < sizeof(WAVEFORMATEX) ? 0 : std::min<size_t>(header->cbSize, extra));
  if (header->wBitsPerSample == 20) QvAudio_FixBadWfx(header);
  format_.format.Init(sizeof format_, *header);
}

void WaveInput::check_format() const {
  if (header()->nChannels == 0) fail("the format has no channels");
  if (header()->nSamplesPerSec == 0) fail("the format has a sample rate of 0");
  if (header()->nBlockAlign == 0) fail("the format has a block align of 0");
}

void WaveInput::take_data(uint64_t start, uint64_t claimed) {
  has_data_ = true;
  data_start_ = start;
  const uint64_t held = file_size_ - start;
  const bool to_the_end = claimed > held || (claimed == 0 && form_size_unknown_ && held > 0);
  data_bytes_ = to_the_end ? held : claimed;
  if (!to_the_end) return;
  print_warning(name_, "the data chunk says " + std::to_string(claimed) + " bytes, the file holds " +
                           std::to_string(held) + " to its end: they are read");
}

uint64_t WaveInput::frames() const {
  if (format().IsCompressed()) return fact_frames_;
  return format().blockAlign == 0 ? 0 : data_bytes_ / format().blockAlign;
}

uint64_t WaveInput::duration() const {
  constexpr uint64_t kPerSecond = 10'000'000;
  if (!format().IsCompressed() || fact_frames_ != 0) {
    // In two steps, because a file of any size has to fit.
    const uint64_t rate = format().samplesPerSec;
    return frames() / rate * kPerSecond + frames() % rate * kPerSecond / rate;
  }
  const uint64_t bytes_per_second = format().avgBytesPerSec;
  if (bytes_per_second == 0) return 0;
  return data_bytes_ / bytes_per_second * kPerSecond + data_bytes_ % bytes_per_second * kPerSecond / bytes_per_second;
}

void WaveInput::require_samples() const {
  const DWORD tag = format().FormatTag();
  const DWORD bits = format().BitsPerSample();
  if (format().IsCompressed() || !QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, format().sampleType)) {
    WCHAR text[64];
    QvAudio_GetTagText(tag, text, 64);
    fail("the format is compressed or unknown (" + utf8(text) + ", tag " + std::to_string(tag) + ", " +
         std::to_string(bits) + " bits): its samples cannot be read");
  }
  if (header()->nBlockAlign != DWORD{format().channels} * format().BytesPerSample()) {
    fail("a block align of " + std::to_string(header()->nBlockAlign) + " does not fit " +
         std::to_string(format().channels) + " channels of " + std::to_string(bits) + " bits");
  }
}

void WaveInput::read_frames(void* buffer, DWORD frames) {
  const DWORD bytes = frames * format().blockAlign;
  DWORD done = 0;
  if (data_start_ != 0 && !move_to(file_, data_start_)) fail(system_error_text(GetLastError()));
  if (!ReadFile(file_, buffer, bytes, &done, nullptr)) fail(system_error_text(GetLastError()));
  if (done != bytes) fail("the file became shorter while it was read");
  data_start_ += bytes;
}

} // namespace qv::tool
