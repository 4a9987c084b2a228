#include "tools/qv/mp4/track/sample_bytes.h"

#include "tools/qv/metadata/chunk_bytes.h"

#include <algorithm>

namespace qv::tool {

namespace {

using fileutil::IBox;

/// The big-endian numbers of a box's payload from some byte on, read a block at a time. 0 where they end.
class NumberStream {
public:
  NumberStream(const Mp4File& file, const IBox* box, uint64_t from) : file_(&file) {
    if (!box) return;
    end_ = std::min(box->position() + box->size(), file.size());
    at_ = std::min(box->position() + box->headerSize() + from, end_);
  }

  uint64_t left() const { return end_ - at_ + block_.size() - inside_; }
  template <class Word>
  Word next() {
    if (block_.size() - inside_ < sizeof(Word)) refill();
    if (block_.size() - inside_ < sizeof(Word)) return 0;
    inside_ += sizeof(Word);
    return word_at<Word>(block_, inside_ - sizeof(Word), ByteOrder::kBig);
  }

private:
  void refill() {
    constexpr uint64_t kBlock = 64 << 10;
    block_.erase(0, inside_);
    inside_ = 0;
    const std::string more = file_->bytes_at(at_, std::min(kBlock, end_ - at_));
    at_ = more.empty() ? end_ : at_ + more.size();
    block_ += more;
  }

  const Mp4File* file_;
  uint64_t at_ = 0; ///< of the file, behind the block
  uint64_t end_ = 0;
  std::string block_;
  size_t inside_ = 0;
};

/// "stsz" or "stz2": how long each sample is.
class SampleSizes {
public:
  SampleSizes(const Mp4File& file, const IBox& stbl) : numbers_(file, nullptr, 0) {
    const auto& boxes = dynamic_cast<const fileutil::IContainerBox&>(stbl).children();
    const IBox* box = boxes.find(QvFourCC("stsz"));
    const bool is_compact = !box;
    if (!box) box = boxes.find(QvFourCC("stz2"));
    if (!box) return;
    NumberStream numbers(file, box, 4);
    const auto first = numbers.next<uint32_t>();
    count_ = numbers.next<uint32_t>();
    common_ = is_compact ? 0 : first;
    bits_ = is_compact ? first & 0xFF : 32;
    if (common_ == 0) stored_ = bits_ == 0 ? 0 : numbers.left() * 8 / bits_;
    numbers_ = numbers;
  }

  /// As the box says.
  uint64_t count() const { return count_; }
  /// As many of these as it holds.
  uint64_t held() const { return common_ != 0 ? count_ : std::min(count_, stored_); }
  uint32_t common() const { return common_; }
  uint32_t next() {
    if (common_ != 0) return common_;
    switch (bits_) {
    case 32: return numbers_.next<uint32_t>();
    case 16: return numbers_.next<uint16_t>();
    case 8: return numbers_.next<uint8_t>();
    default: return next_half();
    }
  }

private:
  uint32_t next_half() {
    is_second_ = !is_second_;
    if (is_second_) pair_ = numbers_.next<uint8_t>();
    return is_second_ ? pair_ >> 4 : pair_ & 0xFu;
  }

  NumberStream numbers_;
  uint64_t count_ = 0;
  uint64_t stored_ = 0;
  uint32_t common_ = 0;
  uint32_t bits_ = 0;
  uint32_t pair_ = 0;
  bool is_second_ = false;
};

/// "stco" or "co64": where each chunk begins.
class ChunkPlaces {
public:
  ChunkPlaces(const Mp4File& file, const IBox& stbl) : numbers_(file, nullptr, 0) {
    const auto& boxes = dynamic_cast<const fileutil::IContainerBox&>(stbl).children();
    const IBox* const large = boxes.find(QvFourCC("co64"));
    is_large_ = large != nullptr;
    numbers_ = NumberStream(file, large ? large : boxes.find(QvFourCC("stco")), 4);
    count_ = numbers_.next<uint32_t>();
    stored_ = numbers_.left() / (is_large_ ? 8 : 4);
  }
  uint64_t count() const { return count_; }
  uint64_t held() const { return std::min(count_, stored_); }
  uint64_t next() { return is_large_ ? numbers_.next<uint64_t>() : numbers_.next<uint32_t>(); }

private:
  NumberStream numbers_;
  bool is_large_ = false;
  uint64_t count_ = 0;
  uint64_t stored_ = 0;
};

/// "stts": how long each sample lasts.
class SampleDurations {
public:
  SampleDurations(const Mp4File& file, const IBox* stts) : numbers_(file, stts, 8) {}
  uint32_t next() {
    while (run_ == 0 && numbers_.left() >= 8) {
      run_ = numbers_.next<uint32_t>();
      units_ = numbers_.next<uint32_t>();
    }
    if (run_ > 0) --run_;
    return units_;
  }

private:
  NumberStream numbers_;
  uint32_t run_ = 0;
  uint32_t units_ = 0;
};

/// "stsc": how many samples each chunk has.
class ChunkLengths {
public:
  ChunkLengths(const Mp4File& file, const IBox* stsc) : numbers_(file, stsc, 8) { take_row(); }
  uint32_t next() {
    ++chunk_;
    while (next_first_ != 0 && next_first_ <= chunk_) {
      samples_ = next_samples_;
      take_row();
    }
    return samples_;
  }

private:
  void take_row() {
    const bool is_there = numbers_.left() >= 12;
    next_first_ = is_there ? numbers_.next<uint32_t>() : 0;
    next_samples_ = numbers_.next<uint32_t>();
    numbers_.next<uint32_t>();
  }

  NumberStream numbers_;
  uint64_t chunk_ = 0;
  uint32_t samples_ = 0;
  uint32_t next_first_ = 0; ///< 0: there is no other
  uint32_t next_samples_ = 0;
};

void check_chunks(const Mp4File& file, const IBox& stbl, std::vector<std::string>& problems) {
  ChunkPlaces chunks(file, stbl);
  if (chunks.held() != chunks.count())
    problems.push_back("it has " + std::to_string(chunks.count()) + " chunks, and the places of " +
                       std::to_string(chunks.held()));
  uint64_t outside = 0;
  for (uint64_t k = 0; k < chunks.held(); ++k)
    if (chunks.next() >= file.size()) ++outside;
  if (outside != 0)
    problems.push_back(std::to_string(outside) + " of " + std::to_string(chunks.held()) +
                       " chunks lie behind the end of the file");
}

} // namespace

SampleBytes count_samples(const Mp4File& file, const IBox& stbl) {
  SampleBytes samples;
  SampleSizes sizes(file, stbl);
  samples.count = sizes.count();
  if (sizes.held() != sizes.count())
    samples.problems.push_back("it has " + std::to_string(sizes.count()) + " samples, and the sizes of " +
                               std::to_string(sizes.held()));
  if (sizes.common() != 0) samples.bytes = sizes.count() * sizes.common();
  for (uint64_t k = 0; sizes.common() == 0 && k < sizes.held(); ++k)
    samples.bytes += sizes.next();
  check_chunks(file, stbl, samples.problems);
  return samples;
}

std::vector<SamplePlace> sample_places(const Mp4File& file, const IBox& stbl, size_t limit) {
  const auto& boxes = dynamic_cast<const fileutil::IContainerBox&>(stbl).children();
  SampleSizes sizes(file, stbl);
  ChunkPlaces chunks(file, stbl);
  SampleDurations durations(file, boxes.find(QvFourCC("stts")));
  ChunkLengths lengths(file, boxes.find(QvFourCC("stsc")));
  const uint64_t count = std::min<uint64_t>(limit, sizes.held());
  std::vector<SamplePlace> places;
  uint64_t start = 0;
  for (uint64_t chunk = 0; chunk < chunks.held() && places.size() < count; ++chunk) {
    uint64_t position = chunks.next();
    for (uint32_t left = lengths.next(); left > 0 && places.size() < count; --left) {
      places.push_back({position, sizes.next(), start});
      position += places.back().bytes;
      start += durations.next();
    }
  }
  return places;
}

} // namespace qv::tool
