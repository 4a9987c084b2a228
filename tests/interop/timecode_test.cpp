// ffmpeg counts and names frames as the library does: the timecode track of a QuickTime file holds the count of its
// first frame, which ffmpeg computed from a label.
#include "tests/interop/material.h"

#include "qv/smpte.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>

using namespace interop_test;

namespace {

struct Rate {
  DWORD format;
  const char* ffmpeg;
  char separator; ///< before the frames; ';' is what says drop frame
};

const Rate kRates[] = {
    {QVSMPTE_FMT_30, "30", ':'}, {QVSMPTE_FMT_2997DF, "30000/1001", ';'}, {QVSMPTE_FMT_25, "25", ':'},
    {QVSMPTE_FMT_24, "24", ':'}, {QVSMPTE_FMT_2997ND, "30000/1001", ':'}, {QVSMPTE_FMT_23976, "24000/1001", ':'}};

std::string text_of(const _smpteval& label, char separator) {
  char text[64];
  std::snprintf(text, sizeof text, "%02u:%02u:%02u%c%02u", label.hours, label.minutes, label.seconds, separator,
                label.frames);
  return text;
}

/// The count in the file's timecode track.
DWORD stored_count(const std::string& file) {
  const std::string bytes = shell(kFfmpeg + "-i " + file + " -map 0:d:0 -c copy -f data -");
  EXPECT_EQ(bytes.size(), 4u);
  DWORD count = 0;
  for (const char byte : bytes)
    count = count << 8 | static_cast<unsigned char>(byte);
  return count;
}

TEST(FfmpegTimecode, CountsLabelsAlike) {
  const ScratchFolder folder;
  const std::string file = folder.file("timecode.mov");
  std::mt19937 random(5);
  for (const Rate& rate : kRates) {
    // Where minutes drop labels and where they do not, the ends of a day, and anywhere.
    std::vector<DWORD> counts = {1799, 1800, 17'982, 2'073'599};
    for (int i = 0; i < 2; ++i)
      counts.push_back(random() % 2'073'600);
    for (const DWORD count : counts) {
      _smpteval label = {};
      label.format = rate.format;
      QVSMPTE_FrameCountToSMPTE(&label, count);
      const std::string text = text_of(label, rate.separator);
      SCOPED_TRACE(std::string(rate.ffmpeg) + ": " + text);
      shell(kFfmpeg + "-f lavfi -i color=s=16x16:d=0.1:r=" + std::string(rate.ffmpeg) +
            " -c:v mpeg4 -frames:v 1 -timecode '" + text + "' " + file);
      EXPECT_EQ(stored_count(file), count);
      // And back: ffprobe names the label of the count.
      EXPECT_EQ(ffprobe(file)["tags"]["timecode"], text);
    }
  }
}

} // namespace
