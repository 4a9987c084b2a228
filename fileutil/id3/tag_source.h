// The bytes of a tag, behind its header, as its frames are to be read from them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <istream>
#include <vector>

namespace id3meta {

/// At most `limit` bytes of a stream. Unsynchronised, a zero byte behind FF is passed over: a writer has put it there.
class TagSource {
public:
  TagSource(std::istream& in, uint64_t limit) : in_(in), limit_(limit) {}

  void undo_unsynchronisation() { is_unsynchronised_ = true; }
  uint64_t consumed() const { return consumed_; }
  /// Bytes of the limit that are left; of the stream there may be fewer.
  uint64_t left() const { return limit_ - consumed_; }

  /// `count` bytes, or as many as there are. What is allocated stays in proportion to what the stream delivers.
  std::vector<uint8_t> read(uint64_t count);

  /// False where they are not all there.
  template <size_t kCount>
  bool read(std::array<uint8_t, kCount>& into) {
    const std::vector<uint8_t> bytes = read(kCount);
    if (bytes.size() < kCount) return false;
    std::copy(bytes.begin(), bytes.end(), into.begin());
    return true;
  }

private:
  std::vector<uint8_t> read_plain(uint64_t count);

  std::istream& in_;
  uint64_t limit_;
  uint64_t consumed_ = 0;
  bool is_unsynchronised_ = false;
  bool is_behind_ff_ = false;
};

} // namespace id3meta
