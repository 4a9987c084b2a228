#include "tools/qv/mp4/track/chapters.h"

#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/mp4/tag/item_value.h"
#include "tools/qv/mp4/track/sample_bytes.h"
#include "tools/qv/mp4/track/track_summary.h"

namespace qv::tool {

std::vector<Mp4Chapter> track_chapters(const Mp4File& file, const fileutil::IBox& trak, uint32_t timescale) {
  constexpr uint64_t kMostTitleBytes = 1 << 10;
  std::vector<Mp4Chapter> chapters;
  const fileutil::IBox* const table = box_at(trak, {QvFourCC("mdia"), QvFourCC("minf"), QvFourCC("stbl")});
  if (!table) return chapters;
  for (const SamplePlace& sample : sample_places(file, *table, kMostChapters)) {
    const std::string bytes = file.bytes_at(sample.position, std::min<uint64_t>(sample.bytes, kMostTitleBytes));
    ChunkBytes text = big_endian(bytes); // its length, and what styles it has behind it
    const WORD length = text.word<WORD>();
    chapters.push_back({duration_from_units(sample.start, timescale), text_of_either(text.take(length))});
  }
  return chapters;
}

std::vector<Mp4Chapter> listed_chapters(std::string_view chpl) {
  std::vector<Mp4Chapter> chapters;
  ChunkBytes fields = big_endian(chpl);
  const BYTE version = fields.byte();
  fields.take(version == 0 ? 3 : 3 + 4);
  for (unsigned count = fields.byte(); count > 0; --count) {
    const uint64_t start = fields.word<uint64_t>();
    const std::string_view title = fields.take(fields.byte());
    if (fields.is_short()) break;
    chapters.push_back({start, text_of_either(title)});
  }
  return chapters;
}

} // namespace qv::tool
