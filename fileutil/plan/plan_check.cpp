#include "fileutil/plan/plan_check.h"

#include "fileutil/plan/offset_scan.h"
#include "fileutil/plan/segment_list.h"

#include "qv/result.h"

#include <algorithm>

namespace fileutil {

namespace {

bool isSegment(const Segment& segment, uint64_t oldLength) {
  if (segment.length == 0) return false;
  if (!segment.bytes.empty()) return segment.bytes.size() == segment.length;
  return segment.source <= oldLength && segment.length <= oldLength - segment.source;
}

bool areSegmentsRight(const UpdatePlan& plan) {
  std::vector<std::pair<uint64_t, uint64_t>> used; // begin and end, in the old file
  uint64_t position = 0;
  for (const Segment& segment : plan.segments) {
    if (!isSegment(segment, plan.oldLength)) return false;
    if (segment.bytes.empty()) {
      if (plan.isInPlace && segment.source != position) return false;
      used.emplace_back(segment.source, segment.source + segment.length);
    }
    position += segment.length;
  }
  std::sort(used.begin(), used.end());
  const auto overlap = [](const auto& left, const auto& right) { return right.first < left.second; };
  return position == plan.newLength && std::adjacent_find(used.begin(), used.end(), overlap) == used.end();
}

bool isFragmentOrMedia(const TopBox& box) { return box.type == QvFourCC("mdat") || box.type == QvFourCC("moof"); }

/// Whether all numbers of two tables are positions in one piece of the old file, and move with it.
template <class Number>
bool moveWith(const SegmentMap::Piece& piece, std::span<const uint8_t> old, std::span<const uint8_t> now) {
  const uint64_t size = piece.end - piece.begin;
  bool isWrong = false;
  for (size_t at = 0; at < old.size(); at += sizeof(Number)) { // without a branch: compiled to vectors
    Number was;
    Number is;
    std::memcpy(&was, old.data() + at, sizeof was);
    std::memcpy(&is, now.data() + at, sizeof is);
    const uint64_t position = bigEndian(was);
    isWrong |= position - piece.begin >= size;
    isWrong |= bigEndian(is) - position != static_cast<uint64_t>(piece.shift);
  }
  return !isWrong;
}

class Comparison {
public:
  Comparison(const UpdatePlan& plan, const ByteSource& old)
      : old_(old), new_(plan.segments, old), map_(plan.segments), before_(scanOffsets(old_)),
        after_(scanOffsets(new_)) {}

  bool isMediaThere();
  bool doPositionsAgree() const;

private:
  bool isRunRight(const OffsetRun& was, const OffsetRun& is) const;
  bool isTableRight(const OffsetRun& was, const OffsetRun& is, const Bytes& oldBytes, const Bytes& newBytes) const;
  bool isRight(const OffsetRun& was, uint64_t oldTarget, uint64_t newTarget) const;
  bool isInAnyBox(uint64_t position) const;

  const ByteSource& old_;
  PlannedBytes new_;
  SegmentMap map_;
  OffsetScan before_;
  OffsetScan after_;
  bool hasMoved_ = false;
};

/// Both files have the same fragments and media, each where the plan puts it; from the first fragment on they keep
/// their distances.
bool Comparison::isMediaThere() {
  std::vector<TopBox> expected;
  std::optional<int64_t> ofFragments;
  for (const TopBox& box : before_.top) {
    const std::optional<int64_t> whole = map_.shift(box.position, box.size);
    hasMoved_ = hasMoved_ || (whole && *whole != 0);
    if (!isFragmentOrMedia(box)) continue;
    // A fragment may have a shifted position in it.
    const std::optional<int64_t> shift = box.type == QvFourCC("mdat") ? whole : map_.shift(box.position, 8);
    if (!ofFragments && box.type == QvFourCC("moof")) ofFragments = shift;
    if (!shift || (ofFragments && shift != ofFragments)) return false;
    hasMoved_ = hasMoved_ || *shift != 0;
    expected.push_back({box.type, box.position + static_cast<uint64_t>(*shift), box.size});
  }
  std::vector<TopBox> found;
  std::copy_if(after_.top.begin(), after_.top.end(), std::back_inserter(found), isFragmentOrMedia);
  std::sort(
      expected.begin(), expected.end(), [](const TopBox& a, const TopBox& b) { return a.position < b.position; });
  return std::equal(expected.begin(), expected.end(), found.begin(), found.end(), [](const TopBox& a, const TopBox& b) {
    return a.type == b.type && a.position == b.position && a.size == b.size;
  });
}

bool Comparison::isInAnyBox(uint64_t position) const {
  const uint64_t end = before_.top.empty() ? 0 : before_.top.back().end();
  return position < end; // they lie one behind the other
}

bool Comparison::isRight(const OffsetRun& was, uint64_t oldTarget, uint64_t newTarget) const {
  if (was.isForeign || (!hasMoved_ && !isInAnyBox(oldTarget))) return oldTarget == newTarget;
  const uint64_t moved = newTarget - oldTarget;
  if (const auto shift = map_.shift(oldTarget, 1); shift && static_cast<uint64_t>(*shift) == moved) return true;
  // Empty data at the end of what comes before.
  const auto before = oldTarget == 0 || was.pointsToBox ? std::nullopt : map_.shift(oldTarget - 1, 1);
  return before && static_cast<uint64_t>(*before) == moved;
}

bool Comparison::isTableRight(const OffsetRun& was, const OffsetRun& is, const Bytes& oldBytes,
                              const Bytes& newBytes) const {
  // Of millions of numbers most lie in one piece.
  if (!was.isForeign && was.addend == 0 && was.stride == was.width && (was.width == 4 || was.width == 8)) {
    const auto* const piece = map_.pieceOf(fromBigEndian(std::span(oldBytes).first(was.width)));
    auto* const moveAlike = was.width == 4 ? &moveWith<uint32_t> : &moveWith<uint64_t>;
    if (piece != nullptr && is.addend == 0 && moveAlike(*piece, oldBytes, newBytes)) return true;
  }
  for (size_t at = 0; at + was.width <= oldBytes.size(); at += was.stride) {
    const uint64_t oldNumber = fromBigEndian(std::span(oldBytes).subspan(at, was.width));
    const uint64_t newNumber = fromBigEndian(std::span(newBytes).subspan(at, is.width));
    if (!isRight(was, was.addend + oldNumber, is.addend + newNumber)) return false;
  }
  return true;
}

bool Comparison::isRunRight(const OffsetRun& was, const OffsetRun& is) const {
  if (was.holder != is.holder || was.count != is.count || was.width != is.width || was.stride != is.stride)
    return false;
  constexpr uint64_t kBlock = 8192; // numbers
  for (uint64_t first = 0; first < was.count; first += kBlock) {
    const uint64_t count = std::min(kBlock, was.count - first);
    Bytes oldBytes(static_cast<size_t>((count - 1) * was.stride + was.width));
    Bytes newBytes(oldBytes.size());
    old_.read(was.position + first * was.stride, oldBytes);
    new_.read(is.position + first * is.stride, newBytes);
    if (!isTableRight(was, is, oldBytes, newBytes)) return false;
  }
  return true;
}

bool Comparison::doPositionsAgree() const {
  return std::equal(
      before_.runs.begin(), before_.runs.end(), after_.runs.begin(), after_.runs.end(),
      [this](const OffsetRun& was, const OffsetRun& is) { return isRunRight(was, is); });
}

} // namespace

HRESULT checkPlan(const UpdatePlan& plan, const ByteSource& old) {
  if (plan.oldLength != old.length() || !areSegmentsRight(plan)) return QVERR_MP4_UNSAFE;
  Comparison files(plan, old);
  if (!files.isMediaThere()) return QVERR_MP4_UNSAFE;
  return files.doPositionsAgree() ? S_OK : QVERR_MP4_OFFSETS;
}

} // namespace fileutil
