#include "fileutil/plan/offset_scan.h"

#include "fileutil/plan/offset_payload.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace fileutil {

namespace {

constexpr unsigned kMaxDepth = 32;

template <size_t kCount>
bool isAmong(const FourCC (&types)[kCount], FourCC type) {
  return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

constexpr FourCC kContainers[] = {QvFourCC("moov"), QvFourCC("trak"), QvFourCC("mdia"), QvFourCC("minf"),
                                  QvFourCC("stbl"), QvFourCC("udta"), QvFourCC("moof"), QvFourCC("traf"),
                                  QvFourCC("mfra"), QvFourCC("meco"), QvFourCC("meta")};

/// Levels on which a box of unknown kind is looked into.
constexpr FourCC kMovieLevels[] = {QvFourCC("moov"), QvFourCC("trak"), QvFourCC("mdia"), QvFourCC("minf"),
                                   QvFourCC("stbl")};

/// Boxes of these levels that hold no positions.
constexpr FourCC kWithoutPositions[] = {
    QvFourCC("mvhd"), QvFourCC("iods"), QvFourCC("mvex"), QvFourCC("tkhd"), QvFourCC("edts"), QvFourCC("tref"),
    QvFourCC("load"), QvFourCC("mdhd"), QvFourCC("hdlr"), QvFourCC("elng"), QvFourCC("vmhd"), QvFourCC("smhd"),
    QvFourCC("hmhd"), QvFourCC("nmhd"), QvFourCC("sthd"), QvFourCC("gmhd"), QvFourCC("stsd"), QvFourCC("stts"),
    QvFourCC("ctts"), QvFourCC("cslg"), QvFourCC("stsc"), QvFourCC("stsz"), QvFourCC("stz2"), QvFourCC("stss"),
    QvFourCC("stps"), QvFourCC("sdtp"), QvFourCC("sbgp"), QvFourCC("sgpd"), QvFourCC("subs"), QvFourCC("padb"),
    QvFourCC("stdp"), QvFourCC("stsh"), QvFourCC("saiz"), QvFourCC("senc"), QvFourCC("free"), QvFourCC("skip"),
    QvFourCC("wide")};

class Scanner {
public:
  explicit Scanner(const ByteSource& file) : payload_(file, scan_), file_(file) {}

  OffsetScan scan() {
    walk(0, file_.length(), {}, 0);
    return std::move(scan_);
  }

private:
  void walk(uint64_t begin, uint64_t end, FourCC parent, unsigned depth);
  void visit(const ScannedBox& box, FourCC parent, unsigned depth);
  void descend(const ScannedBox& box, unsigned depth);
  std::optional<ScannedBox> headerAt(uint64_t position, uint64_t end, bool isTop) const;

  OffsetScan scan_;
  OffsetPayload payload_;
  const ByteSource& file_;
};

std::optional<ScannedBox> Scanner::headerAt(uint64_t position, uint64_t end, bool isTop) const {
  if (end - position < 8) return {};
  std::array<uint8_t, 16> bytes{};
  file_.read(position, std::span(bytes).first(static_cast<size_t>(std::min<uint64_t>(16, end - position))));
  ScannedBox box;
  std::memcpy(&box.type, bytes.data() + 4, sizeof box.type);
  uint64_t size = fromBigEndian(std::span(bytes).first(4));
  if (size == 1 && end - position < 16) return {};
  const unsigned headerSize = size == 1 ? 16 : 8;
  if (size == 1) size = fromBigEndian(std::span(bytes).last(8));
  if (size == 0 && isTop && box.type == QvFourCC("mdat")) size = end - position;
  if (size < headerSize) return {};
  box.position = position;
  box.payload = position + headerSize;
  box.end = position + std::min(size, end - position);
  return box;
}

void Scanner::walk(uint64_t begin, uint64_t end, FourCC parent, unsigned depth) {
  for (uint64_t position = begin; position < end;) {
    const std::optional<ScannedBox> box = headerAt(position, end, depth == 0);
    if (!box) return;
    if (depth == 0) scan_.top.push_back({box->type, position, box->end - position});
    visit(*box, parent, depth);
    position = box->end;
  }
}

void Scanner::visit(const ScannedBox& box, FourCC parent, unsigned depth) {
  // Data references of items, in "meta", are not those of a track.
  const bool isOfMedia = box.type == QvFourCC("dinf") && parent == QvFourCC("minf");
  if (isOfMedia || isAmong(kContainers, box.type)) return descend(box, depth);
  if (payload_.read(box, parent)) return;
  if (isAmong(kMovieLevels, parent) && !isAmong(kWithoutPositions, box.type)) payload_.lookInto(box);
}

void Scanner::descend(const ScannedBox& box, unsigned depth) {
  if (depth == kMaxDepth) {
    scan_.isOpaque = true;
    return;
  }
  const size_t firstRun = scan_.runs.size();
  const bool isTrack = box.type == QvFourCC("trak");
  if (isTrack) payload_.beginTrack();
  walk(payload_.childrenOf(box), box.end, box.type, depth + 1);
  if (isTrack) payload_.endTrack(firstRun);
}

} // namespace

OffsetScan scanOffsets(const ByteSource& file) { return Scanner(file).scan(); }

} // namespace fileutil
