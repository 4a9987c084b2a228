// The chunks of RIFF wave and Wave64 files, in one walk over what the file has.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"
#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kSmallestFormat = 16;
constexpr size_t kLargestFormat = sizeof(WAVEFORMATEX) + 0xFFFF;

void read_format(AudioFile& audio, uint64_t size) {
  if (size < kSmallestFormat) fail(audio, "the \"fmt \" chunk has only " + std::to_string(size) + " bytes");
  const auto taken = static_cast<size_t>(std::min<uint64_t>(size, kLargestFormat));
  audio.header.assign(std::max(taken, sizeof(WAVEFORMATEXTENSIBLE)), 0);
  if (FAILED(riff_ReadData(audio.file, audio.header.data(), static_cast<DWORD>(taken))))
    fail(audio, result_text(QVERR_RIFF_READ));
  auto* header = reinterpret_cast<WAVEFORMATEX*>(audio.header.data());
  const size_t extra = taken < sizeof(WAVEFORMATEX) ? 0 : taken - sizeof(WAVEFORMATEX);
  header->cbSize = static_cast<WORD>(taken < sizeof(WAVEFORMATEX) ? 0 : std::min<size_t>(header->cbSize, extra));
  if (header->wBitsPerSample == 20) QvAudio_FixBadWfx(header);
  audio.record.format.Init(sizeof audio.record, *header);
}

/// Notes where the audio lies. Without a size, which `may_be_unknown` allows, it goes to the file's end.
void take_audio(AudioFile& audio, uint64_t start, uint64_t claimed, bool may_be_unknown) {
  const uint64_t held = audio.file_bytes - start;
  const bool to_the_end = claimed > held || (claimed == 0 && may_be_unknown && held > 0);
  audio.audio_start = start;
  audio.audio_bytes = to_the_end ? held : claimed;
  if (!to_the_end) return;
  audio.warnings.push_back("the data chunk says " + std::to_string(claimed) + " bytes, the file holds " +
                           std::to_string(held) + " to its end: they are read");
}

/// Ends the walk at a chunk that the file's end cuts: with a warning where it stands behind the audio, else by failing.
void end_at_cut_chunk(AudioFile& audio, DWORD id) {
  const std::string reason = "the chunk \"" + printable_code(id) + "\" runs past the end of the file";
  if (audio.header.empty() || audio.audio_start == 0) fail(audio, reason);
  audio.warnings.push_back(reason);
}

} // namespace

void read_wave_chunks(AudioFile& audio, const WaveChunks& container, const FormEnd& end) {
  for (uint64_t position = container.file_header; position + container.chunk_header <= end.at;) {
    ChunkEntry entry = {0, 0, position, 0, position + container.chunk_header};
    WaveChunks::Role role = WaveChunks::Role::kOther;
    if (!move_to(audio.file, position) || FAILED(container.read_header(audio.file, entry, role)))
      fail(audio, result_text(QVERR_RIFF_READ));
    const uint64_t start = position + container.chunk_header;
    const bool is_audio = role == WaveChunks::Role::kAudio && audio.audio_start == 0;
    if (is_audio) {
      take_audio(audio, start, entry.size, end.is_guessed);
    } else if (entry.size > audio.file_bytes - start) {
      end_at_cut_chunk(audio, entry.id);
      break;
    } else if (role == WaveChunks::Role::kFormat && audio.header.empty()) {
      read_format(audio, entry.size);
    } else {
      container.look_into(audio, entry);
    }
    audio.chunks.push_back(entry);
    if (is_audio && start + audio.audio_bytes >= audio.file_bytes) break;
    position = start + (entry.size + container.alignment - 1) / container.alignment * container.alignment;
  }
  if (audio.header.empty()) fail(audio, "has no \"fmt \" chunk");
  if (audio.audio_start == 0) fail(audio, "has no \"data\" chunk");
  check_format(audio);
}

} // namespace qv::tool
