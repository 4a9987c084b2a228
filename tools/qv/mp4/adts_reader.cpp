#include "tools/qv/failure.h"
#include "tools/qv/mp4/adts.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {
namespace {

constexpr size_t kWindowBytes = 1 << 16; // a frame has 8191 bytes at most
constexpr size_t kTagHeaderBytes = 10;   // of ID3v2
constexpr size_t kCheckSumBytes = 2;

std::string channels_text(const AdtsFormat& format) {
  return std::to_string(format.sample_rate()) + " Hz, " + std::to_string(format.channels()) +
         " channels, object type " + std::to_string(format.object_type);
}

} // namespace

AdtsReader::AdtsReader(std::string name, Source source)
    : name_(std::move(name)), source_(std::move(source)), window_(kWindowBytes) {}

// ---- the window ----------------------------------------------------------------------------------------------------

/// Whether so many bytes, which the window can hold, are there from the present place on.
bool AdtsReader::have(size_t count) {
  if (end_ - begin_ >= count) return true;
  if (is_at_end_) return false;
  std::memmove(window_.data(), at(), end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  const size_t wanted = window_.size() - end_;
  const size_t got = source_(window_.data() + end_, wanted);
  end_ += got;
  is_at_end_ = got < wanted;
  return end_ >= count;
}

void AdtsReader::skip(uint64_t count) {
  while (count != 0 && have(1)) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(count, end_ - begin_));
    begin_ += part;
    position_ += part;
    count -= part;
  }
}

// ---- frames --------------------------------------------------------------------------------------------------------

/// Goes past an ID3v2 tag that begins here. Its size has seven bits a byte, and does not count header and footer.
bool AdtsReader::skip_tag() {
  if (!have(kTagHeaderBytes) || std::memcmp(at(), "ID3", 3) != 0) return false;
  uint64_t size = 0;
  for (size_t k = 6; k < kTagHeaderBytes; ++k) {
    if (at()[k] >= 0x80) return false;
    size = size << 7 | at()[k];
  }
  const bool has_footer = (at()[5] & 0x10) != 0;
  skip(size + kTagHeaderBytes * (has_footer ? 2 : 1));
  return true;
}

/// The header `offset` bytes from here, where a frame of the same format, or the end, follows its frame.
std::optional<AdtsHeader> AdtsReader::confirmed_header(size_t offset) {
  if (!have(offset + AdtsHeader::kBytes)) return std::nullopt;
  const auto header = read_adts_header(at() + offset);
  if (!header) return std::nullopt;
  const size_t end = offset + header->frame_bytes;
  if (!have(end + AdtsHeader::kBytes)) return end_ - begin_ == end ? header : std::nullopt;
  const auto following = read_adts_header(at() + end);
  return following && following->format == header->format ? header : std::nullopt;
}

/// Whether another frame of the stream begins inside that of the header: its end has been lost.
bool AdtsReader::holds_another(const AdtsHeader& header) {
  have(header.frame_bytes);
  for (size_t offset = 1; offset < header.frame_bytes && offset < end_ - begin_; ++offset) {
    if (at()[offset] != 0xFF) continue;
    const auto inner = confirmed_header(offset);
    if (inner && inner->format == header.format) return true;
  }
  return false;
}

/// Finds the blocks of the frame that begins here and is whole. False where one is empty, or their positions are not
/// possible.
bool AdtsReader::split(const AdtsHeader& header) {
  blocks_.clear();
  next_block_ = 0;
  frame_bytes_ = header.frame_bytes;
  const size_t first = header.header_bytes();
  size_t begin = first;
  for (uint32_t k = 1; k <= header.blocks; ++k) {
    size_t next = header.frame_bytes;
    if (k < header.blocks) {
      const uint8_t* const position = at() + AdtsHeader::kBytes + 2 * (k - 1);
      next = first + (position[0] << 8 | position[1]);
    }
    // One block alone has its check sum in the header.
    const size_t end = next - (header.blocks > 1 ? kCheckSumBytes : 0);
    if (end <= begin) return false; // also where the position before was past the frame
    blocks_.push_back({begin, end});
    begin = next;
  }
  return true;
}

/// Throws Failure for what cannot become part of the track.
void AdtsReader::check(const AdtsHeader& header) const {
  const std::string place = "at byte " + std::to_string(position_) + " ";
  if (format_ && !(header.format == *format_))
    throw Failure(name_,
                  place + "the format changes from " + channels_text(*format_) + " to " + channels_text(header.format));
  if (header.blocks > 1 && !header.has_check_sums)
    throw Failure(name_, place + "a frame has several blocks of audio without their positions, which is not supported");
}

/// What begins here. What follows another frame is believed, unless it would end the work or hides another frame.
AdtsReader::Found AdtsReader::look(bool follows_another) {
  if (!have(AdtsHeader::kBytes)) return Found::kNothing;
  const auto header = read_adts_header(at());
  if (!header) return Found::kNothing;
  const bool is_usual = (!format_ || header->format == *format_) && (header->blocks == 1 || header->has_check_sums);
  if (!confirmed_header(0)) {
    if (!follows_another || !is_usual || holds_another(*header)) return Found::kNothing;
    if (!have(header->frame_bytes)) return Found::kCutFrame;
  }
  check(*header);
  if (!split(*header)) return Found::kNothing;
  format_ = header->format;
  return Found::kFrame;
}

/// Moves to the next byte that a frame can begin with.
void AdtsReader::skip_gap() {
  const uint64_t begin = position_;
  skip(1);
  const void* const found = have(1) ? std::memchr(at(), 0xFF, end_ - begin_) : nullptr;
  skip(found ? static_cast<size_t>(static_cast<const uint8_t*>(found) - at()) : end_ - begin_);
  losses_.gap_bytes += position_ - begin;
}

bool AdtsReader::find_frame() {
  bool follows_another = true;
  for (;;) {
    if (follows_another && skip_tag()) continue;
    const Found found = look(follows_another);
    if (found == Found::kFrame) return true;
    if (found == Found::kCutFrame) losses_.cut_bytes = end_ - begin_;
    if (found == Found::kCutFrame || !have(1)) return false;
    if (follows_another) {
      if (losses_.gaps++ == 0) losses_.first_gap = position_;
      follows_another = false;
    }
    skip_gap();
  }
}

bool AdtsReader::next(std::vector<char>& block) {
  if (next_block_ == blocks_.size()) {
    skip(frame_bytes_);
    frame_bytes_ = 0;
    blocks_.clear();
    next_block_ = 0;
    if (!find_frame()) return false;
  }
  const Block& found = blocks_[next_block_++];
  block.assign(at() + found.begin, at() + found.end);
  return true;
}

} // namespace qv::tool
