// Wave files that other programs wrote into a pipe, with sizes they could not know.
#include "tests/cli/process.h"
#include "tests/interop/material.h"

#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::ScratchFolder;

namespace {

TEST(Streamed, FilesOfOtherProgramsAreReadWhole) {
  const std::string original = recording("Front_Center");
  const struct {
    const char* name;
    std::string command;
  } cases[] = {
      {"ffmpeg", "ffmpeg -v error -nostdin -i " + original + " -f wav - | cat > "},
      {"sox", "cat " + original +
                  " | sox -t wav - -t raw - | sox -t raw -r 48000 -c 1 -b 16 -e signed - -t wav - "
                  "2>/dev/null | cat > "},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string file = folder.file("streamed.wav");
    shell(row.command + file);
    const cli_test::Outcome info = cli_test::run_qv({"info", file, "--json"});
    EXPECT_EQ(info.exit_code, 0);
    EXPECT_NE(info.error.find("warning"), std::string::npos) << info.error;
    EXPECT_EQ(nlohmann::json::parse(info.out)["frames"], qv_info(original)["frames"]);
    EXPECT_EQ(cli_test::run_qv({"convert", file, folder.file("out.wav")}).exit_code, 0);
    EXPECT_EQ(data_chunk(folder.file("out.wav")) == data_chunk(original), true);
  }
}

} // namespace
