// What a file knows beside its audio, taken over into a file that is made of it.
#pragma once

#include "tools/qv/carry/rate_ratio.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/carried_chunks.h"

#include <string>
#include <vector>

namespace qv::tool {

/// How the audio of a file differs from that of its source.
struct AudioChange {
  RateRatio rate;
  bool channels = false; ///< how many there are, or which is which
  bool samples = false;  ///< their values: a level, dither, a filter, fewer bits
  bool bytes = false;    ///< anything, down to how numbers are stored
  DWORD new_bits = 0;
  DWORD new_channels = 0;
  bool new_is_float = false;

  bool is_any() const { return !rate.is_same() || channels || samples || bytes; }
};

/// From a format to another. `samples` says whether values change for another reason than their type.
AudioChange audio_change(const _qvwaveformat& from, const _qvwaveformat& to, bool samples);

struct Carried {
  CarriedChunks chunks;              ///< some refer to the source, which stays open until they are written
  std::vector<std::string> warnings; ///< what is left out, and why
};

/// For an output in `container`. Memory is bounded, whatever the chunks claim.
Carried carry_metadata(const AudioFile& source, Container container, const AudioChange& change);

// ---- its parts -----------------------------------------------------------------------------------------------------

/// An id as it stands in a warning.
std::string quoted(DWORD id);
/// The same for a chunk, which stands under that id in RIFF; lists by their types.
std::string named(const ChunkEntry& entry, DWORD id);

/// Names of what is left out for one reason, joined to a warning.
class LeftOut {
public:
  void add(const std::string& name);
  /// "REASON: "levl", "chna"" into the warnings; nothing where none was added.
  void report(const std::string& reason, std::vector<std::string>& warnings) const;

private:
  std::vector<std::string> names_;
};

inline bool is_aiff(Container container) { return container == Container::kAiff || container == Container::kAifc; }
inline bool is_wave(Container container) {
  return container == Container::kRiff || container == Container::kRf64 || container == Container::kWave64;
}

inline bool is_coded(Container container) { return !is_aiff(container) && !is_wave(container); }

/// Chunks that a container of the other family needs other chunks for: texts, markers, what a sampler needs, ID3.
/// What has no counterpart is named in a warning.
Carried wave_to_aiff(const AudioFile& source, const AudioChange& change);
/// The same for AIFF, and for RIFX, the numbers of whose chunks are big-endian.
Carried big_endian_to_wave(const AudioFile& source, Container container, const AudioChange& change);
/// FLAC, Ogg and MP3 have texts alone.
Carried to_coded(const AudioFile& source, Container container);
Carried from_coded(const AudioFile& source, Container container);

/// The texts of INFO items into chunks of AIFF.
void texts_to_aiff(Carried& carried, LeftOut& left_out, const AudioFile& source);

/// Adds the texts of INFO items: as Wave64 has them, before the audio, or as RIFF has them, behind it, with the "CSET"
/// chunk that they need. That is where most readers look for them.
void add_texts(CarriedChunks& chunks, const std::vector<std::pair<DWORD, std::string>>& texts, Container container);

/// Adds a chunk that was made for the output.
void add_chunk(std::vector<CarriedChunk>& chunks, DWORD id, std::string data);
/// A chunk whose data are copied out of the source when they are written.
CarriedChunk copied_chunk(const AudioFile& source, const ChunkEntry& entry, DWORD id);

} // namespace qv::tool
