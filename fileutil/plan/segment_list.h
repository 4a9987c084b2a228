// A new file while it is put together, and where the bytes of the old one are in it.
#pragma once

#include "fileutil/update/update_plan.h"

#include <optional>
#include <span>
#include <utility>

namespace fileutil {

/// Segments in the order of the new file. Ranges of the old file that lie one behind the other are one, and so are
/// short bytes.
class SegmentList {
public:
  void addOld(uint64_t position, uint64_t length);
  void addBytes(std::span<const uint8_t> bytes);
  void addBytes(std::vector<uint8_t>&& bytes);
  void addZeros(uint64_t count);
  void add(SegmentList&& tail);

  uint64_t length() const { return length_; }
  const std::vector<Segment>& segments() const { return segments_; }
  std::vector<Segment> take() { return std::move(segments_); }
  /// Whether it is this one range of the old file; an empty list is the empty range.
  bool isOld(uint64_t position, uint64_t length) const;

private:
  bool endsInShortBytes() const;
  std::vector<uint8_t>& bytesAtEnd(uint64_t more);

  std::vector<Segment> segments_;
  uint64_t length_ = 0;
};

/// From positions in the old file to positions in the new one.
class SegmentMap {
public:
  struct Piece {
    uint64_t begin; ///< in the old file
    uint64_t end;
    int64_t shift;
  };

  explicit SegmentMap(const std::vector<Segment>& segments);
  /// The piece that holds a position of the old file, or null.
  const Piece* pieceOf(uint64_t position) const;
  /// How far a range of the old file has moved; nothing where not all of it is in the new one, or not in one piece. An
  /// empty range counts as one byte.
  std::optional<int64_t> shift(uint64_t position, uint64_t length) const;

private:
  std::vector<Piece> pieces_; // by begin
};

} // namespace fileutil
