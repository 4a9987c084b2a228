// What a sample entry says of a codec, from bytes laid out as the standards have them, and what fragments add.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/mp4_summary.h"
#include "tools/qv/mp4/track/audio_config.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace cli_test::mp4;
using qv::tool::Mp4Summary;

namespace {

/// "esds" of an object type, an average bit rate, and what the decoder is told.
Bytes esds(uint32_t object_type, const Bytes& info, const Bytes& before = u8(0), uint32_t bit_rate = 128000) {
  const auto descriptor = [](uint32_t tag, const Bytes& payload) {
    return u8(tag) + "\x80\x80" + u8(payload.size()) + payload; // a length of more bytes than it needs
  };
  const Bytes config = u8(object_type) + u8(0x15) + zeros(7) + u32(bit_rate) + descriptor(5, info);
  return full_box("esds", descriptor(3, u16(1) + before + descriptor(4, config) + descriptor(6, u8(2))));
}

TEST(Mp4Codecs, EntriesAndTheirBoxes) {
  const Bytes alac =
      full_box("alac", u32(4096) + u8(0) + u8(20) + zeros(3) + u8(6) + u16(255) + zeros(4) + u32(900000) + u32(192000));
  const Bytes streaminfo = zeros(4) + u8(0x80) + zeros(3) + zeros(10) + "\x0A\xC4\x42\xF0" + zeros(20);
  const Bytes version_2 = u32(72) + u64(0x40F7700000000000) + u32(6) + u32(0x7F000000) + u32(24) + zeros(12);
  const Bytes quick = zeros(16) + box("wave", box("frma", "mp4a") + esds(0x40, "\x12\x10"));
  const auto numbered = [](uint16_t version, Bytes entry) { return entry.replace(16, 2, u16(version)); };
  const struct {
    const char* name;
    Bytes entry;
    const char* text;
    uint32_t rate, channels, bits;
  } cases[] = {
      {"AAC LC", sound_entry("mp4a", 2, 16, 0, esds(0x40, "\x12\x08")), "AAC LC", 44100, 1, 0},
      {"AAC of a rate of its own", sound_entry("mp4a", 2, 16, 0, esds(0x40, "\x17\x80\x5D\xC0\x10")), "AAC LC", 48000,
       2, 0},
      {"eight channels", sound_entry("mp4a", 2, 16, 0, esds(0x40, "\x11\xB8")), "AAC LC", 48000, 8, 0},
      {"channels elsewhere", sound_entry("mp4a", 6, 16, 0, esds(0x40, Bytes("\x11\x80", 2))), "AAC LC", 48000, 6, 0},
      {"HE-AAC", sound_entry("mp4a", 2, 16, 24000, esds(0x40, "\x2B\x11\x88")), "HE-AAC", 48000, 2, 0},
      {"HE-AAC v2", sound_entry("mp4a", 1, 16, 24000, esds(0x40, "\xEB\x09\x88")), "HE-AAC v2", 48000, 2, 0},
      {"HE-AAC that hides", sound_entry("mp4a", 2, 16, 24000, esds(0x40, Bytes("\x13\x10\x56\xE5\x98", 5))), "HE-AAC",
       48000, 2, 0},
      {"HE-AAC v2 that hides", sound_entry("mp4a", 1, 16, 24000, esds(0x40, "\x13\x08\x56\xE5\x9D\x48\x80")),
       "HE-AAC v2", 48000, 2, 0},
      {"AAC that could hide, and does not", sound_entry("mp4a", 2, 16, 0, esds(0x40, Bytes("\x11\x90\x56\xE5\0", 5))),
       "AAC LC", 48000, 2, 0},
      {"xHE-AAC", sound_entry("mp4a", 2, 16, 48000, esds(0x40, "\xF9\x46\x40")), "xHE-AAC", 48000, 2, 0},
      {"MPEG-2 AAC", sound_entry("mp4a", 2, 16, 22050, esds(0x67, "\x13\x90")), "AAC LC", 22050, 2, 0},
      {"MP3", sound_entry("mp4a", 2, 16, 32000, esds(0x6B, "")), "MPEG audio", 32000, 2, 0},
      {"an object of no name", sound_entry("mp4a", 2, 16, 32000, esds(0xFE, "")), "object type 254", 32000, 2, 0},
      {"a stream that depends",
       sound_entry("mp4a", 1, 16, 0, esds(0x40, "\x12\x10", u8(0xE0) + u16(2) + u8(3) + "url" + u16(4))), "AAC LC",
       44100, 2, 0},
      {"no esds", sound_entry("mp4a", 1, 16, 8000), "MPEG-4 audio", 8000, 1, 0},
      {"an esds that is cut", sound_entry("mp4a", 1, 16, 8000, full_box("esds", "\3\x40")), "MPEG-4 audio", 8000, 1, 0},
      {"QuickTime's AAC", numbered(1, sound_entry("mp4a", 2, 16, 0, quick)), "AAC LC", 44100, 2, 0},
      {"QuickTime's second version", numbered(2, sound_entry("lpcm", 3, 16, 1, version_2)), "PCM", 96000, 6, 24},
      {"Apple Lossless", sound_entry("alac", 2, 16, 0, alac), "Apple Lossless", 192000, 6, 20},
      {"AC-3", sound_entry("ac-3", 2, 16, 48000, box("dac3", "\x10\x3D\xE0")), "AC-3", 48000, 6, 0},
      {"E-AC-3", sound_entry("ec-3", 2, 16, 48000, box("dec3", Bytes("\x06\0\x60\x04\0", 5))), "E-AC-3", 44100, 2, 0},
      {"Opus", sound_entry("Opus", 2, 16, 44100, box("dOps", Bytes("\0\x06", 2) + zeros(9))), "Opus", 48000, 6, 0},
      {"FLAC", sound_entry("fLaC", 2, 16, 0, box("dfLa", streaminfo)), "FLAC", 44100, 2, 16},
      {"AMR", sound_entry("samr", 2, 16, 1000), "AMR narrow band", 8000, 1, 0},
      {"AMR of wide band", sound_entry("sawb", 2, 16, 1000), "AMR wide band", 16000, 1, 0},
      {"PCM of the entry's bits", sound_entry("twos", 1, 8, 11025), "PCM, big-endian", 11025, 1, 8},
      {"PCM of its own bits", sound_entry("in24", 1, 16, 11025), "PCM of 24 bits", 11025, 1, 24},
      {"no codec that is known", sound_entry("\xA9xyz", 1, 16, 11025), "\u00A9xyz", 11025, 1, 0},
  };
  for (const auto& row : cases) {
    const auto format = qv::tool::parse_sample_format(descriptions(row.entry).substr(8), QvFourCC("soun"));
    EXPECT_EQ(format.codec_name, row.text) << row.name;
    EXPECT_EQ(format.sample_rate, row.rate) << row.name;
    EXPECT_EQ(format.channels, row.channels) << row.name;
    EXPECT_EQ(format.bits, row.bits) << row.name;
  }
}

TEST(Mp4Codecs, FramesOfMpegAudioSayWhatTheirEntryDoesNot) {
  const struct {
    const char* frame;
    const char* text;
    uint32_t rate, channels;
  } cases[] = {{"\xFF\xFB\x90\xC4", "MP3", 44100, 1},
               {"\xFF\xFD\x94\x44", "MP2", 48000, 2},
               {"\xFF\xF3\x98\xC4", "MP3", 16000, 1},
               {"\xFF\xE3\x90\x84", "MP3", 11025, 2},
               {"\xFF\xFB\x9C\xC4", "", 1, 7},
               {"\xFF\xEB\x90\xC4", "", 1, 7},
               {"\xFF\xF9\x90\xC4", "", 1, 7},
               {"\xFE\xFB\x90\xC4", "", 1, 7},
               {"\xFF\xFB\x90", "", 1, 7}};
  for (const auto& row : cases) {
    qv::tool::SampleFormat format;
    format.sample_rate = 1;
    format.channels = 7;
    qv::tool::apply_mpeg_frame(row.frame, format);
    EXPECT_EQ(format.codec_name, row.text) << &row - cases;
    EXPECT_EQ(format.sample_rate, row.rate) << &row - cases;
    EXPECT_EQ(format.channels, row.channels) << &row - cases;
  }
}

TEST(Mp4Codecs, NamesOfBrandsAndLanguages) {
  const auto code = [](const char(&text)[5]) { return QvFourCC(text); };
  EXPECT_EQ(qv::tool::container_name(code("3gp6")), "3GP");
  EXPECT_EQ(qv::tool::container_name(code("3g2a")), "3G2");
  EXPECT_EQ(qv::tool::container_name(code("qt  ")), "QuickTime");
  EXPECT_EQ(qv::tool::container_name(code("isom")), "MP4");
  constexpr struct {
    uint16_t packed;
    const char* code;
  } kLanguages[] = {{0, "eng"},     {33, "zho"},     {34, "und"},     {0x3FF, "und"},  {0x400, "und"},
                    {0x421, "aaa"}, {0x6B5A, "zzz"}, {0x7FFF, "und"}, {0x55C4, "und"}, {0x19E1, "foa"}};
  for (const auto& row : kLanguages)
    EXPECT_EQ(qv::tool::language_code(row.packed), row.code) << row.packed;
}

// ---- fragments -----------------------------------------------------------------------------------------------------

Bytes flagged(const char* type, uint32_t flags, const Bytes& payload) { return box(type, u32(flags) + payload); }
Bytes fragment(const Bytes& traf) { return box("moof", full_box("mfhd", u32(1)) + box("traf", traf)); }

struct Sum {
  uint64_t samples, bit_rate, duration;
};

Sum sum_of(const Bytes& extends, const Bytes& fragments) {
  const ScratchFolder folder;
  const Bytes track = box("trak", track_header(1, 0) + media(media_header(1000, 0), "soun", even_tables(0, 0, 0, 0)));
  const auto summary = qv::tool::read_mp4_summary(folder.put(
      "in.mp4", file_type() + box("moov", movie_header(1000, 0) + track + box("mvex", extends)) + fragments));
  EXPECT_EQ(summary.duration, summary.tracks[0].duration) << "where mvhd and mehd do not say it";
  return {summary.tracks[0].samples, summary.tracks[0].bit_rate, summary.tracks[0].duration};
}

TEST(Mp4Codecs, FragmentsAddToTheirTrack) {
  const Bytes extends = full_box("trex", u32(2) + u32(1) + u32(5) + u32(6) + u32(0)) +
                        full_box("trex", u32(1) + u32(1) + u32(100) + u32(50) + u32(0));
  const Bytes runs = flagged("trun", 0x305, u32(2) + u32(0) + u32(0) + u32(150) + u32(10) + u32(250) + u32(30)) +
                     flagged("trun", 0xE00, u32(2) + u32(20) + u64(0) + u32(40) + u64(0));
  const struct {
    const char* name;
    Bytes fragments;
    Sum sum;
  } cases[] = {
      {"by the track's defaults",
       fragment(flagged("tfhd", 0, u32(1)) + flagged("trun", 0, u32(10))),
       {10, 4000, 10'000'000}},
      {"by the fragment's",
       fragment(flagged("tfhd", 0x1B, u32(1) + u64(0) + u32(1) + u32(250) + u32(25)) + flagged("trun", 0, u32(4))),
       {4, 800, 10'000'000}},
      {"by the samples'", fragment(flagged("tfhd", 0, u32(1)) + runs), {4, 1333, 6'000'000}},
      {"two",
       fragment(flagged("tfhd", 0, u32(1)) + flagged("trun", 0, u32(3))) +
           fragment(flagged("tfhd", 0, u32(1)) + flagged("trun", 0, u32(2))),
       {5, 4000, 5'000'000}},
      {"of another track", fragment(flagged("tfhd", 0, u32(2)) + flagged("trun", 0, u32(3))), {0, 0, 0}},
      {"without a header", fragment(flagged("trun", 0, u32(3))), {0, 0, 0}},
      {"samples that are not there",
       fragment(flagged("tfhd", 0, u32(1)) + flagged("trun", 0x100, u32(~0u) + u32(7))),
       {~0u, 0, 70'000}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const Sum sum = sum_of(extends, row.fragments);
    EXPECT_EQ(sum.samples, row.sum.samples);
    EXPECT_EQ(sum.duration, row.sum.duration);
    if (row.sum.samples != ~0u) EXPECT_EQ(sum.bit_rate, row.sum.bit_rate);
  }
}

TEST(Mp4Codecs, AMovieOfFragmentsSaysHowLongItIs) {
  const ScratchFolder folder;
  for (const uint8_t version : {0, 1}) {
    const Bytes mehd = full_box("mehd", version == 0 ? u32(2500) : u64(2500), version);
    const auto summary = qv::tool::read_mp4_summary(
        folder.put("in.mp4", file_type() + box("moov", movie_header(1000, 0) + box("mvex", mehd))));
    EXPECT_EQ(summary.duration, 25'000'000u);
  }
  const auto segment = qv::tool::read_mp4_summary(
      folder.put("in.mp4", box("styp", "msdh") + fragment(flagged("tfhd", 0, u32(9)) + flagged("trun", 0, u32(3)))));
  ASSERT_EQ(segment.tracks.size(), 1u);
  EXPECT_EQ(segment.tracks[0].id, 9u);
  EXPECT_EQ(segment.tracks[0].samples, 3u);
  ASSERT_EQ(segment.warnings.size(), 1u);
  EXPECT_NE(segment.warnings[0].find("no \"moov\""), std::string::npos);
}

} // namespace
