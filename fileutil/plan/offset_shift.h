// Moving positions in a file along with what they point to.
#pragma once

#include "fileutil/plan/offset_scan.h"
#include "fileutil/plan/segment_list.h"

namespace fileutil {

/// Where in a new file is what a position in the old one points to.
class OffsetMap {
public:
  /// `segments` is the new file, in which any positions are still those of the old one.
  OffsetMap(const OffsetScan& old, uint64_t oldLength, const std::vector<Segment>& segments);

  /// A box of the file that is as it was, or what is behind the last, is in another place.
  bool hasMoved() const { return hasMoved_; }
  /// "mdat" or "moof" is in another place.
  bool hasMediaMoved() const { return hasMediaMoved_; }
  /// Fragments and media have moved by the same distance, from the first fragment on: what counts from a fragment
  /// stays right.
  bool areFragmentsTogether() const { return areFragmentsTogether_; }

  /// How far to shift one number of a run. What lies at the very end of "mdat" belongs to it: an empty chunk. Nothing
  /// where what it points to is in no box, or is changed.
  std::optional<int64_t> shiftOf(const OffsetRun& run, uint64_t number);

  /// Positions that are shifted alike.
  struct Range {
    uint64_t begin;
    uint64_t end;
    std::optional<int64_t> shift;
  };
  /// The same as shiftOf() for a number that is a position by itself, and for as many around it as are known.
  Range rangeOf(const OffsetRun& run, uint64_t number);

private:
  struct Place {
    TopBox box;
    std::optional<int64_t> shift; // where the box is as it was
  };
  const Place* placeOf(uint64_t position);
  const Place* mediaBefore(uint64_t position) const;
  std::optional<int64_t> shiftAt(uint64_t position, uint64_t length, bool canBeEmpty);

  SegmentMap map_;
  std::vector<Place> places_;
  size_t recent_ = 0; // that of the last number, which the next one is most often in, too
  bool hasMoved_ = false;
  bool hasMediaMoved_ = false;
  bool areFragmentsTogether_ = true;
};

/// The same new file with every position shifted. Refuses with QVERR_MP4_OFFSETS one that cannot be.
SegmentList shiftOffsets(SegmentList&& segments, const OffsetScan& old, OffsetMap& map, const ByteSource& file);

} // namespace fileutil
