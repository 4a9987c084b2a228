#include "audio/sample_type_table.h"
#include "tests/audio/headers.h"

#include <gtest/gtest.h>
#include <tuple>

using qv::audio::Encoding;
using qv::audio::kSampleTypes;

TEST(SampleType, BitsBytesAndTags) {
  struct Row {
    uint32_t type, bits, bytes, tag;
    int counted; // of the container's bits
    Encoding encoding;
  };
  const Row rows[] = {{16, 8, 1, 1, 8, Encoding::kOffset},           {17, 16, 2, 1, 16, Encoding::kInteger},
                      {18, 24, 3, 1, 24, Encoding::kInteger},        {19, 32, 4, 1, 32, Encoding::kInteger},
                      {32, 32, 4, 3, 32, Encoding::kFloat},          {33, 64, 8, 3, 64, Encoding::kFloat},
                      {48, 32, 4, 0xFE00, 24, Encoding::kInteger},   {49, 8, 1, 0xFE01, 8, Encoding::kInteger},
                      {64, 16, 2, 0xFE02, 16, Encoding::kBigEndian}, {65, 24, 3, 0xFE02, 24, Encoding::kBigEndian},
                      {66, 32, 4, 0xFE02, 32, Encoding::kBigEndian}};
  for (uint32_t value = 0, next = 0; value < 256; ++value) {
    const auto type = static_cast<QVSAMPLETYPE>(value);
    const bool is_layout = next < std::size(rows) && rows[next].type == value;
    const Row row = is_layout ? rows[next] : Row{};
    EXPECT_EQ(QvAudio_BitsFromSampleType(type), row.bits) << value;
    EXPECT_EQ(QvAudio_BytesFromSampleType(type), row.bytes) << value;
    EXPECT_EQ(QvAudio_FormatTagFromSampleType(type), row.tag) << value;
    if (!is_layout) continue;
    EXPECT_EQ(kSampleTypes[next].bits, row.counted) << value;
    EXPECT_EQ(kSampleTypes[next++].encoding, row.encoding) << value;
  }
}

// Every tag and bit count that means something, and all others.
TEST(SampleType, FromTagAndBits) {
  const struct {
    uint32_t tag, bits, type;
  } rows[] = {{1, 8, 16},       {1, 16, 17},      {1, 20, 18},      {1, 24, 18},       {1, 32, 19},
              {0xFE01, 8, 49},  {0xFE01, 16, 17}, {0xFE01, 20, 18}, {0xFE01, 24, 18},  {0xFE01, 32, 19},
              {3, 32, 32},      {3, 64, 33},      {0xFE00, 24, 48}, {0xFE00, 32, 48},  {0xFE02, 8, 16},
              {0xFE02, 16, 64}, {0xFE02, 24, 65}, {0xFE02, 32, 66}, {0xFE03, 16, 128}, {0xFE03, 24, 129}};
  for (const uint32_t tag :
       {0u, 1u, 2u, 3u, 0x55u, 0xFDFFu, 0xFE00u, 0xFE01u, 0xFE02u, 0xFE03u, 0xFE04u, 0xFFFEu, 0x10001u}) {
    for (uint32_t bits = 0; bits <= 70; ++bits) {
      uint32_t expected = 0;
      for (const auto& row : rows)
        if (row.tag == tag && row.bits == bits) expected = row.type;
      EXPECT_EQ(QvAudio_GetSampleType2(tag, bits), expected) << tag << " with " << bits;
    }
  }
}

TEST(SampleType, FromExtensibleHeaders) {
  const std::tuple<uint32_t, WORD, WORD, uint32_t> rows[] = {
      {1, 16, 16, 17}, {1, 32, 24, 48}, {1, 32, 32, 19},      {1, 32, 20, 19},      {3, 32, 32, 32},
      {3, 32, 24, 32}, {1, 24, 24, 18}, {0x10001, 16, 16, 0}, {0xFE00, 32, 32, 48}, {2, 16, 16, 0}};
  for (const auto& [tag, bits, valid, type] : rows) {
    Header header = extensible_header(tag, bits, 2, 0);
    header.wfx.Samples.wValidBitsPerSample = valid;
    EXPECT_EQ(QvAudio_GetSampleType(&header.plain()), type) << tag << " " << bits << " " << valid;
  }
  for (size_t octet = 2; octet < sizeof(GUID); ++octet) {
    Header header = extensible_header(1, 16, 2, 0);
    header.bytes()[24 + octet] ^= 1;
    EXPECT_EQ(QvAudio_GetSampleType(&header.plain()), QVSAMPLE_NONE) << "GUID octet " << octet;
  }
}

TEST(SampleType, ColourChannelOffsets) {
  const std::tuple<uint32_t, int32_t, uint32_t> rows[] = {{0, 4, 0}, {1, 4, 1}, {3, 16, 12}, {2, 7, 2}, {4, 16, 0}};
  for (const auto& [channel, pixel_bytes, offset] : rows)
    EXPECT_EQ(GetByteOffsetFromChannelEnum(channel, pixel_bytes), offset);
}
