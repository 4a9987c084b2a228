// qv boxes: what it shows of a file, warns of and writes.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/fileutil/bytes.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace cli_test::mp4;
using fileutil_test::hex;
using Json = nlohmann::json;

namespace {

std::string data(int type, const std::string& value) { return box("data", u32(type & 0xFF) + u32(0) + value); }

const std::string kFileType = box("ftyp", "M4A " + u32(0x200) + "isom");
const std::string kPicture = "\xFF\xD8 a picture " + std::string(300, 'p');
const std::string kTable = box(
    "stco", u32(0) + u32(10) + [] {
      std::string offsets;
      for (unsigned k = 0; k < 10; ++k)
        offsets += u32(1000 + k);
      return offsets;
    }());
const std::string kTracks = box("trak", box("tkhd", u32(7) + hex("80*00"))) + box("trak", box("free", "second"));
const std::string kItems = box("ilst", box("\xA9nam", data(1, "T\xC3\xA4st\x1B[31m")) +
                                           box("covr", data(13, kPicture)) + box("rtng", data(21, "\xFF")));
const std::string kMovie = box("moov", kTracks + kTable + box("udta", box("meta", u32(0) + kItems)));
const std::string kMedia = u32(1) + "mdat" + u64(16 + 6) + "sounds"; // in the 64-bit form
const std::string kFile = kFileType + kMovie + kMedia;

const Json& child(const Json& boxes, const std::string& type) {
  for (const Json& each : boxes)
    if (each["type"] == type) return each;
  throw std::runtime_error("there is no " + type);
}

TEST(Boxes, JsonHoldsTheTree) {
  const ScratchFolder folder;
  const Json all = qv_json({"boxes", folder.put("a.m4a", kFile)});
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0],
            Json({{"type", "ftyp"},
                  {"position", 0},
                  {"size", 20},
                  {"header_size", 8},
                  {"fields", {{"major_brand", "M4A "}, {"minor_version", 512}, {"compatible_brands", {"isom"}}}},
                  {"children", Json::array()}}));
  EXPECT_EQ(all[2], Json({{"type", "mdat"},
                          {"position", 20 + kMovie.size()},
                          {"size", 22},
                          {"header_size", 16},
                          {"fields", Json::object()},
                          {"children", Json::array()}}));
  const Json& movie = all[1]["children"];
  EXPECT_EQ(movie[0]["children"][0]["fields"]["flags"], 7);
  EXPECT_EQ(movie[1]["children"][0]["type"], "free");
  EXPECT_EQ(movie[1]["children"][0]["size"], 14);
  EXPECT_EQ(child(movie, "stco")["fields"]["offsets"],
            Json({1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007, 1008, 1009}));
  const Json& items = child(child(child(movie, "udta")["children"], "meta")["children"], "ilst")["children"];
  EXPECT_EQ(items[0]["type"], "\xC2\xA9nam");
  EXPECT_EQ(items[0]["children"][0]["fields"]["value"], "T\xC3\xA4st\x1B[31m");
  EXPECT_EQ(items[2]["children"][0]["fields"]["value"], -1);
  const Json& picture = items[1]["children"][0]["fields"];
  EXPECT_EQ(picture["type_indicator"], 13);
  EXPECT_EQ(picture["value"]["length"], kPicture.size());
  EXPECT_EQ(picture["value"]["hex"].get<std::string>().size(), 2 * 256U);
  EXPECT_EQ(picture["value"]["hex"].get<std::string>().substr(0, 8), "ffd82061");
}

TEST(Boxes, JsonHoldsDescriptorsAndTablesOfSeveralColumns) {
  const std::string descriptor =
      hex("03 1A 00 01 05 04 11 40 15 00 01 02 00 00 00 03 00 00 00 04 05 02 12 10 06 01 02 2*00");
  const std::string stream = box("esds", u32(0) + descriptor);
  const std::string times = box("stts", u32(0) + u32(2) + u32(1) + u32(2) + u32(3) + u32(4));
  const ScratchFolder folder;
  const Json all = qv_json({"boxes", folder.put("a.m4a", box("moov", stream + times))});
  const Json& fields = all[0]["children"][0]["fields"];
  const Json& outer = fields["descriptors"][0];
  EXPECT_EQ(outer["name"], "ES_Descriptor");
  EXPECT_EQ(outer["streamPriority"], 5);
  EXPECT_EQ(outer["descriptors"][0]["descriptors"][0]["info"], Json({{"length", 2}, {"hex", "1210"}}));
  EXPECT_EQ(outer["descriptors"][1],
            Json({{"name", "SLConfigDescriptor"}, {"tag", 6}, {"size", 1}, {"predefined", 2}}));
  EXPECT_EQ(all[0]["children"][1]["fields"]["entries"],
            Json::parse(R"([{"sample_count": 1, "sample_delta": 2}, {"sample_count": 3, "sample_delta": 4}])"));
}

TEST(Boxes, TextHasALineForEachBox) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", kFile);
  const std::string text = qv_says({"boxes", name});
  const char* const lines[] = {
      "    position          size head  box\n",
      "           0            20    8  ftyp                    major_brand=\"M4A \" minor_version=512 "
      "compatible_brands=[\"isom\"]\n",
      "          20           610    8  moov\n",
      "          28           100    8    trak\n",
      "          36            92    8      tkhd                flags=7 track_id=0 ",
      "         150            56    8    stco                  offsets=[10: 1000 1001 1002 1003 1004 1005 1006 1007 "
      "1008 "
      "...]\n",
      "         234            34    8          \xC2\xA9nam\n",
      "         242            26    8            data          type_indicator=1 value=\"T\xC3\xA4st.[31m\"\n",
      " type_indicator=13 value=[313 bytes: FF D8 20 61 20 70 69 63 74 75 72 65 ...]\n",
      "         630            22   16  mdat\n"};
  for (const char* line : lines)
    EXPECT_NE(text.find(line), std::string::npos) << text << "does not hold " << line;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 17);
  const std::string letters(59, 'a');
  for (const auto& [value, shown] : {std::pair{letters + "b", letters + "b"},
                                     {letters + "bc", letters + "b..."},
                                     {letters + "\xC3\xA4", letters + "..."}}) // "ä" would be cut
    EXPECT_NE(qv_says({"boxes", folder.put("b.m4a", box("ilst", box("\xA9nam", data(1, value))))})
                  .find(" value=\"" + shown + "\"\n"),
              std::string::npos);
  const std::string two = qv_says({"boxes", name, "--depth", "2"});
  EXPECT_EQ(std::count(two.begin(), two.end(), '\n'), 1 + 3 + 4);
}

TEST(Boxes, ExtractsPayloads) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", kFile);
  const std::string out = folder.file("out");
  const std::string items = "moov/udta/meta/ilst/";
  const struct {
    Arguments words;
    std::string expected;
  } rows[] = {
      {{"mdat"}, "sounds"},
      {{"moov/trak"}, box("tkhd", u32(7) + hex("80*00"))},
      {{"moov/trak[2]/free[1]"}, "second"},
      {{items + "\xC2\xA9nam/data"}, u32(1) + u32(0) + "T\xC3\xA4st\x1B[31m"},
      {{items + "\xA9nam/data", "--value"}, "T\xC3\xA4st\x1B[31m"},
      {{items + "\\xA9nam/data", "--value"}, "T\xC3\xA4st\x1B[31m"},
      {{items + "covr/data", "--value"}, kPicture},
      {{"moov/udta/meta"}, u32(0) + kItems},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(qv_says({"boxes", name, "-o", out, "--extract"}, row.words), "");
    EXPECT_EQ(read_file(out), row.expected) << row.words[0];
  }
  EXPECT_EQ(read_file(name), kFile);
  qv_says({"boxes", folder.put("b.m4a", kFileType + box("ab  ", "spaces")), "-o", out, "--extract", "ab"});
  EXPECT_EQ(read_file(out), "spaces");
}

TEST(Boxes, RefusesWhatIsNotThere) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", kFile);
  const std::string out = folder.file("out");
  const struct {
    const char* path;
    int exit_code;
    std::string subject;
    const char* reason;
  } rows[] = {
      {"moov/trak[3]", 1, name, "moov/trak[3]: there are only 2 \"trak\" in moov"},
      {"moov/stco[2]", 1, name, "there is only one \"stco\" in moov"},
      {"moof", 1, name, "moof: there is no \"moof\""},
      {"mdat/free", 1, name, "there is no \"free\" in mdat"},
      {"moov/trak[2]/mdia/minf", 1, name, "there is no \"mdia\" in moov/trak[2]"},
      {"moov//trak", 2, "--extract", "one to four characters"},
      {"/moov", 2, "--extract", "one to four characters"},
      {"movie", 2, "--extract", "one to four characters"},
      {"moov/trak[0]", 2, "--extract", "counted from [1]"},
      {"moov/trak[x]", 2, "--extract", "counted from [1]"},
      {"moov/trak[1", 2, "--extract", "counted from [1]"},
      {"moov/trak[1]x", 2, "--extract", "a slash"},
      {"\\xA", 2, "--extract", "two hexadecimal digits"},
      {"\\xZ1am", 2, "--extract", "two hexadecimal digits"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    expect_refused(run_qv({"boxes", name, "-o", out, "--extract", row.path}), row.exit_code, row.subject, row.reason);
  }
  expect_refused(run_qv({"boxes", name, "-o", out, "--extract", "mdat", "--value"}), 1, name, "only a \"data\" box");
  const std::string cut = folder.put("cut.m4a", box("ilst", box("covr", box("data", u32(13)))));
  expect_refused(run_qv({"boxes", cut, "-o", out, "--extract", "ilst/covr/data", "--value"}), 1, cut, "has a value");
  expect_refused(run_qv({"boxes", name, "-o", name, "--extract", "mdat"}), 1, name, "is the input file itself");
  for (const Arguments& words : {Arguments{"-o", out},
                                 {"--extract", "mdat"},
                                 {"--value"},
                                 {"--depth", "0"},
                                 {"-o", out, "--extract", "mdat", "--json"}})
    EXPECT_EQ(run_qv({"boxes", name}, words).exit_code, 2);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.m4a", "cut.m4a"}));
}

TEST(Boxes, RefusesFilesOfOtherKinds) {
  const ScratchFolder folder;
  for (const std::string& bytes :
       {std::string(), std::string("\0\0\0\x08moo", 7), std::string("Dear Sirs, a text."),
        "RIFF" + hex("24 00 00 00") + "WAVEfmt ", hex("00 00 00 10 01 02 03 04 8*00"), std::string(100, '\0')})
    expect_refused(run_qv({"boxes", folder.put("x", bytes)}), 1, folder.file("x"), "is no MP4 file");
  expect_refused(run_qv({"boxes", folder.file("none")}), 1, folder.file("none"), "no such file");
  qv_says({"boxes", folder.put("y", box("pict", "a type of one's own"))});
}

TEST(Boxes, WarnsOfDamage) {
  const std::string wrong = box("stco", u32(0) + u32(9) + u32(1));
  const struct {
    std::string bytes;
    const char* warning;
  } rows[] = {
      {kFileType + u32(100) + "mdat" + "cut", "\"mdat\" at 20 claims 100 bytes, of which 11 are there"},
      {kFile + "tail", "4 bytes behind the last box belong to none"},
      {kFileType + box("moov", box("free", "") + u32(3) + "free!"), "9 bytes at the end of \"moov\" at 20 are no box"},
      {kFileType + box("udta", u32(0) + "more"), "8 bytes at the end of \"udta\" at 20 are no box"},
      {kFileType + box("moov", wrong), "\"stco\" at 28 has another length than its count of offsets says"},
  };
  const ScratchFolder folder;
  for (const auto& row : rows) {
    const Outcome outcome = run_qv({"boxes", folder.put("a.m4a", row.bytes), "--json"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.error, "qv: " + folder.file("a.m4a") + ": warning: " + row.warning + "\n");
    EXPECT_EQ(Json::parse(outcome.out)[0]["type"], "ftyp");
  }
  qv_says({"boxes", folder.put("old.mov", kFileType + box("udta", box("free", "") + u32(0)))}); // as it used to be
  std::string many = kFileType;
  for (int k = 0; k < 30; ++k)
    many += box("moov", u32(99) + "trak");
  const std::string error = run_qv({"boxes", folder.put("many.m4a", many)}).error;
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 11);
  EXPECT_NE(error.find("warning: there are 20 more"), std::string::npos) << error;
}

} // namespace
