// A file with audio as its headers describe it: RIFF wave, Wave64, AIFF and AIFF-C, all as the same plain data.
#pragma once

#include "tools/qv/file/open_file.h"

#include "qv/audio.h"
#include "qv/summary.h"

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
};

/// A named position: of the "MARK" chunk of AIFF, of the "cue " chunk of RIFF wave and its labels.
struct Marker {
  DWORD id;
  DWORD position; ///< in frames
  std::string name;
};

struct AudioFile {
  std::string name;
  OpenFile file; ///< read by whoever reads samples; everybody moves its position first
  uint64_t file_bytes = 0;
  const char* container = ""; ///< "RIFF", "wave64", "aiff" or "aifc"
  std::vector<BYTE> header;   ///< the format chunk or what describes it, zeros behind it up to 40 bytes at least
  QVWAVEFORMATBUFFER record = {};
  uint64_t audio_start = 0;
  uint64_t audio_bytes = 0; ///< that the file holds, whatever its header says
  uint64_t frames = 0;      ///< whole ones; of a compressed format as its "fact" chunk says, or 0
  bool is_whole =
      false; ///< the form and its chunks fill the file, as a sound header says; RIFF wave alone is looked at
  std::vector<ChunkEntry> chunks;
  std::vector<std::pair<DWORD, std::string>> texts; ///< of the "INFO" list, by id; none in other containers
  std::vector<Marker> markers;                      ///< in the file's order; none in Wave64 files

  const _qvwaveformat& format() const { return record.format; }
  const WAVEFORMATEX* wave_header() const { return reinterpret_cast<const WAVEFORMATEX*>(header.data()); }
};

/// How much is read.
enum class Detail {
  kAudio, ///< all but texts and markers
  kAll
};

/// Opens a file and reads its headers. Throws Failure. Prints a warning for audio that claims more than the file holds,
/// and for texts that cannot be read.
AudioFile read_audio_file(const std::string& name, Detail detail);

/// In units of 100 ns, rounded down.
uint64_t duration_of(const AudioFile& audio);

/// The "INFO" list of a RIFF wave file as the library's list, which is empty before and is the caller's to free. Prints
/// a warning where it cannot be read.
void load_info_list(const AudioFile& audio, _summarylisttag& list);

} // namespace qv::tool
