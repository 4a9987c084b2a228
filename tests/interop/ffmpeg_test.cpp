// qv and ffmpeg agree about channels, levels and compressed files.
#include "tests/interop/material.h"

#include <gtest/gtest.h>

using namespace interop_test;

namespace {

TEST(Ffmpeg, AgreesAboutChannelsAndMasks) {
  const struct {
    const char* layout;
    int channels;
    uint32_t mask;
  } cases[] = {{"5.1", 6, 0x3F}, {"5.1(side)", 6, 0x60F}, {"7.1", 8, 0x63F}, {"quad", 4, 0x33}};
  const ScratchFolder folder;
  for (const auto& row : cases) {
    SCOPED_TRACE(row.layout);
    const std::string file = folder.file("ffmpeg.wav");
    shell(kFfmpeg + "-i " + recording("Noise") + " -af 'aformat=channel_layouts=" + row.layout + "' " + file);
    const Json info = qv_info(file);
    EXPECT_EQ(info["channels"], row.channels);
    EXPECT_EQ(info["channel_mask"], row.mask);
    const std::string copy = folder.file("copy.wav");
    qv_says({"convert", file, copy, "--type", "pcm24"});
    EXPECT_EQ(ffprobe(copy)["channel_layout"], row.layout);
  }
}

TEST(Ffmpeg, SeesTheChannelsThatQvMakes) {
  const ScratchFolder folder;
  const std::string file = folder.file("six.wav");
  qv_says({"convert", stereo_source(folder), file, "--type", "pcm24", "--channels", "1,2,0,0,2,1"});
  EXPECT_EQ(ffprobe(file)["channels"], 6);
  EXPECT_EQ(ffprobe(file)["channel_layout"], "5.1") << "the default mask";
  EXPECT_EQ(shell(kFfmpeg + "-i " + file + " -c:a pcm_s24le -f s24le -") == data_chunk(file), true);
}

TEST(Ffmpeg, LevelsAgree) {
  // Both multiply in floating point; ffmpeg's volume filter in single precision works on what it decodes.
  const ScratchFolder folder;
  const std::string file = folder.file("quiet.wav");
  qv_says({"convert", recording("Front_Center"), file, "--type", "float64", "--gain-db", "-7.5"});
  const std::vector<double> ours = decode(kSampleTypes[5], data_chunk(file));
  const std::vector<double> theirs =
      decode(kSampleTypes[5], shell(kFfmpeg + "-i " + recording("Front_Center") +
                                    " -af volume=-7.5dB:precision=double -c:a pcm_f64le -f f64le -"));
  ASSERT_EQ(ours.size(), theirs.size());
  for (size_t k = 0; k < ours.size(); ++k)
    ASSERT_NEAR(ours[k], theirs[k], 1e-7) << k; // the gain is a float
}

TEST(Ffmpeg, CompressedFilesAreDescribed) {
  const ScratchFolder folder;
  const struct {
    const char* codec;
    int tag;
  } cases[] = {{"adpcm_ms", 2}, {"pcm_alaw", 6}, {"pcm_mulaw", 7}, {"adpcm_ima_wav", 0x11}, {"libmp3lame", 0x55}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.codec);
    const std::string file = folder.file("compressed.wav");
    shell(kFfmpeg + "-i " + recording("Noise") + " -c:a " + row.codec + " " + file);
    EXPECT_EQ(qv_info(file)["format_tag"], row.tag);
    EXPECT_EQ(qv_info(file)["sample_type"], 0);
  }
}

} // namespace
