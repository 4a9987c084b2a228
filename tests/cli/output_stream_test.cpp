// Files that appear whole or not at all, written through standard streams.
#include "tests/cli/scratch_folder.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/output_stream.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/resource.h>

using namespace cli_test;
using namespace qv::tool;

namespace {

/// The same work on any stream: forwards past what is held back, back into what is written, and relative to it.
void write_here_and_there(std::ostream& out) {
  out << std::string(300000, 'a') << "end";
  out.seekp(10) << "ten";
  out.seekp(7, std::ios::cur) << "twenty";
  EXPECT_EQ(out.tellp(), 26);
  out.seekp(299999) << std::string(600000, 'b');
  EXPECT_EQ(out.tellp(), 899999);
  out.seekp(-2, std::ios::cur).put('c').flush();
  EXPECT_EQ(out.tellp(), 899998);
}

TEST(OutputBuffer, WritesWhereTheStreamStands) {
  const ScratchFolder folder;
  const std::string path = folder.file("out");
  OutputFile file(path);
  OutputBuffer buffer(file);
  std::fstream stream;
  static_cast<std::ios&>(stream).rdbuf(&buffer);
  write_here_and_there(stream);
  buffer.finish();
  file.commit(899999);
  std::ostringstream model;
  write_here_and_there(model);
  EXPECT_TRUE(read_file(path) == model.str());

  EXPECT_FALSE(stream.seekp(-1));
  stream.clear();
  EXPECT_FALSE(stream.seekp(0, std::ios::end)) << "its end is not known";
}

TEST(OutputBuffer, SaysInTheEndWhatHasGoneWrong) {
  const ScratchFolder folder;
  OutputFile file(folder.file("out"));
  OutputBuffer buffer(file);
  std::ofstream stream;
  static_cast<std::ios&>(stream).rdbuf(&buffer);
  rlimit usual{};
  getrlimit(RLIMIT_FSIZE, &usual);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit little = {100000, usual.rlim_max};
  setrlimit(RLIMIT_FSIZE, &little);
  stream << std::string(300000, 'a');
  EXPECT_TRUE(stream.bad());
  setrlimit(RLIMIT_FSIZE, &usual);
  std::signal(SIGXFSZ, handler);

  stream.clear();
  stream << "more";
  EXPECT_FALSE(stream.flush());
  EXPECT_EQ(size_of(file), 100000u) << "nothing is written behind a gap";
  EXPECT_THROW(buffer.finish(), Failure);
}

} // namespace
