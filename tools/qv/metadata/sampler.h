// How a sampler plays a file: the "smpl" and "inst" chunks of RIFF wave, the "INST" chunk of AIFF.
#pragma once

#include "tools/qv/metadata/markers.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

// The "smpl" chunk: nine words, loops of six, then bytes of the sampler's maker.
inline constexpr size_t kSamplerBytes = 36;
inline constexpr size_t kSamplePeriodAt = 8;
inline constexpr size_t kLoopCountAt = 28;
inline constexpr size_t kLoopBytes = 24;
inline constexpr size_t kLoopStartAt = 8;
inline constexpr size_t kLoopEndAt = 12;

enum class LoopKind : DWORD { kForward, kAlternating, kBackward };

struct SampleLoop {
  LoopKind kind = LoopKind::kForward; ///< higher ones are a sampler's own
  uint64_t start = 0;
  uint64_t end = 0; ///< behind the last frame
  DWORD count = 0;  ///< 0: for ever
};

/// The keys and velocities that a recording is for.
struct KeyRange {
  BYTE low_note = 0;
  BYTE high_note = 127;
  BYTE low_velocity = 1;
  BYTE high_velocity = 127;
  int gain_db = 0;
};

struct Sampler {
  BYTE note = 60; ///< at which it sounds as it was recorded
  int cents = 0;  ///< by which it is tuned above that
  std::optional<KeyRange> range;
  std::vector<SampleLoop> loops;
};

/// How many loops are read of a file.
inline constexpr size_t kMaxLoops = 4096;

/// What the chunks of a file say; nothing where it has none of them. Loops of AIFF stand between `markers`.
std::optional<Sampler> read_sampler(const AudioFile& audio, const std::vector<Marker>& markers);

/// The data of chunks that say the same.
std::string smpl_data(const Sampler& sampler, DWORD rate);
std::string inst_data(const Sampler& sampler);
/// The first two loops become the sustained and the released one; markers for their ends are put in front of
/// the others, where some readers expect them, under new ids.
std::string aiff_inst_data(const Sampler& sampler, std::vector<Marker>& markers);

} // namespace qv::tool
