// What qv info says of MP4 files, and that no file of any kind is too much for it.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/failure.h"
#include "tools/qv/mp4/mp4_summary.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace cli_test::mp4;
using Json = nlohmann::json;
using qv::tool::Mp4Summary;

namespace {

Mp4Summary summary_of(const ScratchFolder& folder, const Bytes& file) {
  return qv::tool::read_mp4_summary(folder.put("in.mp4", file));
}

TEST(Mp4Info, JsonHoldsBrandsTracksTextsAndChapters) {
  const ScratchFolder folder;
  const Bytes chapters = full_box("chpl", zeros(4) + u8(1) + u64(5'000'000) + u8(3) + "Two", 1);
  const Bytes texts =
      full_box("meta", handler("mdir") + box("ilst", item("\xA9nam", 1, "Caf\xC3\xA9") +
                                                         item("trkn", 0, u16(0) + u16(3) + u16(12) + u16(0)) +
                                                         item("covr", 14, "\x89PNG\r\n\x1A\nxyz")));
  const Bytes file = plain_file(box("udta", chapters + texts));
  const std::string name = folder.put("in.m4a", file);
  const Json expected = {
      {"file", name},
      {"container", "M4A"},
      {"format_text", "PCM, little-endian"},
      {"sample_rate", 44100},
      {"channels", 2},
      {"bits", 16},
      {"duration_100ns", 10'000'000},
      {"brand", {{"major", "M4A "}, {"version", 1}, {"compatible", {"isom"}}}},
      {"fragments", 0},
      {"tracks", Json::parse(R"([{"id": 1, "kind": "audio", "codec": "sowt", "codec_text": "PCM, little-endian",
        "duration_100ns": 10000000, "bit_rate": 320, "samples": 10, "timescale": 10000, "language": "und",
        "sample_rate": 44100, "channels": 2, "bits": 16}])")},
      {"summary", {{"\u00A9nam", "Caf\u00E9"}, {"trkn", "3/12"}}},
      {"texts",
       Json::parse(
           R"([{"id": "\u00a9nam", "text": "Caf\u00e9", "size": 5}, {"id": "trkn", "text": "3/12", "size": 8}])")},
      {"pictures", Json::parse(R"([{"type": "PNG", "size": 11}])")},
      {"chapters", Json::parse(R"([{"start_100ns": 5000000, "title": "Two"}])")},
  };
  EXPECT_EQ(qv_json({"info", name}), expected);
  EXPECT_EQ(qv_says({"info", name}), name + "\n"
                                            "  container     M4A\n"
                                            "  brands        \"M4A \", version 1; compatible: \"isom\"\n"
                                            "  duration      00:00:01.000\n"
                                            "  track         1: audio, PCM, little-endian (\"sowt\"), 44100 Hz, 2 "
                                            "channels, 16 bits, 00:00:01.000, 320 bit/s, "
                                            "10 samples, language und\n"
                                            "  summary       \xC2\xA9nam: Caf\xC3\xA9\n"
                                            "  summary       trkn: 3/12\n"
                                            "  picture       PNG, 11 bytes\n"
                                            "  chapter       00:00:00.500: Two\n");
}

TEST(Mp4Info, ValuesOfItemsAreTexts) {
  const Bytes freeform = box("----", full_box("mean", "com.apple.iTunes") + full_box("name", "LABEL") +
                                         box("data", u32(1) + u32(0) + "x") + box("data", u32(1) + u32(0) + "y"));
  const struct {
    Bytes item;
    const char* id;
    const char* text;
  } cases[] = {
      {item("\xA9"
            "ART",
            2, Bytes("\x04\x16\0x", 4)),
       "\u00A9ART", "\u0416x"},
      {item("\xA9"
            "cmt",
            1, Bytes("cut\0off", 7)),
       "\u00A9cmt", "cut"},
      {item("\xA9"
            "wrt",
            1, "\xE4"),
       "\u00A9wrt", "\u00E4"}, // no UTF-8
      {freeform, "com.apple.iTunes:LABEL", "x"},
      {item("tmpo", 21, u16(120)), "tmpo", "120"},
      {item("rate", 21, u16(0xFFFE)), "rate", "-2"},
      {item("long", 21, u64(1ull << 63)), "long", "-9223372036854775808"},
      {item("cnID", 22, u32(0xFFFFFFFF)), "cnID", "4294967295"},
      {item("flt ", 23, u32(0x3FC00000)), "flt ", "1.5"},
      {item("dbl ", 24, u64(0xC004000000000000)), "dbl ", "-2.5"},
      {item("cpil", 0, u8(1)), "cpil", "1"},
      {item("disk", 0, u16(0) + u16(2) + u16(0)), "disk", "2"},
      {item("gnre", 0, u16(10)), "gnre", "Metal"},
      {item("gnre", 0, u16(999)), "gnre", "999"},
      {item("bin ", 0, "12345"), "bin ", ""},
      {item("bad ", 21, ""), "bad ", ""},
      {item("bad ", 23, "123"), "bad ", ""},
      {item("bad ", 22, "123456789"), "bad ", ""},
  };
  const ScratchFolder folder;
  for (const auto& row : cases) {
    SCOPED_TRACE(row.id);
    const Mp4Summary summary = summary_of(folder, plain_file(item_list(row.item)));
    ASSERT_FALSE(summary.texts.empty());
    EXPECT_EQ(summary.texts[0].id, row.id);
    EXPECT_EQ(summary.texts[0].text, row.text);
  }
  EXPECT_EQ(summary_of(folder, plain_file(item_list(freeform))).texts.size(), 2u);
}

TEST(Mp4Info, TextsOfOtherKinds) {
  const ScratchFolder folder;
  const auto asset = [](const char* type, uint16_t language, const Bytes& text) {
    return full_box(type, u16(language) + text);
  };
  const Bytes keys = full_box("keys", u32(2) + u32(12) + "mdta" + "long" + u32(13) + "mdta" + "title");
  const Bytes named =
      full_box("meta", handler("mdta") + keys + box("ilst", item(u32(2), 1, "Key") + item(u32(3), 1, "no")));
  const Bytes tag = "ID3\4" + zeros(5) + u8(13) + "TIT2" + u32(3) + zeros(2) + u8(3) + "T3";
  const Bytes udta = asset("titl", 0x10B5, Bytes("Titel\0", 6)) +
                     asset("perf", 0x15C7, Bytes("\xFE\xFF\0P\x04\x16\0\0", 8)) + asset("auth", 0x15C7, "A") +
                     full_box("yrrc", u16(1999)) +
                     box("\xA9nam", u16(2) + u16(2) + "De" + u16(3) + u16(0x15C7) + "Eng" + zeros(4)) +
                     full_box("meta", handler("ID32") + full_box("ID32", u16(0x15C7) + tag));
  const Mp4Summary summary = summary_of(folder, plain_file(box("udta", udta + zeros(4)) + named));
  std::string all;
  for (const auto& text : summary.texts)
    all += text.id + "/" + text.language + "=" + text.text + ";";
  EXPECT_EQ(all, "auth/eng=A;\u00A9nam/deu=De;\u00A9nam/eng=Eng;titl/deu=Titel;perf/eng=P\u0416;yrrc/=1999;"
                 "title/=Key;" +
                     std::string(3, '\0') + "\3/=no;");
  ASSERT_TRUE(summary.id3);
  ASSERT_EQ(summary.id3->frames.size(), 1u);
  EXPECT_EQ(summary.id3->frames[0].text, "T3");
  EXPECT_TRUE(summary.warnings.empty()) << summary.warnings[0];
}

TEST(Mp4Info, WhatATrackIsCalledIsNotWhatTheFileIs) {
  const ScratchFolder folder;
  const Bytes named =
      box("udta", full_box("titl", u16(0x55C4) + "of the track") + box("\xA9nam", u16(1) + u16(0) + "x"));
  EXPECT_TRUE(summary_of(folder, file_type() + movie(plain_track(0, named))).texts.empty());
}

TEST(Mp4Info, EditsDecideHowLongATrackIs) {
  // Media of 10,000 units, a second; the movie counts milliseconds.
  const auto edits = [](const Bytes& entries, uint32_t count, uint8_t version = 0) {
    return box("edts", full_box("elst", u32(count) + entries, version));
  };
  const auto edit = [](uint32_t units, uint32_t start) { return u32(units) + u32(start) + u32(0x10000); };
  const struct {
    Bytes edts;
    uint64_t duration;
  } cases[] = {
      {"", 10'000'000},
      {edits(edit(600, 0), 1), 6'000'000},
      {edits(edit(500, 0xFFFFFFFF) + edit(600, 100) + edit(50, 0), 3), 6'500'000},
      {edits(u64(700) + u64(100) + u32(0x10000), 1, 1), 7'000'000},
      {edits(u64(700) + u64(~0ull) + u32(0x10000), 1, 1), 10'000'000},
      {edits(edit(0, 2500), 1), 7'500'000}, // to the end, as in fragments
      {edits(edit(0, 20000), 1), 0},
      {edits(edit(500, 100) + edit(0, 2500), 2), 7'500'000},
      {edits(edit(600, 0), 0xFFFFFFFF), 6'000'000}, // more than there are
  };
  const ScratchFolder folder;
  for (const auto& row : cases)
    EXPECT_EQ(summary_of(folder, file_type() + movie(plain_track(0, row.edts))).tracks.at(0).duration, row.duration)
        << &row - cases;
}

TEST(Mp4Info, HeadersOfVersionOneAndUnknownLengths) {
  const auto file = [](const Bytes& mvhd, const Bytes& mdhd) {
    return box("moov", mvhd + box("trak", full_box("tkhd", zeros(16) + u32(7) + zeros(72), 1) +
                                              media(mdhd, "soun", even_tables(3, 0, 1000, 0))));
  };
  const auto long_times = [](const char* type, uint64_t units) {
    return full_box(type, zeros(16) + u32(1000) + u64(units) + u16(0x10B5) + zeros(90), 1);
  };
  const struct {
    Bytes mvhd, mdhd;
    uint64_t movie, track;
  } cases[] = {
      {long_times("mvhd", 1ull << 33), long_times("mdhd", 1ull << 33), (1ull << 33) * 10'000, (1ull << 33) * 10'000},
      {long_times("mvhd", ~0ull), long_times("mdhd", 5), 50'000, 50'000},
      {long_times("mvhd", ~0ull >> 1), long_times("mdhd", ~0ull >> 1), 0, 0}, // longer than can be said
      {movie_header(1000, 0xFFFFFFFF), media_header(1000, 0xFFFFFFFF, 2), 0, 0},
      {movie_header(0, 9), media_header(0, 9, 2), 0, 0},
  };
  const ScratchFolder folder;
  for (const auto& row : cases) {
    const Mp4Summary summary = summary_of(folder, file(row.mvhd, row.mdhd));
    EXPECT_EQ(summary.duration, row.movie) << &row - cases;
    ASSERT_EQ(summary.tracks.size(), 1u);
    EXPECT_EQ(summary.tracks[0].duration, row.track) << &row - cases;
    EXPECT_EQ(summary.tracks[0].id, 7u);
    EXPECT_EQ(summary.tracks[0].language, "deu");
    EXPECT_EQ(summary.container, "QuickTime") << "without \"ftyp\"";
  }
}

} // namespace
