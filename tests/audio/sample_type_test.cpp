#include "qv/audio.h"

#include <gtest/gtest.h>

TEST(SampleType, BitsBytesAndTags) {
  constexpr struct {
    uint32_t type, bits, bytes, tag;
    const char* layout; // how many bits of the container count, and how they are coded
  } rows[] = {{16, 8, 1, 1, "8 Offset"},
              {17, 16, 2, 1, "16 Integer"},
              {18, 24, 3, 1, "24 Integer"},
              {19, 32, 4, 1, "32 Integer"},
              {32, 32, 4, 3, "32 Float"},
              {33, 64, 8, 3, "64 Float"},
              {48, 32, 4, 0xFE00, "24 Integer"},
              {49, 8, 1, 0xFE01, "8 Integer"},
              {64, 16, 2, 0xFE02, "16 BigEndian"},
              {65, 24, 3, 0xFE02, "24 BigEndian"},
              {66, 32, 4, 0xFE02, "32 BigEndian"},
              {128, 0, 0, 0, "16 Unknown"},
              {129, 0, 0, 0, "24 Unknown"},
              {0, 0, 0, 0, ""},
              {15, 0, 0, 0, ""},
              {20, 0, 0, 0, ""},
              {34, 0, 0, 0, ""},
              {50, 0, 0, 0, ""},
              {67, 0, 0, 0, ""}};
#define QV_LAYOUT_WORDS(type, value, name, container_bits, bytes, tag, encoding, bits, is_mixed, text)                 \
#bits " " #encoding,
  constexpr const char* kLayouts[] = {QV_SAMPLE_TYPE_TABLE(QV_LAYOUT_WORDS)};
#undef QV_LAYOUT_WORDS
  for (size_t i = 0; i < std::size(kLayouts); ++i)
    EXPECT_STREQ(kLayouts[i], rows[i].layout) << rows[i].type;
  for (const auto& row : rows) {
    const auto type = static_cast<QVSAMPLETYPE>(row.type);
    EXPECT_EQ(QvAudio_BitsFromSampleType(type), row.bits) << row.type;
    EXPECT_EQ(QvAudio_BytesFromSampleType(type), row.bytes) << row.type;
    EXPECT_EQ(QvAudio_FormatTagFromSampleType(type), row.tag) << row.type;
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

namespace {

WAVEFORMATEXTENSIBLE extensible(uint32_t data1, WORD bits, WORD valid_bits) {
  WAVEFORMATEXTENSIBLE format{};
  format.Format.wFormatTag = 0xFFFE;
  format.Format.nChannels = 2;
  format.Format.nSamplesPerSec = 48000;
  format.Format.wBitsPerSample = bits;
  format.Format.cbSize = 22;
  format.Samples.wValidBitsPerSample = valid_bits;
  format.SubFormat = {data1, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
  return format;
}

} // namespace

TEST(SampleType, FromExtensibleHeaders) {
  const struct {
    uint32_t data1;
    WORD bits, valid;
    uint32_t type;
  } rows[] = {{1, 16, 16, 17}, {1, 32, 24, 48}, {1, 32, 32, 19},      {1, 32, 20, 19},      {3, 32, 32, 32},
              {3, 32, 24, 32}, {1, 24, 24, 18}, {0x10001, 16, 16, 0}, {0xFE00, 32, 32, 48}, {2, 16, 16, 0}};
  for (const auto& row : rows) {
    const WAVEFORMATEXTENSIBLE format = extensible(row.data1, row.bits, row.valid);
    EXPECT_EQ(QvAudio_GetSampleType(&format.Format), row.type) << row.data1 << " " << row.bits << " " << row.valid;
  }
  for (size_t octet = 2; octet < sizeof(GUID); ++octet) {
    WAVEFORMATEXTENSIBLE format = extensible(1, 16, 16);
    reinterpret_cast<uint8_t*>(&format)[24 + octet] ^= 1;
    EXPECT_EQ(QvAudio_GetSampleType(&format.Format), QVSAMPLE_NONE) << "GUID octet " << octet;
  }
}

TEST(SampleType, ColourChannelOffsets) {
  EXPECT_EQ(GetByteOffsetFromChannelEnum(0, 4), 0u);
  EXPECT_EQ(GetByteOffsetFromChannelEnum(1, 4), 1u);
  EXPECT_EQ(GetByteOffsetFromChannelEnum(3, 16), 12u);
  EXPECT_EQ(GetByteOffsetFromChannelEnum(2, 7), 2u);
  EXPECT_EQ(GetByteOffsetFromChannelEnum(4, 16), 0u);
}
