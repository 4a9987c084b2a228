// Small movies made by hand, and what other readers than ours find in them.
#pragma once

#include "tests/fileutil/reader/box_bytes.h"

#include <functional>
#include <vector>

namespace fileutil_test {

/// Two tracks whose samples take turns in the media, four chunks each. make() puts its boxes together, chunk offsets
/// included, for any of these.
struct Movie {
  std::string title = std::string(120, 't'); ///< the text of "©nam"
  uint64_t room = 0;                         ///< size of the "free" box directly before the media; 0: there is none
  bool isMovieFirst = true;
  bool hasWideOffsets = false;
  // Boxes put in, whole.
  std::string behindType = {};    ///< of the file
  std::string behindMovie = {};   ///< the next box of the file
  std::string behindMedia = {};   ///< the same
  std::string inMovie = {};       ///< first in "moov"
  std::string inTrack = {};       ///< first in each "trak"
  std::string inTable = {};       ///< first in each "stbl"
  std::string behindTitle = {};   ///< behind the item
  std::string endOfUserData = {}; ///< behind the last child of "udta"
  std::string mediaHeader = {};   ///< in place of "mdat"'s own

  std::string make() const;
  /// Where the payload of "mdat" begins.
  uint64_t mediaStart() const;
  static std::string payload();

private:
  std::string track(int number, uint64_t mediaStart) const;
  std::string movie(uint64_t mediaStart) const;
};

/// Finds all samples of all tracks by the tables of a file, and gives their bytes. Knows only what it needs.
std::vector<std::string> samplesOf(const std::string& file);

} // namespace fileutil_test
