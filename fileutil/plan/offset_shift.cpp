#include "fileutil/plan/offset_shift.h"

#include "fileutil/plan/refusal.h"

#include <algorithm>

namespace fileutil {

namespace {

/// Bytes that take the place of as many of the old file.
struct Patch {
  uint64_t position;
  Bytes bytes;
};

bool isMedia(FourCC type) { return type == QvFourCC("mdat") || type == QvFourCC("moof"); }

uint64_t largest(unsigned width) { return width >= 8 ? ~uint64_t{0} : (uint64_t{1} << 8 * width) - 1; }

void putBigEndian(std::span<uint8_t> into, uint64_t number) {
  for (size_t at = into.size(); at-- > 0; number >>= 8)
    into[at] = static_cast<uint8_t>(number);
}

/// A number moved by a distance. Refuses one that no longer fits its width.
uint64_t shifted(uint64_t number, int64_t shift, unsigned width) {
  const auto by = static_cast<uint64_t>(shift);
  const uint64_t room = shift < 0 ? number : largest(width) - number;
  if (shift != 0 && (width == 0 || (shift < 0 ? 0 - by : by) > room)) refuse(QVERR_MP4_OFFSETS);
  return number + by;
}

/// One by one.
bool shiftNumbers(Bytes& table, const OffsetRun& run, OffsetMap& map) {
  bool isChanged = false;
  for (uint64_t index = 0; index < run.count; ++index) {
    const std::span field = std::span(table).subspan(static_cast<size_t>(index * run.stride), run.width);
    const uint64_t number = fromBigEndian(field);
    const std::optional<int64_t> shift = map.shiftOf(run, number);
    if (!shift) refuse(QVERR_MP4_OFFSETS);
    putBigEndian(field, shifted(number, *shift, run.width));
    isChanged = isChanged || *shift != 0;
  }
  return isChanged;
}

/// A table of nothing but numbers of one width, of which there may be millions: most lie where the one before does.
template <class Number>
bool shiftTable(Bytes& table, const OffsetRun& run, OffsetMap& map) {
  bool isChanged = false;
  uint64_t begin = 0; // of numbers that are moved by the same distance, and fit
  uint64_t size = 0;
  int64_t shift = 0;
  for (size_t at = 0; at < table.size(); at += sizeof(Number)) {
    Number field;
    std::memcpy(&field, table.data() + at, sizeof field);
    const uint64_t number = bigEndian(field);
    if (number - begin >= size) {
      const OffsetMap::Range range = map.rangeOf(run, number);
      if (!range.shift) refuse(QVERR_MP4_OFFSETS);
      shift = *range.shift;
      shifted(number, shift, sizeof(Number));
      begin = std::max(range.begin, shift < 0 ? 0 - static_cast<uint64_t>(shift) : 0);
      size = std::min(range.end, shift > 0 ? largest(sizeof(Number)) - static_cast<uint64_t>(shift) : range.end);
      size = size > begin ? size - begin : 0;
      isChanged = isChanged || shift != 0;
    }
    field = bigEndian(static_cast<Number>(number + static_cast<uint64_t>(shift)));
    std::memcpy(table.data() + at, &field, sizeof field);
  }
  return isChanged;
}

/// The table with its numbers shifted; empty where that changes none.
Bytes shiftedTable(const OffsetRun& run, OffsetMap& map, const ByteSource& file) {
  Bytes table(static_cast<size_t>((run.count - 1) * run.stride + run.width));
  file.read(run.position, table);
  const bool isPlain = run.stride == run.width && run.addend == 0 && !run.isRelative;
  const bool isChanged = isPlain && run.width == 4   ? shiftTable<uint32_t>(table, run, map)
                         : isPlain && run.width == 8 ? shiftTable<uint64_t>(table, run, map)
                                                     : shiftNumbers(table, run, map);
  if (!isChanged) table.clear();
  return table;
}

/// Puts patches over what they replace. One whose place is not in the new file is left out.
SegmentList patched(SegmentList&& segments, std::vector<Patch>&& patches) {
  SegmentList result;
  for (Segment& segment : segments.take()) {
    if (!segment.bytes.empty()) {
      result.addBytes(std::move(segment.bytes));
      continue;
    }
    uint64_t at = segment.source;
    const uint64_t end = segment.source + segment.length;
    auto patch = std::lower_bound(patches.begin(), patches.end(), at,
                                  [](const Patch& each, uint64_t position) { return each.position < position; });
    for (; patch != patches.end() && patch->position + patch->bytes.size() <= end; ++patch) {
      result.addOld(at, patch->position - at);
      at = patch->position + patch->bytes.size();
      result.addBytes(std::move(patch->bytes));
    }
    result.addOld(at, end - at);
  }
  return result;
}

} // namespace

OffsetMap::OffsetMap(const OffsetScan& old, uint64_t oldLength, const std::vector<Segment>& segments) : map_(segments) {
  std::optional<int64_t> ofFragments;
  for (const TopBox& box : old.top) {
    const std::optional<int64_t> shift = map_.shift(box.position, box.size);
    places_.push_back({box, shift});
    hasMoved_ = hasMoved_ || (shift && *shift != 0);
    if (!isMedia(box.type)) continue;
    hasMediaMoved_ = hasMediaMoved_ || shift != 0;
    if (box.type == QvFourCC("moof") && !ofFragments) ofFragments = shift;
    areFragmentsTogether_ = areFragmentsTogether_ && (!ofFragments || shift == ofFragments);
  }
  const uint64_t topEnd = old.top.empty() ? 0 : old.top.back().end();
  if (topEnd < oldLength) hasMoved_ = hasMoved_ || map_.shift(topEnd, oldLength - topEnd) != 0;
}

const OffsetMap::Place* OffsetMap::placeOf(uint64_t position) {
  const auto holds = [=](const Place& place) { return position >= place.box.position && position < place.box.end(); };
  if (recent_ < places_.size() && holds(places_[recent_])) return &places_[recent_];
  const auto after = std::upper_bound(places_.begin(), places_.end(), position,
                                      [](uint64_t at, const Place& place) { return at < place.box.position; });
  if (after == places_.begin() || !holds(*std::prev(after))) return nullptr;
  recent_ = static_cast<size_t>(after - places_.begin()) - 1;
  return &places_[recent_];
}

/// The media box that ends there, or null.
const OffsetMap::Place* OffsetMap::mediaBefore(uint64_t position) const {
  const auto after = std::lower_bound(places_.begin(), places_.end(), position,
                                      [](const Place& place, uint64_t at) { return place.box.position < at; });
  if (after == places_.begin()) return nullptr;
  const Place& before = *std::prev(after);
  return before.box.type == QvFourCC("mdat") && before.box.end() == position ? &before : nullptr;
}

std::optional<int64_t> OffsetMap::shiftAt(uint64_t position, uint64_t length, bool canBeEmpty) {
  const Place* place = placeOf(position);
  if (canBeEmpty && (place == nullptr || place->box.position == position))
    if (const Place* const media = mediaBefore(position)) place = media;
  if (place == nullptr) return hasMoved_ ? std::nullopt : std::optional<int64_t>(0);
  return place->shift ? place->shift : map_.shift(position, length);
}

std::optional<int64_t> OffsetMap::shiftOf(const OffsetRun& run, uint64_t number) {
  if (run.isForeign) return 0;
  const uint64_t target = run.addend + number;
  if (target < number) return hasMoved_ ? std::nullopt : std::optional<int64_t>(0);
  if (!run.isRelative) return shiftAt(target, run.length, !run.pointsToBox);
  const std::optional<int64_t> own = map_.shift(run.position, run.width);
  const std::optional<int64_t> first = shiftAt(target, 1, false);
  const std::optional<int64_t> last = shiftAt(target + run.length - 1, 1, false);
  if (!own || !first || first != last) return {};
  return *first - *own;
}

OffsetMap::Range OffsetMap::rangeOf(const OffsetRun& run, uint64_t number) {
  Range range{number, number + 1, shiftOf(run, number)};
  const Place* const place = run.isForeign ? nullptr : placeOf(number);
  // At its first byte may end what lies before it.
  if (place != nullptr && place->shift && number > place->box.position)
    range = {place->box.position + 1, place->box.end(), place->shift};
  return range;
}

SegmentList shiftOffsets(SegmentList&& segments, const OffsetScan& old, OffsetMap& map, const ByteSource& file) {
  if (map.hasMoved() && (old.isOpaque || !map.areFragmentsTogether())) refuse(QVERR_MP4_OFFSETS);
  std::vector<Patch> patches;
  for (const OffsetRun& run : old.runs) {
    Bytes table = shiftedTable(run, map, file);
    if (!table.empty()) patches.push_back({run.position, std::move(table)});
  }
  std::sort(patches.begin(), patches.end(), [](const Patch& a, const Patch& b) { return a.position < b.position; });
  return patches.empty() ? std::move(segments) : patched(std::move(segments), std::move(patches));
}

} // namespace fileutil
