// The payloads in which scanOffsets() finds positions.
#pragma once

#include "fileutil/plan/offset_scan.h"

namespace fileutil {

struct ScannedBox {
  FourCC type = 0;
  uint64_t position = 0;
  uint64_t payload = 0; ///< where it begins
  uint64_t end = 0;
  uint64_t length() const { return end - payload; }
};

class OffsetPayload {
public:
  OffsetPayload(const ByteSource& file, OffsetScan& to) : file_(file), to_(to) {}

  /// False where the type holds no positions.
  bool read(const ScannedBox& box, FourCC parent);
  /// Where a container's children begin.
  uint64_t childrenOf(const ScannedBox& box) const;
  /// Marks the scan where an unknown box mentions chunk offsets.
  void lookInto(const ScannedBox& box);

  void beginTrack() { hasOwnMedia_ = hasForeignMedia_ = false; }
  /// Says of the track's runs whether their media is in another file.
  void endTrack(size_t firstRun);

private:
  class Fields;

  void readChunkOffsets(const ScannedBox& box, unsigned width);
  void readAuxiliaryOffsets(const ScannedBox& box);
  void readFragmentHeader(const ScannedBox& box);
  void readRandomAccess(const ScannedBox& box);
  void readSegmentIndex(const ScannedBox& box);
  void readItemLocations(const ScannedBox& box);
  void readItem(Fields& in, unsigned version, unsigned sizes);
  void readDataReferences(const ScannedBox& box);
  void addTable(FourCC holder, uint64_t position, uint64_t count, unsigned width, unsigned stride, uint64_t end);

  const ByteSource& file_;
  OffsetScan& to_;
  bool hasOwnMedia_ = false;
  bool hasForeignMedia_ = false;
};

} // namespace fileutil
