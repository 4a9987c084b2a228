// qv tag: the INFO list of a wave file, and nothing else of it.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <gtest/gtest.h>

using namespace cli_test;

namespace {

const Bytes kFormat = chunk("fmt ", format_bytes({}));
const Bytes kData = chunk("data", shorts({1, 2, 3, 4}));

Bytes info_list(std::string_view body) {
  return header("LIST", static_cast<uint32_t>(body.size() + 4)) + "INFO" + Bytes(body);
}

const Bytes kTitle = chunk("INAM", Bytes("title\0", 6));
const Bytes kArtist = chunk("IART", Bytes("Me\0\0", 4));

Bytes tagged(const Bytes& bytes, std::vector<std::string> arguments) {
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", bytes);
  arguments.insert(arguments.begin(), {"tag", file});
  const Outcome outcome = run_qv(arguments);
  EXPECT_EQ(outcome.exit_code, 0) << outcome.error;
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"file.wav"});
  return read_file(file);
}

TEST(Tag, ReplacesTheListWhole) {
  const Bytes plain = kFormat + kData;
  const Bytes other = chunk("cue ", Bytes(7, 'c')); // odd, with its pad byte
  struct Case {
    Bytes before, after; ///< the chunks
    std::vector<std::string> arguments;
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
    EXPECT_EQ(tagged(riff("WAVE", cases[i].before), cases[i].arguments) == riff("WAVE", cases[i].after), true);
  }
}

TEST(Tag, PrintsTheTexts) {
  const ScratchFolder folder;
  const std::string file = folder.put("file.wav", riff("WAVE", kFormat + kData + info_list(kTitle + kArtist)));
  const Outcome outcome = run_qv({"tag", file});
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.out, "INAM=title\nIART=Me\n");
}

TEST(Tag, BadInput) {
  const Bytes sound = riff("WAVE", kFormat + kData);
  struct Case {
    Bytes bytes;
    std::vector<std::string> arguments;
    int exit_code;
    const char* reason;
  };
  const Case cases[] = {
      {sound, {"INAM"}, 2, "has no ="},
      {sound, {"NAM=x"}, 2, "no id of four characters"},
      {sound, {"--remove", "INAME"}, 2, "no id of four characters"},
      {sound, {"INAM=\xFF"}, 1, "is not UTF-8"},
      {sound + "more", {"INAM=x"}, 1, "does not fit the file"},
      {sound.substr(0, sound.size() - 2), {"INAM=x"}, 1, "does not fit the file"},
      {"", {"INAM=x"}, 1, "empty"},
      {wave({}, "").substr(0, 20), {"INAM=x"}, 1, "fmt"},
  };
  for (const Case& each : cases) {
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", each.bytes);
    std::vector<std::string> arguments = {"tag", file};
    arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
    const Outcome outcome = run_qv(arguments);
    EXPECT_EQ(outcome.exit_code, each.exit_code) << each.reason;
    EXPECT_NE(outcome.error.find(each.reason), std::string::npos) << outcome.error;
    EXPECT_EQ(read_file(file), each.bytes) << "nothing is lost";
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file.wav"});
  }
}

} // namespace
