// Where the program writes: whole or not at all, and never over its input.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace cli_test;
namespace fs = std::filesystem;

namespace {

TEST(Output, TheInputIsNeverTheOutput) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", kGood);
  fs::create_hard_link(in, folder.file("hard.wav"));
  fs::create_symlink("in.wav", folder.file("soft.wav"));
  for (const char* name : {"in.wav", "hard.wav", "soft.wav", "./in.wav"}) {
    SCOPED_TRACE(name);
    expect_refused(run_qv({"convert", in, folder.file(name)}), 1, folder.file(name) + ": ", "is the input file itself");
    EXPECT_EQ(read_file(in), kGood);
  }
  EXPECT_EQ(folder.names().size(), 3u);
}

TEST(Output, PlacesThatCannotBeWritten) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", kGood);
  fs::create_directory(folder.file("sub"));
  const std::string locked = folder.put("locked.wav", "keep");
  fs::permissions(locked, fs::perms::owner_read);
  const struct {
    std::string name;
    const char* reason;
  } cases[] = {{folder.file("sub"), "is a folder"},
               {folder.file("sub") + "/", "names a folder"},
               {folder.file("none/out.wav"), "no such folder"},
               {folder.file("in.wav/out.wav"), ""},
               {"/dev/null", "not a regular file"},
               {"/dev/full", "not a regular file"},
               {"/proc/out.wav", ""},
               {locked, "write-protected"}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    expect_refused(run_qv({"convert", in, row.name}), 1, row.name + ": ", row.reason);
  }
  EXPECT_EQ(read_file(locked), "keep");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.wav", "locked.wav", "sub"}));
}

TEST(Output, ReplacesAFileWithItsPermissionsAndThroughALink) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", kGood);
  const std::string out = folder.put("out.wav", "old");
  fs::permissions(out, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("out.wav", folder.file("link.wav"));
  qv_says({"convert", in, folder.file("link.wav")});
  EXPECT_EQ(read_file(out), kGood);
  EXPECT_TRUE(fs::is_symlink(folder.file("link.wav")));
  EXPECT_EQ(fs::status(out).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(Output, AFullDiskLeavesTheOldFile) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", wave({}, Bytes(400000, 'x')));
  const std::string out = folder.put("out.wav", "old");
  // A limit on the size of files stands for the end of the disk.
  const Outcome outcome = run({"sh", "-c", "ulimit -f 200; exec \"$0\" convert \"$1\" \"$2\"", QV_PROGRAM, in, out});
  expect_refused(outcome, 1, out + ": ", "cannot be written");
  EXPECT_EQ(read_file(out), "old");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

TEST(Output, ATooLongFileIsRefusedBeforeItIsStarted) {
  const ScratchFolder folder;
  // A sparse file: 600 million 8-bit frames, which would be 4.8 GB as doubles.
  const std::string in = folder.put("in.wav", long_wave_start(600000000));
  fs::resize_file(in, 600000044);
  const std::string out = folder.file("out.wav");
  const Outcome refused = run_qv({"convert", in, out, "--type", "float64", "--no-rf64"});
  expect_refused(refused, 1, out + ": ", "4 GiB");
  EXPECT_NE(refused.error.find(".w64"), std::string::npos);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"in.wav"});
  // As Wave64 it is begun.
  Process process({QV_PROGRAM, "convert", in, folder.file("out.w64"), "--type", "float64"});
  while (folder.names().size() < 2)
    std::this_thread::yield();
  kill(process.id(), SIGTERM);
  EXPECT_EQ(process.wait().signal, SIGTERM);
}

/// What a file that is too large to be compared whole is known by.
struct Glimpse {
  explicit Glimpse(const std::string& path)
      : bytes(fs::file_size(path)), written(fs::last_write_time(path)), first(kPart, '\0'), last(kPart, '\0') {
    std::ifstream file(path, std::ios::binary);
    file.read(first.data(), kPart).seekg(-kPart, std::ios::end).read(last.data(), kPart);
    EXPECT_TRUE(file.good());
  }
  bool operator==(const Glimpse&) const = default;

  static constexpr int kPart = 64 * 1024;
  uintmax_t bytes;
  fs::file_time_type written;
  std::string first;
  std::string last;
};

/// A conversion that is held in the middle: stopped as soon as its temporary file has been seen.
class HeldConversion {
public:
  HeldConversion() {
    // Sparse, so that it costs no disk; long enough that it cannot be done before it is stopped.
    const uint32_t bytes = 1000000000;
    in = folder.put("in.wav", header("RIFF", bytes + 36) + "WAVE" + chunk("fmt ", format_bytes({1, 1, 8000, 8})) +
                                  header("data", bytes));
    fs::resize_file(in, bytes + 44);
    out = folder.put("out.wav", "old");
    before = std::make_unique<Glimpse>(in);
    process = std::make_unique<Process>(std::vector<std::string>{QV_PROGRAM, "convert", in, out, "--type", "float32"});
    while (folder.names().size() < 3)
      std::this_thread::yield();
    kill(process->id(), SIGSTOP);
  }

  void end_by(int signal) {
    kill(process->id(), signal);
    kill(process->id(), SIGCONT);
    EXPECT_EQ(process->wait().signal, signal);
    EXPECT_EQ(read_file(out), "old");
    EXPECT_TRUE(Glimpse(in) == *before) << "the input changed";
  }

  ScratchFolder folder;
  std::string in;
  std::string out;
  std::unique_ptr<Glimpse> before;
  std::unique_ptr<Process> process;
};

TEST(Output, AnInterruptedConversionCleansUp) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    SCOPED_TRACE(signal);
    HeldConversion held;
    held.end_by(signal);
    EXPECT_EQ(held.folder.names(), (std::vector<std::string>{"in.wav", "out.wav"}));
  }
}

TEST(Output, AKilledConversionLeavesTheOldFile) {
  HeldConversion held;
  held.end_by(SIGKILL);
}

TEST(Output, AClosedStandardOutputIsAnError) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", kGood);
  const Outcome outcome = run({"sh", "-c", "exec \"$0\" info \"$1\" > /dev/full", QV_PROGRAM, in});
  expect_refused(outcome, 1, "standard output: ", "cannot be written");
}

} // namespace
