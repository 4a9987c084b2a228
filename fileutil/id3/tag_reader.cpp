#include "fileutil/id3/sync_safe.h"
#include "fileutil/id3/tag_source.h"

#include "qv/mp4/id3.h"

#include <algorithm>

namespace id3meta {
namespace {

constexpr unsigned kUnsynchronised = 0x80;
constexpr unsigned kExtendedHeader = 0x40;
constexpr unsigned kFooter = 0x10;
constexpr uint64_t kHeaderBytes = 10; // of a tag and of a frame

std::unique_ptr<Header> new_header(Version version) {
  switch (version.major) {
  case 3: return std::make_unique<Header_2_3_0>(version);
  case 4: return std::make_unique<Header_2_4_0>(version);
  default: return std::make_unique<Header>(version);
  }
}

bool is_id_character(uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

/// Takes from the flags what writing does not give again, and does what it says.
void undo_flags(Header& tag, TagSource& source) {
  if (tag.version.major == 3 && tag.flags & kUnsynchronised) {
    source.undo_unsynchronisation();
    tag.flags &= ~kUnsynchronised & 0xFF;
    tag.isLossless = false;
  }
  if (tag.flags & kExtendedHeader) {
    SizeField field{};
    source.read(field);
    // Version 2.3 counts the bytes behind the size, 2.4 all.
    const uint32_t size = tag.frameSize(field);
    source.read(tag.version.major == 3 ? size : size - std::min<uint32_t>(size, 4));
    tag.flags &= ~kExtendedHeader & 0xFF;
    tag.isLossless = false;
  }
  if (tag.version.major == 4) tag.flags &= ~kFooter & 0xFF;
}

/// Null where the next bytes are no frame: the tag ends there.
std::unique_ptr<Frame> read_frame(const Header& tag, TagSource& source) {
  std::array<uint8_t, kHeaderBytes> header{};
  if (!source.read(header) || !std::all_of(header.begin(), header.begin() + 4, is_id_character)) return nullptr;
  const uint32_t size = tag.frameSize({header[4], header[5], header[6], header[7]});
  if (size > source.left()) return nullptr;
  auto frame = std::make_unique<UnknownFrame>();
  std::memcpy(&frame->id, header.data(), sizeof frame->id);
  frame->flags = static_cast<uint16_t>(header[8] << 8 | header[9]);
  frame->bytes = source.read(size);
  return frame->bytes.size() == size ? std::move(frame) : nullptr;
}

void read_frames(Header& tag, TagSource& source) {
  while (source.left() != 0 && tag.frames.size() < Header::kMaxFrames) {
    std::unique_ptr<Frame> frame = read_frame(tag, source);
    if (!frame) break;
    tag.frames.push_back(std::move(frame));
  }
}

} // namespace

std::unique_ptr<Header> readTag(std::istream& in, uint64_t remaining, uint64_t& consumed) {
  TagSource start(in, kHeaderBytes - 3);
  std::array<uint8_t, kHeaderBytes - 3> header{};
  const bool is_there = start.read(header);
  consumed = start.consumed();
  if (!is_there) return nullptr;

  std::unique_ptr<Header> tag = new_header({header[0], header[1]});
  tag->flags = header[2];
  tag->size = size_value({header[3], header[4], header[5], header[6]}, 7);
  TagSource source(in, remaining - std::min(remaining, kHeaderBytes));
  if (tag->version.major == 3 || tag->version.major == 4) {
    const uint8_t flags = tag->flags;
    undo_flags(*tag, source);
    read_frames(*tag, source);
    tag->isLossless = tag->isLossless && flags == tag->flags;
  } else
    tag->isLossless = false;
  if (source.left() != 0 || frameBytes(*tag) != source.consumed() || tag->size != frameBytes(*tag))
    tag->isLossless = false;
  consumed += source.consumed();
  return tag;
}

} // namespace id3meta
