#include "tests/fileutil/bytes.h"

#include "qv/mp4/descriptor.h"
#include "qv/mp4/descriptor_visitors.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace esds;
using fileutil_test::hex;
using fileutil_test::string_of;

namespace {

struct Read {
  std::unique_ptr<Descriptor> descriptor;
  uint64_t consumed = 0;
};

Read read(const std::string& bytes, uint32_t limit) {
  std::istringstream in(bytes);
  Read read;
  read.descriptor = readDescriptor(in, limit, read.consumed);
  return read;
}

std::string write(Descriptor* descriptor) {
  std::ostringstream out;
  const uint64_t written = writeDescriptor(out, descriptor);
  EXPECT_EQ(written, out.str().size());
  return out.str();
}

// As ffmpeg writes it for 44.1 kHz stereo.
const std::string kWide = hex("03 80 80 80 22 0001 00 04 80 80 80 14 40 15 000000 0001F400 0001F400"
                              "05 80 80 80 02 1210 06 80 80 80 01 02");
const std::string kNarrow = hex("03 19 0000 00 04 11 40 15 001800 0001F400 00000000 05 02 1210 06 01 02");

TEST(Descriptor, ReadsWhatAStreamIs) {
  const Read it = read(kWide + "more", static_cast<uint32_t>(kWide.size()) + 4);
  ASSERT_TRUE(it.descriptor);
  EXPECT_EQ(it.consumed, kWide.size());
  const auto* const stream = dynamic_cast<ElementaryStreamDescriptor*>(it.descriptor.get());
  ASSERT_TRUE(stream);
  EXPECT_TRUE(stream->isComplete);
  EXPECT_EQ(stream->esId, 1);
  EXPECT_EQ(stream->size(), 0x22u);
  EXPECT_EQ(stream->sizeWithTagAndLength(), kWide.size());
  const auto* const config = stream->child<DecoderConfigDescriptor>();
  ASSERT_TRUE(config);
  EXPECT_EQ(config->objectType, 0x40);
  EXPECT_EQ(config->streamType, 5);
  EXPECT_FALSE(config->upStream);
  EXPECT_EQ(config->averageBitRate, 128000u);
  const auto* const info = config->child<DecoderSpecificInfo>();
  ASSERT_TRUE(info);
  EXPECT_EQ(string_of(info->info), hex("1210"));
  ASSERT_TRUE(stream->child<SLConfigDescriptor>());
  EXPECT_EQ(stream->child<SLConfigDescriptor>()->predefined, 2);
}

TEST(Descriptor, WritesWhatItHasRead) {
  const std::string every_field = hex("03 2C BEEF FF 0102 03 'url' 0304" // all flags, priority 31
                                      "04 13 6B 16 FFFFFE 80000001 FFFFFFFF 05 00 05 02 A1A2"
                                      "06 05 00 DEADBEEF 99 02 CAFE 7F"); // rest, unknown, half a header
  const std::string cases[] = {
      kWide,
      kNarrow,
      every_field,
      hex("10 80 07 005F 01 02 03 04 05"),             // a length of two bytes that one would hold
      hex("02 08 FFD3 01 02 03 04 05 00"),             // half a header behind the levels
      hex("10 06 0060 03 'url'"),                      // with a URL there are no levels
      hex("10 0D 004F FF FF FE FF FF 0E 04 00000001"), // ES_ID_Inc inside
      hex("03 02 0001"),
      hex("04 05 40 15 00 00 00"),
      hex("04 0C 40 15 000000 00000000 000000"),
      hex("06 00"), // too short for their fields
      hex("05 00"),
      hex("FE 02 1234"),
      hex("00 00"),
      hex("10 01 40"),
      hex("03 05 0001 80 0102"),
      hex("03 05 0001 40 01 'u'"),
      hex("03 05 0001 20 0304"), // each flag alone
  };
  for (const std::string& bytes : cases) {
    const Read it = read(bytes, static_cast<uint32_t>(bytes.size()));
    ASSERT_TRUE(it.descriptor);
    EXPECT_TRUE(it.descriptor->isComplete);
    EXPECT_EQ(it.consumed, bytes.size());
    EXPECT_EQ(it.descriptor->bytesRead(), it.descriptor->size());
    EXPECT_EQ(write(it.descriptor.get()), bytes) << "as read";
    EXPECT_EQ(prepareDescriptor(it.descriptor.get()), bytes.size());
    EXPECT_EQ(write(it.descriptor.get()), bytes) << "as prepared";
  }
}

TEST(Descriptor, ReadsTheFieldsThatFlagsAnnounce) {
  const Read it = read(hex("03 0D BEEF FF 0102 03 'url' 0304 FE 00"), 15);
  const auto* const stream = dynamic_cast<ElementaryStreamDescriptor*>(it.descriptor.get());
  ASSERT_TRUE(stream);
  EXPECT_EQ(stream->streamPriority, 31);
  EXPECT_EQ(stream->dependsOnEsId, 0x0102);
  EXPECT_EQ(string_of(stream->url), "url");
  EXPECT_EQ(stream->ocrEsId, 0x0304);
  ASSERT_EQ(stream->children().size(), 1u);
  EXPECT_EQ(stream->children().front()->tag(), 0xFE);

  const Read object = read(hex("10 07 00DF 01 02 03 04 05"), 9);
  const auto* const initial = dynamic_cast<InitialObjectDescriptor*>(object.descriptor.get());
  ASSERT_TRUE(initial);
  EXPECT_EQ(initial->objectDescriptorId, 3);
  EXPECT_FALSE(initial->urlFlag);
  EXPECT_TRUE(initial->includeInlineProfileLevelFlag);
  EXPECT_EQ(initial->reserved, 15);
  EXPECT_EQ(initial->profileLevels, (std::array<uint8_t, 5>{1, 2, 3, 4, 5}));
}

TEST(Descriptor, KeepsWhatWasReadWhereBytesRunOut) {
  // Cut everywhere, by the limit and by the stream: what is kept is a prefix of what there was.
  for (uint32_t length = 0; length < kNarrow.size(); ++length)
    for (const bool by_limit : {true, false}) {
      const Read it = by_limit ? read(kNarrow, length) : read(kNarrow.substr(0, length), 1000);
      EXPECT_EQ(it.consumed, length);
      ASSERT_EQ(it.descriptor != nullptr, length >= 2) << length;
      if (!it.descriptor) continue;
      EXPECT_FALSE(it.descriptor->isComplete);
      EXPECT_EQ(it.descriptor->size(), 0x19u);
      EXPECT_EQ(it.descriptor->bytesRead(), length - 2);
      const auto* const config = it.descriptor->child<DecoderConfigDescriptor>();
      EXPECT_EQ(config != nullptr, length >= 7) << length;
      if (config) EXPECT_EQ(config->objectType, length >= 8 ? 0x40 : 0);
      const auto* const info = config ? config->child<DecoderSpecificInfo>() : nullptr;
      ASSERT_EQ(info != nullptr, length >= 22) << length;
      if (info) EXPECT_EQ(string_of(info->info), hex("1210").substr(0, length - 22));
    }
}

TEST(Descriptor, AnInnerOneThatClaimsTooMuchEndsTheReading) {
  const std::string bytes = hex("03 0C 0001 00 05 09 01 02 03 04 05 06 06 01 02");
  const Read it = read(bytes, static_cast<uint32_t>(bytes.size()));
  ASSERT_TRUE(it.descriptor);
  EXPECT_FALSE(it.descriptor->isComplete);
  EXPECT_EQ(it.consumed, 14u) << "to the end of the outer one, not past it";
  const auto* const info = it.descriptor->child<DecoderSpecificInfo>();
  ASSERT_TRUE(info);
  EXPECT_FALSE(info->isComplete);
  EXPECT_EQ(string_of(info->info), hex("01 02 03 04 05 06 06"));
  EXPECT_EQ(write(it.descriptor.get()), bytes.substr(0, 14));

  EXPECT_FALSE(read(hex("03 80 80 80 80 01"), 6).descriptor) << "a length of five bytes";
  std::istringstream in(bytes);
  Descriptor::Children into;
  EXPECT_THROW(DescriptorReader(in, 16).read(into), OutOfBytes);
  EXPECT_EQ(into.size(), 1u);
}

TEST(Descriptor, DepthAndCountAreBounded) {
  std::string deep;
  for (unsigned k = 0; k < 100; ++k) { // each ES descriptor around the ones before
    const size_t size = deep.size() + 3;
    const std::string length = {static_cast<char>(0x80 | size >> 7), static_cast<char>(size & 0x7F)};
    deep = "\x03" + length + hex("0001 00") + deep;
  }
  const Read it = read(deep, static_cast<uint32_t>(deep.size()));
  unsigned depth = 0;
  for (const Descriptor* at = it.descriptor.get(); at; at = at->child<Descriptor>())
    ++depth;
  EXPECT_EQ(depth, DescriptorReader::kMaxDepth + 1);
  EXPECT_EQ(write(it.descriptor.get()), deep);

  const std::string wide = hex("03 81 80 03 0001 00") + std::string(0x4000, '\0'); // 8192 descriptors of tag 0
  const Read many = read(wide, static_cast<uint32_t>(wide.size()));
  ASSERT_TRUE(many.descriptor);
  EXPECT_EQ(many.descriptor->children().size(), DescriptorReader::kMaxCount - 1);
  const Read siblings =
      read(hex("03 21 0001 00 060102 060102 060102 060102 060102 060102 060102 060102 060102 060102"), 35);
  EXPECT_TRUE(dynamic_cast<SLConfigDescriptor*>(siblings.descriptor->children().back().get())) << "depth is no count";
  EXPECT_EQ(write(many.descriptor.get()), wide);
}

TEST(Descriptor, LengthsGrowWithTheirContent) {
  DecoderSpecificInfo info;
  const struct {
    size_t bytes;
    uint32_t whole;
    const char* head;
  } rows[] = {{0, 2, "05 00"},
              {127, 129, "05 7F"},
              {128, 131, "05 81 00"},
              {16383, 16386, "05 FF 7F"},
              {16384, 16388, "05 81 80 00"},
              {2097152, 2097157, "05 81 80 80 00"}};
  for (const auto& row : rows) {
    info.info.assign(row.bytes, 7);
    EXPECT_EQ(prepareDescriptor(&info), row.whole);
    EXPECT_EQ(write(&info), hex(row.head) + std::string(row.bytes, '\7'));
  }
  info.info.clear();
  info.setLengthBytes(4);
  EXPECT_EQ(prepareDescriptor(&info), 5u);
  EXPECT_EQ(write(&info), hex("05 80 80 80 00"));

  std::ostringstream out;
  info.setSize(Descriptor::kMaxSize + 1);
  writeDescriptor(out, &info);
  EXPECT_TRUE(out.fail()) << "no length holds this";
  EXPECT_EQ(prepareDescriptor(nullptr), 0u);
  EXPECT_EQ(write(nullptr), "");
}

TEST(ElementaryStreamDescriptor, IsMadeFromATrack) {
  ElementaryStreamDescriptor stream;
  stream.streamPriority = 3;
  stream.init({.bufferSize = 0x1800, .maximumBitRate = 128000}, {0x12, 0x10});
  EXPECT_EQ(write(&stream), kNarrow);
}

TEST(DescriptorPrinter, HasALineForEachField) {
  std::ostringstream out;
  DescriptorPrinter printer(out, 1);
  read(hex("03 09 0007 01 05 02 12AB FE 00"), 11).descriptor->accept(&printer);
  EXPECT_EQ(out.str(), " ES_Descriptor (tag 3, 9 bytes)\n"
                       "   ES_ID: 7\n"
                       "   streamPriority: 1\n"
                       "   DecoderSpecificInfo (tag 5, 2 bytes)\n"
                       "     info: 12 ab\n"
                       "   descriptor (tag 254, 0 bytes)\n");
}

} // namespace
