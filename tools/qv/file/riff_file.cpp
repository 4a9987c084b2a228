// How a RIFF wave file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/iff.h"
#include "qv/riff.h"

#include <algorithm>
#include <iterator>

namespace qv::tool {

namespace {

constexpr DWORD kDs64Id = QvFourCC("ds64");
constexpr size_t kMaxLongSizes = 1000;

/// The forms of RIFF: with big-endian numbers, and with sizes in a "ds64" chunk.
struct Form {
  DWORD id;
  const char* name;
  Container kind;
  bool is_big_endian;
};

constexpr Form kForms[] = {{QVRIFF_ID_RIFF, "RIFF", Container::kRiff, false},
                           {QvFourCC("RIFX"), "RIFX", Container::kRiff, true},
                           {QvFourCC("RF64"), "RF64", Container::kRf64, false},
                           {QvFourCC("BW64"), "BW64", Container::kRf64, false}};

/// A number in the container's byte order.
DWORD number(const AudioFile& audio, DWORD stored) {
  if (audio.is_big_endian) iff_ByteSwap32(&stored, 1);
  return stored;
}

HRESULT read_header(const AudioFile& audio, ChunkEntry& entry, WaveChunks::Role& role) {
  DWORD size = 0;
  const HRESULT result = riff_ReadChunkHeader(audio.file, &entry.id, &size);
  entry.size = number(audio, size);
  if (entry.id == QVRIFF_ID_FMT) role = WaveChunks::Role::kFormat;
  if (entry.id == QVRIFF_ID_DATA) role = WaveChunks::Role::kAudio;
  return result;
}

/// Reads the count of frames of a compressed format, and the type of a list.
void look_into(AudioFile& audio, ChunkEntry& entry) {
  DWORD count = 0;
  if (entry.size < sizeof count) return;
  if (entry.id == QVRIFF_ID_FACT && SUCCEEDED(riff_ReadData(audio.file, &count, sizeof count)))
    audio.frames = number(audio, count);
  if (entry.id == QVRIFF_ID_LIST) riff_ReadData(audio.file, &entry.list_type, sizeof entry.list_type);
}

constexpr WaveChunks kChunks = {12, 8, 2, read_header, look_into};

/// Reads the size that the header says, form type included.
DWORD read_file_header(AudioFile& audio) {
  DWORD header[3] = {}; // id, size, form type
  if (!move_to(audio.file, audio.form_start)) fail(audio, system_error_text(GetLastError()));
  if (audio.file_bytes < audio.form_start + sizeof header) fail(audio, "the file ends inside its header");
  if (FAILED(riff_ReadData(audio.file, header, sizeof header))) fail(audio, result_text(QVERR_RIFF_READ));
  const auto* const form =
      std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& row) { return row.id == header[0]; });
  if (form == std::end(kForms)) fail(audio, result_text(QVERR_RIFF_NOTRIFF));
  audio.container = form->name;
  audio.kind = form->kind;
  audio.is_big_endian = audio.has_reversed_bytes = form->is_big_endian;
  if (header[2] != QVRIFF_FORM_WAVE)
    fail(audio, "is a " + std::string(form->name) + " file of the form \"" + printable_code(header[2]) +
                    "\", not a wave file");
  return number(audio, header[1]);
}

FormEnd end_of_form(const AudioFile& audio, uint64_t size) {
  const uint64_t held = audio.file_bytes - audio.form_start;
  if (size <= 4 || size == kNoSize) return {audio.file_bytes, true};
  return {audio.form_start + std::min(size, held - 8) + 8, false};
}

/// Reads the "ds64" chunk behind the header, which has the sizes of the form, of the audio and of other chunks.
LongSizes read_long_sizes(AudioFile& audio, uint64_t& form_size) {
  LongSizes sizes;
  DWORD chunk[2] = {}; // id and size; then the sizes of form and audio, the count of frames, of rows
  DWORD fixed[7] = {};
  if (FAILED(riff_ReadData(audio.file, chunk, sizeof chunk)) || chunk[0] != kDs64Id || chunk[1] < sizeof fixed ||
      FAILED(riff_ReadData(audio.file, fixed, sizeof fixed))) {
    audio.warnings.emplace_back("has no \"ds64\" chunk with its sizes");
    return sizes;
  }
  const auto long_number = [](const DWORD* words) { return words[0] | uint64_t{words[1]} << 32; };
  form_size = long_number(fixed);
  sizes.audio = long_number(fixed + 2);
  DWORD row[3]; // an id and a size
  const size_t rows = std::min({size_t{fixed[6]}, (chunk[1] - sizeof fixed) / sizeof row, kMaxLongSizes});
  for (size_t k = 0; k < rows && SUCCEEDED(riff_ReadData(audio.file, row, sizeof row)); ++k)
    sizes.others.emplace_back(row[0], long_number(row + 1));
  return sizes;
}

} // namespace

void read_riff(AudioFile& audio) {
  uint64_t size = read_file_header(audio);
  const bool is_long = audio.kind == Container::kRf64 && size == kNoSize;
  LongSizes sizes = is_long ? read_long_sizes(audio, size) : LongSizes();
  read_wave_chunks(audio, kChunks, end_of_form(audio, size), std::move(sizes));
}

} // namespace qv::tool
