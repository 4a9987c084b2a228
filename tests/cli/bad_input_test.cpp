// Files that the program must refuse or take with a warning: one line, the right exit code, nothing left behind.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tests/riff/wave64_bytes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace cli_test;
using riff_test::chunk64;
using riff_test::guid;
using riff_test::header64;
using riff_test::wave64;

namespace {

const Bytes kFormat = chunk("fmt ", format_bytes({}));
const Bytes kData = chunk("data", shorts({1, 2, 3, 4}));
const Bytes kGood = wave({}, shorts({1, 2, 3, 4}));

/// Exactly one line, which names the file.
void expect_one_line(const Outcome& outcome, const std::string& file, const std::string& reason) {
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
  EXPECT_EQ(outcome.error.rfind("qv: " + file + ": ", 0), 0u) << outcome.error;
  EXPECT_NE(outcome.error.find(reason), std::string::npos) << outcome.error << " does not say: " << reason;
}

struct BadFile {
  const char* name;
  Bytes bytes;
  const char* reason;
  bool info_works = false; ///< only its samples cannot be used
};

const BadFile kBadFiles[] = {
    {"empty", "", "empty"},
    {"four bytes", "RIFF", "ends inside its header"},
    {"header cut", kGood.substr(0, 11), "ends inside its header"},
    {"other file", Bytes(100, 'x'), "does not start with \"RIFF\""},
    {"big-endian RIFF", header("RIFX", 36) + "WAVE", "does not start with \"RIFF\""},
    {"other form", riff("AVI ", kFormat + kData), "\"AVI \""},
    {"no chunks", riff("WAVE", ""), "no \"fmt \" chunk"},
    {"no format", riff("WAVE", kData), "no \"fmt \" chunk"},
    {"no data", riff("WAVE", kFormat), "no \"data\" chunk"},
    {"cut in the format", riff("WAVE", kFormat + kData).substr(0, 30), "\"fmt \" runs past the end"},
    {"format of 15 bytes", riff("WAVE", chunk("fmt ", Bytes(15, '\1')) + kData), "only 15 bytes"},
    {"format of 0 bytes", riff("WAVE", chunk("fmt ", "") + kData), "only 0 bytes"},
    {"chunk past the end", riff("WAVE", kFormat + header("LIST", 5000) + "INFO" + kData), "\"LIST\" runs past the end"},
    {"chunk of 2^32 - 1 bytes", riff("WAVE", header("junk", 0xFFFFFFFF) + kFormat), "\"junk\" runs past the end"},
    {"no channels", wave({1, 0, 48000, 16}, ""), "no channels"},
    {"no rate", wave({1, 1, 0, 16}, shorts({1})), "sample rate of 0"},
    {"no block align", wave({1, 1, 48000, 4}, "ab"), "block align of 0"},
    {"compressed", wave({0x55, 2, 44100, 16}, "abcd"), "compressed", true},
    {"unknown bits", wave({1, 1, 48000, 40}, "abcdefghij"), "compressed or unknown", true},
    {"private tag without samples", wave({0xFE03, 1, 48000, 16}, "abcd"), "compressed or unknown", true},
    {"extensible in 18 bytes", riff("WAVE", chunk("fmt ", format_bytes({0xFFFE, 1, 48000, 16}) + u16(22)) + kData),
     "compressed or unknown", true},
    {"block align of other samples",
     riff("WAVE", chunk("fmt ", format_bytes({1, 2, 48000, 16}).replace(12, 2, u16(8))) + kData), "block align of 8",
     true},
    {"Wave64 header cut", wave64("").substr(0, 39), "ends inside its header"},
    {"Wave64 with another first GUID", "riff" + Bytes(60, 'x'), "no Wave64 file"},
    {"Wave64 of another form", header64("riff", 40) + guid("data"), "another form than wave"},
    {"Wave64 without chunks", wave64(""), "no \"fmt \" chunk"},
    {"Wave64 without data", wave64(chunk64("fmt ", Bytes(16, '\1'))), "no \"data\" chunk"},
    {"Wave64 chunk past the end", wave64(header64("junk", ~0ull >> 1) + chunk64("fmt ", "")), "runs past the end"},
    {"IFF of another form",
     Bytes("FORM\0\0\0\x04"
           "8SVX",
           12),
     "no AIFF"},
    {"AIFF-C without a compression type",
     Bytes("FORM\0\0\0\x04"
           "AIFC",
           12),
     "compression type"},
    {"AIFF without chunks",
     Bytes("FORM\0\0\0\x04"
           "AIFF",
           12),
     "no \"COMM\""},
};

TEST(BadInput, EveryCommandSaysWhyInOneLine) {
  for (const BadFile& row : kBadFiles) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.bytes);
    const std::string out = folder.file("out.wav");
    const Outcome info = run_qv({"info", in, "--json"});
    EXPECT_EQ(info.exit_code, row.info_works ? 0 : 1);
    EXPECT_EQ(info.out.empty(), !row.info_works);
    if (!row.info_works) expect_one_line(info, in, row.reason);
    for (const std::vector<std::string>& command : {std::vector<std::string>{"stats", in}, {"convert", in, out}}) {
      const Outcome outcome = run_qv(command);
      EXPECT_EQ(outcome.exit_code, 1);
      EXPECT_EQ(outcome.out, "");
      expect_one_line(outcome, in, row.reason);
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.wav"});
    EXPECT_EQ(read_file(in), row.bytes);
  }
}

TEST(BadInput, WhatIsNoFile) {
  const ScratchFolder folder;
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const struct {
    std::string name;
    const char* reason;
  } cases[] = {{folder.file("missing.wav"), "no such file"},
               {folder.path().string(), "is a folder"},
               {pipe, "not a regular file"},
               {"/dev/zero", "not a regular file"},
               {folder.file("\xFF\xFE.wav"), "not UTF-8"}};
  for (const auto& row : cases) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"info", row.name}, {"stats", row.name}, {"convert", row.name, folder.file("out")}}) {
      const Outcome outcome = run_qv(command);
      EXPECT_EQ(outcome.exit_code, 1);
      expect_one_line(outcome, row.name, row.reason);
    }
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"pipe"});
}

TEST(BadInput, CutDataIsReadToItsEndWithAWarning) {
  const Bytes samples = shorts({100, -200, 300, -400});
  const struct {
    const char* name;
    Bytes bytes;
  } cases[] = {
      {"cut", header("RIFF", 4 + 24 + 8 + 1000) + "WAVE" + kFormat + header("data", 1000) + samples},
      {"cut inside a frame",
       header("RIFF", 4 + 24 + 8 + 1000) + "WAVE" + kFormat + header("data", 1000) + samples + "x"},
      {"streamed", header("RIFF", 0xFFFFFFFF) + "WAVE" + kFormat + header("data", 0xFFFFFFFF) + samples},
      {"never finished", header("RIFF", 0) + "WAVE" + kFormat + header("data", 0) + samples},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.bytes);
    const std::string out = folder.file("out.wav");
    const Outcome info = run_qv({"info", in, "--json"});
    EXPECT_EQ(info.exit_code, 0);
    EXPECT_NE(info.out.find("\"frames\": 4,"), std::string::npos) << info.out;
    expect_one_line(info, in, "warning: ");
    const Outcome converted = run_qv({"convert", in, out});
    EXPECT_EQ(converted.exit_code, 0);
    expect_one_line(converted, in, "warning: ");
    EXPECT_EQ(read_file(out), wave({}, samples));
  }
}

TEST(BadInput, AnAiffFormLongerThanTheFileEndsWhereTheFileDoes) {
  const Bytes common = Bytes("COMM\0\0\0\x12\0\1\0\0\0\2\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0", 26);
  const Bytes sound = Bytes("SSND\0\0\0\x0C\0\0\0\0\0\0\0\0", 16) + "1234";
  const ScratchFolder folder;
  const std::string in = folder.put("in.aiff", Bytes("FORM\0\0\x10\0AIFF", 12) + common + sound);
  const Outcome info = run_qv({"info", in, "--json"});
  EXPECT_EQ(info.exit_code, 0) << info.error;
  EXPECT_NE(info.out.find("\"frames\": 2,"), std::string::npos) << info.out;
  EXPECT_EQ(info.error, "");
}

TEST(BadInput, ASmallFileCutAfterEachByte) {
  const ScratchFolder folder;
  const std::string in = folder.file("in.wav");
  const std::string out = folder.file("out.wav");
  for (size_t length = 0; length <= kGood.size(); ++length) {
    SCOPED_TRACE(length);
    write_file(in, kGood.substr(0, length));
    const Outcome outcome = run_qv({"convert", in, out});
    const bool has_data = length >= 44;
    EXPECT_EQ(outcome.exit_code, has_data ? 0 : 1);
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), length == kGood.size() ? 0 : 1);
    EXPECT_EQ(folder.names().size(), has_data ? 2u : 1u);
  }
}

TEST(BadInput, WhatPassesTheRiffLimitIsRefusedBeforeItStarts) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", header("RIFF", 0) + "WAVE" + kFormat + header("data", 0));
  std::filesystem::resize_file(in, 1'300'000'000); // sparse; four times that as doubles
  const std::string out = folder.file("out.wav");
  const Outcome outcome = run_qv({"convert", in, out, "--type", "float64"});
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_NE(outcome.error.find("RIFF limit"), std::string::npos) << outcome.error;
  EXPECT_NE(outcome.error.find(".w64"), std::string::npos) << outcome.error;
  EXPECT_EQ(folder.names(), std::vector<std::string>{"in.wav"});
}

TEST(BadInput, OddSizedLastChunkNeedsNoPadByte) {
  const ScratchFolder folder;
  const std::string in =
      folder.put("in.wav", header("RIFF", 4 + 24 + 8 + 3) + "WAVE" + chunk("fmt ", format_bytes({1, 1, 8000, 8})) +
                               header("data", 3) + "abc");
  const Outcome info = run_qv({"info", in, "--json"});
  EXPECT_EQ(info.exit_code, 0);
  EXPECT_EQ(info.error, "");
  EXPECT_NE(info.out.find("\"frames\": 3,"), std::string::npos) << info.out;
}

TEST(BadInput, OneBadFileDoesNotHideTheOthers) {
  const ScratchFolder folder;
  const std::string good = folder.put("good.wav", kGood);
  const std::string bad = folder.put("bad.wav", "RIFF");
  const Outcome outcome = run_qv({"info", bad, good});
  EXPECT_EQ(outcome.exit_code, 1);
  expect_one_line(outcome, bad, "ends inside its header");
  EXPECT_EQ(outcome.out.rfind(good, 0), 0u) << outcome.out;
}

} // namespace
