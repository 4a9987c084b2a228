// Where the boxes of a changed tree go in the new file, and whether the media can stay where it is.
#pragma once

#include "fileutil/plan/tree_composer.h"

namespace fileutil {

/// Puts the boxes one behind the other, and behind them what the file has behind its last readable box.
///
/// A "free" box directly in front of "mdat" grows or shrinks so that the media keeps its place, down to 8 bytes; any
/// other stays as it is. Where a fragment ("moof") comes before the media it stays, too: its offsets count from itself.
class FileLayout {
public:
  FileLayout(Boxes& tree, const TreeRecord& record, uint64_t fileLength);

  /// The new file, with offsets into the file as they were. `padding`: 0, or the size, at least 8, of the "free" box
  /// that is to be in front of the media; where fragments come first, in front of the first of them.
  SegmentList compose(uint64_t padding);

private:
  struct Placed {
    uint64_t position = 0;
    const FreeBox* room = nullptr; // where it is such a box
    SegmentList segments;
  };

  void place(IBox* box);
  void placeMedia(const MediaDataBox* box);
  void put(SegmentList&& segments, const FreeBox* room);
  uint64_t position() const;
  void resizeRoom(uint64_t size);

  Boxes& tree_;
  const TreeRecord& record_;
  uint64_t fileLength_;
  TreeComposer composer_;
  std::vector<Placed> placed_;
  uint64_t padding_ = 0;
  bool hasMedia_ = false;    // met so far
  bool hasFragment_ = false; // the same
};

} // namespace fileutil
