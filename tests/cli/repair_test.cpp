// qv repair: each damage has one mended file, and what is sound stays byte for byte.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tests/riff/wave64_bytes.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace cli_test;
using riff_test::chunk64;
using riff_test::guid;
using riff_test::header64;
using riff_test::padding64;
using riff_test::u64;
using riff_test::wave64;

namespace {

Bytes pattern(size_t size) {
  Bytes bytes;
  for (size_t i = 0; i < size; ++i)
    bytes += static_cast<char>(i * 37 % 251);
  return bytes;
}

const Bytes kAudio = pattern(400);
const Bytes kStereo = chunk("fmt ", format_bytes({1, 2, 44100, 16}));
const Bytes kStereo18 = chunk("fmt ", format_bytes({1, 2, 44100, 16}) + u16(0));
const Bytes kMono = chunk("fmt ", format_bytes({1, 1, 48000, 16}));
const Bytes kAudioChunk = chunk("data", kAudio);
const Bytes kBext = chunk("bext", pattern(602));
const Bytes kInfo = list("INFO", chunk("INAM", Bytes("data is not here\0", 17)));
const Bytes kPlain = riff("WAVE", kStereo + kAudioChunk);
const Bytes kPlain18 = riff("WAVE", kStereo18 + kAudioChunk);
const Bytes kJunk(8, '\xFF');

Bytes format64(const Bytes& record) { return chunk64("fmt ", record); }
const Bytes kRecord = format_bytes({1, 2, 44100, 16});
const Bytes kPlain64 = wave64(format64(kRecord + u16(0)) + chunk64("data", kAudio));

bool is_sound(const std::string& report) { return report.find("nothing: the header is sound") != Bytes::npos; }

struct Sound {
  const char* name;
  Bytes bytes;
};

const Sound kSound[] = {
    {"plain", kPlain},
    {"18 bytes of format", kPlain18},
    {"extra bytes that are not there", with(kPlain18, 36, u16(0xFFFF))},
    {"chunks around the audio", riff("WAVE", chunk("bext", pattern(602)) + kStereo + kInfo + kAudioChunk + kInfo)},
    {"six channels of float",
     riff("WAVE", chunk("fmt ", extensible({3, 6, 48000, 32}, 0x3F)) + chunk("data", pattern(480)))},
    {"compressed", riff("WAVE", chunk("fmt ", u16(0x55) + u16(2) + u32(44100) + u32(16000) + u16(1) + u16(0) + u16(12) +
                                                  Bytes(12, '\1')) +
                                    chunk("data", pattern(333)))},
    {"mu-law", riff("WAVE", chunk("fmt ", format_bytes({7, 1, 8000, 8})) + chunk("data", pattern(99)))},
    {"an odd size without its pad byte", riff("WAVE", kStereo + header("data", 401) + pattern(401))},
    {"less than a frame behind the form", kPlain + "abc"},
    {"no audio at all", riff("WAVE", kStereo + header("data", 0))},
    {"an uncommon rate that agrees with itself",
     riff("WAVE", chunk("fmt ", format_bytes({1, 1, 250000, 24})) + kAudioChunk)},
    {"Wave64", kPlain64},
    {"Wave64 without padding", wave64(format64(kRecord) + header64("data", 24 + 398) + pattern(398))},
    {"Wave64 with a list behind",
     wave64(format64(kRecord) + chunk64("data", pattern(398)) + riff_test::list64("INFO", chunk64("INAM", "title")))},
};

TEST(Repair, WhatIsSoundStays) {
  for (const Sound& each : kSound) {
    SCOPED_TRACE(each.name);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", each.bytes);
    EXPECT_EQ(is_sound(qv_says({"repair", file, "--backup"})), true);
    EXPECT_EQ(read_file(file) == each.bytes, true);
    EXPECT_EQ(folder.names().size(), 1u);
  }
}

/// What is unusual, but no damage, or none that can be mended: it is said, and the audio stays what it is.
struct Unusual {
  const char* name;
  Bytes bytes;
  const char* words;
};

const Bytes kMp3 = u16(0x55) + u16(2) + u32(44100) + u32(16000) + u16(1) + u16(0);
const Bytes kTornMp3 = with(riff("WAVE", chunk("fmt ", kMp3 + u16(12) + Bytes(12, '\1')) + kAudioChunk), 4, u32(9));
const Bytes kOddList = header("LIST", 13) + "INFO" + header("INAM", 1) + "x"; // without its pad byte
const Unusual kUnusual[] = {
    {"a compressed format", kTornMp3, "a compressed format (MP3), which is not mended"},
    {"one whose fields agree as PCM",
     with(riff("WAVE", chunk("fmt ", format_bytes({0x55, 2, 44100, 16})) + kAudioChunk), 4, u32(9)),
     "agree as those of PCM: --type says what it is"},
    {"the format behind the audio", riff("WAVE", kAudioChunk + kStereo), "format: PCM"},
    {"a missing pad byte before the audio", riff("WAVE", kStereo + kOddList + kAudioChunk),
     "the pad byte behind the chunk \"LIST\" at 36 is missing"},
    {"a missing pad byte behind the audio", riff("WAVE", kStereo + kAudioChunk + kOddList + kBext), "format: PCM"},
    {"zeros behind the audio", riff("WAVE", kStereo + kAudioChunk + Bytes(96, '\0')), "format: PCM"},
    {"zeros between chunks", riff("WAVE", kStereo + kAudioChunk + Bytes(1001, '\0') + kInfo), ""},
    {"another program's tag", kPlain + "TAG" + Bytes(125, 'x'), "format: PCM"},
};

TEST(Repair, WhatIsUnusualIsSaidAndStays) {
  for (const Unusual& each : kUnusual) {
    SCOPED_TRACE(each.name);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", each.bytes);
    const std::string report = qv_says({"repair", file});
    EXPECT_EQ(is_sound(report), true);
    EXPECT_NE(report.find(each.words), Bytes::npos) << report;
    EXPECT_EQ(read_file(file) == each.bytes, true);
  }
}

struct Damage {
  const char* name;
  Bytes before, after;
  Arguments arguments = {};
};

const Arguments kMonoHint = {"--rate", "48000", "--channels", "1"};
const Bytes kUnknownSize = u32(0xFFFFFFFF);

const Bytes kTwoLists = kStereo + kInfo + kAudioChunk + kInfo;

const Bytes kCutList = riff("WAVE", kStereo + kAudioChunk + kInfo.substr(0, kInfo.size() - 9));
/// A header up to the audio's, with what stood there in its junk.
const Bytes kJunked = riff("WAVE", kStereo + chunk("JUNK", pattern(70).substr(44)) + kAudioChunk);

const Bytes kAiff = Bytes("FORM\0\0\x01\xBE"
                          "AIFFCOMM\0\0\0\x12\0\2\0\0\0\x64\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0",
                          38) +
                    Bytes("SSND\0\0\x01\x98\0\0\0\0\0\0\0\0", 16) + kAudio;
const size_t kListAt = 36 + kAudioChunk.size(); ///< behind the audio
const Bytes kListCut = riff("WAVE", kStereo + kAudioChunk + kInfo).substr(0, kListAt + 8 + 25);

const Bytes kUnusualRate = riff("WAVE", chunk("fmt ", format_bytes({1, 2, 45000, 16})) + kAudioChunk);
const Bytes kExtensible = riff("WAVE", chunk("fmt ", extensible({1, 2, 44100, 16}, 3)) + kAudioChunk);
const Bytes kPadded =
    riff("WAVE", chunk("fmt ", format_bytes({1, 1, 48000, 24})) + chunk("data", pattern(399)) + kInfo);
const Bytes kNameless = kStereo + chunk("\1\2\3\4", pattern(50)) + kAudioChunk;
const Bytes kTagged = riff("WAVE", kStereo + header("data", 401) + pattern(401)) + "TAG" + Bytes(125, 'x');

const Damage kDamages[] = {
    // An interrupted recording: the sizes were never written, or some time ago.
    {"sizes of 0", with(with(kPlain, 4, u32(0)), 40, u32(0)), kPlain},
    {"sizes unknown", with(with(kPlain, 4, kUnknownSize), 40, kUnknownSize), kPlain},
    {"sizes of a while ago", with(with(kPlain, 4, u32(136)), 40, u32(100)), kPlain},
    {"sizes of 0 behind a list", riff("WAVE", kStereo + kInfo + header("data", 0) + kAudio),
     riff("WAVE", kStereo + kInfo + kAudioChunk)},
    {"cut in a frame", kPlain.substr(0, 44 + 203),
     with(with(kPlain.substr(0, 44 + 203), 4, u32(36 + 200)), 40, u32(200))},
    // Chunks behind sane audio stay.
    {"size of the file", with(riff("WAVE", kTwoLists), 4, u32(0)), riff("WAVE", kTwoLists)},
    {"the same, and less than a header behind", with(riff("WAVE", kTwoLists) + "abc", 4, u32(0)),
     riff("WAVE", kTwoLists) + "abc"},
    {"the same, with a chunk of no name, which stays", with(riff("WAVE", kNameless), 4, u32(0)),
     riff("WAVE", kNameless)},
    {"the same, where a tag follows audio without its pad byte", with(kTagged, 4, u32(0)), with(kTagged, 4, u32(437))},
    {"ids of the file", with(riff("WAVE", kTwoLists), 0, pattern(12)), riff("WAVE", kTwoLists)},
    // A ruined format record is mended in its chunk, whatever the chunk's size and place.
    {"record of 16 bytes", with(kPlain, 20, Bytes(16, '\xFF')), kPlain},
    {"record of 18 bytes", with(kPlain18, 20, Bytes(18, '\0')), kPlain18},
    {"0 channels, 1,000,000 Hz and 12 bits", with(kPlain, 22, u16(0) + u32(1000000) + u32(0) + u16(0) + u16(12)),
     kPlain},
    // A format chunk that is cut, and whose record is ruined: nothing is written past its end.
    {"a format's size of 8 bytes less, and its record",
     with(with(riff("WAVE", chunk("fmt ", kRecord + u16(4) + Bytes(4, '\0')) + kAudioChunk), 16, u32(40)), 20,
          Bytes(16, '\xFF')),
     riff("WAVE", chunk("fmt ", kRecord + Bytes(6, '\0')) + kAudioChunk)},
    {"a compressed tag that a type overrules",
     riff("WAVE", chunk("fmt ", format_bytes({0x55, 2, 44100, 16})) + kAudioChunk),
     kPlain,
     {"--type", "pcm16"}},
    {"the rate, told by the byte rate", with(kPlain, 24, u32(44101)), kPlain},
    {"rate and byte rate, as --rate says", with(kPlain, 24, Bytes(8, '\0')), kPlain, {"--rate", "44100"}},
    {"the same, of an unusual rate", with(kUnusualRate, 24, Bytes(8, '\0')), kUnusualRate, {"--rate", "45000"}},
    {"the rate and the valid bits of an extensible record", with(with(kExtensible, 24, u32(44101)), 38, u16(0)),
     kExtensible},
    {"the tag of 32 bits, as --type says",
     with(riff("WAVE", chunk("fmt ", format_bytes({3, 2, 96000, 32})) + kAudioChunk), 20, u16(0x5B58)),
     riff("WAVE", chunk("fmt ", format_bytes({3, 2, 96000, 32})) + kAudioChunk),
     {"--type", "float32"}},
    {"a tag in ones, whose bits say nothing: integers are more usual",
     with(riff("WAVE", chunk("fmt ", format_bytes({1, 2, 96000, 32})) + kAudioChunk), 20, u16(0xFFFF)),
     riff("WAVE", chunk("fmt ", format_bytes({1, 2, 96000, 32})) + kAudioChunk)},
    {"the channels of 32",
     with(riff("WAVE", chunk("fmt ", format_bytes({1, 32, 48000, 24})) + kAudioChunk), 22, u16(99)),
     riff("WAVE", chunk("fmt ", format_bytes({1, 32, 48000, 24})) + kAudioChunk)},
    {"block align that fits no samples", with(kPlain, 32, u16(3)), kPlain},
    {"block align of 0", with(riff("WAVE", kMono + kAudioChunk), 32, u16(0)), riff("WAVE", kMono + kAudioChunk)},
    {"record behind another chunk",
     with(riff("WAVE", kBext + kMono + kInfo + kAudioChunk), 12 + 610 + 8, Bytes(16, '\0')),
     riff("WAVE", kBext + kMono + kInfo + kAudioChunk), kMonoHint},
    {"hints of another type",
     with(riff("WAVE", chunk("fmt ", format_bytes({3, 4, 96000, 64})) + kAudioChunk), 20, Bytes(16, '\0')),
     riff("WAVE", chunk("fmt ", format_bytes({3, 4, 96000, 64})) + chunk("data", kAudio).replace(4, 4, u32(400))),
     {"--rate", "96000", "--channels", "4", "--type", "float64"}},
    // Ruined headers of chunks.
    {"all before the audio's header", with(kPlain, 0, Bytes(36, '\0')), kPlain},
    {"all of 18 bytes of format", with(kPlain18, 0, Bytes(38, '\xFF')), kPlain18},
    {"the format's header", with(riff("WAVE", kMono + kAudioChunk), 12, kJunk), riff("WAVE", kMono + kAudioChunk)},
    {"a list's size before the audio", with(riff("WAVE", kTwoLists), 40, kUnknownSize), riff("WAVE", kTwoLists)},
    {"a list's size before another chunk, behind the audio",
     with(riff("WAVE", kStereo + kAudioChunk + kInfo + kBext), kListAt + 4, kUnknownSize),
     riff("WAVE", kStereo + kAudioChunk + kInfo + kBext)},
    {"the size of audio with a pad byte, before a list", with(kPadded, 40, u32(0)), kPadded},
    {"a chunk's header before the audio",
     with(riff("WAVE", kStereo + chunk("LIST", pattern(50)) + kAudioChunk), 36, kJunk),
     riff("WAVE", kStereo + chunk("JUNK", pattern(50)) + kAudioChunk)},
    {"the audio's id", with(kPlain, 36, Bytes(4, '\0')), kPlain},
    {"the audio's id by other letters", with(kPlain, 36, "tada"), kPlain},
    {"a list's size that leads into the audio", with(riff("WAVE", kTwoLists), 40, u32(255)), riff("WAVE", kTwoLists)},
    {"the format's size", with(riff("WAVE", kTwoLists), 16, u32(200)), riff("WAVE", kTwoLists)},
    {"the format's size and record, both before the audio",
     with(with(riff("WAVE", kBext + kStereo + kAudioChunk), 12 + 610 + 4, u32(36)), 12 + 610 + 8, Bytes(16, '\xFF')),
     riff("WAVE", kBext + kStereo + kAudioChunk)},
    {"the audio's id before a list that reads like one", with(riff("WAVE", kTwoLists), 36 + kInfo.size(), "\xFF"),
     riff("WAVE", kTwoLists)},
    {"the audio's id by other letters before a list", with(riff("WAVE", kStereo + kAudioChunk + kInfo), 36, "dXta"),
     riff("WAVE", kStereo + kAudioChunk + kInfo)},
    {"a list that claims more than the file has", kCutList, with(kCutList, 36 + 408 + 4, u32(kInfo.size() - 17))},
    // Only the header of the audio is left.
    {"all up to the audio's header", pattern(70) + kAudioChunk, kJunked, {"--rate", "44100"}},
    {"the same, and the audio's size", pattern(70) + header("data", 7) + kAudio + "xy", kJunked + "xy"},
    {"the audio's header behind chunks that walk",
     with(riff("WAVE", kStereo + kInfo + kAudioChunk), 36 + kInfo.size(), kJunk),
     riff("WAVE", kStereo + kInfo + kAudioChunk)},
    // A new file: nothing is left to mend, or no place for a header.
    {"no header", kAudio, kPlain},
    {"a header that is no header", Bytes(44, '\0') + kAudio,
     riff("WAVE", kStereo + chunk("data", Bytes(44, '\0') + kAudio))},
    {"an audio header at an odd place", pattern(57) + kAudioChunk, kPlain},
    {"audio from the limit on", Bytes(100, '\0') + kAudio, kPlain, {"--limit", "100"}},
    {"a header behind the limit",
     pattern(70) + kAudioChunk,
     riff("WAVE", kStereo + chunk("data", pattern(70).substr(62) + kAudioChunk)),
     {"--limit", "62"}},
    // AIFF: a rate whose number is none, where the sizes are torn.
    {"AIFF with sizes of 0 and a ruined rate",
     with(with(with(kAiff, 4, u32(0)), 30, "\x2C"), 42, Bytes("\0\0\0\x08", 4)), kAiff},
    {"a size of 0 before a list that the file's end cuts", with(kListCut, 40, u32(0)),
     with(with(kListCut, kListAt + 4, u32(25)), 4, u32(static_cast<uint32_t>(kListCut.size()) - 8))},
    // Wave64.
    {"Wave64 with sizes of 0", with(with(kPlain64, 16, u64(0)), 104, u64(0)),
     with(with(kPlain64, 16, u64(112 + 400)), 104, u64(424))},
    {"Wave64 cut in a frame", kPlain64.substr(0, 112 + 203),
     with(with(kPlain64.substr(0, 112 + 203), 16, u64(112 + 200)), 104, u64(224))},
    {"Wave64 with a ruined record of 16 bytes",
     with(wave64(format64(kRecord) + chunk64("data", kAudio)), 64, Bytes(16, '\xFF')),
     wave64(format64(kRecord) + chunk64("data", kAudio))},
    {"Wave64 with a ruined file header", with(kPlain64, 0, Bytes(40, '\xFF')), kPlain64},
    {"Wave64 with the audio's header alone", guid("riff") + pattern(104) + chunk64("data", kAudio),
     wave64(format64(kRecord) + header64("junk", 40) + pattern(104).substr(88) + chunk64("data", kAudio))},
    {"Wave64 without the audio's header", with(kPlain64, 88, Bytes(24, '\xFF')), kPlain64},
};

TEST(Repair, EachDamageHasItsMendedFile) {
  for (const Damage& each : kDamages) {
    SCOPED_TRACE(each.name);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", each.before);
    const Arguments command = joined({"repair", file}, each.arguments);
    EXPECT_NE(qv_says(command, {"--dry-run"}).find("nothing was written"), std::string::npos);
    EXPECT_EQ(read_file(file) == each.before, true) << "by a dry run";

    const std::string report = qv_says(command, {"--backup"});
    EXPECT_EQ(read_file(file) == each.after, true) << report;
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"file.wav", "file.wav.bak", "file.wav.qv-undo"}));
    EXPECT_EQ(read_file(file + ".bak") == each.before, true);

    EXPECT_EQ(is_sound(qv_says(command)), true);
    EXPECT_EQ(read_file(file) == each.after, true) << "by a second repair";
    EXPECT_EQ(qv_says({"repair", file, "--undo"}), file + "\n  undone        it is as it was before the repair\n");
    EXPECT_EQ(read_file(file) == each.before, true) << "by --undo";
    qv_says(command, {"--no-undo"});
    EXPECT_EQ(read_file(file) == each.after, true) << "without an undo file";
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"file.wav", "file.wav.bak"}));
  }
}

TEST(Repair, SaysWhatItFoundAndWillWrite) {
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", with(with(kPlain, 22, u16(0)), 40, u32(0)));
  EXPECT_EQ(
      qv_says({"repair", file, "--dry-run"}),
      file + "\n"
             "  found         the format record does not agree with itself: a block align of 4 is none of 0 channels "
             "of 16 bits\n"
             "  found         audio: from 44 on, 0 bytes by its header, 400 to the file's end\n"
             "  to write      at 22 to 22: format: PCM, 44,100 Hz, 16 Bit, Stereo\n"
             "    old bytes   00\n"
             "    new bytes   02\n"
             "  to write      at 40 to 41: header of the audio, size 400\n"
             "    old bytes   00 00\n"
             "    new bytes   90 01\n"
             "  dry run       nothing was written\n");
  const Bytes two = riff("WAVE", chunk("fmt ", format_bytes({0x5B58, 2, 96000, 32})) + kAudioChunk);
  const std::pair<Bytes, const char*> formats[] = {
      {two,
       "it may be PCM, 96,000 Hz, 32 Bit, Stereo, or PCM (float), 96,000 Hz, 32 Bit (IEEE Float), Stereo: the first"},
      {with(kPlain, 20, Bytes(16, '\xFF')), "taken from --rate as when left out, --channels as when left out"},
      {kPlain, "format: PCM, 44,100 Hz, 16 Bit, Stereo\n"},
      {kAudio, "taken as PCM, 44,100 Hz, 16 Bit, Stereo\n"}};
  for (const auto& [bytes, line] : formats)
    EXPECT_NE(qv_says({"repair", folder.put("file.wav", bytes), "--no-undo"}).find(line), Bytes::npos);
}

TEST(Repair, ABackupThatIsThereStays) {
  const ScratchFolder folder;
  const Bytes damaged = with(kPlain, 40, u32(0));
  const std::string file = folder.put("file.wav", damaged);
  folder.put("file.wav.bak", "an older one");
  EXPECT_NE(run_qv({"repair", file, "--backup"}).error.find("is there already"), std::string::npos);
  EXPECT_EQ(read_file(file) == damaged, true);
  EXPECT_EQ(read_file(file + ".bak"), "an older one");
}

TEST(Repair, ARepairIsUndoneOrAcceptedBeforeTheNext) {
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", with(kPlain, 40, u32(0)));
  qv_says({"repair", file});
  const Bytes again = with(kPlain, 40, u32(7));
  folder.put("file.wav", again);
  for (const Arguments& words : {Arguments{"repair", file}, {"repair", file, "--no-undo"}})
    EXPECT_NE(run_qv(words).error.find("take that back by --undo, or accept it by removing " + file), Bytes::npos);
  expect_refused(run_qv({"repair", file, "--undo"}), 1, file + ": ", "has been changed since");
  EXPECT_EQ(read_file(file), again);
  std::filesystem::remove(file + ".qv-undo");
  qv_says({"repair", file});
  EXPECT_EQ(read_file(file), kPlain);
}

TEST(Repair, WithoutRoomForAnUndoFileNeedsToBeToldSo) {
  const ScratchFolder folder;
  const Bytes damaged = with(kPlain, 40, u32(0));
  const std::string file = folder.put(std::string(248, 'a'), damaged);
  const Outcome outcome = run_qv({"repair", file});
  EXPECT_EQ(outcome.error,
            "qv: " + file + ".qv-undo: cannot be written: the name is too long: --no-undo repairs without it\n");
  EXPECT_EQ(read_file(file), damaged);
  qv_says({"repair", file, "--no-undo"});
  EXPECT_EQ(read_file(file), kPlain);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(Repair, AFileMadeToCostTime) {
  // Headers of audio without end, each with chunks without end behind it, and none of them leads to the file's end.
  Bytes headers;
  for (uint32_t k = 0; k < 8000; ++k)
    headers += header("data", 64'000 - 8 * k);
  Bytes chunks;
  for (int k = 0; k < 200'000; ++k)
    chunks += header("abcd", 0);
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", pattern(70) + headers + chunks + kJunk); // which no chunk is
  const std::string command = "ulimit -t 20; exec \"$0\" repair --dry-run \"$1\"";
  EXPECT_EQ(run({"sh", "-c", command, QV_PROGRAM, file}).exit_code, 0);
}

TEST(Repair, Over4GiB) {
  const struct {
    const char* name;
    Bytes start, mended;
  } cases[] = {
      {"gentle", with(with(kPlain, 4, u32(0)), 40, u32(0)), with(with(kPlain, 4, kUnknownSize), 40, u32(0xFFFFFFFC))},
      {"a new header", pattern(70) + kAudioChunk, with(with(kJunked, 4, kUnknownSize), 74, u32(0xFFFFFFFC))},
      {"Wave64", with(kPlain64, 16, u64(0)),
       with(kPlain64, 16, u64(112 + 5'000'000'000)).replace(104, 8, u64(24 + 5'000'000'000))},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", row.start);
    std::filesystem::resize_file(file, row.start.size() - kAudio.size() + 5'000'000'000); // sparse
    EXPECT_EQ(is_sound(qv_says({"repair", file})), false);
    Bytes start(row.mended.size(), '\0');
    std::ifstream(file, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()));
    EXPECT_EQ(start == row.mended, true);
    EXPECT_EQ(std::filesystem::file_size(file), row.start.size() - kAudio.size() + 5'000'000'000);
    EXPECT_EQ(is_sound(qv_says({"repair", file})), true);
  }
}

/// Lengths all over a file that is cut, and bytes all over its header in ruins, ends in a file that is sound.
TEST(Repair, CutsAndRuinedBytesAllOver) {
  for (const Bytes& whole : {riff("WAVE", kTwoLists), kPlain64}) {
    const size_t audio = whole.find(kAudio);
    for (size_t at = 0; at < whole.size() + audio; at += 7) {
      SCOPED_TRACE(at);
      const Bytes before = at < whole.size() ? whole.substr(0, at) : with(whole, at - whole.size(), "\xFF");
      const ScratchFolder folder;
      const std::string file = folder.put(whole == kPlain64 ? "file.w64" : "file.wav", before);
      const Outcome outcome = run_qv({"repair", file});
      const Bytes after = read_file(file);
      if (outcome.exit_code == 0) {
        EXPECT_EQ(after.size() >= before.size(), true);
        EXPECT_EQ(is_sound(qv_says({"repair", file})), true) << outcome.out;
        EXPECT_EQ(run_qv({"info", file}).exit_code, 0) << outcome.out;
      } else {
        EXPECT_EQ(outcome.exit_code, 1);
        EXPECT_EQ(before.size() < audio + 4, true) << outcome.error;
        EXPECT_EQ(after == before, true);
      }
      if (at >= whole.size()) EXPECT_NE(after.find(kAudio), Bytes::npos) << outcome.out;
    }
  }
}

} // namespace
