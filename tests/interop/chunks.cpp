#include "tests/interop/chunks.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace interop_test {

namespace {

/// What the first four characters say of all headers of a file.
struct Layout {
  const char* magic;
  size_t first;  ///< where the first chunk stands
  size_t id;     ///< characters of an id
  size_t number; ///< bytes of a size
  bool is_big_endian;
  bool counts_header; ///< in its sizes
  size_t align;
};

constexpr Layout kLayouts[] = {{"RIFF", 12, 4, 4, false, false, 2}, {"RIFX", 12, 4, 4, true, false, 2},
                               {"RF64", 12, 4, 4, false, false, 2}, {"BW64", 12, 4, 4, false, false, 2},
                               {"riff", 40, 16, 8, false, true, 8}, {"FORM", 12, 4, 4, true, false, 2}};

uint64_t number_at(const std::string& bytes, size_t at, size_t width, bool is_big_endian) {
  uint64_t value = 0;
  for (size_t k = 0; k < width; ++k)
    value = value << 8 | static_cast<uint8_t>(bytes.at(at + (is_big_endian ? k : width - 1 - k)));
  return value;
}

} // namespace

std::vector<Chunk> chunks_of(const std::string& bytes) {
  const auto* const layout = std::find_if(std::begin(kLayouts), std::end(kLayouts),
                                          [&](const Layout& row) { return bytes.starts_with(row.magic); });
  if (layout == std::end(kLayouts)) throw std::runtime_error("a file of an unknown kind");
  const size_t header = layout->id + layout->number;
  uint64_t audio = 0; // as "ds64" says
  std::vector<Chunk> chunks;
  for (size_t at = layout->first; at + header <= bytes.size();) {
    Chunk chunk = {bytes.substr(at, 4), ""};
    uint64_t size = number_at(bytes, at + layout->id, layout->number, layout->is_big_endian);
    if (layout->counts_header) size -= header;
    if (size == 0xFFFFFFFF && chunk.id == "data") size = audio;
    if (size > bytes.size() - at - header) throw std::runtime_error(chunk.id + " goes past the end");
    chunk.data = bytes.substr(at + header, size);
    if (chunk.id == "ds64") audio = number_at(chunk.data, 8, 8, false);
    if (chunk.id == "LIST") chunk.id += ":" + chunk.data.substr(0, 4);
    chunks.push_back(chunk);
    at += header + (size + layout->align - 1) / layout->align * layout->align;
  }
  return chunks;
}

std::string data_of(const std::vector<Chunk>& chunks, const std::string& id) {
  const auto found = std::find_if(chunks.begin(), chunks.end(), [&](const Chunk& chunk) { return chunk.id == id; });
  return found == chunks.end() ? "" : found->data;
}

} // namespace interop_test
