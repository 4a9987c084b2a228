// What qv info, qv stats and qv cpu say.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace cli_test;
using Json = nlohmann::json;

namespace {

TEST(Info, JsonHoldsTheHeaders) {
  const ScratchFolder folder;
  const Bytes file = riff("WAVE", chunk("fmt ", format_bytes({1, 2, 44100, 24})) + chunk("\xA9nam", "odd") +
                                      list("INFO", chunk("INAM", "x")) + chunk("data", Bytes(6 * 44100 + 6, 'd')));
  const std::string name = folder.put("caf\xC3\xA9.wav", file);
  Json info = qv_json({"info", name});
  EXPECT_NE(info["format_text"].get<std::string>().find("24 Bit"), std::string::npos) << info;
  EXPECT_NE(info["sample_type_text"].get<std::string>().find("24"), std::string::npos) << info;
  info.erase("format_text");
  info.erase("sample_type_text");
  const Json expected = {
      {"file", name},
      {"container", "RIFF"},
      {"sample_type", 18},
      {"format_tag", 1},
      {"sample_rate", 44100},
      {"channels", 2},
      {"channel_mask", 0},
      {"bits", 24},
      {"block_align", 6},
      {"frames", 44101},
      {"duration_100ns", 10000226}, // 1 s and 22.67 us
      {"chunks", Json::parse(R"([{"id": "fmt ", "offset": 12, "size": 16},
                                 {"id": "\u00a9nam", "offset": 36, "size": 3},
                                 {"id": "LIST", "offset": 48, "size": 14, "list_type": "INFO"},
                                 {"id": "data", "offset": 70, "size": 264606}])")},
      {"summary", {{"INAM", "x"}}},
      {"texts", {{{"id", "INAM"}, {"text", "x"}}}},
      {"markers", Json::array()},
  };
  EXPECT_EQ(info, expected);
}

TEST(Info, Markers) {
  const auto big16 = [](unsigned value) { return Bytes{static_cast<char>(value >> 8), static_cast<char>(value)}; };
  const auto big32 = [&](unsigned value) { return big16(value >> 16) + big16(value & 0xFFFF); };
  const auto point = [](uint32_t id, uint32_t frame) {
    return u32(id) + u32(0) + "data" + u32(0) + u32(0) + u32(frame);
  };
  const Bytes labels = list("adtl", chunk("note", u32(7) + "no label") + chunk("labl", u32(9) + Bytes("end\0", 4)) +
                                        chunk("labl", u32(7) + "caf\xE9"));
  const Bytes marks = big16(3) + big16(1) + big32(0) + Bytes("\5start", 6) + big16(2) + big32(70000) +
                      Bytes("\2ab\0", 4) + big16(3) + big32(1); // the last one is cut
  const Bytes comm = big16(1) + big32(1) + big16(16) + Bytes("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);
  const auto swapped = [&](const char* id, const Bytes& data) {
    return id + big32(static_cast<unsigned>(data.size())) + data;
  };
  const Bytes form = "AIFF" + swapped("COMM", comm) + swapped("MARK", marks) + swapped("SSND", Bytes(10, '\0'));
  const Bytes cue = u32(2) + point(7, 3) + point(9, 0xFFFFFFFF);
  const struct {
    Bytes bytes;
    const char* markers;
  } cases[] = {
      {riff("WAVE", chunk("fmt ", format_bytes({})) + chunk("data", shorts({1})) + chunk("cue ", cue) + labels),
       R"([{"id": 7, "position": 3, "name": "caf\u00e9", "note": "no label"}, {"id": 9, "position": 4294967295, "name": "end"}])"},
      {riff("WAVE", chunk("cue ", u32(4000000000) + point(1, 5)) + chunk("fmt ", format_bytes({})) + chunk("data", "")),
       R"([{"id": 1, "position": 5, "name": ""}])"},
      {swapped("FORM", form),
       R"([{"id": 1, "position": 0, "name": "start"}, {"id": 2, "position": 70000, "name": "ab"}])"},
  };
  for (const auto& row : cases) {
    const ScratchFolder folder;
    const std::string name = folder.put("file", row.bytes);
    EXPECT_EQ(qv_json({"info", name})["markers"], Json::parse(row.markers));
  }
}

TEST(Info, SeveralFilesAreAnArrayAndManyChunksAreListed) {
  Bytes body = chunk("fmt ", format_bytes({3, 1, 96000, 64}));
  for (int k = 0; k < 50; ++k)
    body += chunk("junk", Bytes(1000, 'j'));
  const ScratchFolder folder;
  const std::string b = folder.put("b.wav", riff("WAVE", body + chunk("data", Bytes(16, '\0'))));
  const Bytes twenty_bits = with(format_bytes({1, 1, 48000, 24}), 14, u16(20));
  const std::string a = folder.put("a.wav", riff("WAVE", chunk("fmt ", twenty_bits) + chunk("data", "abc")));
  const Json both = qv_json({"info", a, b});
  ASSERT_EQ(both.size(), 2u);
  EXPECT_EQ(both[0]["frames"], 1);
  EXPECT_EQ(both[0]["format_text"], "PCM, 48,000 Hz, 24 Bit, Mono") << "the bytes that hold 20 bits";
  EXPECT_EQ(both[1]["sample_type"], 33);
  EXPECT_EQ(both[1]["frames"], 2);
  EXPECT_EQ(both[1]["chunks"].size(), 52u);
  EXPECT_EQ(both[1]["chunks"][51]["offset"], 12 + 24 + 50 * 1008);
}

TEST(Info, CompressedFilesAreDescribed) {
  const ScratchFolder folder;
  const Bytes format = u16(0x11) + u16(1) + u32(8000) + u32(4000) + u16(256) + u16(4) + u16(2) + u16(505);
  const std::string name = folder.put(
      "adpcm.wav", riff("WAVE", chunk("fmt ", format) + chunk("fact", u32(1010)) + chunk("data", Bytes(512, 'x'))));
  const Json info = qv_json({"info", name});
  EXPECT_EQ(info["sample_type"], 0);
  EXPECT_EQ(info["format_tag"], 0x11);
  EXPECT_EQ(info["bits"], 4);
  EXPECT_EQ(info["frames"], 1010);
  EXPECT_EQ(info["duration_100ns"], 1262500);
}

TEST(Info, ControlCharactersDoNotReachTheTerminal) {
  const ScratchFolder folder;
  const std::string name = folder.put(
      "a.wav", riff("WAVE", chunk("\x1B[2J", "ab") + chunk("fmt ", format_bytes({})) + chunk("data", shorts({1}))));
  const std::string text = qv_says({"info", name});
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_NE(text.find("\".[2J\" at 12, 2 bytes"), std::string::npos) << text;
}

TEST(Stats, FollowTheArithmetic) {
  // A full-scale square wave on the left, half of one on the right, silence in the middle.
  Bytes data;
  for (int k = 0; k < 70000; ++k)
    data += shorts({k % 2 ? 32767 : -32768, 0, k % 2 ? 16384 : -16384});
  const ScratchFolder folder;
  const std::string name = folder.put("a.wav", wave({1, 3, 48000, 16}, data));
  const Json stats = qv_json({"stats", name});
  EXPECT_EQ(stats["file"], name);
  ASSERT_EQ(stats["channels"].size(), 3u);
  const Json& left = stats["channels"][0];
  EXPECT_EQ(left["channel"], 1);
  EXPECT_EQ(left["peak_min"], -1.0);
  EXPECT_EQ(left["peak_max"], 32767.0 / 32768.0);
  EXPECT_EQ(left["peak_dbfs"], 0.0);
  EXPECT_NEAR(left["rms_dbfs"].get<double>(), 10 * std::log10((1.0 + std::pow(32767.0 / 32768, 2)) / 2), 1e-9);
  EXPECT_TRUE(stats["channels"][1]["peak_dbfs"].is_null());
  EXPECT_TRUE(stats["channels"][1]["rms_dbfs"].is_null());
  const std::string one_frame = folder.put("b.wav", wave({1, 3, 48000, 16}, shorts({1, 2, -16384})));
  EXPECT_EQ(qv_json({"stats", one_frame})["channels"][2]["peak_min"], -0.5);
  EXPECT_NEAR(stats["channels"][2]["rms_dbfs"].get<double>(), 20 * std::log10(0.5), 1e-9);
  const std::string text = qv_says({"stats", name});
  EXPECT_NE(text.find("-6.02"), std::string::npos) << text;
  EXPECT_NE(text.find("-inf"), std::string::npos) << text;
}

TEST(Cpu, TheWordAndItsBitsAgree) {
  const Json cpu = qv_json({"cpu"});
  const uint32_t word = cpu["support"];
  EXPECT_NE(word & 0x40, 0u) << "every x86-64 processor has SSE2";
  const Json& features = cpu["features"];
  EXPECT_NE(std::find(features.begin(), features.end(), "SSE2"), features.end());
  EXPECT_EQ(features.size(), static_cast<size_t>(std::popcount(word & ~0xFu)));
  // 16-bit and float both ways, float and double both ways, and the mixing of floats.
  const Json expected =
      Json::parse(R"([{"family": "copy", "dst": 17, "src": 32}, {"family": "copy", "dst": 32, "src": 17},
                                        {"family": "mix", "dst": 32, "src": 32}, {"family": "copy", "dst": 32, "src": 33},
                                        {"family": "copy", "dst": 33, "src": 32}])");
  EXPECT_EQ(cpu["vector_kernels"], expected);
  EXPECT_NE(qv_says({"cpu"}).find("SSE2"), std::string::npos);
}

} // namespace
