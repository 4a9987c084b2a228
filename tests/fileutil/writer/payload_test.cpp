// Every class written from its fields, against bytes that were put together by hand from the layouts of
// ISO/IEC 14496-12 and -14, 3GPP TS 26.244 and the item lists.
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/made_box.h"
#include "tests/fileutil/writer/sparse_stream.h"

#include "qv/mp4/box_reader.h"
#include "qv/mp4/box_writer.h"
#include "qv/mp4/prepare_write.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace fileutil;
using namespace fileutil_test;

namespace {

struct Written {
  std::string bytes;
  uint64_t count;
};

Written written(Boxes& boxes, int64_t shift = 0) {
  PrepareWrite plan(&boxes);
  plan.doIt();
  sparse_stream::Stream out;
  const uint64_t count = BoxWriter(out.stream, &boxes, shift).doIt();
  EXPECT_TRUE(out.stream.good());
  return {out.bytes(), count};
}

struct Row {
  IBox* box;
  const char* expected;
};

template <class Box>
void setMovieTimes(Box& box) {
  box.creationTime = 1;
  box.modificationTime = 2;
  box.duration = 0x04000005;
}

const char* const kMatrix = "00 01 00 00 12*00 00 01 00 00 12*00 40 00 00 00 ";
const std::string kMovieHeader = std::string("00 00 00 6C 'mvhd' 00 00 00 00 00 00 00 01 00 00 00 02 00 00 02 58 "
                                             "04 00 00 05 00 01 00 00 01 00 10*00 ") +
                                 kMatrix + "24*00 00 00 00 07";
const std::string kTrackHeader = std::string("00 00 00 5C 'tkhd' 00 00 00 07 00 00 00 01 00 00 00 02 00 00 00 03 4*00 "
                                             "04 00 00 05 8*00 FF FE 00 06 01 00 00 00 ") +
                                 kMatrix + "01 40 00 00 00 F0 80 00";

std::vector<Row> rows() {
  return {
      {made<FileTypeBox>([](auto& box) {
         box.majorBrand = QvFourCC("M4A ");
         box.minorVersion = {0, 0, 2, 1};
         box.compatibleBrands = {QvFourCC("isom"), QvFourCC("\251tst")};
       }),
       "00 00 00 18 'ftyp' 'M4A ' 00 00 02 01 'isom' A9 'tst'"},
      {made<MovieHeaderBox>([](auto& box) {
         setMovieTimes(box);
         box.timescale = 600;
         box.nextTrackId = 7;
       }),
       kMovieHeader.c_str()},
      {made<MovieHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 0};
         box.payload = vector_of("times of 64 bits");
       }),
       "00 00 00 1C 'mvhd' 01 00 00 00 'times of 64 bits'"},
      {made<TrackHeaderBox>([](auto& box) {
         box.versionFlags = {0, 0, 0, 7};
         setMovieTimes(box);
         box.trackId = 3;
         box.layer = 0xFFFE;
         box.alternateGroup = 6;
         box.volume = 0x100;
         box.width = 320 << 16;
         box.height = (240 << 16) + 0x8000;
       }),
       kTrackHeader.c_str()},
      {made<MovieHeaderBox>([](auto& box) { box.payload = vector_of("too short"); }),
       "00 00 00 15 'mvhd' 4*00 'too short'"},
      {made<TrackHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 7};
         box.payload = vector_of("x");
       }),
       "00 00 00 0D 'tkhd' 01 00 00 07 'x'"},
      {made<MediaHeaderBox>([](auto& box) {
         setMovieTimes(box);
         box.timescale = 44100;
         box.preDefined = 9;
       }),
       "00 00 00 20 'mdhd' 4*00 00 00 00 01 00 00 00 02 00 00 AC 44 04 00 00 05 55 C4 00 09"},
      {made<MediaHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 0};
         box.payload = vector_of("xy");
       }),
       "00 00 00 0E 'mdhd' 01 00 00 00 'xy'"},
      {made<MediaHandlerReferenceBox>([](auto& box) {
         box.preDefined = {'m', 'h', 'l', 'r'};
         box.handlerType = QvFourCC("mdir");
         box.reserved = {'a', 'p', 'p', 'l'};
         box.name = {'n', 0};
       }),
       "00 00 00 22 'hdlr' 4*00 'mhlr' 'mdir' 'appl' 8*00 'n' 00"},
      {made<SoundMediaInfoHeaderBox>([](auto& box) { box.balance = 0xFF00; }), "00 00 00 10 'smhd' 4*00 FF 00 00 00"},
      {made<DataReferenceBox>([](auto& box) {
         box.entryCount = 2; // as it was read: no writer counts these
         box.children().push_back(made<UrlBox>([](auto& url) {
           url.versionFlags = {0, 0, 0, 1};
           url.location = vector_of("a");
         }));
       }),
       "00 00 00 1D 'dref' 4*00 00 00 00 02 00 00 00 0D 'url ' 00 00 00 01 'a'"},
      {made<SampleDescriptionBox>([](auto& box) {
         box.children().push_back(made<Mpeg4AudioSampleEntry>([](auto& entry) {
           entry.reserved = {1, 2, 3, 4, 5, 6};
           entry.dataReferenceIndex = 7;
           entry.reservedForSound = {0, 1, 10, 11, 12, 13, 14, 15}; // of version 1 in QuickTime
           entry.preDefined = 0x1234;
           entry.reservedAfterSize = 0x5678;
           entry.sampleRate = 44100U << 16;
           entry.quickTimeFields = vector_of("QuickTime fields");
           entry.children().push_back(made<FreeBox>([](auto& room) { room.setSize(9); }));
         }));
       }),
       "00 00 00 4D 'stsd' 4*00 00 00 00 01 00 00 00 3D 'mp4a' 01 02 03 04 05 06 00 07 00 01 0A 0B 0C 0D 0E 0F "
       "00 02 00 10 12 34 56 78 AC 44 00 00 'QuickTime fields' 00 00 00 09 'free' 00"},
      {made<TimeToSampleBox>([](auto& box) {
         box.entries = {{1, 1024}, {0x01020304, 5}};
       }),
       "00 00 00 20 'stts' 4*00 00 00 00 02 00 00 00 01 00 00 04 00 01 02 03 04 00 00 00 05"},
      {made<SampleToChunkBox>([](auto& box) {
         box.entries = {{1, 21, 0x0A0B0C0D}};
       }),
       "00 00 00 1C 'stsc' 4*00 00 00 00 01 00 00 00 01 00 00 00 15 0A 0B 0C 0D"},
      {made<SampleSizeBox>([](auto& box) {
         box.commonSize = 6;
         box.sampleCount = 9; // not that of the table
         box.sizes = {0x01020304, 7};
       }),
       "00 00 00 1C 'stsz' 4*00 00 00 00 06 00 00 00 09 01 02 03 04 00 00 00 07"},
      {made<ChunkOffsetBox>([](auto& box) {
         box.offsets = {0x01020304, 5};
       }),
       "00 00 00 18 'stco' 4*00 00 00 00 02 01 02 03 04 00 00 00 05"},
      {made<ChunkLargeOffsetBox>([](auto& box) { box.offsets = {0x0102030405060708}; }),
       "00 00 00 18 'co64' 4*00 00 00 00 01 01 02 03 04 05 06 07 08"},
      {made<FreeBox>([](auto& box) { box.setSize(11); }), "00 00 00 0B 'free' 3*00"},
      {made<MediaDataBox>([](auto& box) { box.setSize(11); }), "00 00 00 0B 'mdat' '...'"},
      {made<UnknownBox>([](auto& box) {
         box.setType(QvFourCC("wide"));
         box.setSize(10);
       }),
       "00 00 00 0A 'wide' '..'"},
      {made<UnknownGuidBox>([](auto& box) { box.setSize(26); }), "00 00 00 1A 'uuid' '..................'"},
      {made<MetaBox>([](auto& box) {
         box.versionFlags = {0, 0, 0, 1};
         box.children().push_back(made<ItemListBox>([](auto& list) {
           list.children().push_back(made<ItemContainerBox<QvFourCC("\251nam")>>([](auto& item) {
             item.children().push_back(made<DataBox<1>>([](auto& data) {
               data.locale = {0, 1, 0, 2};
               data.value = vector_of("T");
             }));
           }));
           list.children().push_back(made<UnknownItemBox>([](auto& item) {
             item.setType(QvFourCC("rtng"));
             item.children().push_back(made<UnknownDataBox>([](auto& data) { data.indicator = 0x01020304; }));
           }));
         }));
       }),
       "00 00 00 45 'meta' 00 00 00 01 00 00 00 39 'ilst' 00 00 00 19 A9 'nam' 00 00 00 11 'data' 00 00 00 01 "
       "00 01 00 02 'T' 00 00 00 18 'rtng' 00 00 00 10 'data' 01 02 03 04 4*00"},
      {made<TagBox<QvFourCC("mean")>>([](auto& box) { box.text = vector_of("who"); }), "00 00 00 0F 'mean' 4*00 'who'"},
      {made<ThreeGPPAssetMetaBox<QvFourCC("albm")>>([](auto& box) {
         box.language = 0x15C7;
         box.text = {'A', 0, 3};
       }),
       "00 00 00 11 'albm' 4*00 15 C7 'A' 00 03"},
      {made<RecordingYearBox>([](auto& box) {
         box.payload = {7, 0xD6};
       }),
       "00 00 00 0E 'yrrc' 4*00 07 D6"},
      {made<ID3v23MetaDataBox>([](auto& box) {
         box.extendedType = kId3v23MetaDataType;
         box.versionFlags = {0, 0, 0, 1};
         box.language = 0x15C7;
         box.frame = vector_of("TIT2");
       }),
       "00 00 00 22 'uuid' BA 91 54 7A D2 33 47 74 AC 94 9B 6C 0F 04 59 5C 00 00 00 01 15 C7 'TIT2'"},
      {made<ElementaryStreamDescriptorBox>([](auto& box) {
         box.descriptor = std::make_unique<esds::DecoderSpecificInfo>();
         static_cast<esds::DecoderSpecificInfo&>(*box.descriptor).info = {0x12, 0x10};
       }),
       "00 00 00 10 'esds' 4*00 05 02 12 10"},
      {made<InitialObjectDescriptorBox>([](auto& box) {
         box.versionFlags = {0, 0, 0, 9};
         box.descriptor = std::make_unique<esds::InitialObjectDescriptor>();
       }),
       "00 00 00 15 'iods' 00 00 00 09 10 07 00 4F FF FF FF FF FF"},
      {made<ID3v2MetaBox>([](auto& box) {
         box.language = 0x15C7;
         box.tag = std::make_unique<id3meta::Header_2_4_0>();
         box.tag->flags = 0x20;
         for (const size_t size : {3, 200}) {
           box.tag->frames.push_back(std::make_unique<id3meta::UnknownFrame>());
           box.tag->frames.back()->id = QvFourCC("TIT2");
           box.tag->frames.back()->bytes.assign(size, 'x');
         }
       }),
       "00 00 00 F7 'ID32' 4*00 15 C7 'ID3' 04 00 20 00 00 01 5F 'TIT2' 00 00 00 03 00 00 'xxx' "
       "'TIT2' 00 00 01 48 00 00 200*78"},
      {made<UserSpecificMetaData>([](auto& box) {
         box.extendedType.Data4[7] = 3;
         box.children().push_back(new UrlBox);
       }),
       "00 00 00 24 'uuid' 15*00 03 00 00 00 0C 'url ' 4*00"},
  };
}

TEST(BoxWriter, WritesEveryFieldWhereItBelongs) {
  for (const Row& row : rows()) {
    Boxes boxes;
    boxes.push_back(row.box);
    const std::string expected = hex(row.expected);
    const Written out = written(boxes);
    EXPECT_EQ(out.bytes, expected) << row.expected;
    EXPECT_EQ(out.count, expected.size()) << row.expected;
    EXPECT_EQ(row.box->plannedSize(), expected.size()) << row.expected;
  }
}

/// All of them one behind the other, read as a file and written again with that as the source.
TEST(BoxCopy, WritesWhatWasReadByteForByte) {
  std::string file;
  for (const Row& row : rows()) {
    file += hex(row.expected);
    delete row.box;
  }
  for (const auto read : {&BoxReader::readFile, &BoxReader::readMeta, &BoxReader::readMetaForUpdate}) {
    std::istringstream in(file);
    BoxReader reader(in, file.size());
    const std::unique_ptr<Boxes> boxes((reader.*read)());
    EXPECT_EQ(boxes->tailSize, 0U);
    PrepareWrite(boxes.get()).doIt();
    sparse_stream::Stream out;
    std::istringstream source(file);
    EXPECT_EQ(BoxCopy(out.stream, source, boxes.get(), 0).doIt(), file.size());
    EXPECT_EQ(out.bytes(), file);
  }
}

/// What neither planner nor writer looks into.
bool isPassedOver(const IBox& box) {
  for (const char* type : {"MTSM", "MTHD", "MTDF", "MDST", "MTDT", "PNG "})
    if (std::memcmp(type, std::array{box.type()}.data(), 4) == 0) return true;
  return dynamic_cast<const MetaDataSampleData*>(&box) != nullptr;
}

/// Behind a first box, so that its position is not 0, and with a child where it may have one.
void expectPlannedAsWritten(IBox* box) {
  Boxes boxes;
  boxes.push_back(new UrlBox);
  boxes.push_back(box);
  box->setSize(30);
  auto* const container = dynamic_cast<IContainerBox*>(box);
  if (container != nullptr) container->children().push_back(made<FreeBox>([](auto& room) { room.setSize(9); }));
  const Written out = written(boxes);
  if (isPassedOver(*box)) {
    EXPECT_EQ(out.count, 12U + 8U);
    EXPECT_EQ(box->plannedPosition(), 0U);
    return;
  }
  EXPECT_EQ(out.count, 12 + box->plannedSize());
  EXPECT_EQ(box->plannedPosition(), 12U);
  EXPECT_EQ(out.bytes.size(), out.count);
  EXPECT_EQ(out.bytes.substr(12, 8), hex("00 00 00") + static_cast<char>(box->plannedSize()) +
                                         std::string(reinterpret_cast<const char*>(std::array{box->type()}.data()), 4));
  if (container != nullptr) {
    const IBox* const child = container->children().front();
    EXPECT_EQ(child->plannedPosition() + 9, 12 + box->plannedSize());
    EXPECT_EQ(out.bytes.substr(out.bytes.size() - 9), hex("00 00 00 09 'free' 00"));
  }
}

TEST(BoxWriter, WritesWhatIsPlannedForEveryClass){
#define QV_MP4_CLASS_ROW(Class)                                                                                        \
  {                                                                                                                    \
    SCOPED_TRACE(#Class);                                                                                              \
    expectPlannedAsWritten(new Class);                                                                                 \
  }
    QV_MP4_EVERY_CLASS
#undef QV_MP4_CLASS_ROW
}

TEST(BoxWriter, PassesOverMoreThan32Bits) {
  for (const auto& [size, header] : {std::pair{uint64_t{0xFFFFFFFF}, "FF FF FF FF 'mdat'"},
                                     {uint64_t{0x100000000}, "00 00 00 01 'mdat' 00 00 00 01 4*00"}}) {
    Boxes boxes;
    boxes.push_back(made<MediaDataBox>([&](auto& media) { media.setSize(size); }));
    boxes.push_back(new UrlBox);
    PrepareWrite plan(&boxes);
    plan.doIt();
    sparse_stream::Stream out;
    // The planned size less 8 is passed over, whatever the header's length.
    const uint64_t media = hex(header).size() + size - 8;
    EXPECT_EQ(BoxWriter(out.stream, &boxes, 0).doIt(), media + 12);
    EXPECT_EQ(out.buffer.bytes(0, 18), hex(header) + std::string(18 - hex(header).size(), '.'));
    EXPECT_EQ(out.buffer.bytes(media - 1, 13), hex("'.' 00 00 00 0C 'url ' 4*00"));
  }
}

/// A table of several blocks, with a last one that is not full.
TEST(BoxWriter, ShiftsOffsetsInTheBoxEachTimeItWrites) {
  constexpr size_t kCount = 10007;
  Boxes boxes;
  auto* const narrow = new ChunkOffsetBox;
  auto* const wide = new ChunkLargeOffsetBox;
  boxes.push_back(narrow);
  boxes.push_back(wide);
  for (size_t k = 0; k < kCount; ++k) {
    narrow->appendOffset(1000 + k * 65537);
    wide->appendOffset(1000 + k * 0x123456789);
  }
  for (const int64_t total : {-1000, -2000}) { // the second time below zero, in the width of the table
    const std::string bytes = written(boxes, -1000).bytes;
    ASSERT_EQ(bytes.size(), 16 + 4 * kCount + 16 + 8 * kCount);
    const auto number = [&](size_t at, size_t width) {
      uint64_t value = 0;
      for (size_t k = 0; k < width; ++k)
        value = value << 8 | static_cast<uint8_t>(bytes[at + k]);
      return value;
    };
    for (size_t k = 0; k < kCount; ++k) {
      ASSERT_EQ(number(16 + 4 * k, 4), static_cast<uint32_t>(1000 + k * 65537 + static_cast<uint64_t>(total)));
      ASSERT_EQ(narrow->offset(k), number(16 + 4 * k, 4));
      ASSERT_EQ(number(32 + 4 * kCount + 8 * k, 8), 1000 + k * 0x123456789 + static_cast<uint64_t>(total));
      ASSERT_EQ(wide->offset(k), number(32 + 4 * kCount + 8 * k, 8));
    }
  }
}

TEST(BoxWriter, ShowsAFailedStream) {
  Boxes boxes;
  boxes.push_back(made<FreeBox>([](auto& room) { room.setSize(uint64_t{1} << 62); }));
  std::fstream closed;
  BoxWriter writer(closed, &boxes, 0);
  writer.doIt();
  EXPECT_TRUE(writer.out().fail());
}

} // namespace
