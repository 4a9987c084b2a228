// A file with audio, in any container that is read: what its headers say, as plain data.
#pragma once

#include "tools/qv/file/container.h"
#include "tools/qv/file/disk/disk_file.h"

#include "qv/audio.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qv::tool {

/// How many chunks are listed, and looked at: what has more is no recording, and would fill the memory.
inline constexpr size_t kMaxChunks = 10'000;

struct ChunkEntry {
  DWORD id;        ///< its characters in file order; of a GUID the first four
  DWORD list_type; ///< of a "LIST" chunk, otherwise 0
  uint64_t offset; ///< of the chunk's header in the file
  uint64_t size;   ///< of the data, as the header says
  uint64_t data;   ///< where the data begin
};

struct AudioFile {
  std::string name;
  OpenFile file; ///< shared by all who read: each moves its position first
  uint64_t file_bytes = 0;
  const char* container = ""; ///< its name in output: "RIFF", "RIFX", "RF64", "BW64", "wave64", "aiff", "aifc"
  Container kind = Container::kRiff;
  uint64_t form_start = 0;         ///< of the container's header: behind a tag that stands in front
  bool is_big_endian = false;      ///< the numbers in its chunks are
  bool has_reversed_bytes = false; ///< its samples are big-endian
  std::vector<BYTE> header;        ///< the format as a WAVEFORMATEX, with zeros behind it up to 40 bytes at least
  QVWAVEFORMATBUFFER record = {};
  uint64_t audio_start = 0;
  uint64_t audio_bytes = 0; ///< no more than the file holds, whatever its header says
  uint64_t frames = 0;      ///< whole ones; of a compressed format as its "fact" chunk says, or 0
  std::vector<ChunkEntry> chunks;
  std::vector<std::pair<DWORD, std::string>> coded_texts; ///< of FLAC, Ogg and MP3, under the ids of "INFO" lists
  std::vector<std::string> warnings; ///< what is not as it should be, and how it was read all the same

  const _qvwaveformat& format() const { return record.format; }
  const WAVEFORMATEX* wave_header() const { return reinterpret_cast<const WAVEFORMATEX*>(header.data()); }
};

/// Opens a file and reads its headers. Throws Failure. There is a warning for audio that claims more than the file
/// holds.
AudioFile inspect_audio_file(const std::string& name);
/// The same of a file whose name and handle are set.
void inspect_headers(AudioFile& audio);
/// The same, and prints the warnings.
AudioFile read_audio_file(const std::string& name);

/// How long the audio lasts, in units of 100 ns, rounded down.
uint64_t duration_of(const AudioFile& audio);

} // namespace qv::tool
