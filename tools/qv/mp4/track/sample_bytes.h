// How many samples a track has, how long they are, and where they stand: the tables of "stbl", of which a block at a
// time is in memory.
#pragma once

#include "tools/qv/mp4/mp4_file.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

struct SampleBytes {
  uint64_t count = 0;
  uint64_t bytes = 0;
  std::vector<std::string> problems; ///< of the tables
};
SampleBytes count_samples(const Mp4File& file, const fileutil::IBox& stbl);

struct SamplePlace {
  uint64_t position;
  uint32_t bytes;
  uint64_t start; ///< in units of the media's timescale
};
/// The first samples of a track, at most `limit`.
std::vector<SamplePlace> sample_places(const Mp4File& file, const fileutil::IBox& stbl, size_t limit);

} // namespace qv::tool
