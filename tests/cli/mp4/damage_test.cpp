// MP4 files that are damaged, or made to do harm: what is left is shown with a warning, and nothing takes long.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/failure.h"
#include "tools/qv/mp4/mp4_summary.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace cli_test::mp4;
using qv::tool::Mp4Summary;

namespace {

const Bytes kMedia = box("mdat", zeros(80));

TEST(Mp4Damage, IsToldInOneLine) {
  const Bytes good = plain_file();
  const auto tables = [](const Bytes& stsz, const Bytes& stco) {
    return file_type() + kMedia +
           movie(box("trak", track_header(1, 1000) + media(media_header(1000, 1000), "soun", stsz + stco)));
  };
  const Bytes stsz = full_box("stsz", u32(4) + u32(2));
  const struct {
    const char* name;
    Bytes file;
    const char* warning; ///< null: none
  } cases[] = {
      {"nothing", good, nullptr},
      {"zeros behind the boxes of \"udta\"", plain_file(box("udta", zeros(4))), nullptr},
      {"media to the end", file_type() + movie(plain_track()) + header("mdat", 0) + zeros(200), nullptr},
      {"a movie in front of cut media", file_type() + movie(plain_track()) + header("mdat", 500) + zeros(100),
       "\"mdat\" at 469 claims 500 bytes, of which 108 are there"},
      {"large media that are cut", file_type() + movie(plain_track()) + header("mdat", 1) + u64(1ull << 40),
       "claims 1099511627776 bytes"},
      {"a cut movie", good.substr(0, good.size() - 100), " bytes, of which "},
      {"bytes that are no boxes", good + zeros(9) + "abc", "12 bytes behind the last box belong to none"},
      {"a box without a size", good + header("free", 0) + zeros(3), "11 bytes behind the last box belong to none"},
      {"a level that ends early", plain_file(box("udta", header("free", 4) + zeros(20))),
       "28 bytes at the end of \"udta\" at 557 are no box"},
      {"a track without tables", file_type() + movie(box("trak", track_header(3, 0))),
       "track 3 has no table of samples"},
      {"sizes that are missing", tables(full_box("stsz", u32(0) + u32(5) + u32(1)), ""),
       "track 1: it has 5 samples, and the sizes of 1"},
      {"chunks that are missing", tables(stsz, full_box("stco", u32(3) + u32(1) + u32(2))),
       "it has 3 chunks, and the places of 2"},
      {"chunks behind the end", tables(stsz, full_box("stco", u32(3) + u32(1) + u32(5000) + u32(6000))),
       "2 of 3 chunks lie behind the end"},
      {"far behind the end", tables(stsz, full_box("co64", u32(1) + u64(1ull << 60))),
       "1 of 1 chunks lie behind the end"},
  };
  const ScratchFolder folder;
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const Mp4Summary summary = qv::tool::read_mp4_summary(folder.put("in.mp4", row.file));
    Bytes all;
    for (const std::string& warning : summary.warnings)
      all += warning + "\n";
    if (row.warning)
      EXPECT_NE(all.find(row.warning), Bytes::npos) << all;
    else
      EXPECT_EQ(all, "");
  }
  const Bytes in = folder.put("in.mp4", good + zeros(9) + "abc");
  const Outcome outcome = run_qv({"info", in});
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.error, "qv: " + in + ": warning: 12 bytes behind the last box belong to none\n");
}

TEST(Mp4Damage, CommandsThatNeedSamplesRefuse) {
  const ScratchFolder folder;
  for (const char* first : {"ftyp", "styp", "moov", "moof", "mdat", "free", "skip", "wide", "pnot", "sidx"}) {
    const Bytes in = folder.put("in.wav", box(first) + plain_file());
    for (const Arguments& command : {Arguments{"stats", in}, {"convert", in, folder.file("out.wav")}, {"tag", in}})
      expect_refused(run_qv(command), 1, in + ": ", "an MP4 file");
    expect_refused(run_qv({"repair", in}), 1, in + ": ", "an MP4 file");
    EXPECT_EQ(folder.names(), std::vector<Bytes>{"in.wav"});
  }
  expect_refused(run_qv({"info", folder.put("in.mp4", file_type() + kMedia), "--json"}), 1,
                 folder.file("in.mp4") + ": ", "no \"moov\" box");
}

/// A file with something of everything that is read.
Bytes full_file() {
  const Bytes edits = box("edts", full_box("elst", u32(1) + u32(900) + u32(0) + u32(0x10000)));
  const Bytes sound = sound_entry("alac", 2, 16, 44100, full_box("alac", zeros(24)));
  const Bytes titles =
      media(media_header(1000, 1000), "text", descriptions(box("text", zeros(8))) + even_tables(2, 6, 500, 28));
  const Bytes items = item("\xA9nam", 1, "name") + item("covr", 13, "\xFF\xD8\xFF") +
                      box("----", full_box("mean", "m") + full_box("name", "n") + box("data", u32(1) + u32(0) + "v"));
  const Bytes fragments =
      box("moof", box("traf", full_box("tfhd", u32(1)) + box("trun", u32(0x300) + u32(1) + u32(1) + u32(2))));
  return file_type() + box("mdat", u16(4) + "abcd" + u16(2) + "efgh") +
         movie(box("trak", track_header(1, 1000) + edits + box("tref", box("chap", u32(2))) +
                               media(media_header(44100, 44100), "soun",
                                     descriptions(sound) + full_box("stz2", u32(4) + u32(3) + u16(0x1230)) +
                                         full_box("co64", u32(1) + u64(28)))) +
               box("trak", track_header(2, 1000) + titles) + item_list(items) +
               box("udta", full_box("titl", u16(0) + "t") +
                               box("\xA9"
                                   "cpy",
                                   u16(1) + u16(0) + "c") +
                               full_box("yrrc", u16(1)) +
                               full_box("chpl", zeros(4) + u8(1) + u64(1) + u8(1) + "x", 1)) +
               full_box("meta",
                        full_box("keys", u32(1) + u32(9) + "mdtak") + full_box("ID32", u16(0) + "ID3\3" + zeros(6))) +
               box("mvex", full_box("trex", u32(1) + u32(1) + u32(5) + u32(6) + u32(0)))) +
         fragments;
}

/// Whether it is read, or refused as it should be.
bool is_read(const ScratchFolder& folder, const Bytes& file) {
  try {
    const Mp4Summary summary = qv::tool::read_mp4_summary(folder.put("in.mp4", file));
    EXPECT_LE(summary.tracks.size(), 3u);
    EXPECT_LE(summary.chapters.size(), 10'000u);
    return true;
  } catch (const qv::tool::Failure&) {
    return false;
  }
}

TEST(Mp4Damage, AFileCutAnywhereOrWithAnyWrongByteIsTaken) {
  const ScratchFolder folder;
  const Bytes whole = full_file();
  const Mp4Summary summary = qv::tool::read_mp4_summary(folder.put("in.mp4", whole));
  ASSERT_EQ(summary.tracks.size(), 2u);
  EXPECT_EQ(summary.tracks[0].samples, 4u);
  EXPECT_EQ(summary.tracks[0].bit_rate, 64u) << "1 + 2 + 3 + 2 bytes in a second";
  ASSERT_EQ(summary.chapters.size(), 2u);
  EXPECT_EQ(summary.chapters[0].title + summary.chapters[1].title, "abcdef");
  EXPECT_EQ(summary.chapters[1].start, 5'000'000u);
  EXPECT_EQ(summary.pictures.size(), 1u);
  EXPECT_EQ(summary.texts.size(), 5u);
  EXPECT_EQ(summary.warnings, std::vector<Bytes>());
  const size_t movie_at = whole.find("moov") - 4;
  for (size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(is_read(folder, whole.substr(0, size)), size >= movie_at + 8) << size;
  for (size_t at = 0; at < whole.size(); ++at)
    for (const char byte : {'\0', '\xFF'}) {
      Bytes file = whole;
      file[at] = byte;
      is_read(folder, file);
    }
}

TEST(Mp4Damage, CountsThatCannotBe) {
  // Each would take for ever, or all memory, if it were believed.
  const ScratchFolder folder;
  const Bytes huge = u32(0xFFFFFFFF);
  const auto with_tables = [](const Bytes& tables) {
    return file_type() + kMedia +
           movie(box("trak", track_header(1, 1) + box("tref", box("chap", u32(1))) +
                                 media(media_header(1000, 1000), "text", tables)));
  };
  const Bytes places = full_box("stco", u32(1) + u32(40));
  const Bytes cases[] = {
      with_tables(full_box("stsz", u32(0) + huge) + places),
      with_tables(full_box("stsz", u32(1) + huge) + full_box("stsc", u32(1) + u32(1) + huge + u32(1)) + places),
      with_tables(full_box("stsz", u32(0xFFFFFFFF) + huge) + full_box("stsc", u32(1) + u32(1) + huge + u32(1)) +
                  places),
      with_tables(full_box("stz2", u32(0) + huge) + places),
      with_tables(full_box("stsz", u32(1) + u32(9)) + full_box("stsc", huge + u32(1) + u32(0) + u32(1)) + places),
      with_tables(full_box("stts", huge + u32(0) + u32(0)) + full_box("stsz", u32(1) + u32(9)) +
                  full_box("stsc", u32(1) + u32(1) + huge + u32(1)) + places),
      with_tables(full_box("co64", huge)),
      plain_file(full_box("meta", full_box("keys", huge + u32(0) + zeros(4)))),
      plain_file(box("udta", box("\xA9nam", u16(0xFFFF) + u16(0)))),
      plain_file(box("udta", full_box("chpl", u32(0) + u8(255), 1))),
  };
  for (const Bytes& file : cases)
    EXPECT_TRUE(is_read(folder, file)) << &file - cases;
}

TEST(Mp4Damage, SamplesThatAreNotThereTakeNoTime) {
  Bytes runs = full_box("tfhd", u32(1));
  for (int k = 0; k < 50; ++k)
    runs += box("trun", u32(0x100) + u32(0xFFFFFFFF) + u32(1));
  const ScratchFolder folder;
  const Bytes in = folder.put("in.mp4", plain_file() + box("moof", box("traf", runs)));
  EXPECT_EQ(run({"sh", "-c", "ulimit -t 20; exec \"$0\" info \"$1\"", QV_PROGRAM, in}).exit_code, 0);
}

} // namespace
