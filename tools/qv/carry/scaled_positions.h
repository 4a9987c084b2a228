// Chunks that hold positions in frames, brought to another sample rate where the numbers stand: every other byte stays
// as it is. A chunk that ends too early is changed as far as it goes.
#pragma once

#include "tools/qv/carry/rate_ratio.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv::tool {

/// Where the cue points of a file stand, by their ids.
class CueFrames {
public:
  CueFrames() = default;
  /// From the data of a "cue " chunk. Of several points with one id the first counts.
  explicit CueFrames(std::string_view cue);

  /// 0 for an id that no point has.
  DWORD frame_of(DWORD id) const;

private:
  std::vector<std::pair<DWORD, DWORD>> sorted_; ///< id and frame; a million take 8 MB
};

/// What positions are moved by. `cues` are those of the source.
struct PositionChange {
  RateRatio rate;
  CueFrames cues;
};

void scale_cue(std::string& data, const PositionChange& change);
/// Regions of an "adtl" list: their ends move as their beginnings do.
void scale_labels(std::string& data, const PositionChange& change);
void scale_playlist(std::string& data, const PositionChange& change);
void scale_sampler(std::string& data, const PositionChange& change);
/// The timers of a "cart" chunk, AES46.
void scale_cart(std::string& data, const PositionChange& change);
/// The "MARK" chunk of AIFF.
void scale_marks(std::string& data, const PositionChange& change);

} // namespace qv::tool
