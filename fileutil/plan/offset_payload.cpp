#include "fileutil/plan/offset_payload.h"

#include <algorithm>
#include <string_view>

namespace fileutil {

/// The bytes of a payload, number by number. Past their end numbers are 0, and it says so.
class OffsetPayload::Fields {
public:
  Fields(const ByteSource& file, const ScannedBox& box, uint64_t most = ~uint64_t{0})
      : begin_(box.payload), bytes_(static_cast<size_t>(std::min(box.length(), most))) {
    file.read(begin_, bytes_);
  }
  uint64_t next(unsigned width) {
    isCut = isCut || width > bytes_.size() - at_;
    if (isCut) return 0;
    at_ += width;
    return fromBigEndian(std::span(bytes_).subspan(at_ - width, width));
  }
  /// In the file.
  uint64_t position() const { return begin_ + at_; }

  bool isCut = false;

private:
  uint64_t begin_;
  Bytes bytes_;
  size_t at_ = 0;
};

bool OffsetPayload::read(const ScannedBox& box, FourCC parent) {
  switch (box.type) {
  case QvFourCC("stco"): readChunkOffsets(box, 4); return true;
  case QvFourCC("co64"): readChunkOffsets(box, 8); return true;
  case QvFourCC("saio"):
    if (parent != QvFourCC("traf")) readAuxiliaryOffsets(box);
    return true;
  case QvFourCC("tfhd"): readFragmentHeader(box); return true;
  case QvFourCC("tfra"): readRandomAccess(box); return true;
  case QvFourCC("sidx"): readSegmentIndex(box); return true;
  case QvFourCC("iloc"): readItemLocations(box); return true;
  case QvFourCC("dref"): readDataReferences(box); return true;
  case QvFourCC("cmov"): to_.isOpaque = true; return true;
  default: return false;
  }
}

uint64_t OffsetPayload::childrenOf(const ScannedBox& box) const {
  // In QuickTime files "meta" has no version word, which is zero elsewhere, as no size of a child is.
  const bool hasVersion = box.type == QvFourCC("meta") && box.length() >= 4 && file_.number(box.payload, 4) == 0;
  return box.payload + (hasVersion ? 4 : 0);
}

void OffsetPayload::endTrack(size_t firstRun) {
  if (hasOwnMedia_ && hasForeignMedia_) to_.isOpaque = true;
  for (size_t run = firstRun; run < to_.runs.size(); ++run)
    to_.runs[run].isForeign = hasForeignMedia_ && !hasOwnMedia_ && to_.runs[run].holder != QvFourCC("iloc");
}

void OffsetPayload::addTable(FourCC holder, uint64_t position, uint64_t count, unsigned width, unsigned stride,
                             uint64_t end) {
  if (position > end || count > (end - position) / stride)
    to_.isOpaque = true;
  else if (count > 0)
    to_.runs.push_back({.holder = holder,
                        .position = position,
                        .count = count,
                        .width = width,
                        .stride = stride,
                        .pointsToBox = holder == QvFourCC("tfhd") || holder == QvFourCC("tfra")});
}

void OffsetPayload::readChunkOffsets(const ScannedBox& box, unsigned width) {
  Fields in(file_, box, 8);
  in.next(4);
  const uint64_t count = in.next(4);
  if (in.isCut || box.length() - 8 != count * width) to_.isOpaque = true;
  addTable(box.type, box.payload + 8, count, width, width, box.end);
}

void OffsetPayload::readAuxiliaryOffsets(const ScannedBox& box) {
  Fields in(file_, box, 16);
  const uint64_t versionFlags = in.next(4);
  if ((versionFlags & 1) != 0) in.next(8); // type of the information, and its parameter
  const uint64_t count = in.next(4);
  if (in.isCut) to_.isOpaque = true;
  const unsigned width = versionFlags >> 24 == 0 ? 4 : 8;
  addTable(box.type, in.position(), count, width, width, box.end);
}

void OffsetPayload::readFragmentHeader(const ScannedBox& box) {
  Fields in(file_, box, 8);
  constexpr uint64_t kBaseDataOffsetPresent = 1;
  if ((in.next(4) & kBaseDataOffsetPresent) != 0) addTable(box.type, box.payload + 8, 1, 8, 8, box.end);
}

void OffsetPayload::readRandomAccess(const ScannedBox& box) {
  Fields in(file_, box, 16);
  const unsigned width = in.next(4) >> 24 == 0 ? 4 : 8;
  in.next(4); // track
  const auto sizes = static_cast<unsigned>(in.next(4));
  const uint64_t count = in.next(4);
  if (in.isCut) to_.isOpaque = true;
  // Each entry: time, position of the fragment, and three numbers of 1 to 4 bytes.
  const unsigned numbers = 3 + (sizes >> 4 & 3) + (sizes >> 2 & 3) + (sizes & 3);
  const unsigned stride = 2 * width + numbers;
  if (count > (box.end - box.payload) / stride) to_.isOpaque = true;
  if (!to_.isOpaque) addTable(box.type, in.position() + width, count, width, stride, box.end + width);
}

void OffsetPayload::readSegmentIndex(const ScannedBox& box) {
  Fields in(file_, box);
  const unsigned width = in.next(4) >> 24 == 0 ? 4 : 8;
  in.next(8); // reference, timescale
  in.next(width);
  OffsetRun run{.holder = box.type, .position = in.position(), .width = width, .stride = width};
  run.addend = box.end;
  run.pointsToBox = run.isRelative = true;
  in.next(width);
  in.next(2);
  for (uint64_t count = in.next(2); count > 0 && !in.isCut; --count) {
    run.length += in.next(4) & 0x7FFFFFFF;
    in.next(8);
  }
  if (in.isCut) to_.isOpaque = true;
  if (run.length > 0) to_.runs.push_back(run);
}

void OffsetPayload::readItemLocations(const ScannedBox& box) {
  Fields in(file_, box);
  const auto version = static_cast<unsigned>(in.next(4) >> 24);
  const auto sizes = static_cast<unsigned>(in.next(2));
  for (uint64_t count = in.next(version < 2 ? 2 : 4); count > 0 && !in.isCut; --count)
    readItem(in, version, sizes);
  if (in.isCut || version > 2) to_.isOpaque = true;
}

/// One item's extents. The number that is shifted is the base where it serves one extent, else that of each extent.
void OffsetPayload::readItem(Fields& in, unsigned version, unsigned sizes) {
  const unsigned offsetSize = sizes >> 12 & 15;
  const unsigned lengthSize = sizes >> 8 & 15;
  const unsigned baseSize = sizes >> 4 & 15;
  const unsigned indexSize = version == 0 ? 0 : sizes & 15;
  if (std::max({offsetSize, lengthSize, baseSize, indexSize}) > 8) in.isCut = true;
  in.next(version < 2 ? 2 : 4); // the item
  const uint64_t method = version == 0 ? 0 : in.next(2) & 15;
  const uint64_t dataReference = in.next(2);
  const uint64_t basePosition = in.position();
  const uint64_t base = in.next(baseSize);
  uint64_t extents = in.next(2);
  if (indexSize + offsetSize + lengthSize == 0) extents = std::min<uint64_t>(extents, 1); // they are all the same
  const bool isInFile = method == 0;
  if (isInFile && dataReference != 0) to_.isOpaque = true; // which file it is, is said elsewhere
  for (uint64_t extent = 0; extent < extents && !in.isCut; ++extent) {
    in.next(indexSize);
    OffsetRun run{.holder = QvFourCC("iloc"), .position = in.position(), .width = offsetSize, .stride = 8};
    const uint64_t offset = in.next(offsetSize);
    run.length = in.next(lengthSize);
    run.addend = base;
    if (extents == 1 && baseSize > 0) {
      run.position = basePosition;
      run.width = baseSize;
      run.addend = offset;
    }
    if (isInFile && !in.isCut) to_.runs.push_back(run);
  }
}

void OffsetPayload::readDataReferences(const ScannedBox& box) {
  constexpr uint64_t kInThisFile = 1;
  for (uint64_t at = box.payload + 8; at + 12 <= box.end;) {
    const uint64_t size = file_.number(at, 4);
    ((file_.number(at + 8, 4) & kInThisFile) != 0 ? hasOwnMedia_ : hasForeignMedia_) = true;
    if (size < 12 || size > box.end - at) return;
    at += size;
  }
}

void OffsetPayload::lookInto(const ScannedBox& box) {
  Bytes block(size_t{1} << 16);
  constexpr size_t kOverlap = 3;
  for (uint64_t at = box.payload; at < box.end && !to_.isOpaque;) {
    const size_t part = static_cast<size_t>(std::min<uint64_t>(block.size(), box.end - at));
    file_.read(at, std::span(block).first(part));
    const std::string_view text(reinterpret_cast<const char*>(block.data()), part);
    for (const char* type : {"stco", "co64", "CTBO"}) // the last: positions of a raw picture's parts
      if (text.find(type) != text.npos) to_.isOpaque = true;
    at += part <= kOverlap || at + part == box.end ? part : part - kOverlap;
  }
}

} // namespace fileutil
