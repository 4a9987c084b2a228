// Movie fragments ("moof"): what they add to the tracks of a movie. ISO/IEC 14496-12, clause 8.8.
#pragma once

#include "tools/qv/mp4/mp4_file.h"

#include <cstdint>
#include <map>
#include <string_view>

namespace qv::tool {

/// What "trex" says of the samples of a track in fragments that do not say it themselves.
struct FragmentDefaults {
  uint32_t sample_duration = 0;
  uint32_t sample_bytes = 0;
};

struct FragmentSum {
  uint64_t samples = 0;
  uint64_t bytes = 0;
  uint64_t media_units = 0; ///< how long they last
};

class Fragments {
public:
  /// `mvex`: the payload of that box, which may be empty.
  explicit Fragments(std::string_view mvex);

  /// Adds one "moof" box.
  void add(const Mp4File& file, const fileutil::IBox& moof);
  uint64_t count() const { return count_; }
  /// Of all of them, in the movie's timescale, as "mehd" says; 0 where it says nothing.
  uint64_t movie_units() const { return movie_units_; }
  /// What they hold of a track.
  FragmentSum of_track(uint32_t id) const;
  /// By track id.
  const std::map<uint32_t, FragmentSum>& tracks() const { return sums_; }

private:
  void add_track(std::string_view traf);

  uint64_t count_ = 0;
  uint64_t movie_units_ = 0;
  std::map<uint32_t, FragmentDefaults> defaults_;
  std::map<uint32_t, FragmentSum> sums_;
};

} // namespace qv::tool
