#include "tools/qv/wave_input.h"

#include "qv/audio_kernels.h"
#include "qv/riff.h"
#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kSmallestFormat = 16;
constexpr size_t kLargestFormat = sizeof(WAVEFORMATEX) + 0xFFFF;
constexpr DWORD kFactId = QvFourCC("fact");

OpenFile open_for_reading(const std::string& name) {
  const WString path = wide(path_from(name));
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    throw Failure(name, "is a folder");
  }
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DEVICE)) {
    throw Failure(name, "is not a regular file");
  }
  // Without write sharing the headers may be read ahead.
  OpenFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.is_open()) throw Failure(name, system_error_text(GetLastError()));
  return file;
}

bool move_to(HANDLE file, uint64_t position) {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(position);
  return SetFilePointerEx(file, to, nullptr, FILE_BEGIN);
}

} // namespace

WaveInput::WaveInput(const std::string& name) : name_(name), file_(open_for_reading(name)) {
  read_file_header();
  read_chunks();
  check_format();
}

void WaveInput::fail(const std::string& reason) const { throw Failure(name_, reason); }

void WaveInput::read_file_header() {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) fail(system_error_text(GetLastError()));
  file_size_ = static_cast<uint64_t>(size.QuadPart);
  if (file_size_ == 0) fail("the file is empty");
  DWORD form_bytes = 0;
  DWORD form = 0;
  const HRESULT result = riff_ReadFileID(file_, &form_bytes, &form);
  if (result == QVERR_RIFF_READ && file_size_ < 12) fail("the file ends inside its header");
  if (FAILED(result)) fail(QvResultText(result));
  if (form != QVRIFF_FORM_WAVE) fail("is a RIFF file of the form \"" + printable_code(form) + "\", not a wave file");
  // A recorder that could not go back left 0: the form then goes as far as the file.
  form_size_unknown_ = form_bytes == 0;
  form_end_ = form_size_unknown_ ? file_size_ : std::min<uint64_t>(12 + uint64_t{form_bytes}, file_size_);
}

void WaveInput::read_chunks() {
  uint64_t position = 12;
  while (position + 8 <= form_end_ && read_chunk(position)) {
  }
  if (header_.empty()) fail("has no \"fmt \" chunk");
  if (!has_data_) fail("has no \"data\" chunk");
}

bool WaveInput::read_chunk(uint64_t& position) {
  ChunkEntry entry = {0, 0, position, 0};
  DWORD count = 0;
  if (!move_to(file_, position) || FAILED(riff_ReadChunkHeader(file_, &entry.id, &entry.size))) {
    fail(QvResultText(QVERR_RIFF_READ));
  }
  const uint64_t start = position + 8;
  const bool runs_out = start + entry.size > file_size_;
  position = start + entry.size + (entry.size & 1);
  if (entry.id == QVRIFF_ID_DATA && !has_data_) {
    take_data(start, entry.size);
    chunks_.push_back(entry);
    return start + data_bytes_ < file_size_;
  }
  if (runs_out) fail("the chunk \"" + printable_code(entry.id) + "\" runs past the end of the file");
  if (entry.id == QVRIFF_ID_FMT && header_.empty()) read_format(entry.size);
  if (entry.id == kFactId && entry.size >= 4 && SUCCEEDED(riff_ReadData(file_, &count, 4))) fact_frames_ = count;
  if (entry.id == QVRIFF_ID_LIST && entry.size >= 4) riff_ReadData(file_, &entry.list_type, 4);
  chunks_.push_back(entry);
  return true;
}

void WaveInput::read_format(DWORD size) {
  if (size < kSmallestFormat) fail("the \"fmt \" chunk has only " + std::to_string(size) + " bytes");
  const size_t taken = std::min<size_t>(size, kLargestFormat);
  header_.assign(std::max(taken, sizeof(WAVEFORMATEXTENSIBLE)), 0);
  if (FAILED(riff_ReadData(file_, header_.data(), static_cast<DWORD>(taken)))) fail(QvResultText(QVERR_RIFF_READ));
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

void WaveInput::take_data(uint64_t start, DWORD claimed) {
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
  if (format().IsCompressed() || QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, format().sampleType) == nullptr) {
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
