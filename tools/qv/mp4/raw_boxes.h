// Boxes inside bytes that are in memory: those of types that the library's tree keeps no fields of.
#pragma once

#include "tools/qv/metadata/chunk_bytes.h"

#include "qv/mp4/four_cc.h"

#include <optional>
#include <string_view>

namespace qv::tool {

struct RawBox {
  fileutil::FourCC type;
  std::string_view payload;
};

/// Bytes of a box's payload, read from the front on.
inline ChunkBytes big_endian(std::string_view bytes) { return ChunkBytes(bytes, ByteOrder::kBig); }

/// Four characters in file order.
inline fileutil::FourCC take_code(ChunkBytes& bytes) {
  const std::string_view code = bytes.take(4);
  return code.size() == 4 ? word_at<DWORD>(code, 0) : 0;
}

/// Walks over the boxes that stand one behind the other in some bytes.
class RawBoxes {
public:
  explicit RawBoxes(std::string_view bytes) : bytes_(bytes) {}

  /// The next box; one that claims more than there is gets what there is. Nothing where there is no header.
  std::optional<RawBox> next() {
    ChunkBytes header = big_endian(bytes_);
    uint64_t size = header.word<DWORD>();
    const fileutil::FourCC type = take_code(header);
    if (size == 1) size = header.word<uint64_t>();
    const size_t header_bytes = bytes_.size() - header.rest().size();
    if (size == 0) size = bytes_.size();
    if (header.is_short() || size < header_bytes) return std::nullopt;
    const std::string_view box = bytes_.substr(0, static_cast<size_t>(std::min<uint64_t>(size, bytes_.size())));
    bytes_.remove_prefix(box.size());
    return RawBox{type, box.substr(header_bytes)};
  }

private:
  std::string_view bytes_;
};

/// The payload of the first box of a type in some bytes.
inline std::optional<std::string_view> find_raw(std::string_view bytes, fileutil::FourCC type) {
  RawBoxes boxes(bytes);
  while (const auto box = boxes.next())
    if (box->type == type) return box->payload;
  return std::nullopt;
}

} // namespace qv::tool
