// Headers, and where levels of boxes end.
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/reader/box_bytes.h"

#include <gtest/gtest.h>

using namespace fileutil_test;

namespace {

struct Case {
  std::string bytes;
  std::string expected;
};

TEST(ReadLevel, EndsWhereNoBoxCanBe) {
  const std::string next = box("free");
  const Case cases[] = {
      {"", ""},
      {largeBox("mdat", "abc") + next, "mdat{16-19} free"},
      {largeBox("moov", next) + next, "moov(free) free"},
      // A size of 0 is for "mdat" alone.
      {next + lying("mdat", 0, "abc"), "free mdat<0{16-19}"},
      {next + be32(1) + "mdat" + be64(0) + "abc", "free mdat<0{24-27}"},
      {next + lying("free", 0, "abc"), "free+11"},
      {box("moov", lying("mdat", 0, "abc")) + next, "moov(mdat<0{16-19}) free"},
      // Sizes that cannot be.
      {next + lying("free", 7, "abcd"), "free+12"},
      {next + be32(1) + "free" + be64(15) + "ab", "free+18"},
      {next + be32(1) + "free" + be64(16), "free free"},
      // More than the parent has.
      {lying("mdat", 100, "abc"), "mdat<100{8-11}"},
      {be32(1) + "mdat" + be64(0xFFFFFFFFFFFFFFFF) + "abc", "mdat<18446744073709551615{16-19}"},
      {box("moov", lying("trak", 99, box("mdia"))) + next, "moov(trak<99(mdia())) free"},
      {box("moov", lying("trak", 0xFFFFFFFF, lying("mdia", 0xFFFFFFFE, next))) + next,
       "moov(trak<4294967295(mdia<4294967294(free))) free"},
      {box("moov", box("stbl", full("stco", be32(2) + be32(1)).replace(0, 4, be32(24)))) + next,
       "moov(stbl(stco<24{0 0 incomplete})) free"},
      // Headers that do not fit into what the parent has left, whatever follows it.
      {box("moov", next + "abcdefg") + next, "moov(free+7) free"},
      {box("moov", be32(1) + "free" + "abcdefg") + next, "moov(+15) free"},
      {next + "abcdefg", "free+7"},
      {next + be32(1) + "free" + "abcdefg", "free+15"},
      // The four zero bytes that end an old "udta", and more of them.
      {box("moov", box("udta", box("abcd") + be32(0)) + box("trak")) + next, "moov(udta(?abcd+4) trak()) free"},
      {box("moov", box("udta", box("abcd") + be64(0)) + box("trak")) + next, "moov(udta(?abcd+8) trak()) free"},
      // Children that end early leave their parent's neighbours in place.
      {box("moov", box("trak", lying("mdia", 3, "abcdefgh")) + box("udta")) + next, "moov(trak(+16) udta()) free"},
      {full("stsd", be32(1) + lying("mp4a", 5, std::string(40, 'x'))) + next, "stsd{0 1}(+48) free"},
  };
  for (const Case& row : cases)
    EXPECT_EQ(described(row.bytes), row.expected);
}

/// Positions, sizes and counts of what a tree holds.
TEST(ReadLevel, CountsEveryByteOnce) {
  const std::string bytes = box("ftyp", "M4A " + be32(0)) +
                            box("moov", box("trak", box("tkhd", "x")) + box("free", "y")) + largeBox("mdat", "media") +
                            box("free", "zz");
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  const std::unique_ptr<Boxes> boxes(reader.readFile());
  struct Expected {
    const IBox* box;
    uint64_t position, size;
    uint32_t headerSize;
  };
  const auto child = [](const IBox* box, int index) {
    return *std::next(dynamic_cast<const IContainerBox*>(box)->children().begin(), index);
  };
  IBox* const moov = *std::next(boxes->begin());
  for (const Expected& row : {Expected{boxes->front(), 0, 16, 8},
                              {moov, 16, 34, 8},
                              {child(moov, 0), 24, 17, 8},
                              {child(child(moov, 0), 0), 32, 9, 8},
                              {child(moov, 1), 41, 9, 8},
                              {boxes->find(QvFourCC("mdat")), 50, 21, 16},
                              {boxes->back(), 71, 10, 8}}) {
    EXPECT_EQ(row.box->position(), row.position);
    EXPECT_EQ(row.box->size(), row.size);
    EXPECT_EQ(row.box->sizeInHeader(), row.size);
    EXPECT_EQ(row.box->headerSize(), row.headerSize);
    EXPECT_EQ(const_cast<IBox*>(row.box)->bytesRead(), row.size);
    EXPECT_EQ(row.box->plannedPosition(), row.position);
    EXPECT_EQ(row.box->plannedSize(), row.size);
  }
  EXPECT_FALSE(reader.isCutShort());
}

TEST(ReadLevel, DepthIsLimited) {
  const auto nested = [](uint32_t depth) {
    std::string bytes;
    for (uint32_t k = 0; k < depth; ++k)
      bytes = box("moov", bytes);
    return bytes + box("free");
  };
  const auto text = [](uint32_t depth, const std::string& inside) {
    std::string tree = inside;
    for (uint32_t k = 0; k < depth; ++k)
      tree = "moov(" + tree + ")";
    return tree + " free";
  };
  // The file's own list has depth 0; the list inside 32 containers has depth 32 and is read, a deeper one is not.
  EXPECT_EQ(described(nested(32)), text(32, ""));
  EXPECT_EQ(described(nested(33)), text(32, "?moov!"));
  EXPECT_EQ(described(nested(5000)), text(32, "?moov!"));
}

TEST(ReadLevel, LengthIsLimited) {
  constexpr size_t kMost = Boxes::kMaxLength;
  std::string many;
  for (size_t k = 0; k < kMost + 3; ++k)
    many += box("skip");
  for (const bool inside : {false, true}) {
    const std::string bytes = inside ? box("moov", many) + box("free") : many;
    std::istringstream in(bytes);
    BoxReader reader(in, bytes.size());
    const std::unique_ptr<Boxes> boxes(reader.readFile());
    const Boxes& list = inside ? dynamic_cast<IContainerBox*>(boxes->front())->children() : *boxes;
    EXPECT_EQ(list.size(), kMost);
    EXPECT_TRUE(list.isLimited);
    EXPECT_EQ(list.tailSize, 3u * 8);
    if (inside) EXPECT_EQ(boxes->back()->type(), QvFourCC("free"));
    if (inside) EXPECT_FALSE(boxes->isLimited);
  }
}

TEST(BoxReader, ReadsAgainFromTheBeginning) {
  const std::string bytes = "begin" + box("moov", full("mvhd", std::string(96, 0))) + box("mdat", "x");
  std::istringstream in(bytes);
  in.seekg(5);
  BoxReader reader(in, bytes.size() - 5);
  BoxReader copy(reader);
  for (int k = 0; k < 2; ++k) {
    for (BoxReader* one : {&reader, &copy}) {
      const std::unique_ptr<Boxes> boxes(one->readMeta());
      EXPECT_EQ(Describe::list(*boxes), "moov(?mvhd) ?mdat");
      EXPECT_EQ(boxes->back()->position(), bytes.size() - 5 - 9);
    }
    const std::unique_ptr<Boxes> boxes(reader.readMetaForUpdate());
    EXPECT_EQ(Describe::list(*boxes), "moov(?mvhd) mdat{124-125}");
  }
  EXPECT_EQ(&reader.in(), &copy.in());
  EXPECT_EQ(&reader.in().in(), &in);
}

/// From the current position, as far as a limit; and counts that are the caller's.
TEST(BoxReader, ReadsPartsOfASource) {
  const std::string bytes = box("free", "a") + box("udta") + box("moov") + box("free");
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  Boxes list;
  EXPECT_EQ(reader.readBoxes(&list, 17), 17u);
  EXPECT_EQ(Describe::list(list), "free udta()");
  EXPECT_EQ(reader.readBoxes(&list, 12), 8u);
  EXPECT_EQ(Describe::list(list), "free udta() moov()+4");
  reader.incBytesRead(list.front(), 100);
  EXPECT_EQ(list.front()->bytesRead(), 109u);
  EXPECT_EQ(reader.readBoxes(&list, kUnknown), 8u);
  EXPECT_EQ(list.back()->position(), 9u + 8 + 8 + 100);
  EXPECT_EQ(reader.readBoxes(&list, 8), 0u);
}

} // namespace
