// What qv convert makes of samples, channels, levels and headers.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <bit>
#include <gtest/gtest.h>

using namespace cli_test;

namespace {

Bytes floats(std::initializer_list<float> values) {
  Bytes bytes;
  for (const float value : values)
    bytes += u32(std::bit_cast<uint32_t>(value));
  return bytes;
}

Bytes fact(uint32_t frames) { return chunk("fact", u32(frames)); }

Bytes float_wave(uint32_t channels, const Bytes& data, uint32_t frames) {
  return riff("WAVE",
              chunk("fmt ", format_bytes({3, channels, 48000, 32}) + u16(0)) + fact(frames) + chunk("data", data));
}

struct Conversion {
  const char* name;
  Bytes in;
  Arguments options;
  Bytes out;
  int clipped = 0;
};

const Bytes kStereo = wave({1, 2, 48000, 16}, shorts({1000, -2000, 32767, -32768}));

const Conversion kConversions[] = {
    {"as it is", kStereo, {}, kStereo},
    {"the audio alone",
     riff("WAVE", list("INFO", chunk("INAM", "x")) + chunk("fmt ", format_bytes({})) + chunk("data", shorts({7}))),
     {"--no-metadata"},
     wave({}, shorts({7}))},
    {"wider",
     wave({}, shorts({-2, 0x1234})),
     {"--type", "pcm24"},
     wave({1, 1, 48000, 24}, Bytes("\x00\xFE\xFF\x00\x34\x12", 6))},
    {"odd size is padded",
     wave({}, shorts({0, 256, -256})),
     {"--type", "pcm8"},
     wave({1, 1, 48000, 8}, Bytes("\x80\x81\x7F", 3))},
    {"float gets a fact chunk",
     wave({}, shorts({16384, -32768})),
     {"--type", "float32"},
     float_wave(1, floats({0.5f, -1.0f}), 2)},
    {"float to integer clips",
     float_wave(1, floats({1.5f, -2.0f, 0.5f}), 3),
     {"--type", "pcm16"},
     wave({}, shorts({32767, -32768, 16384})),
     2},
    {"full scale of floats clips above, not below; nor does what rounds into the scale, a tie at its lower end too",
     float_wave(1, floats({1.0f, -1.0f, 0.99997f, 0.99999f, -1.00001f, -1.0f - 0x1p-16f}), 6),
     {"--type", "pcm16"},
     wave({}, shorts({32767, -32768, 32767, 32767, -32768, -32768})),
     2},
    {"dithered and clipped",
     float_wave(1, floats({1.5f, -2.0f, 0.0f}), 3),
     {"--type", "pcm8", "--dither", "shaped", "--gain-db", "60", "--channels", "1,1,1"},
     riff("WAVE",
          chunk("fmt ", extensible({1, 3, 48000, 8}, 7)) + chunk("data", Bytes("\xFF\xFF\xFF\0\0\0\x80\x80\x80", 9))),
     6},
    {"float keeps what is beyond full scale",
     float_wave(1, floats({1.5f, -2.0f}), 2),
     {},
     float_wave(1, floats({1.5f, -2.0f}), 2)},
    {"level", wave({}, shorts({1000, -1001})), {"--gain-db", "-20"}, wave({}, shorts({100, -100}))},
    {"level up, clipped", wave({}, shorts({20000, -100})), {"--gain-db", "20"}, wave({}, shorts({32767, -1000})), 1},
    {"mono is the average", kStereo, {"--mono"}, wave({}, shorts({-500, 0}))}, // -0.5 ties to even
    {"mono keeps the average's precision",
     wave({1, 2, 48000, 8}, Bytes("\x80\x81", 2)),
     {"--mono", "--type", "pcm16"},
     wave({}, shorts({128}))},
    {"mono with a level", kStereo, {"--mono", "--gain-db", "6.020599913279624"}, wave({}, shorts({-1000, -1}))},
    {"fewer channels", kStereo, {"--channels", "1"}, wave({}, shorts({1000, 32767}))},
    {"mono to stereo", wave({}, shorts({5, 6})), {"--channels", "2"}, wave({1, 2, 48000, 16}, shorts({5, 5, 6, 6}))},
    {"swapped", kStereo, {"--channels", "2,1"}, wave({1, 2, 48000, 16}, shorts({-2000, 1000, -32768, 32767}))},
    {"a map of one", kStereo, {"--channels", "2,"}, wave({}, shorts({-2000, -32768}))},
    {"silence in 8 bits",
     wave({1, 1, 48000, 8}, "ab"),
     {"--channels", "0,1"},
     wave({1, 2, 48000, 8}, Bytes("\x80"
                                  "a"
                                  "\x80"
                                  "b",
                                  4))},
    {"more than two channels",
     kStereo,
     {"--channels", "1,2,0"},
     riff("WAVE",
          chunk("fmt ", extensible({1, 3, 48000, 16}, 7)) + chunk("data", shorts({1000, -2000, 0, 32767, -32768, 0})))},
    {"a mask stays",
     riff("WAVE", chunk("fmt ", extensible({1, 2, 48000, 16}, 0x600)) + chunk("data", shorts({1, 2}))),
     {"--channels", "2,1"},
     riff("WAVE", chunk("fmt ", extensible({1, 2, 48000, 16}, 0x600)) + chunk("data", shorts({2, 1})))},
    {"a mask goes with the channels",
     riff("WAVE", chunk("fmt ", extensible({1, 2, 48000, 16}, 0x600)) + chunk("data", shorts({1, 2}))),
     {"--channels", "1"},
     wave({}, shorts({1}))},
    {"20 bits count as 24",
     riff("WAVE", chunk("fmt ", format_bytes({1, 1, 48000, 24}).replace(14, 2, u16(20))) + chunk("data", "abc")),
     {},
     wave({1, 1, 48000, 24}, "abc")},
    {"no frames", wave({}, ""), {"--type", "pcm32"}, wave({1, 1, 48000, 32}, "")},
};

TEST(Convert, WritesExactlyThis) {
  for (const Conversion& row : kConversions) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.in);
    const std::string out = folder.file("out.wav");
    const Outcome outcome = run_qv({"convert", in, out, "--json"}, row.options);
    EXPECT_EQ(nlohmann::json::parse(outcome.out)["clipped_samples"], row.clipped) << outcome.error;
    const std::string line = "qv: " + out + ": warning: " + std::to_string(row.clipped) + " sample";
    EXPECT_EQ(row.clipped == 0 ? outcome.error.empty() : outcome.error.starts_with(line), true) << outcome.error;
    EXPECT_EQ(testing::PrintToString(read_file(out)), testing::PrintToString(row.out));
  }
}

TEST(Convert, ManyBlocksAreOneStream) {
  // More than one block, and none of the counts a multiple of it.
  Bytes left, swapped;
  for (uint32_t k = 0; k < 200003; ++k) {
    left += u16(k * 7919) + u16(k);
    swapped += u16(k) + u16(k * 7919);
  }
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", wave({1, 2, 44100, 16}, left));
  qv_says({"convert", in, folder.file("out.wav"), "--channels", "2,1"});
  EXPECT_EQ(read_file(folder.file("out.wav")) == wave({1, 2, 44100, 16}, swapped), true);
}

TEST(Convert, ManyChannels) {
  const ScratchFolder folder;
  Bytes frame;
  for (uint32_t k = 0; k < 4000; ++k)
    frame += u16(k);
  const std::string in = folder.put("in.wav", wave({1, 4000, 8000, 16}, frame + frame));
  const std::string out = folder.file("out.wav");
  qv_says({"convert", in, out, "--channels", "4000,"});
  EXPECT_EQ(read_file(out), wave({1, 1, 8000, 16}, shorts({3999, 3999})));
}

} // namespace
