// qv mux makes of ffmpeg's AAC what ffmpeg, ffprobe and mutagen read as the same audio.
#include "tests/cli/mp4/adts_bytes.h"
#include "tests/interop/material.h"

#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::adts_frame;
using cli_test::read_file;

namespace {

/// Noise of ten thousand frames as ADTS.
std::string make_adts(const ScratchFolder& folder, int rate, int channels) {
  const std::string file = folder.file("in.aac");
  shell(kFfmpeg + "-f lavfi -i anoisesrc=r=" + std::to_string(rate) +
        ":a=0.1:seed=7:d=" + std::to_string(10000.0 / rate) + " -ac " + std::to_string(channels) + " -c:a aac -b:a " +
        std::to_string(channels * rate) + " -f adts " + file);
  return file;
}

std::string decoded(const std::string& file) { return shell(kFfmpeg + "-i " + file + " -f s16le -"); }

/// The frames of a stream without their headers, which are as ffmpeg writes them: 7 bytes, one block.
std::vector<std::string> blocks_of(const std::string& stream) {
  std::vector<std::string> blocks;
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(stream[at]); };
  for (size_t at = 0; at < stream.size();) {
    const size_t length = (byte(at + 3) & 3u) << 11 | byte(at + 4) << 3 | byte(at + 5) >> 5;
    blocks.push_back(stream.substr(at + 7, length - 7));
    at += length;
  }
  return blocks;
}

TEST(Mux, AudioIsTheSame) {
  const struct {
    int rate, channels;
  } rows[] = {{8000, 1},  {11025, 2}, {12000, 6}, {16000, 1}, {22050, 2}, {24000, 6}, {32000, 1},
              {44100, 2}, {44100, 6}, {48000, 1}, {48000, 6}, {64000, 2}, {88200, 2}, {96000, 6}};
  const ScratchFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.rate) + " Hz, " + std::to_string(row.channels) + " channels");
    const std::string in = make_adts(folder, row.rate, row.channels);
    const std::string out = folder.file("out.m4a");
    qv_says({"mux", in, out});
    const std::string audio = decoded(in);
    EXPECT_GT(audio.size(), 20000u * static_cast<unsigned>(row.channels));
    EXPECT_TRUE(decoded(out) == audio);
    EXPECT_TRUE(shell(kFfmpeg + "-i " + out + " -c copy -f adts -") == read_file(in));

    const Json stream = ffprobe(out);
    const std::vector<std::string> blocks = blocks_of(read_file(in));
    EXPECT_EQ(stream["codec_name"], "aac");
    EXPECT_EQ(stream["sample_rate"], std::to_string(row.rate));
    EXPECT_EQ(stream["channels"], row.channels);
    EXPECT_EQ(stream["duration_ts"], 1024 * blocks.size());
    EXPECT_EQ(stream["nb_frames"], std::to_string(blocks.size()));
    size_t bytes = 0;
    for (const std::string& block : blocks)
      bytes += block.size();
    EXPECT_NEAR(std::stod(stream["bit_rate"].get<std::string>()),
                8.0 * static_cast<double>(bytes) * row.rate / (1024.0 * static_cast<double>(blocks.size())), 1.0);
    const std::string mutagen =
        shell("/usr/bin/python3 -c 'import mutagen; i = mutagen.File(\"" + out +
              "\").info; print(i.sample_rate, i.channels, round(i.length * i.sample_rate), i.codec)'");
    EXPECT_EQ(mutagen, std::to_string(row.rate) + " " + std::to_string(row.channels) + " " +
                           std::to_string(1024 * blocks.size()) + " mp4a.40.2\n");
  }
}

TEST(Mux, PacketsStandWhereTheTablesSay) {
  const ScratchFolder folder;
  const std::string in = make_adts(folder, 32000, 2);
  const std::string out = folder.file("out.m4a");
  qv_says({"mux", in, out});
  const Json found = Json::parse(shell("ffprobe -v error -of json -show_entries packet=pos,size " + out))["packets"];
  const std::vector<std::string> blocks = blocks_of(read_file(in));
  const std::string file = read_file(out);
  ASSERT_EQ(found.size(), blocks.size());
  for (size_t k = 0; k < blocks.size(); ++k) {
    EXPECT_EQ(found[k]["size"], std::to_string(blocks[k].size()));
    EXPECT_EQ(file.substr(std::stoul(found[k]["pos"].get<std::string>()), blocks[k].size()), blocks[k]);
  }
}

TEST(Mux, BlocksInOneFrameAreSamplesOfTheirOwn) {
  const ScratchFolder folder;
  const std::string in = make_adts(folder, 44100, 2);
  const std::vector<std::string> blocks = blocks_of(read_file(in));
  std::string joined;
  for (size_t k = 0; k < blocks.size();) {
    const size_t count = std::min(blocks.size() - k, k % 4 + 1);
    joined += adts_frame(
        {blocks.begin() + static_cast<std::ptrdiff_t>(k), blocks.begin() + static_cast<std::ptrdiff_t>(k + count)},
        {.check_sums = true});
    k += count;
  }
  const std::string out = folder.file("out.m4a");
  qv_says({"mux", folder.put("joined.aac", joined), out});
  EXPECT_TRUE(decoded(out) == decoded(in));
}

TEST(Mux, ChannelsThatTheAudioDescribesAreKept) {
  const ScratchFolder folder;
  const std::string in = folder.file("in.aac");
  const std::string out = folder.file("out.m4a");
  for (const char* layout : {"2.1", "quad", "5.1(side)", "6.1", "7.1(wide)"}) {
    SCOPED_TRACE(layout);
    shell(kFfmpeg + "-f lavfi -i anoisesrc=r=44100:a=0.1:d=0.3 -af 'aformat=channel_layouts=" + layout +
          "' -c:a aac -f adts " + in);
    qv_says({"mux", in, out});
    EXPECT_EQ(ffprobe(out)["channels"], ffprobe(in)["channels"]);
    EXPECT_EQ(ffprobe(out)["channel_layout"], ffprobe(in)["channel_layout"]);
    EXPECT_TRUE(decoded(out) == decoded(in));
  }
}

TEST(Mux, AMillionSamples) {
  constexpr size_t kSamples = 1'000'000;
  const ScratchFolder folder;
  const std::string second = read_file(make_adts(folder, 8000, 1));
  const size_t count = blocks_of(second).size();
  std::string stream;
  for (size_t k = 0; k < kSamples; k += count)
    stream += second;
  const std::string in = folder.put("long.aac", stream);
  const std::string out = folder.file("out.m4a");
  qv_says({"mux", in, out});
  const size_t samples = (kSamples + count - 1) / count * count;
  EXPECT_EQ(ffprobe(out)["nb_frames"], std::to_string(samples));
  EXPECT_EQ(ffprobe(out)["duration_ts"], 1024 * samples);
  shell(kFfmpeg + "-i " + out + " -c copy -f adts " + folder.file("back.aac"));
  EXPECT_TRUE(read_file(folder.file("back.aac")) == stream);
}

} // namespace
