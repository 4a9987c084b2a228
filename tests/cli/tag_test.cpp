// qv tag: the INFO list of a wave file, and nothing else of it.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <gtest/gtest.h>

using namespace cli_test;

namespace {

Bytes info_list(std::string_view body) {
  return header("LIST", static_cast<uint32_t>(body.size() + 4)) + "INFO" + Bytes(body);
}

const Bytes kTitle = chunk("INAM", Bytes("title\0", 6));
const Bytes kArtist = chunk("IART", Bytes("Me\0\0", 4));

TEST(Tag, ReplacesTheListWhole) {
  const Bytes plain = kFormat + kData;
  const Bytes other = chunk("cue ", Bytes(7, 'c')); // odd, with its pad byte
  struct Case {
    Bytes before, after; ///< the chunks
    Arguments arguments;
  };
  const Case cases[] = {
      {plain, plain + info_list(kTitle), {"INAM=title"}},
      {plain + info_list(kArtist),
       plain + info_list(chunk("IART", Bytes("Me\0", 3)).replace(11, 1, 1, '\0') + kTitle),
       {"INAM=title"}},
      {kFormat + info_list(kTitle) + kData + other,
       plain + other + info_list(chunk("INAM", Bytes("new\0", 4))),
       {"INAM=new"}},
      {plain + info_list(kTitle) + other, plain + other, {"--remove", "INAM"}},
      {plain + info_list(kTitle) + other + info_list(kTitle), plain + other, {"--clear"}},
      {plain + info_list(kTitle), plain + info_list(chunk("ICMT", Bytes("a=b\0", 4))), {"--clear", "ICMT=a=b"}},
      {plain + info_list(kTitle + kTitle), plain, {"--remove", "INAM"}}, // both
      {plain, plain + info_list(chunk("INAM", Bytes("\xE9t\xE9\0", 4))), {"INAM=\xC3\xA9t\xC3\xA9"}},
      {plain, plain, {"--remove", "INAM", "--clear"}},
      {kFormat + header("data", 5) + "abcde", // an odd end without its pad byte
       kFormat + chunk("data", "abcde") + info_list(kTitle),
       {"INAM=title"}},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", riff("WAVE", cases[i].before));
    EXPECT_EQ(qv_says({"tag", file}, cases[i].arguments), "");
    EXPECT_EQ(read_file(file) == riff("WAVE", cases[i].after), true);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file.wav"});
  }
}

TEST(Tag, PrintsTheTexts) {
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", riff("WAVE", kFormat + kData + info_list(kTitle + kArtist)));
  EXPECT_EQ(qv_says({"tag", file}), "INAM=title\nIART=Me\n");
}

} // namespace
