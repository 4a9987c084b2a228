// Boxes as bytes of a file, put together by hand.
#pragma once

#include "tests/fileutil/reader/describe.h"

#include "qv/mp4/box_reader.h"

#include <sstream>

namespace fileutil_test {

inline std::string be(uint64_t number, int width) {
  std::string bytes;
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
    bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}
inline std::string be16(uint64_t number) { return be(number, 2); }
inline std::string be32(uint64_t number) { return be(number, 4); }
inline std::string be64(uint64_t number) { return be(number, 8); }
/// Numbers from `first` on, of that width.
inline std::string counting(int count, int width, uint64_t first = 1) {
  std::string bytes;
  for (int k = 0; k < count; ++k)
    bytes += be(first + static_cast<uint64_t>(k), width);
  return bytes;
}

inline std::string box(const std::string& type, const std::string& payload = "") {
  return be32(8 + payload.size()) + type + payload;
}
inline std::string largeBox(const std::string& type, const std::string& payload) {
  return be32(1) + type + be64(16 + payload.size()) + payload;
}
/// Version 0, flags 0.
inline std::string full(const std::string& type, const std::string& payload = "") {
  return box(type, be32(0) + payload);
}
/// A size that the payload does not have.
inline std::string lying(const std::string& type, uint64_t size, const std::string& payload = "") {
  return be32(size) + type + payload;
}

/// By value: a constant of an exported class has no address on Windows.
inline constexpr uint64_t kUnknown = DataHandler::kUnknownLength;

using ReadFunction = Boxes* (BoxReader::*)();
struct ReadMode {
  const char* name;
  ReadFunction read;
};
inline constexpr ReadMode kFile = {"file", &BoxReader::readFile};
inline constexpr ReadMode kMeta = {"meta", &BoxReader::readMeta};
inline constexpr ReadMode kUpdate = {"update", &BoxReader::readMetaForUpdate};
inline constexpr ReadMode kModes[] = {kFile, kMeta, kUpdate};

/// What a file of these bytes reads as.
inline std::string described(const std::string& bytes, const ReadMode& mode = kFile) {
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  const std::unique_ptr<Boxes> boxes((reader.*mode.read)());
  return Describe::list(*boxes);
}

} // namespace fileutil_test
