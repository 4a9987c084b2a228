// A file with audio, RIFF wave, Wave64, AIFF or AIFF-C: what its headers say, as plain data, and its samples.
#pragma once

#include "tools/qv/file/container.h"
#include "tools/qv/file/disk_file.h"

#include "qv/audio.h"
#include "qv/summary.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qv::tool {

struct ChunkEntry {
  DWORD id;        ///< its characters in file order; of a GUID the first four
  DWORD list_type; ///< of a "LIST" chunk, otherwise 0
  uint64_t offset; ///< of the chunk's header in the file
  uint64_t size;   ///< of the data, as the header says
  uint64_t data;   ///< where the data begin
};

/// A named position: of the "MARK" chunk of AIFF, of the "cue " chunk of RIFF wave and its labels.
struct Marker {
  DWORD id;
  DWORD position; ///< in frames
  std::string name;
};

struct AudioFile {
  std::string name;
  OpenFile file; ///< shared by all who read: each moves its position first
  uint64_t file_bytes = 0;
  const char* container = ""; ///< "RIFF", "wave64", "aiff" or "aifc"
  Container kind = Container::kRiff;
  bool is_big_endian = false; ///< the numbers in its chunks are
  std::vector<BYTE> header;   ///< the format as a WAVEFORMATEX, with zeros behind it up to 40 bytes at least
  QVWAVEFORMATBUFFER record = {};
  uint64_t audio_start = 0;
  uint64_t audio_bytes = 0; ///< no more than the file holds, whatever its header says
  uint64_t frames = 0;      ///< whole ones; of a compressed format as its "fact" chunk says, or 0
  bool is_whole =
      false; ///< the form and its chunks fill the file, as a sound header says; RIFF wave alone is looked at
  std::vector<ChunkEntry> chunks;
  std::vector<std::pair<DWORD, std::string>> texts; ///< of the "INFO" list, by id; none in other containers
  std::vector<Marker> markers;                      ///< in the file's order; none in Wave64 files
  std::vector<std::string> warnings;                ///< what is not as it should be, and how it was read all the same

  const _qvwaveformat& format() const { return record.format; }
  const WAVEFORMATEX* wave_header() const { return reinterpret_cast<const WAVEFORMATEX*>(header.data()); }
};

/// How much of a file is read.
enum class Detail {
  kAudio, ///< all but texts and markers
  kAll
};

/// Opens a file and reads its headers. Throws Failure. There is a warning for audio that claims more than the file
/// holds, and for texts that cannot be read.
AudioFile inspect_audio_file(const std::string& name, Detail detail);
/// The same, and prints the warnings.
AudioFile read_audio_file(const std::string& name, Detail detail);

/// How long the audio lasts, in units of 100 ns, rounded down.
uint64_t duration_of(const AudioFile& audio);

/// The "INFO" list of a RIFF wave file as the library's list, which is empty before and is the caller's to free.
/// Answers false where it cannot be read.
bool load_info_list(const AudioFile& audio, _summarylisttag& list);

/// Reads samples in order, from a place of its own, so that several can read one file.
class SampleReader {
public:
  /// Keeps a reference to `audio`. Throws Failure for a format whose samples the library does not read.
  explicit SampleReader(const AudioFile& audio);

  /// Reads the next frames. Throws Failure when they are not there.
  void read(void* buffer, DWORD frames);

private:
  const AudioFile& audio_;
  uint64_t position_; ///< in the file
};

/// How many frames are worked on at a time: 64 Ki, fewer for many channels, so that a block of doubles stays within
/// 4 MiB whatever the format says.
inline DWORD frames_per_block(DWORD channels) {
  constexpr DWORD kMaxFrames = 65536;
  constexpr DWORD kMaxSamples = 4 * 1024 * 1024 / sizeof(double);
  return std::clamp<DWORD>(kMaxSamples / channels, 1, kMaxFrames);
}

/// Calls work(frames) for block after block until `frames` are done.
template <typename Block>
void for_each_block(uint64_t frames, DWORD block_frames, Block work) {
  while (frames > 0) {
    const DWORD run = static_cast<DWORD>(std::min<uint64_t>(frames, block_frames));
    work(run);
    frames -= run;
  }
}

} // namespace qv::tool
