// Bytes of a stream whose length nobody has vouched for.
#pragma once

#include <algorithm>
#include <cstdint>
#include <istream>
#include <vector>

namespace fileutil {

/// Reads `count` bytes, or as many as there are. What is allocated stays in proportion to what the stream delivers.
inline std::vector<uint8_t> read_bytes(std::istream& in, uint64_t count) {
  std::vector<uint8_t> bytes;
  while (bytes.size() < count && in) {
    const size_t begin = bytes.size();
    const auto step = static_cast<size_t>(std::min<uint64_t>(count - begin, std::max<size_t>(4096, begin)));
    bytes.resize(begin + step);
    in.read(reinterpret_cast<char*>(bytes.data()) + begin, static_cast<std::streamsize>(step));
    bytes.resize(begin + static_cast<size_t>(in.gcount()));
  }
  return bytes;
}

} // namespace fileutil
