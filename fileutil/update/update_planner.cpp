#include "fileutil/update/update_planner.h"

#include "fileutil/plan/file_layout.h"
#include "fileutil/plan/offset_shift.h"
#include "fileutil/plan/plan_check.h"
#include "fileutil/plan/refusal.h"

#include "qv/mp4/box_reader.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace fileutil {

namespace {

/// What has moved between boxes that stay may be carried along in memory, as far as this: less than copying the file.
constexpr uint64_t kMostCarried = uint64_t{64} << 20;

std::unique_ptr<Boxes> readTree(std::istream& source, uint64_t length) {
  source.clear();
  source.seekg(0);
  BoxReader reader(source, length);
  std::unique_ptr<Boxes> tree(reader.readMetaForUpdate());
  if (tree == nullptr) throw std::bad_alloc();
  if (reader.isCutShort() || source.bad()) refuse(QVERR_RIFF_READ);
  return tree;
}

class Planner {
public:
  Planner(Boxes& tree, const TreeRecord& record, const ByteSource& file, const UpdateOptions& options)
      : layout_(tree, record, file.length()), file_(file), options_(options) {}

  UpdatePlan plan();

private:
  SegmentList moved(SegmentList&& segments, bool& staysInPlace);
  bool canCarry(const SegmentList& segments) const;
  SegmentList carried(const SegmentList& segments) const;
  UpdatePlan asPlan(SegmentList&& segments, bool isInPlace) const;

  FileLayout layout_;
  const ByteSource& file_;
  const UpdateOptions& options_;
};

UpdatePlan Planner::asPlan(SegmentList&& segments, bool isInPlace) const {
  const uint64_t length = segments.length();
  return {file_.length(), length, isInPlace, segments.take()};
}

bool keepsPlaces(const SegmentList& segments) {
  uint64_t position = 0;
  return std::all_of(segments.segments().begin(), segments.segments().end(), [&](const Segment& segment) {
    const bool keeps = !segment.bytes.empty() || segment.source == position;
    position += segment.length;
    return keeps;
  });
}

/// The segments with every position in the file moved along; says whether the media stays where it is.
SegmentList Planner::moved(SegmentList&& segments, bool& staysInPlace) {
  staysInPlace = keepsPlaces(segments);
  if (staysInPlace) return std::move(segments);
  const OffsetScan offsets = scanOffsets(file_);
  OffsetMap map(offsets, file_.length(), segments.segments());
  staysInPlace = !map.hasMediaMoved();
  return shiftOffsets(std::move(segments), offsets, map, file_);
}

bool Planner::canCarry(const SegmentList& segments) const {
  uint64_t position = 0;
  uint64_t bytes = 0;
  for (const Segment& segment : segments.segments()) {
    if (segment.bytes.empty() && segment.source != position) bytes += segment.length;
    position += segment.length;
  }
  return bytes <= kMostCarried;
}

/// Ranges that have moved as bytes, so that every other keeps its place.
SegmentList Planner::carried(const SegmentList& segments) const {
  SegmentList result;
  for (const Segment& segment : segments.segments()) {
    if (!segment.bytes.empty()) {
      result.addBytes(segment.bytes);
    } else if (segment.source == result.length()) {
      result.addOld(segment.source, segment.length);
    } else {
      Bytes bytes(static_cast<size_t>(segment.length));
      file_.read(segment.source, bytes);
      result.addBytes(bytes);
    }
  }
  return result;
}

UpdatePlan Planner::plan() {
  bool staysInPlace = false;
  SegmentList segments = moved(layout_.compose(0), staysInPlace);
  if (staysInPlace && canCarry(segments)) {
    UpdatePlan inPlace = asPlan(carried(segments), true);
    if (SUCCEEDED(checkPlan(inPlace, file_))) return inPlace;
  }
  if (options_.padding > 0) segments = moved(layout_.compose(std::max<uint64_t>(options_.padding, 8)), staysInPlace);
  UpdatePlan copy = asPlan(std::move(segments), false);
  if (const HRESULT result = checkPlan(copy, file_); FAILED(result)) refuse(result);
  return copy;
}

} // namespace

HRESULT planUpdate(std::istream& source, uint64_t length, const TreeChange& change, const UpdateOptions& options,
                   UpdatePlan& plan) {
  plan = {};
  try {
    const StreamBytes file(source, length);
    const std::unique_ptr<Boxes> tree = readTree(source, length);
    const TreeRecord record(*tree, file);
    if (const HRESULT result = change(tree.get()); result != S_OK) return result;
    plan = Planner(*tree, record, file, options).plan();
    return S_OK;
  } catch (const Refusal& refusal) {
    return refusal.result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception&) {
    return E_FAIL;
  }
}

} // namespace fileutil
