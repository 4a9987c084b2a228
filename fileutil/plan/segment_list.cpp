#include "fileutil/plan/segment_list.h"

#include <algorithm>

namespace fileutil {

namespace {

/// Bytes are joined with those before them up to this length: longer ones would be copied for it.
constexpr size_t kJoined = 4096;

} // namespace

void SegmentList::addOld(uint64_t position, uint64_t length) {
  if (length == 0) return;
  Segment* const last = segments_.empty() || !segments_.back().bytes.empty() ? nullptr : &segments_.back();
  if (last != nullptr && last->source + last->length == position)
    last->length += length;
  else
    segments_.push_back({length, position, {}});
  length_ += length;
}

bool SegmentList::endsInShortBytes() const {
  return !segments_.empty() && !segments_.back().bytes.empty() && segments_.back().bytes.size() <= kJoined;
}

/// The bytes of the last segment, which is made longer, or a new one.
std::vector<uint8_t>& SegmentList::bytesAtEnd(uint64_t more) {
  if (!endsInShortBytes()) segments_.emplace_back();
  segments_.back().length += more;
  length_ += more;
  return segments_.back().bytes;
}

void SegmentList::addBytes(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return;
  std::vector<uint8_t>& end = bytesAtEnd(bytes.size());
  end.insert(end.end(), bytes.begin(), bytes.end());
}

void SegmentList::addBytes(std::vector<uint8_t>&& bytes) {
  if (bytes.empty()) return;
  if (bytes.size() <= kJoined && endsInShortBytes()) return addBytes(std::span<const uint8_t>(bytes));
  length_ += bytes.size();
  const uint64_t length = bytes.size();
  segments_.push_back({length, 0, std::move(bytes)});
}

void SegmentList::addZeros(uint64_t count) {
  if (count == 0) return;
  std::vector<uint8_t>& end = bytesAtEnd(count);
  end.resize(end.size() + static_cast<size_t>(count));
}

void SegmentList::add(SegmentList&& tail) {
  if (segments_.empty()) {
    *this = std::move(tail);
    return;
  }
  for (Segment& segment : tail.segments_)
    if (segment.bytes.empty())
      addOld(segment.source, segment.length);
    else
      addBytes(std::move(segment.bytes));
}

bool SegmentList::isOld(uint64_t position, uint64_t length) const {
  if (segments_.empty()) return length == 0;
  const Segment& only = segments_.front();
  return segments_.size() == 1 && only.bytes.empty() && only.source == position && only.length == length;
}

SegmentMap::SegmentMap(const std::vector<Segment>& segments) {
  uint64_t position = 0;
  for (const Segment& segment : segments) {
    if (segment.bytes.empty())
      pieces_.push_back({segment.source, segment.source + segment.length,
                         static_cast<int64_t>(position) - static_cast<int64_t>(segment.source)});
    position += segment.length;
  }
  std::sort(pieces_.begin(), pieces_.end(), [](const Piece& a, const Piece& b) { return a.begin < b.begin; });
}

const SegmentMap::Piece* SegmentMap::pieceOf(uint64_t position) const {
  const auto after = std::upper_bound(pieces_.begin(), pieces_.end(), position,
                                      [](uint64_t at, const Piece& piece) { return at < piece.begin; });
  return after == pieces_.begin() || position >= std::prev(after)->end ? nullptr : &*std::prev(after);
}

std::optional<int64_t> SegmentMap::shift(uint64_t position, uint64_t length) const {
  const Piece* const piece = pieceOf(position);
  if (piece == nullptr || std::max<uint64_t>(length, 1) > piece->end - position) return {};
  return piece->shift;
}

} // namespace fileutil
