#include "fileutil/id3/tag_source.h"

#include "fileutil/box/read_bytes.h"

#include <algorithm>

namespace id3meta {

std::vector<uint8_t> TagSource::read_plain(uint64_t count) {
  std::vector<uint8_t> bytes = fileutil::read_bytes(in_, std::min(count, left()));
  consumed_ += bytes.size();
  return bytes;
}

std::vector<uint8_t> TagSource::read(uint64_t count) {
  if (!is_unsynchronised_) return read_plain(count);
  std::vector<uint8_t> kept;
  while (kept.size() < count) {
    const std::vector<uint8_t> bytes = read_plain(count - kept.size());
    if (bytes.empty()) break;
    for (const uint8_t byte : bytes) {
      if (byte != 0 || !is_behind_ff_) kept.push_back(byte);
      is_behind_ff_ = byte == 0xFF;
    }
  }
  return kept;
}

} // namespace id3meta
