// Every payload, from bytes put together by hand from the layouts of ISO/IEC 14496-12 and -14, 3GPP TS 26.244 and the
// item lists; and where a type is known.
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/reader/box_bytes.h"

#include <gtest/gtest.h>

using namespace fileutil_test;

namespace {

struct Case {
  std::string bytes;
  std::string expected;
};

void expectAll(const std::vector<Case>& cases, const ReadMode& mode = kFile) {
  for (const Case& row : cases)
    EXPECT_EQ(described(row.bytes, mode), row.expected) << mode.name;
}

std::string item(const std::string& type, const std::string& children) {
  return full("meta", box("ilst", box(type, children)));
}

const std::string kMatrix = "65536 0 0 0 65536 0 0 0 1073741824";

TEST(ReadPayload, Headers) {
  const std::string mvhd = counting(4, 4) + be32(5) + be16(6) + be16(7) + counting(2, 4, 8) + counting(9, 4, 10) +
                           counting(6, 4, 19) + be32(25);
  const std::string tkhd =
      counting(5, 4) + counting(2, 4, 6) + counting(4, 2, 8) + counting(9, 4, 12) + counting(2, 4, 21);
  expectAll({
      {box("ftyp", "M4A " + be32(0x200) + "isommp42"), "ftyp{M4A  00000200,isom,mp42}"},
      {box("ftyp", "M4A " + be32(0x200) + "isomm"), "ftyp{M4A  00000200,isom}"},
      {box("ftyp", "M4A "), "ftyp{M4A  00000000}"},
      {full("mvhd", mvhd), "mvhd{0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25}"},
      {full("mvhd", mvhd + "more"), "mvhd{0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25}"},
      {box("mvhd", be32(0x01000000) + "abc"),
       "mvhd{16777216 0 0 0 0 65536 256 0 0 0 " + kMatrix + " 0 0 0 0 0 0 1 616263}"},
      {full("mvhd", "abc"), "mvhd{0 0 0 0 0 65536 256 0 0 0 " + kMatrix + " 0 0 0 0 0 0 1 616263}"},
      {full("tkhd", tkhd), "tkhd{0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22}"},
      {box("tkhd", be32(0x01000007) + "ab"), "tkhd{16777223 0 0 0 0 0 0 0 0 0 0 0 " + kMatrix + " 0 0 6162}"},
      {full("mdhd", counting(4, 4) + counting(2, 2, 5)), "mdhd{0 1 2 3 4 5 6}"},
      {box("mdhd", be32(0x01000000) + "a"), "mdhd{16777216 0 0 0 0 21956 0 61}"},
      {full("hdlr", be32(1) + "soun" + be32(2) + be32(3) + be32(4) + hex("'name' 00")),
       "hdlr{0 00000001 soun 000000020000000300000004 6E616D6500}"},
      {full("hdlr", be32(1) + "soun"), "hdlr{0 00000001 soun 000000000000000000000000}"},
      {full("smhd", counting(2, 2)), "smhd{0 1 2}"},
      {full("dref", be32(2) + box("url ", be32(1)) + full("url ", "at")), "dref{0 2}(url {1} url {0 6174})"},
      {box("moov", box("trak", box("mdia") + box("edts", "xxxx"))), "moov(trak(mdia() ?edts))"},
  });
}

TEST(ReadPayload, BrandsUpToNinetyNine) {
  std::string brands;
  for (int k = 0; k < 100; ++k)
    brands += "b" + std::to_string(100 + k);
  EXPECT_EQ(described(box("ftyp", "M4A " + be32(0) + brands) + box("free")), "ftyp{M4A  00000000} free");
  const std::string text = described(box("ftyp", "M4A " + be32(0) + brands.substr(4)) + box("free"));
  EXPECT_EQ(std::count(text.begin(), text.end(), ','), 99);
}

TEST(ReadPayload, SampleTables) {
  expectAll({
      {full("stts", be32(2) + counting(4, 4)), "stts{0 1 2 3 4}"},
      {full("stts", be32(1) + counting(4, 4)), "stts{0 1 2}"},
      {full("stts", be32(0xFFFFFFFF) + counting(5, 4)), "stts{0 1 2 3 4}"},
      {full("stsc", be32(0) + counting(7, 4)), "stsc{0 1 2 3 4 5 6}"},
      {full("stsz", be32(9) + be32(3) + counting(3, 4)), "stsz{0 9 3 :1 2 3}"},
      {full("stsz", be32(9) + be32(700) + counting(2, 4) + "x"), "stsz{0 9 700 :1 2}"},
      {full("stco", be32(3) + counting(3, 4)), "stco{0 1 2 3}"},
      {full("stco", be32(2) + counting(3, 4)), "stco{0 0 0 incomplete}"},
      {full("stco", be32(4) + counting(3, 4)), "stco{0 0 0 0 incomplete}"},
      {full("stco", be32(0x40000001) + counting(1, 4)), "stco{0 0 incomplete}"},
      {full("stco", be32(2) + counting(2, 4) + "x"), "stco{0 0 0 incomplete}"},
      {full("stco", be32(0)), "stco{0}"},
      {full("stco", "ab"), "stco{0 incomplete}"},
      {box("stco"), "stco{0 incomplete}"},
      {full("co64", be32(2) + counting(2, 8, 0x123456789)), "co64{0 4886718345 4886718346}"},
      {full("co64", be32(0x20000001) + counting(1, 8)), "co64{0 0 incomplete}"},
  });
}

/// A table that the source does not have to its end is none that could be written again.
TEST(ReadPayload, CutTablesAreIncomplete) {
  const std::string bytes = full("stco", be32(3) + counting(3, 4));
  for (const auto& [length, expected] : {std::pair{28, "stco{0 1 2 3}"},
                                         {27, "stco{0 1 2 incomplete}"},
                                         {16, "stco{0 incomplete}"},
                                         {14, "stco{0 incomplete}"}}) {
    std::istringstream in(bytes.substr(0, static_cast<size_t>(length)));
    BoxReader reader(in, bytes.size());
    const std::unique_ptr<Boxes> boxes(reader.readMetaForUpdate());
    EXPECT_EQ(Describe::list(*boxes), expected);
  }
}

TEST(ReadPayload, SampleEntries) {
  const std::string fields = counting(6, 1) + be16(7) + be64(0) + counting(4, 2, 16) + be32(20);
  const std::string read = "1 2 3 4 5 6 7 0 0 0 0 0 0 0 0 16 17 18 19 20";
  const std::string child = box("esds", be32(0) + hex("05 02 12 10"));
  const auto quickTime = [&](int version) { return fields.substr(0, 8) + be16(version) + fields.substr(10); };
  expectAll({
      {full("stsd", be32(1) + box("mp4a", fields + child)), "stsd{0 1}(mp4a{" + read + "}(esds{0 5}))"},
      {full("stsd", be32(9) + box("mp4a", quickTime(1) + counting(4, 4) + child)),
       "stsd{0 9}(mp4a{1 2 3 4 5 6 7 0 1 0 0 0 0 0 0 16 17 18 19 20 00000001000000020000000300000004}(esds{0 5}))"},
      {full("stsd", be32(1) + box("mp4a", quickTime(2) + std::string(36, 'x') + child)),
       "stsd{0 1}(mp4a{1 2 3 4 5 6 7 0 2 0 0 0 0 0 0 16 17 18 19 20 " +
           std::string("787878787878787878787878787878787878787878787878787878787878787878787878") + "}(esds{0 5}))"},
      {box("stsd", be32(0x01000000) + be32(1) + box("mp4a", quickTime(1) + child)),
       "stsd{16777216 1}(mp4a{1 2 3 4 5 6 7 0 1 0 0 0 0 0 0 16 17 18 19 20}(esds{0 5}))"},
      {box("mp4a", fields.substr(0, 9)), "mp4a{1 2 3 4 5 6 7 0 0 0 0 0 0 0 0 0 0 0 0 0}()"},
      {box("PNG ", counting(6, 1) + be16(7) + "abc"), "PNG {1 2 3 4 5 6 7 616263}"},
      {full("esds", hex("03 08 0001 00 04 01 40 06 00")) + box("free"), "esds{0 3 4 6} free"},
      {full("esds", hex("03 7F 0001")) + box("free"), "esds{0 3} free"},
      {full("esds"), "esds{0 none}"},
      {full("iods", hex("10 07 00 4F FF FF FF FF FF")), "iods{0 16}"},
  });
}

TEST(ReadPayload, Metadata) {
  const std::string frame = hex("'TIT2' 00000002 0000 00 'A'");
  const std::string header = hex("'ID3' 03 00 00 0000000C");
  const auto uuid = [](const std::string& id, const std::string& payload) { return box("uuid", id + payload); };
  const std::string known = hex("BA91547A D233 4774 AC94 9B6C0F04595C");
  expectAll({
      {full("titl", be16(0x15C7) + hex("'A' 00")), "titl{0 5575 4100}"},
      {full("albm", be16(1) + hex("'B' 00 07")), "albm{0 1 420007}"},
      {full("gnre", be16(2)), "gnre{0 2}"},
      {full("dscp"), "dscp{0 0}"},
      {full("yrrc", be16(1999)), "yrrc{0 07CF}"},
      {full("ID32", be16(3) + header + frame), "ID32{0 3 tag TIT2=0041}"},
      {full("ID32", be16(3) + "ID4" + header.substr(3) + frame) + box("free"), "ID32{0 3 no tag} free"},
      {full("ID32", be16(3) + header.substr(0, 9)) + box("free"), "ID32{0 3 no tag} free"},
      {full("ID32", be16(3) + header) + box("free"), "ID32{0 3 tag} free"},
      {full("MTHD", "ab"), "MTHD{0 6162}"},
      {box("MTDF", "ab"), "MTDF{6162}"},
      {box("MTSM", full("MDST", "ab") + box("MTDT", "cd")), "MTSM(MDST{0 6162} MTDT{6364})"},
      {uuid(known, be32(5) + be16(6) + frame), "uuid{5 6 544954320000000200000041}"},
      {uuid(known.substr(0, 15) + "x", "ab") + box("free"), "?uuid{BA91547A} free"},
      {uuid(known.substr(0, 15), ""), "?uuid"},
      {box("mdat", "abc") + largeBox("mdat", "abc"), "mdat{8-11} mdat{27-30}"},
  });
}

TEST(ReadPayload, Items) {
  const auto data = [](uint32_t indicator, const std::string& rest) { return box("data", be32(indicator) + rest); };
  const std::vector<Case> cases = {
      {item("\251nam", data(1, be32(0x07000001) + "Hi")), "meta{0}(ilst(@nam(data{1 07000001 4869})))"},
      {item("\251nam", data(99, be32(0) + "Hi")), "meta{0}(ilst(@nam(?data{99 00000000 4869})))"},
      {item("\251nam", data(0, "abc")), "meta{0}(ilst(@nam(data{0 00000000 616263})))"},
      {item("\251nam", data(21, "")), "meta{0}(ilst(@nam(data{21 00000000})))"},
      {item("\251nam", box("data", "abc")), "meta{0}(ilst(@nam(?data)))"},
      {item("----", full("mean", "com") + full("name", "x") + data(1, be32(0) + "v")),
       "meta{0}(ilst(----(mean{0 636F6D} name{0 78} data{1 00000000 76})))"},
      {item("abcd", data(1, be32(0) + "v")), "meta{0}(ilst(?abcd(data{1 00000000 76})))"},
      {item("\251nam", box("moov") + full("meta") + full("titl", "abc")), "meta{0}(ilst(@nam(?moov ?meta ?titl)))"},
  };
  for (const ReadMode& mode : kModes)
    expectAll(cases, mode);
}

/// Which classes the 3GPP types, those of items and those of the boxes around them have is a matter of where they
/// stand.
TEST(ReadPlace, DecidesTheClass) {
  const std::string asset = be16(0) + "A";
  for (const ReadMode& mode : kModes) {
    for (const char* type : {"gnre", "titl", "dscp", "perf", "albm", "cprt"}) {
      const std::string known = described(item(type, box("data", be64(1))), mode);
      EXPECT_EQ(known.find("data{0 00000001}"), known.size() - 19) << known;
      EXPECT_EQ(described(box("udta", full(type, asset)), mode), "udta(" + std::string(type) + "{0 0 41})");
    }
    expectAll({{box("udta", box("\251nam", "\0\4text") + box("data", be64(1)) + full("mean") + full("name")),
                "udta(?@nam ?data ?mean ?name)"},
               {full("meta", full("hdlr", be32(0) + "mdir" + std::string(12, 0))),
                "meta{0}(hdlr{0 00000000 mdir 000000000000000000000000})"},
               {full("meta", box("ilst", box("uuid", std::string(20, 0)))), "meta{0}(ilst(?uuid(+20)))"}},
              mode);
  }
  // What follows an item list, its items and "meta" is where it was before them.
  const std::string list = box("ilst", box("gnre", box("data", be64(1)) + box("titl")) + box("titl"));
  EXPECT_EQ(described(box("udta", full("meta", list + full("titl") + full("hdlr")) + full("gnre") + box("ilst") +
                                      full("albm", asset)) +
                      box("free")),
            "udta(meta{0}(ilst(gnre(data{0 00000001} ?titl) ?titl()) titl{0 0} hdlr{0 00000000 .... "
            "000000000000000000000000}) gnre{0 0} ilst() albm{0 0 41}) free");
  const std::string hdlr = box("moov", full("hdlr", std::string(20, 0)));
  EXPECT_EQ(described(hdlr, kFile), "moov(hdlr{0 00000000 .... 000000000000000000000000})");
  EXPECT_EQ(described(hdlr, kMeta), "moov(?hdlr)");
  EXPECT_EQ(described(hdlr, kUpdate), "moov(?hdlr)");
}

TEST(ReadPlace, ModesKnowTheirTypes) {
  const std::string stbl =
      box("stbl", box("stsd") + full("stco", be32(1) + be32(7)) + full("stsz") + full("co64", be32(0)));
  const std::string bytes =
      box("ftyp", "M4A ") + box("free") +
      box("moov", full("mvhd") + box("trak", full("tkhd") + box("mdia", box("minf", stbl)) + box("udta")) +
                      box("udta", full("yrrc") + full("ID32"))) +
      box("mdat") + box("moof");
  const std::string media = std::to_string(bytes.size() - 8); // an empty "moof" is behind it
  EXPECT_EQ(described(bytes, kMeta),
            "ftyp{M4A  00000000} ?free moov(?mvhd ?trak udta(yrrc{0} ID32{0 0 no tag})) ?mdat ?moof");
  EXPECT_EQ(described(bytes, kUpdate),
            "?ftyp free moov(?mvhd trak(?tkhd mdia(minf(stbl(?stsd stco{0 7} ?stsz co64{0}))) udta()) "
            "udta(yrrc{0} ID32{0 0 no tag})) mdat{" +
                media + "-" + media + "} ?moof");
}

/// QuickTime's "meta" has no version word, and its bytes are kept.
TEST(ReadPlace, MetaWithoutAVersionIsUnknown) {
  const std::string hdlr = full("hdlr", std::string(20, 0));
  for (const ReadMode& mode : kModes)
    expectAll({{box("moov", box("meta", hdlr) + box("udta")), "moov(?meta udta())"},
               {full("meta", box("free")),
                std::string_view(mode.name) == std::string_view(kMeta.name) ? "meta{0}(?free)" : "meta{0}(free)"},
               {box("meta", be32(0x00000010) + box("ilst")), "meta{16}(ilst())"},
               {box("meta", be32(9) + "text" + "x"), "?meta"},
               {box("meta", be32(10) + "text" + "x"), "meta{10}(+5)"},
               {box("meta", "abcd"), "meta{1633837924}()"},
               {box("meta", "abc"), "meta{0}(+3)"},
               {box("meta"), "meta{0}()"}},
              mode);
}

} // namespace
