// The factories, and the counted start and end of what readers share.
#include "qv/mp4.h"

#include <gtest/gtest.h>
#include <sstream>
#include <thread>

using namespace fileutil;

namespace {

constexpr char kTypes[] =
    "ftyp moov trak mdia minf dinf stbl udta ilst mvhd tkhd mdhd hdlr smhd dref url  stsd mp4a PNG  "
    "esds iods stts stsc stsz stco co64 mdat free meta ID32 yrrc titl dscp cprt perf gnre albm "
    "mean name MTSM MTHD MTDF MDST MTDT";
constexpr char kMetaTypes[] = "ftyp moov udta ilst hdlr meta ID32 yrrc titl dscp cprt perf gnre albm mean name";
constexpr char kUpdateTypes[] = "moov trak mdia minf stbl udta ilst hdlr stco co64 mdat free meta ID32 yrrc titl dscp "
                                "cprt perf gnre albm mean name";
constexpr char kUnknownTypes[] = "wide edts moof skip data uuid covr \251nam ---- abcd";

std::vector<FourCC> codes(const std::string& text) {
  std::vector<FourCC> found(text.size() / 5 + 1);
  for (size_t k = 0; k < found.size(); ++k)
    std::memcpy(&found[k], &text[k * 5], 4);
  return found;
}

TEST(Factory, KnowsItsTypesAndNoOther) {
  struct Row {
    std::unique_ptr<TypeFactory> factory;
    std::string types;
  };
  const Row rows[] = {{std::make_unique<BoxFactory>(), kTypes},
                      {std::make_unique<ReadMetaFactory>(), kMetaTypes},
                      {std::make_unique<MetaFactory>(), kUpdateTypes}};
  for (const Row& row : rows) {
    const std::vector<FourCC> known = codes(row.types);
    for (const std::string types : {kTypes, kUnknownTypes})
      for (const FourCC type : codes(types)) {
        const bool expected = std::find(known.begin(), known.end(), type) != known.end();
        const std::unique_ptr<IBox> box(row.factory->create(type));
        EXPECT_EQ(row.factory->knows(type), expected);
        EXPECT_EQ(dynamic_cast<UnknownBox*>(box.get()) == nullptr, expected);
        EXPECT_EQ(box->type(), type);
      }
  }
}

TEST(Factory, OfItemsDataAndGuids) {
  const ItemFactory items;
  for (const FourCC type : codes("\251nam \251ART aART \251alb \251gen gnre trkn \251too covr \251des \251cmt \251wrt "
                                 "keyw \251day \251cpy ---- titl moov")) {
    const std::unique_ptr<IBox> box(items.create(type));
    EXPECT_EQ(box->type(), type);
    EXPECT_NE(dynamic_cast<IContainerBox*>(box.get()), nullptr);
    EXPECT_NE(items.knows(type), dynamic_cast<UnknownItemBox*>(box.get()) != nullptr);
  }
  EXPECT_TRUE(items.knows(QvFourCC("gnre")));
  EXPECT_FALSE(items.knows(QvFourCC("titl")));

  const DataBoxFactory data;
  const std::vector<uint32_t> indicators = {0, 1, 2, 3, 13, 14, 21, 22, 23, 24, 27};
  for (uint32_t indicator = 0; indicator < 40; ++indicator) {
    const std::unique_ptr<IBox> box(data.create(indicator));
    EXPECT_EQ(dynamic_cast<IDataBox&>(*box).typeIndicator(), indicator);
    EXPECT_EQ(data.knows(indicator), std::count(indicators.begin(), indicators.end(), indicator) == 1) << indicator;
  }

  const GuidBoxFactory guids;
  GUID other = kId3v23MetaDataType;
  other.Data4[7] ^= 1;
  std::unique_ptr<IBox> box(guids.create(kId3v23MetaDataType));
  EXPECT_NE(dynamic_cast<ID3v23MetaDataBox*>(box.get()), nullptr);
  EXPECT_TRUE(IsEqualGUID(dynamic_cast<ID3v23MetaDataBox&>(*box).extendedType, kId3v23MetaDataType));
  box.reset(guids.create(other));
  EXPECT_TRUE(IsEqualGUID(dynamic_cast<UnknownGuidBox&>(*box).extendedType, other));
}

size_t boxesRead() {
  const std::string bytes("\0\0\0\x8moov\0\0\0\x8"
                          "free",
                          16);
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  EXPECT_EQ(Mpeg4MetaShutDown(), S_OK); // one too many, while a reader lives
  const std::unique_ptr<Boxes> boxes(reader.readFile());
  return boxes->size() + (dynamic_cast<MovieBox*>(boxes->front()) == nullptr ? 100 : 0);
}

TEST(StartUp, IsCountedAndNotNeeded) {
  EXPECT_EQ(boxesRead(), 2u);
  EXPECT_EQ(Mpeg4MetaStartUp(), S_OK);
  EXPECT_EQ(Mpeg4MetaStartUp(), S_OK);
  EXPECT_EQ(boxesRead(), 2u);
  for (int k = 0; k < 4; ++k)
    EXPECT_EQ(Mpeg4MetaShutDown(), S_OK);
  EXPECT_EQ(boxesRead(), 2u);
}

TEST(StartUp, IsForAnyThread) {
  std::vector<std::thread> threads;
  for (int k = 0; k < 4; ++k)
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        EXPECT_EQ(Mpeg4MetaStartUp(), S_OK);
        EXPECT_EQ(boxesRead(), 2u);
        EXPECT_EQ(Mpeg4MetaShutDown(), S_OK);
      }
    });
  for (std::thread& thread : threads)
    thread.join();
}

} // namespace
