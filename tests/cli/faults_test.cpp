// Every command that reads or writes audio, with every read, write, sync, rename, close, open, truncation and removal
// of its files failing, cut short or deadly: a file is as it was or as it should be, one line says so, and the next run
// clears up.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>

using namespace cli_test;

namespace {

struct Fault {
  const char* call;
  const char* effect;
  bool is_noticed = true;
};

const Fault kFaults[] = {
    {"read", "fail"},
    {"read", "short", false},
    {"read", "interrupt", false},
    {"write", "fail"},
    {"write", "full"},
    {"write", "short", false},
    {"write", "interrupt", false},
    {"write", "kill"},
    {"sync", "fail"},
    {"sync", "kill"},
    {"rename", "fail"},
    {"rename", "kill"},
    {"rename", "kill after"},
    {"close", "fail"},
    {"close", "kill"},
    {"open", "fail"},
    {"truncate", "fail"},
    {"truncate", "kill"},
    {"unlink", "fail"},
    {"unlink", "kill after"},
};

const Bytes kTake = wave({1, 1, 48000, 16}, Bytes(6000, 'a'));
const Bytes kTorn = with(kTake, 40, u32(0));
const Bytes kHeaderless(4000, 'a');
const Bytes kTornTwice = with(with(kTake, 22, u16(0)), 40, u32(0));

struct Case {
  Arguments words; ///< in the folder, IN and other names in capitals
  std::map<std::string, Bytes> files = {{"IN", kTake}};
  Arguments first = {};       ///< what is run before, undisturbed
  const char* link = nullptr; ///< another name of IN
};

const Case kCases[] = {
    {{"info", "IN", "--json"}},
    {{"stats", "IN"}},
    {{"convert", "IN", "OUT"}},
    {{"convert", "IN", "OUT", "--rate", "8000"}, {{"IN", kTake}, {"OUT", "old"}}},
    {{"convert", "IN", "OUT.w64"}},
    {{"convert", "IN", "OUT.aiff"}},
    {{"convert", "IN", "OUT.flac"}},
    {{"convert", "OUT.flac", "OUT.wav"}, {{"IN", kTake}}, {"convert", "IN", "OUT.flac"}},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--response", "RESPONSE.csv"}},
    {{"tag", "IN", "INAM=take"}},
    {{"tag", "IN", "INAM=take"}, {{"IN", kTake}}, {}, "LINK"},
    {{"tag", "IN", "INAM=other", "--clear"}, {{"IN", kTake}}, {"tag", "IN", "INAM=take", "ICMT=x"}, "LINK"},
    {{"repair", "IN"}, {{"IN", kTornTwice}}},
    {{"repair", "IN", "--no-undo"}, {{"IN", kTornTwice}}},
    {{"repair", "IN"}, {{"IN", kHeaderless}}},
    {{"repair", "IN", "--undo"}, {{"IN", kTorn}}, {"repair", "IN"}},
    {{"repair", "IN", "--undo"}, {{"IN", kHeaderless}}, {"repair", "IN"}},
};

class Bench {
public:
  explicit Bench(const Case& each) : case_(each) {
    for (const auto& [name, bytes] : each.files)
      folder_.put(name, bytes);
    if (each.link) std::filesystem::create_hard_link(folder_.file("IN"), folder_.file(each.link));
    if (!each.first.empty()) qv_says(named(each.first));
  }

  Outcome run() const { return run_qv(named(case_.words)); }
  /// With a fault in the n-th such call. Nothing where there was none.
  std::optional<Outcome> run(const Fault& fault, int nth) const {
    const ScratchFolder marks;
    const Arguments environment = {"env",
                                   std::string("LD_PRELOAD=") + QV_FAULT_SHIM,
                                   "QV_FAULT_FOLDER=" + folder_.path().string(),
                                   std::string("QV_FAULT_CALL=") + fault.call,
                                   "QV_FAULT_NTH=" + std::to_string(nth),
                                   std::string("QV_FAULT_EFFECT=") + fault.effect,
                                   "QV_FAULT_MARK=" + marks.file("mark"),
                                   QV_PROGRAM};
    const Outcome outcome = cli_test::run(joined(environment, named(case_.words)));
    return marks.names().empty() ? std::nullopt : std::optional(outcome);
  }

  std::map<std::string, Bytes> files() const {
    std::map<std::string, Bytes> all;
    for (const std::string& name : folder_.names())
      all[name] = read_file(folder_.path() / name);
    return all;
  }

private:
  Arguments named(Arguments words) const {
    for (std::string& word : words)
      if (word == "IN" || word.starts_with("OUT") || word.starts_with("RESPONSE")) word = folder_.file(word);
    return words;
  }

  const Case& case_;
  ScratchFolder folder_;
};

using Files = std::map<std::string, Bytes>;

/// Only this may leave a file half changed for good, and says so where it can.
bool may_be_half(const Files& found, const Case& each) {
  return found.contains("IN.qv-undo") || each.words.back() == "--no-undo";
}

void expect_old_or_new(const Case& each, const Files& found, const Files& before, const Files& after,
                       const Outcome& outcome) {
  const auto holds = [](const Files& files, const std::string& name, const Bytes& bytes) {
    return files.contains(name) && files.at(name) == bytes;
  };
  for (const auto& [name, bytes] : found) {
    if (name.ends_with(".tmp")) EXPECT_EQ(outcome.signal, SIGKILL) << name;
    if (name.ends_with(".tmp") || name == "IN.qv-undo") continue;
    const bool is_whole = holds(before, name, bytes) || holds(after, name, bytes);
    EXPECT_TRUE(is_whole || may_be_half(found, each)) << name << " is neither old nor new";
    if (outcome.exit_code == 1) EXPECT_EQ(outcome.error.find(" is half ") == Bytes::npos, is_whole);
  }
  for (const auto& [name, bytes] : before)
    EXPECT_TRUE(found.contains(name) || !after.contains(name)) << name << " is gone";
}

bool tells_why(const std::string& line) {
  const auto says = [&](const char* words) { return line.find(words) != Bytes::npos; };
  return says("the device reports an error") || says("the disk is full") || says("cannot be opened a second time") ||
         says("could not be read");
}

void expect_safe(const Case& each, const Bench& bench, const Files& before, const Files& after, const Outcome& outcome,
                 const Fault& fault) {
  const Files found = bench.files();
  EXPECT_TRUE(fault.is_noticed || outcome.exit_code == 0) << outcome.error;
  if (outcome.exit_code == 0) EXPECT_TRUE(found == after && outcome.error.empty()) << outcome.error;
  if (outcome.exit_code == 0) return;
  EXPECT_EQ(outcome.signal, std::string(fault.effect).starts_with("kill") ? SIGKILL : 0);
  if (outcome.signal == 0) {
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    EXPECT_TRUE(outcome.error.starts_with("qv: ") && tells_why(outcome.error)) << outcome.error;
  }
  expect_old_or_new(each, found, before, after, outcome);
  if (found == after) return;
  const Outcome again = bench.run();
  EXPECT_EQ(again.exit_code, 0) << again.error;
  EXPECT_TRUE(bench.files() == after) << "after the next run: " << testing::PrintToString(again.out);
}

/// Files in memory: syncing a disk some thousand times would take its time.
class Faults : public testing::Test {
protected:
  void SetUp() override {
    if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
  }
  void TearDown() override { unsetenv("TMPDIR"); }
};

TEST_F(Faults, LeaveOldOrNewAndTheNextRunClearsUp) {
  for (const Case& each : kCases) {
    const Bench undisturbed(each);
    const Files before = undisturbed.files();
    ASSERT_EQ(undisturbed.run().error, "");
    const Files after = undisturbed.files();
    int faults = 0;
    for (const Fault& fault : kFaults)
      for (int nth = 1;; ++nth) {
        SCOPED_TRACE(testing::PrintToString(each.words) + ": " + fault.effect + " in " + fault.call + " " +
                     std::to_string(nth));
        ASSERT_LT(nth, 200);
        const Bench bench(each);
        const std::optional<Outcome> outcome = bench.run(fault, nth);
        if (!outcome) break;
        ++faults;
        expect_safe(each, bench, before, after, *outcome, fault);
        if (testing::Test::HasFailure()) return;
      }
    EXPECT_GE(faults, 6) << testing::PrintToString(each.words);
  }
}

} // namespace
