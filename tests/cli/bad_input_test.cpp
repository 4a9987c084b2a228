// What the program must refuse, or take with a warning: one line, the right exit code, nothing left behind.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tests/riff/wave64_bytes.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace cli_test;
using riff_test::chunk64;
using riff_test::guid;
using riff_test::header64;
using riff_test::wave64;

namespace {

const std::vector<std::string> kInputAlone = {"in.wav"};

struct BadFile {
  const char* name;
  Bytes bytes;
  const char* reason;
  bool info_works = false; ///< only its samples cannot be used
};

Bytes big_chunk(const char* id, const Bytes& data) {
  return id + Bytes("\0\0\0", 3) + static_cast<char>(data.size()) + data + Bytes(data.size() & 1, '\0');
}
Bytes empty_form(const char* form) { return "FORM" + Bytes("\0\0\0\4", 4) + form; }

/// An AIFF file of a format chunk and audio, whose numbers are big-endian.
Bytes aiff(const char* form, const Bytes& common, const Bytes& sound) {
  return big_chunk("FORM", form + big_chunk("COMM", common) + big_chunk("SSND", sound));
}

const Bytes kCommon("\0\1\0\0\0\2\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0", 18);
const Bytes kSound = Bytes(8, '\0') + "1234";

Bytes rf64(const Bytes& body) { return header("RF64", 0xFFFFFFFF) + "WAVE" + body; }
const Bytes kLongSizes = chunk("ds64", Bytes(28, '\0'));

const BadFile kBadFiles[] = {
    {"empty", "", "empty"},
    {"four bytes", "RIFF", "ends inside its header"},
    {"other file", Bytes(100, 'x'), "does not start with \"RIFF\""},
    {"other form", riff("AVI ", kFormat + kData), "\"AVI \""},
    {"no chunks", riff("WAVE", ""), "no \"fmt \" chunk"},
    {"no format", riff("WAVE", kData), "no \"fmt \" chunk"},
    {"no data", riff("WAVE", kFormat), "no \"data\" chunk"},
    {"cut in the format", riff("WAVE", kFormat + kData).substr(0, 30), "\"fmt \" runs past the end"},
    {"format of 15 bytes", riff("WAVE", chunk("fmt ", Bytes(15, '\1')) + kData), "only 15 bytes"},
    {"chunk past the end", riff("WAVE", kFormat + header("LIST", 5000) + "INFO" + kData), "\"LIST\" runs past the end"},
    {"chunk of 2^32 - 1 bytes", riff("WAVE", header("junk", 0xFFFFFFFF) + kFormat), "\"junk\" runs past the end"},
    {"no channels", wave({1, 0, 48000, 16}, ""), "no channels"},
    {"no rate", wave({1, 1, 0, 16}, shorts({1})), "sample rate of 0"},
    {"no block align", wave({1, 1, 48000, 4}, "ab"), "block align of 0"},
    {"compressed", wave({0x55, 2, 44100, 16}, "abcd"), "compressed", true},
    {"unknown bits", wave({1, 1, 48000, 72}, "abcdefghi"), "compressed or unknown", true},
    {"private tag without samples", wave({0xFE03, 1, 48000, 16}, "abcd"), "compressed or unknown", true},
    {"extensible in 18 bytes", riff("WAVE", chunk("fmt ", format_bytes({0xFFFE, 1, 48000, 16}) + u16(22)) + kData),
     "compressed or unknown (Unknown, tag 65534", true},
    {"block align of other samples",
     riff("WAVE", chunk("fmt ", format_bytes({1, 2, 48000, 16}).replace(12, 2, u16(8))) + kData), "block align of 8",
     true},
    {"Wave64 header cut", wave64("").substr(0, 39), "ends inside its header"},
    {"Wave64 with another first GUID", "riff" + Bytes(60, 'x'), "no Wave64 file"},
    {"Wave64 of another form", header64("riff", 40) + guid("data"), "another form than wave"},
    {"Wave64 without chunks", wave64(""), "no \"fmt \" chunk"},
    {"Wave64 without data", wave64(chunk64("fmt ", Bytes(16, '\1'))), "no \"data\" chunk"},
    {"Wave64 chunk past the end", wave64(header64("junk", ~0ull >> 1) + chunk64("fmt ", "")), "runs past the end"},
    {"IFF of another form", empty_form("8SVX"), "no AIFF"},
    {"AIFF-C without chunks", empty_form("AIFC"), "no \"COMM\""},
    {"AIFF without chunks", empty_form("AIFF"), "no \"COMM\""},
    {"AIFF without audio", big_chunk("FORM", "AIFF" + big_chunk("COMM", kCommon)), "no \"SSND\""},
    {"AIFF with a short format", aiff("AIFF", kCommon.substr(0, 16), kSound), "size is not possible"},
    {"AIFF with short audio", aiff("AIFF", kCommon, Bytes(7, '\0')), "size is not possible"},
    {"AIFF without channels", aiff("AIFF", with(kCommon, 0, u16(0)), kSound), "no channels"},
    {"AIFF of no rate", aiff("AIFF", with(kCommon, 8, Bytes(10, '\0')), kSound), "sample rate of 0"},
    {"AIFF whose rate is no number", aiff("AIFF", with(kCommon, 8, "\x7F" + Bytes(9, '\xFF')), kSound),
     "sample rate of 0"},
    {"AIFF-C of no compression type", aiff("AIFC", kCommon, kSound), "without a compression type"},
    {"AIFF-C of an unknown one", aiff("AIFC", kCommon + "ABCD" + Bytes(2, '\0'), kSound), "compressed or unknown",
     true},
    {"RF64 header cut", rf64("").substr(0, 11), "ends inside its header"},
    {"RF64 of another form", with(rf64(kLongSizes + kFormat + kData), 8, "AVI "), "\"AVI \""},
    {"RF64 without a format", rf64(kLongSizes + kData), "no \"fmt \" chunk"},
    {"RF64 without audio", rf64(kLongSizes + kFormat), "no \"data\" chunk"},
    {"BW64 without chunks", with(rf64(""), 0, "BW64"), "no \"fmt \" chunk"},
    {"RIFX without chunks", with(riff("WAVE", ""), 0, "RIFX"), "no \"fmt \" chunk"},
    {"FLAC that is none", "fLaC" + Bytes(100, '\0'), "cannot be read"},
    {"Ogg that is none", "OggS" + Bytes(100, '\0'), "cannot be read"},
    {"an MP3 frame without its bits", "\xFF\xFB\x90" + Bytes(5000, '\0'), "of no kind that libsndfile knows"},
    {"a tag alone", "ID3\4" + Bytes(100, '\0'), "cannot be read"},
    {"a tag longer than the file", "ID3\4" + Bytes(2, '\0') + Bytes(4, '\x7F') + kGood, "cannot be read"},
};

TEST(BadInput, EveryCommandSaysWhyInOneLine) {
  for (const BadFile& row : kBadFiles) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.bytes);
    if (row.info_works) EXPECT_EQ(run_qv({"info", in, "--json"}).exit_code, 0);
    if (!row.info_works) expect_refused(run_qv({"info", in, "--json"}), 1, in + ": ", row.reason);
    for (const Arguments& command : {Arguments{"stats", in}, {"convert", in, folder.file("out.wav")}})
      expect_refused(run_qv(command), 1, in + ": ", row.reason);
    EXPECT_EQ(folder.names(), kInputAlone);
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
  for (const auto& row : cases)
    for (const Arguments& command :
         {Arguments{"info", row.name}, {"stats", row.name}, {"convert", row.name, folder.file("out")}})
      expect_refused(run_qv(command), 1, row.name + ": ", row.reason);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"pipe"});
}

TEST(BadInput, NamesSendNothingToATerminal) {
  const ScratchFolder folder;
  const Outcome outcome =
      run_qv({"info", folder.file("a\x1B[31m\xC2\x9B\xE2\x80\xAE\xE2\x81\xA6\n\x7F\xC3\xA9\xE2\x82\xAC.wav")});
  EXPECT_EQ(outcome.error, "qv: " + folder.file("a.[31m...|.\xC3\xA9\xE2\x82\xAC.wav") + ": no such file\n");
  expect_refused(run_qv({"info", "a\x9B\xC3"}), 1, "a.\xC3: ", "not UTF-8");
  const std::string named = folder.put("\x7F\xC2\x9B\xE2\x80\xAE", kGood);
  EXPECT_EQ(qv_says({"info", named, "--json"}).find_first_of("\x7F\x9B\xAE"), Bytes::npos);
  EXPECT_EQ(qv_json({"info", named})["file"], named);
}

/// Words that are refused over a file that is called IN; OUT is not there before, nor afterwards.
struct Refusal {
  Arguments words;
  int exit_code;
  const char* reason;
  Bytes file = kGood;
};

const Refusal kRefusals[] = {
    {{}, 2, "subcommand"},
    {{"transmogrify"}, 2, "transmogrify"},
    {{"convert", "IN"}, 2, "OUT"},
    {{"convert", "IN", "OUT", "--type", "pcm12"}, 2, "--type"},
    {{"convert", "IN", "OUT", "--gain-db", "loud"}, 2, "not a number of dB"},
    {{"convert", "IN", "OUT", "--gain-db", "nan"}, 2, "not a number of dB"},
    {{"convert", "IN", "OUT", "--gain-db", "-200.1"}, 2, "not a number of dB"},
    {{"convert", "IN", "OUT", "--channels", "0"}, 2, "neither a number of channels"},
    {{"convert", "IN", "OUT", "--channels", "65536"}, 2, "neither a number of channels"},
    {{"convert", "IN", "OUT", "--channels", "1,,2"}, 2, "neither a number of channels"},
    {{"convert", "IN", "OUT", "--channels", "1,x"}, 2, "neither a number of channels"},
    {{"convert", "IN", "OUT", "--channels", ","}, 2, "neither a number of channels"},
    {{"convert", "IN", "OUT", "--channels", "1", "--mono"}, 2, "--mono"},
    {{"convert", "IN", "OUT", "--channels", "1,2"}, 1, "in.wav: has no channel 2, only 1"},
    {{"convert", "IN", "OUT", "--channels", "40000"}, 1, "do not fit a wave file"}, // a block align has 16 bits
    {{"convert", "IN", "OUT", "--quality", "best"}, 2, "--rate"},
    {{"convert", "IN", "OUT", "--rate", "8000", "--quality", "good"}, 2, "--quality"},
    {{"convert", "IN", "OUT", "--dither", "some"}, 2, "--dither"},
    {{"convert", "IN", "OUT", "--rate", "1"}, 1, "too far from"},
    {{"convert", "IN", "OUT", "--type", "float32", "--dither", "tri"}, 1, "float samples are not dithered"},
    {{"filter", "IN", "OUT", "--type", "allpass"}, 2, "--type"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--order", "16"}, 2, "--order"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--design", "ideal"}, 2, "--design"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--freq", "24001"}, 1, "no frequencies above"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--design", "resonator"}, 1, "no resonator"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--response", "r.jpg"}, 2, "r.jpg"},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--response", "/none/r.csv"}, 1, "no such folder"},
    {{"tag", "INAM=x"}, 2, "FILE: is required"},
    {{"tag", "IN", "NAM=x"}, 2, "no id of four characters"},
    {{"tag", "IN", "I AM=x"}, 2, "no id of four characters"},
    {{"tag", "IN", "bext=x"}, 2, "can only be removed"},
    {{"tag", "IN", "--remove", "INAME"}, 2, "no id of four characters"},
    {{"tag", "IN", "INAM=\xFF"}, 1, "is not UTF-8"},
    {{"tag", "IN", "INAM=\u0416", "--code-page", "1252"}, 1, "a character that code page 1252 lacks"},
    {{"tag", "IN", "description=\u0416", "--code-page", "1252"}, 1, "lacks a character"},
    {{"tag", "IN", "originator=123456789 123456789 123456789 123"}, 1, "holds 32 bytes, the text has 33"},
    {{"tag", "IN", "origination-date=2024-5-6"}, 1, "is a date"},
    {{"tag", "IN", "origination-time=24:5"}, 1, "is a time"},
    {{"tag", "IN", "time-reference=1:00"}, 1, "is a number of frames"},
    {{"tag", "IN", "umid=0A"}, 1, "has 32 or 64 bytes"},
    {{"tag", "IN", "INAM=x"},
     1,
     "\"data\" does not fit the file",
     header("RIFF", 0) + "WAVE" + kFormat + header("data", 0) + "abcd"},
    {{"tag", "IN", "loudness=-400"}, 1, "is a number of dB"},
    {{"tag", "IN", "description=x"},
     1,
     "is no broadcast record",
     riff("WAVE", chunk("bext", "short") + kFormat + kData)},
    {{"tag", "IN", "INAM=x"},
     1,
     "\"LIST\" does not fit the file",
     riff("WAVE", kFormat + kData + header("LIST", 99) + "INFO")},
    {{"tag", "IN", "--code-page", "1252"},
     1,
     "only the texts of RIFF",
     wave64(chunk64("fmt ", format_bytes({})) + chunk64("data", ""))},
    {{"repair", "IN"}, 1, "the file is empty", ""},
    {{"repair", "IN", "--undo"}, 1, "nothing can be undone"},
    {{"repair", "IN", "--undo", "--no-undo"}, 2, "--no-undo"},
    {{"repair", "IN"}, 1, "ends inside its header", kGood.substr(0, 30)},
    {{"repair", "IN"}, 1, "no audio", kGood.substr(0, 36)},
    {{"repair", "IN"}, 1, "ends inside its header", "RIFF"},
    {{"repair", "IN"}, 1, "no audio", "x"},
    {{"repair", "IN"}, 1, "the form \"AVI \"", riff("AVI ", kFormat + kData)},
    {{"repair", "IN"}, 1, "FLAC", "fLaC" + kGood.substr(4)},
    {{"repair", "IN"}, 1, "IFF", header("FORM", 400) + "AIFF"},
    {{"repair", "IN", "--limit", "-1"}, 2, "--limit"},
    {{"time", "5 x"}, 1, "\"5 x\": is no position in format raw"},
    {{"time", "1:2:3:4:5", "--from", "smpte25"}, 1, "\"1:2:3:4:5\": is no position in format smpte25"},
    {{"time", "", "--from", "time"}, 1, "\"\": is no position in format time"},
    {{"time", "1:05", "--from", "compact"}, 1, "\"1:05\": is no position in format compact"},
    {{"time", "\xFF", "--from", "time"}, 1, "\"\xFF\": is no position in format time"},
    {{"time", "sub", "-1:00", "1", "--format", "smpte25"}, 1, "\"-1:00\": is not on the dial"},
    {{"time", "add", "9223372036854775807", "1"}, 1, "\"1\": takes the result out of range"},
    {{"time", "5", "--from", "nope"}, 2, "--from: unknown format nope"},
    {{"time", "5", "--to", "20"}, 2, "--to: unknown format 20"},
    {{"time", "5", "--fps", "0"}, 2, "--fps: 0 is no rate above 0"},
    {{"time", "5", "--meter", "4/0"}, 2, "--meter: 4/0 is no meter such as 6/8"},
    {{"time", "5", "--meter", "4"}, 2, "--meter: 4 is no meter such as 6/8"},
    {{"time", "5", "--tempo", "0"}, 2, "--tempo"},
    {{"time", "5", "--tpb", "0"}, 2, "--tpb"},
    {{"time"}, 2, "VALUE is required"},
    {{"settings"}, 2, "subcommand"},
    {{"settings", "get", "--app", "a", "--app-version", "1.0"}, 2, "N is required"},
    {{"settings", "set", "--app", "a", "--app-version", "1.0", "5"}, 2, "VALUE is required"},
    {{"settings", "get", "--app", "a", "--app-version", "1.0", "--type", "word", "5"}, 2, "--type"},
    {{"settings", "get", "--app", "a", "--app-version", "1.0", "2147483648"}, 2, "2147483648"},
};

TEST(BadInput, WrongWordsAndWhatTheyCannotBeDoneTo) {
  for (const Refusal& row : kRefusals) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.file);
    Arguments words = row.words;
    std::replace(words.begin(), words.end(), std::string("IN"), in);
    std::replace(words.begin(), words.end(), std::string("OUT"), folder.file("out.wav"));
    const Outcome outcome = run_qv(words);
    expect_refused(outcome, row.exit_code, "", row.reason);
    EXPECT_EQ(outcome.error.ends_with(" (qv --help says more)\n"), row.exit_code == 2) << outcome.error;
    EXPECT_EQ(read_file(in), row.file);
    EXPECT_EQ(folder.names(), kInputAlone);
  }
  for (const Arguments& words : {Arguments{"--help"}, {"convert", "--help"}, {"--version"}})
    EXPECT_NE(qv_says(words), "");
}

TEST(BadInput, CutDataIsReadToItsEndWithAWarning) {
  const struct {
    const char* name;
    Bytes bytes;
  } cases[] = {
      {"cut inside a frame", with(with(kGood + "x", 4, u32(1036)), 40, u32(1000))},
      {"streamed", with(with(kGood, 4, u32(0xFFFFFFFF)), 40, u32(0xFFFFFFFF))},
      {"never finished", with(with(kGood, 4, u32(0)), 40, u32(0))},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.bytes);
    const std::string out = folder.file("out.wav");
    for (const Arguments& command : {Arguments{"info", in, "--json"}, {"convert", in, out}}) {
      Outcome outcome = run_qv(command);
      EXPECT_EQ(outcome.out.empty() || outcome.out.find("\"frames\": 4,") != std::string::npos, true) << outcome.out;
      outcome.out.clear();
      expect_refused(outcome, 0, in + ": warning: ", "");
    }
    EXPECT_EQ(read_file(out), kGood);
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
  EXPECT_NE(info.error.find("its header says a file of 4104 bytes, it has 58"), std::string::npos) << info.error;
  // Nor does audio begin behind its chunk.
  const Outcome far = run_qv({"info",
                              folder.put("in.aiff", Bytes("FORM\0\0\0\x32"
                                                          "AIFF",
                                                          12) +
                                                        common + with(sound, 8, "\x7F")),
                              "--json"});
  EXPECT_NE(far.out.find("\"frames\": 0,"), std::string::npos) << far.out;
  EXPECT_NE(far.error.find("says 2 frames, the file holds 0"), std::string::npos) << far.error;
}

TEST(BadInput, ASmallFileCutAfterEachByte) {
  const ScratchFolder folder;
  const std::string in = folder.file("in.wav");
  for (size_t length = 0; length <= kGood.size(); ++length) {
    SCOPED_TRACE(length);
    write_file(in, kGood.substr(0, length));
    const Outcome outcome = run_qv({"convert", in, folder.file("out.wav")});
    const bool has_data = length >= 44;
    EXPECT_EQ(outcome.exit_code, has_data ? 0 : 1);
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), length == kGood.size() ? 0 : 1);
    EXPECT_EQ(folder.names().size(), has_data ? 2u : 1u);
  }
}

TEST(BadInput, OddSizedLastChunkNeedsNoPadByte) {
  const ScratchFolder folder;
  EXPECT_EQ(qv_json({"info", folder.put("in.wav", long_wave_start(3) + "abc")})["frames"], 3);
}

TEST(BadInput, OneBadFileDoesNotHideTheOthers) {
  const ScratchFolder folder;
  const std::string good = folder.put("good.wav", kGood);
  const std::string bad = folder.put("bad.wav", "RIFF");
  Outcome outcome = run_qv({"info", bad, good});
  EXPECT_EQ(outcome.out.starts_with(good), true) << outcome.out;
  outcome.out.clear();
  expect_refused(outcome, 1, bad + ": ", "ends inside its header");
}

} // namespace
