// Reading boxes from any bytes: what every mode is held to.
#pragma once

#include "fuzz/require.h"
#include "tests/fileutil/reader/tree_model.h"

#include "qv/mp4/box_reader.h"

#include <algorithm>
#include <memory>
#include <sanitizer/allocator_interface.h>
#include <string>

namespace fuzz {

/// Bytes that can only be read forwards.
class OneWay : public std::streambuf {
public:
  explicit OneWay(std::string& bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }
};

/// Reads with the true length, with none, and with one that lies: the tree is sane each time, its memory in proportion
/// to the bytes. The last two see the same boxes.
inline void read_trees(const uint8_t* data, size_t size, fileutil::Boxes* (fileutil::BoxReader::*mode)()) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  uint64_t counts[3] = {};
  const uint64_t lengths[] = {size, fileutil::DataHandler::kUnknownLength, uint64_t{1} << 40};
  for (int k = 0; k < 3; ++k) {
    OneWay source(bytes);
    std::istringstream memory(bytes);
    std::istream one_way(&source);
    fileutil::BoxReader reader(k == 0 ? static_cast<std::istream&>(memory) : one_way, lengths[k]);
    const size_t before = __sanitizer_get_current_allocated_bytes();
    const std::unique_ptr<fileutil::Boxes> boxes((reader.*mode)());
    // A box of eight bytes takes some 230, a descriptor of two some 170; a table's first step is 64 KiB.
    require(__sanitizer_get_current_allocated_bytes() <= before + 128 * size + (size_t{1} << 17));
    const fileutil_test::TreeModel tree(*boxes, size);
    require(tree.fault().empty());
    counts[k] = tree.boxCount();
    if (k > 0) continue;
    require(!reader.isCutShort());
    const std::unique_ptr<fileutil::Boxes> again((reader.*mode)());
    require(fileutil_test::TreeModel(*again, size).boxCount() == counts[0]);
  }
  require(counts[2] == counts[1]);
}

} // namespace fuzz
