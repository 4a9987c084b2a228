// The chunks of RIFF wave and Wave64 files, in one walk over what the file has.
#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/file/samples/sample_bytes.h"
#include "tools/qv/repair/known_chunks.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"
#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kSmallestFormat = 16;
constexpr size_t kLargestFormat = sizeof(WAVEFORMATEX) + 0xFFFF;

/// Turns the fields of a big-endian format record round.
void reverse_format(BYTE* record) {
  constexpr DWORD kFieldBytes[] = {2, 2, 4, 4, 2, 2, 2, 2, 4, 4, 2, 2}; // the last three: of the GUID, before its bytes
  BYTE* field = record;
  for (const DWORD bytes : kFieldBytes) {
    reverse_samples(field, 1, bytes);
    field += bytes;
  }
  // There are writers that leave the GUID as it is in little-endian files, or turn its first word only.
  auto* const header = reinterpret_cast<WAVEFORMATEXTENSIBLE*>(record);
  const DWORD first = header->SubFormat.Data1;
  if (first <= 0xFFFF) return;
  constexpr GUID kOfTag0 = {0, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
  header->SubFormat = kOfTag0;
  header->SubFormat.Data1 = (first | first >> 8 | first >> 16 | first >> 24) & 0xFF;
}

void read_format(AudioFile& audio, uint64_t size) {
  if (size < kSmallestFormat) fail(audio, "the \"fmt \" chunk has only " + std::to_string(size) + " bytes");
  const auto taken = static_cast<size_t>(std::min<uint64_t>(size, kLargestFormat));
  audio.header.assign(std::max(taken, sizeof(WAVEFORMATEXTENSIBLE)), 0);
  if (FAILED(riff_ReadData(audio.file, audio.header.data(), static_cast<DWORD>(taken))))
    fail(audio, result_text(QVERR_RIFF_READ));
  if (audio.is_big_endian) reverse_format(audio.header.data());
  auto* header = reinterpret_cast<WAVEFORMATEX*>(audio.header.data());
  const size_t extra = taken < sizeof(WAVEFORMATEX) ? 0 : taken - sizeof(WAVEFORMATEX);
  header->cbSize = static_cast<WORD>(taken < sizeof(WAVEFORMATEX) ? 0 : std::min<size_t>(header->cbSize, extra));
  if (header->wBitsPerSample == 20 && header->nBlockAlign != 4 * header->nChannels) QvAudio_FixBadWfx(header);
  audio.record.format.Init(sizeof audio.record, *header);
}

/// Notes where the audio lies. Without a size, which `may_be_unknown` allows, it goes to the file's end.
void take_audio(AudioFile& audio, uint64_t start, uint64_t claimed, bool may_be_unknown) {
  const uint64_t held = audio.file_bytes - start;
  const bool is_unknown = may_be_unknown && (claimed == 0 || claimed == kNoSize);
  const bool to_the_end = claimed > held || (is_unknown && held > 0);
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

/// Gives a chunk the size that "ds64" has for it.
void take_long_size(ChunkEntry& entry, bool is_audio, LongSizes& sizes) {
  if (is_audio) {
    entry.size = sizes.audio;
    return;
  }
  const auto found =
      std::find_if(sizes.others.begin(), sizes.others.end(), [&](const auto& each) { return each.first == entry.id; });
  if (found == sizes.others.end()) return;
  entry.size = found->second;
  sizes.others.erase(found);
}

/// The walk over a file's chunks.
class ChunkWalk {
public:
  ChunkWalk(AudioFile& audio, const WaveChunks& container, const FormEnd& end, LongSizes sizes)
      : audio_(audio), container_(container), end_(end), sizes_(std::move(sizes)),
        position_(audio.form_start + container.file_header) {}

  void run() {
    while (position_ + container_.chunk_header <= (has_all() ? end_.at : audio_.file_bytes)) {
      if (audio_.chunks.size() == kMaxChunks) return warn_of_many_chunks(audio_);
      if (!take_chunk()) return;
    }
  }

private:
  bool has_all() const { return !audio_.header.empty() && audio_.audio_start != 0; }

  /// Answers whether the walk goes on.
  bool take_chunk() {
    ChunkEntry entry = {0, 0, position_, 0, position_ + container_.chunk_header};
    WaveChunks::Role role = WaveChunks::Role::kOther;
    if (!move_to(audio_.file, position_) || FAILED(container_.read_header(audio_, entry, role)))
      fail(audio_, result_text(QVERR_RIFF_READ));
    const bool is_audio = role == WaveChunks::Role::kAudio && audio_.audio_start == 0;
    if (entry.size == kNoSize) take_long_size(entry, is_audio, sizes_);
    if (is_audio) {
      take_audio(audio_, entry.data, entry.size, end_.is_guessed);
    } else if (entry.size > audio_.file_bytes - entry.data) {
      end_at_cut_chunk(audio_, entry.id);
      return false;
    } else if (role == WaveChunks::Role::kFormat && audio_.header.empty()) {
      read_format(audio_, entry.size);
    } else {
      container_.look_into(audio_, entry);
    }
    audio_.chunks.push_back(entry);
    position_ = end_of(entry);
    return !is_audio || entry.data + audio_.audio_bytes < audio_.file_bytes;
  }

  /// Where the next chunk begins. A writer may have left out the pad byte of RIFF: known chunks then follow without it.
  uint64_t end_of(const ChunkEntry& entry) {
    const uint64_t end = entry.data + entry.size;
    const uint64_t padded =
        entry.data + (entry.size + container_.alignment - 1) / container_.alignment * container_.alignment;
    const bool is_odd = container_.alignment == 2 && padded != end;
    if (!is_odd || end > audio_.file_bytes || audio_.file_bytes - end < container_.chunk_header) return padded;
    std::string id(4, '\0');
    if (!move_to(audio_.file, end) || FAILED(riff_ReadData(audio_.file, id.data(), 4)) || !is_known(riff_layout(), id))
      return padded;
    audio_.warnings.push_back("the pad byte behind the chunk \"" + printable_code(entry.id) + "\" is missing");
    return end;
  }

  AudioFile& audio_;
  const WaveChunks& container_;
  const FormEnd& end_;
  LongSizes sizes_;
  uint64_t position_;
};

} // namespace

void read_wave_chunks(AudioFile& audio, const WaveChunks& container, const FormEnd& end, LongSizes sizes) {
  ChunkWalk(audio, container, end, std::move(sizes)).run();
  if (audio.header.empty()) fail(audio, "has no \"fmt \" chunk");
  if (audio.audio_start == 0) fail(audio, "has no \"data\" chunk");
  check_format(audio);
}

} // namespace qv::tool
