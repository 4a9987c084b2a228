#include "tests/fileutil/bytes.h"
#include "tests/fileutil/made_box.h"

#include "qv/mp4/box_printer.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace fileutil;
using namespace fileutil_test;

namespace {

/// Everything on one line: "type(name=value ...){children}".
class Recorder : public IBoxReport {
public:
  void beginBox(const IBox& box) override { out << boxTypeText(box.type()) << "("; }
  void field(const char* name, const BoxValue& value) override {
    out << name << "=";
    std::visit([this](const auto& each) { print(each); }, value);
    out << " ";
  }
  void beginPart(const char* group, const std::string& name) override { out << group << ":" << name << "("; }
  void endPart() override { out << ")"; }
  void endBox() override { out << ")"; }

  std::ostringstream out;

private:
  void print(const auto& value) { out << value; }
  void print(const std::string& text) { out << "'" << text << "'"; }
  void print(const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
      out << text << ",";
  }
  void print(std::span<const uint8_t> bytes) { out << "<" << std::string(bytes.begin(), bytes.end()) << ">"; }
  void print(const BoxTable& table) {
    for (size_t row = 0; row < table.rows; ++row)
      for (size_t column = 0; column < table.columns.size(); ++column)
        out << table.columns[column] << ":" << table.at(row, column) << ",";
  }
};

std::string told(Boxes& boxes, unsigned levels = BoxPrinter::kEveryLevel) {
  Recorder recorder;
  BoxPrinter(&boxes, recorder, levels).doIt();
  return recorder.out.str();
}

template <uint32_t kIndicator>
IBox* value(const char* bytes) {
  return made<DataBox<kIndicator>>([=](auto& box) {
    box.locale = {0, 0, 1, 2};
    box.value = vector_of(hex(bytes));
  });
}

const std::string kMatrix = "matrix=:65536,:0,:0,:0,:65536,:0,:0,:0,:1073741824, ";
const std::string kTimes = "00 00 00 01 00 00 00 02 00 00 00 01 00 00 00 03 ";

struct Row {
  IBox* box;
  std::string expected;
};

std::vector<Row> rows() {
  return {
      {made<FileTypeBox>([](auto& box) {
         box.majorBrand = QvFourCC("M4A ");
         box.minorVersion = {0, 0, 2, 1};
         box.compatibleBrands = {QvFourCC("isom"), QvFourCC("\251\\\1\177"), QvFourCC("~  \377")};
       }),
       "ftyp(major_brand='M4A ' minor_version=513 compatible_brands=isom,©\\x5C\\x01\\x7F,~  \\xFF, )"},
      {made<MovieHeaderBox>([](auto& box) {
         box.versionFlags = {0, 1, 2, 3};
         box.creationTime = 1;
         box.modificationTime = 2;
         box.timescale = 600;
         box.duration = 5;
         box.rate = 0x18000;
         box.volume = 0x80;
         box.nextTrackId = 7;
       }),
       "mvhd(version=0 flags=66051 creation_time=1 modification_time=2 timescale=600 duration=5 rate=1.5 volume=0.5 " +
           kMatrix + "next_track_id=7 )"},
      {made<MovieHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 0};
         box.payload = vector_of(hex(kTimes + "00 00 02 58 00 00 00 05 00 00 00 06 80*00"));
       }),
       "mvhd(version=1 flags=0 creation_time=4294967298 modification_time=4294967299 timescale=600 "
       "duration=21474836486 )"},
      {made<MovieHeaderBox>([](auto& box) {
         box.versionFlags = {2, 0, 0, 0};
         box.payload = vector_of("new");
       }),
       "mvhd(version=2 flags=0 payload=<new> )"},
      {made<MovieHeaderBox>([](auto& box) { box.payload = vector_of("too short"); }),
       "mvhd(version=0 flags=0 payload=<too short> )"},
      {made<TrackHeaderBox>([](auto& box) {
         box.creationTime = 1;
         box.modificationTime = 2;
         box.trackId = 3;
         box.duration = 4;
         box.layer = 0xFFFE;
         box.alternateGroup = 6;
         box.volume = 0x100;
         box.width = 320 << 16;
         box.height = 240 << 16;
       }),
       "tkhd(version=0 flags=0 creation_time=1 modification_time=2 track_id=3 duration=4 layer=-2 alternate_group=6 "
       "volume=1 " +
           kMatrix + "width=320 height=240 )"},
      {made<TrackHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 7};
         box.payload = vector_of(hex(kTimes + "00 00 00 09 00 00 00 00 00 00 00 05 00 00 00 06"));
       }),
       "tkhd(version=1 flags=7 creation_time=4294967298 modification_time=4294967299 track_id=9 duration=21474836486 "
       ")"},
      {made<MediaHeaderBox>([](auto& box) {
         box.creationTime = 1;
         box.modificationTime = 2;
         box.timescale = 44100;
         box.duration = 4;
         box.language = 0x15C7;
       }),
       "mdhd(version=0 flags=0 creation_time=1 modification_time=2 timescale=44100 duration=4 language='eng' )"},
      {made<MediaHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 0};
         box.payload = vector_of(hex(kTimes + "00 00 02 58 00 00 00 05 00 00 00 06 00 01")); // QuickTime's French
       }),
       "mdhd(version=1 flags=0 creation_time=4294967298 modification_time=4294967299 timescale=600 "
       "duration=21474836486 language='1' )"},
      {made<MediaHeaderBox>([](auto& box) {
         box.versionFlags = {1, 0, 0, 0};
         box.payload = vector_of(hex("19*01")); // cut
       }),
       "mdhd(version=1 flags=0 creation_time=72340172838076673 modification_time=72340172838076673 timescale=0 "
       "duration=0 language='0' )"},
      {made<MediaHandlerReferenceBox>([](auto& box) {
         box.handlerType = QvFourCC("soun");
         box.name = vector_of(hex("'Sound' 00"));
       }),
       "hdlr(version=0 flags=0 handler_type='soun' name='Sound' )"},
      {made<MediaHandlerReferenceBox>([](auto& box) { box.name = vector_of(hex("05 'Apple'")); }),
       "hdlr(version=0 flags=0 handler_type='\\x00\\x00\\x00\\x00' name='Apple' )"},
      {made<SoundMediaInfoHeaderBox>([](auto& box) { box.balance = 0xFF80; }), "smhd(version=0 flags=0 balance=-0.5 )"},
      {made<DataReferenceBox>([](auto& box) {
         box.entryCount = 2;
         box.children().push_back(made<UrlBox>([](auto& url) { url.location = vector_of("a"); }));
       }),
       "dref(version=0 flags=0 entry_count=2 url (version=0 flags=0 location='a' ))"},
      {made<SampleDescriptionBox>([](auto& box) {
         box.entryCount = 2;
         box.children().push_back(made<Mpeg4AudioSampleEntry>([](auto& entry) {
           entry.sampleRate = 44100U << 16;
           entry.children().push_back(new ElementaryStreamDescriptorBox);
         }));
         box.children().push_back(made<PNGSampleEntryBox>([](auto& entry) {
           entry.dataReferenceIndex = 2;
           entry.payload = vector_of("x");
         }));
       }),
       "stsd(version=0 flags=0 entry_count=2 mp4a(data_reference_index=1 channel_count=2 sample_size=16 "
       "sample_rate=44100 esds(version=0 flags=0 ))PNG (data_reference_index=2 payload=<x> ))"},
      {made<InitialObjectDescriptorBox>([](auto& box) {
         box.descriptor = std::make_unique<esds::UnknownDescriptor>(0x55);
         box.descriptor->setSize(2);
         box.descriptor->children().push_back(std::make_unique<esds::DecoderSpecificInfo>());
         static_cast<esds::DecoderSpecificInfo&>(*box.descriptor->children().front()).info = vector_of("i");
       }),
       "iods(version=0 flags=0 descriptors:descriptor(tag=85 size=2 descriptors:DecoderSpecificInfo(tag=5 size=0 "
       "info=<i> )))"},
      {made<TimeToSampleBox>([](auto& box) {
         box.entries = {{1, 2}, {3, 4}};
       }),
       "stts(version=0 flags=0 entries=sample_count:1,sample_delta:2,sample_count:3,sample_delta:4, )"},
      {made<SampleToChunkBox>([](auto& box) {
         box.entries = {{1, 2, 3}};
       }),
       "stsc(version=0 flags=0 entries=first_chunk:1,samples_per_chunk:2,sample_description_index:3, )"},
      {made<SampleSizeBox>([](auto& box) {
         box.commonSize = 6;
         box.sampleCount = 9;
         box.sizes = {1, 2};
       }),
       "stsz(version=0 flags=0 sample_size=6 sample_count=9 sizes=:1,:2, )"},
      {made<ChunkOffsetBox>([](auto& box) {
         box.offsets = {1, 2};
       }),
       "stco(version=0 flags=0 offsets=:1,:2, )"},
      {made<ChunkLargeOffsetBox>([](auto& box) { box.offsets = {1ULL << 40}; }),
       "co64(version=0 flags=0 offsets=:1099511627776, )"},
      {made<MetaBox>([](auto& box) { box.children().push_back(new ItemListBox); }), "meta(version=0 flags=0 ilst())"},
      {value<1>("'T' C3 A4"), "data(type_indicator=1 locale=258 value='Tä' )"},
      {value<2>("00 54 00 E4 D8 34 DD 1E"), "data(type_indicator=2 locale=258 value='Tä\U0001D11E' )"},
      {value<21>("FE"), "data(type_indicator=21 locale=258 value=-2 )"},
      {value<21>("01 FF FE"), "data(type_indicator=21 locale=258 value=131070 )"},
      {value<21>("FF FE"), "data(type_indicator=21 locale=258 value=-2 )"},
      {value<22>("FE FF"), "data(type_indicator=22 locale=258 value=65279 )"},
      {value<22>("8*FE"), "data(type_indicator=22 locale=258 value=18374403900871474942 )"},
      {value<22>("9*41"), "data(type_indicator=22 locale=258 value=<AAAAAAAAA> )"},
      {value<21>(""), "data(type_indicator=21 locale=258 value=<> )"},
      {value<13>("'JFIF'"), "data(type_indicator=13 locale=258 value=<JFIF> )"},
      {made<TagBox<QvFourCC("mean")>>([](auto& box) { box.text = vector_of("who"); }),
       "mean(version=0 flags=0 text='who' )"},
      {made<ThreeGPPAssetMetaBox<QvFourCC("titl")>>([](auto& box) { box.text = vector_of(hex("'A' 00 'B'")); }),
       "titl(version=0 flags=0 language='und' text='A' )"},
      {made<ThreeGPPAssetMetaBox<QvFourCC("albm")>>(
           [](auto& box) { box.text = vector_of(hex("FE FF 00 E4 00 62 00 00 03")); }),
       "albm(version=0 flags=0 language='und' text='äb' )"},
      {made<ThreeGPPAssetMetaBox<QvFourCC("perf")>>([](auto& box) { box.text = vector_of(hex("FF FE E4 00 62 00")); }),
       "perf(version=0 flags=0 language='und' text='äb' )"},
      {made<ThreeGPPAssetMetaBox<QvFourCC("dscp")>>([](auto& box) { box.language = 0x043B; }), // 1, 1, 27
       "dscp(version=0 flags=0 language='1083' text='' )"},
      {made<RecordingYearBox>([](auto& box) {
         box.payload = {7, 0xD6};
       }),
       "yrrc(version=0 flags=0 year=2006 )"},
      {made<RecordingYearBox>([](auto& box) { box.payload = {'x'}; }), "yrrc(version=0 flags=0 payload=<x> )"},
      {made<ID3v2MetaBox>([](auto& box) {
         box.tag = std::make_unique<id3meta::Header_2_4_0>();
         box.tag->flags = 0x20;
         box.tag->size = 12;
         box.tag->frames.push_back(std::make_unique<id3meta::UnknownFrame>());
         box.tag->frames.back()->id = QvFourCC("TIT2");
         box.tag->frames.back()->flags = 3;
         box.tag->frames.back()->bytes = vector_of("xy");
       }),
       "ID32(version=0 flags=0 language='und' tag_version='2.4.0' tag_flags=32 tag_size=12 frames:TIT2(flags=3 "
       "value=<xy> ))"},
      {made<ID3v23MetaDataBox>([](auto& box) {
         box.extendedType = kId3v23MetaDataType;
         box.language = 0x15C7;
         box.frame = vector_of("TIT2");
       }),
       "uuid(extended_type='BA91547A-D233-4774-AC94-9B6C0F04595C' version=0 flags=0 language='eng' frame=<TIT2> )"},
      {made<UserSpecificMetaData>([](auto& box) { box.children().push_back(new FreeBox); }),
       "uuid(extended_type='00000000-0000-0000-0000-000000000000' free())"},
      {made<MetaTypeDefinitionBox>([](auto& box) { box.payload = vector_of("raw"); }), "MTDF(payload=<raw> )"},
      {made<MetaDataSampleTableBox>([](auto& box) { box.payload = vector_of("raw"); }),
       "MDST(version=0 flags=0 payload=<raw> )"},
  };
}

TEST(BoxPrinter, TellsWhatEachBoxHolds) {
  for (const Row& row : rows()) {
    Boxes boxes;
    boxes.push_back(row.box);
    EXPECT_EQ(told(boxes), row.expected);
  }
}

TEST(BoxPrinter, TellsOfAsManyLevelsAsAskedFor) {
  Boxes boxes;
  boxes.push_back(made<MovieBox>([](auto& movie) {
    movie.children().push_back(made<TrackBox>([](auto& track) { track.children().push_back(new MediaBox); }));
    movie.children().push_back(new UserDataBox);
  }));
  boxes.push_back(made<UserDataBox>([](auto& data) { data.children().push_back(new FreeBox); }));
  EXPECT_EQ(told(boxes, 1), "moov()udta()");
  EXPECT_EQ(told(boxes, 2), "moov(trak()udta())udta(free())");
  EXPECT_EQ(told(boxes), "moov(trak(mdia())udta())udta(free())");
}

} // namespace
