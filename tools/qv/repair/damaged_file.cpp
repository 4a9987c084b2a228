#include "tools/qv/repair/damaged_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/disk_file.h"
#include "tools/qv/mp4/mp4_file.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr uint64_t kBlock = 65'536;
constexpr uint64_t kUsualLimit = 65'536;
constexpr uint64_t kMaxZeros = 16 << 20;
// Bounds for a file that is made to cost time: more headers are not looked at, and none of audio that claims more times
// the bytes that there are.
constexpr size_t kMaxHeaders = 256;
constexpr uint64_t kMaxClaimed = 256;
/// What a writer into a pipe may have left of the largest size, or of half of it.
constexpr uint64_t kLargestLess = 65'536;

/// Files of other kinds, by what they begin with.
struct OtherKind {
  const char* bytes;
  const char* name;
};
constexpr OtherKind kOtherKinds[] = {{"RIFX", "a big-endian RIFF file"},
                                     {"fLaC", "a FLAC file"},
                                     {"OggS", "an Ogg file"},
                                     {"ID3", "a file with an ID3 tag"},
                                     {"caff", "a Core Audio file"}};

[[noreturn]] void refuse(const std::string& name, const std::string& kind) {
  throw Failure(name, "is " + kind + ": only RIFF wave, RF64, Wave64 and AIFF files are mended");
}

const OtherKind* other_kind(const std::string& start) {
  const auto row = std::find_if(std::begin(kOtherKinds), std::end(kOtherKinds), [&](const OtherKind& kind) {
    return start.compare(0, std::strlen(kind.bytes), kind.bytes) == 0;
  });
  return row == std::end(kOtherKinds) ? nullptr : &*row;
}

} // namespace

DamagedFile::DamagedFile(const std::string& name, HANDLE file, std::optional<uint64_t> limit)
    : name_(name), file_(file), size_(size_of(file)) {
  if (size_ == 0) throw Failure(name, "the file is empty");
  const std::string start = read(0, 128);
  layout_ = header_layout(start, name);
  const OtherKind* const other = other_kind(start);
  if (other) refuse(name, other->name);
  if (is_box_file_start(start)) refuse(name, "an MP4 file");
  if (!layout_) refuse(name, "a " + start.substr(0, 4) + " file of the form \"" + start.substr(8, 4) + "\"");
  // Without its long sizes an RF64 file has none.
  if (layout_->has_long_sizes && wrong_bytes(start.substr(std::min<size_t>(start.size(), 12), 4), "ds64") > 1)
    layout_ = &riff_layout();
  limit_ = std::min(limit.value_or(kUsualLimit), layout_->largest_size());
}

const std::string& DamagedFile::block_at(uint64_t offset) const {
  if (block_start_ == offset) return block_;
  block_.assign(static_cast<size_t>(std::min(kBlock, size_ - offset)), '\0');
  block_start_ = ~uint64_t{0};
  DWORD done = 0;
  if (!move_to(file_, offset) || !ReadFile(file_, block_.data(), static_cast<DWORD>(block_.size()), &done, nullptr))
    throw Failure(name_, system_error_text(GetLastError()));
  block_.resize(done);
  block_start_ = offset;
  return block_;
}

std::string DamagedFile::read(uint64_t offset, uint64_t bytes) const {
  std::string all;
  const uint64_t end = offset + std::min(bytes, size_ - std::min(offset, size_));
  while (offset < end) {
    const uint64_t start = offset / kBlock * kBlock;
    const std::string& block = block_at(start);
    if (block.size() <= offset - start) throw Failure(name_, "the file became shorter while it was read");
    all += block.substr(static_cast<size_t>(offset - start), static_cast<size_t>(end - offset));
    offset = std::min(end, start + block.size());
  }
  return all;
}

std::optional<Chunk> DamagedFile::header_at(uint64_t at) const {
  const std::string bytes = read(at, layout_->chunk_header());
  if (bytes.size() < layout_->chunk_header()) return std::nullopt;
  const uint64_t stored = layout_->stored_in(bytes, layout_->id_bytes());
  const uint64_t includes = layout_->chunk_size_includes;
  Chunk chunk = {bytes.substr(0, layout_->id_bytes()), at, at + layout_->chunk_header(), 0};
  chunk.size = stored >= includes ? stored - includes : stored == 0 ? 0 : ~uint64_t{0};
  chunk.is_open = chunk.size <= layout_->audio_prefix || chunk.size >= layout_->largest_size() / 2 - kLargestLess;
  if (layout_->has_long_sizes && stored == layout_->largest_size() && chunk.id == layout_->audio_id) {
    const std::string sizes = read(layout_->file_header() + layout_->chunk_header() + 8, 8);
    uint64_t size = 0;
    if (sizes.size() == sizeof size) std::memcpy(&size, sizes.data(), sizeof size);
    chunk.size = size;
    chunk.is_open = size == 0 || size == ~uint64_t{0};
  }
  return chunk;
}

uint64_t DamagedFile::zeros_end(uint64_t from) const {
  const uint64_t bound = std::min(size_, from + std::min(kMaxZeros, size_));
  uint64_t at = from;
  while (at < bound) {
    const std::string part = read(at, std::min(kBlock, bound - at));
    const size_t other = part.find_first_not_of('\0');
    at += other == std::string::npos ? part.size() : other;
    if (other != std::string::npos) break;
  }
  return at - from < layout_->chunk_header() ? from : at;
}

bool DamagedFile::size_agrees() const {
  const std::string header = read(0, layout_->file_header());
  if (header.size() < layout_->file_header()) return false;
  uint64_t says = layout_->stored_in(header, layout_->id_bytes());
  if (layout_->has_long_sizes && says == layout_->largest_size()) {
    const std::string sizes = read(layout_->file_header() + layout_->chunk_header(), 8);
    if (sizes.size() < 8) return false;
    std::memcpy(&says, sizes.data(), 8);
  }
  const uint64_t bytes = says + layout_->file_size_excludes;
  return bytes + layout_->alignment > size_ && bytes < size_ + layout_->alignment;
}

std::vector<Chunk> DamagedFile::known_headers(uint64_t from, uint64_t end) const {
  const std::vector<std::string> ids = known_ids(*layout_);
  std::vector<Chunk> headers;
  end = std::min(end, size_);
  const auto collect = [&](uint64_t at, const std::string& block, uint64_t positions, const std::string& id) {
    for (size_t match = block.find(id); match < positions; match = block.find(id, match + 1)) {
      const std::optional<Chunk> header = header_at(at + match);
      if (headers.size() >= kMaxHeaders || !header || header->size < least_bytes(*layout_, id)) continue;
      const bool is_audio = id == layout_->audio_id;
      const bool may_be = is_audio ? header->is_open || header->size / kMaxClaimed <= size_ - header->data
                                   : is_whole(*header) || looks_like(*layout_, id, read(header->data, kTellingBytes));
      if (may_be) headers.push_back(*header);
    }
  };
  for (uint64_t at = from; at < end && headers.size() < kMaxHeaders; at += kBlock) {
    const uint64_t positions = std::min(kBlock, end - at);
    const std::string block = read(at, positions + layout_->id_bytes() - 1);
    for (const std::string& id : ids)
      collect(at, block, positions, id);
  }
  std::sort(headers.begin(), headers.end(), [](const Chunk& a, const Chunk& b) { return a.at < b.at; });
  return headers;
}

} // namespace qv::tool
