// The sample tables. Each may hold millions of entries, so its numbers are swapped and written in blocks.
#include "fileutil/writer/field_bytes.h"

#include "qv/mp4/box_writer.h"

#include <algorithm>

namespace fileutil {

namespace {

/// Hands a table to `write` as big-endian numbers of `Number`, which is what its entries consist of.
template <class Number, class Entry, class Write>
void inBlocks(const std::vector<Entry>& table, const Write& write) {
  static_assert(std::is_trivially_copyable_v<Entry> && sizeof(Entry) % sizeof(Number) == 0);
  constexpr size_t kBlockBytes = 12 * 1024;
  std::array<Number, kBlockBytes / sizeof(Number)> block{};
  const auto* const bytes = reinterpret_cast<const uint8_t*>(table.data());
  const size_t length = table.size() * sizeof(Entry);
  for (size_t at = 0; at < length; at += kBlockBytes) {
    const size_t part = std::min(length - at, kBlockBytes);
    std::memcpy(block.data(), bytes + at, part);
    for (Number& number : block) // all of them: a loop of one known length is compiled to vectors
      number = bigEndian(number);
    write(std::span(reinterpret_cast<const uint8_t*>(block.data()), part));
  }
}

uint32_t count(size_t entries) { return static_cast<uint32_t>(entries); }

template <class Offset>
void shift(std::vector<Offset>& offsets, int64_t by) {
  for (Offset& offset : offsets)
    offset += static_cast<Offset>(by);
}

} // namespace

void BoxWriter::visit(TimeToSampleBox* box) {
  writeBytes(fieldBytes(box->versionFlags, count(box->entries.size())));
  inBlocks<uint32_t>(box->entries, [this](auto bytes) { writeBytes(bytes); });
}

void BoxWriter::visit(SampleToChunkBox* box) {
  writeBytes(fieldBytes(box->versionFlags, count(box->entries.size())));
  inBlocks<uint32_t>(box->entries, [this](auto bytes) { writeBytes(bytes); });
}

void BoxWriter::visit(SampleSizeBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->commonSize, box->sampleCount));
  inBlocks<uint32_t>(box->sizes, [this](auto bytes) { writeBytes(bytes); });
}

void BoxWriter::visit(ChunkOffsetBox* box) {
  shift(box->offsets, chunkOffsetShift_);
  writeBytes(fieldBytes(box->versionFlags, count(box->offsets.size())));
  inBlocks<uint32_t>(box->offsets, [this](auto bytes) { writeBytes(bytes); });
}

void BoxWriter::visit(ChunkLargeOffsetBox* box) {
  shift(box->offsets, chunkOffsetShift_);
  writeBytes(fieldBytes(box->versionFlags, count(box->offsets.size())));
  inBlocks<uint64_t>(box->offsets, [this](auto bytes) { writeBytes(bytes); });
}

} // namespace fileutil
