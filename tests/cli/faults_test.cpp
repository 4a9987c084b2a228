// Every command that reads or writes files, with every read, write, sync, rename, close, open, truncation and removal
// of its files failing, cut short or deadly: a file is as it was or as it should be, one line says so, and the next run
// clears up.
#include "tests/cli/mp4/adts_bytes.h"
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
  std::vector<std::string> effects;
};

// What is short or interrupted goes on and is not noticed; the other calls move no bytes.
const Fault kFaults[] = {
    {"read", {"fail", "short", "interrupt", "kill"}},
    {"write", {"fail", "dead", "short", "interrupt", "kill", "kill after"}},
    {"sync", {"fail", "dead", "kill"}},
    {"rename", {"fail", "kill"}},
    {"close", {"fail", "kill"}},
    {"open", {"fail", "kill"}},
    {"truncate", {"fail", "kill"}},
    {"unlink", {"fail", "kill"}},
};

const Bytes kTake = wave({1, 1, 48000, 16}, Bytes(6000, 'a'));
const Bytes kTorn = with(kTake, 40, u32(0));
const Bytes kHeaderless(4000, 'a');
const Bytes kStream = adts_frame({Bytes(3000, 'a')}) + adts_frame({Bytes(3000, 'b')});
const Bytes kTornTwice = with(with(kTake, 22, u16(0)), 40, u32(0));

const Arguments kEditor = {"--app", "Editor", "--app-version", "1.2"};
Arguments settings(const char* command, const Arguments& rest = {}) {
  return joined(joined({"settings", command}, kEditor), rest);
}
const Bytes kTwoSettings = R"({"values": [{"n": 5, "type": "dword", "value": 2}, {"n": 6, "type": "string",
  "value": "y"}]})";

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
    {{"mux", "IN", "OUT.m4a"}, {{"IN", kStream}, {"OUT.m4a", "old"}}},
    {{"filter", "IN", "OUT", "--type", "lowpass", "--response", "RESPONSE.csv"}},
    {{"tag", "IN", "INAM=take"}},
    {{"tag", "IN", "INAM=take"}, {{"IN", kTake}}, {}, "LINK"},
    {{"tag", "IN", "INAM=other", "--clear"}, {{"IN", kTake}}, {"tag", "IN", "INAM=take", "ICMT=x"}, "LINK"},
    {{"repair", "IN"}, {{"IN", kTornTwice}}},
    {{"repair", "IN", "--no-undo"}, {{"IN", kTornTwice}}},
    {{"repair", "IN"}, {{"IN", kHeaderless}}},
    {{"repair", "IN", "--undo"}, {{"IN", kTorn}}, {"repair", "IN"}},
    {{"repair", "IN", "--undo"}, {{"IN", kHeaderless}}, {"repair", "IN"}},
    {settings("set", {"5", "1"})},
    {settings("set", {"5", "2"}), {}, settings("set", {"5", "1"})},
    {settings("import", {"IN"}), {{"IN", kTwoSettings}}, settings("set", {"5", "1"})},
    {settings("delete", {"5"}), {}, settings("set", {"5", "1"})},
    {settings("export"), {}, settings("set", {"5", "1"})},
};

using Files = std::map<std::string, Bytes>;

class Bench {
public:
  explicit Bench(const Case& each) : Bench(each, each.files) {
    if (!each.first.empty()) qv_says(named(each.first));
  }
  /// With the files of another one.
  Bench(const Case& each, const Files& files) : case_(each) {
    for (const auto& [name, bytes] : files)
      if (!each.link || name != each.link) folder_.put(name, bytes);
    if (each.link) std::filesystem::create_hard_link(folder_.file("IN"), folder_.file(each.link));
    setenv("QV_REGISTRY", folder_.file("registry.db").c_str(), 1);
  }
  bool has_settings() const { return case_.words.front() == "settings"; }

  Outcome run() const { return run_qv(named(case_.words)); }
  /// With a fault in the n-th such call. Nothing where there was none.
  std::optional<Outcome> run(const char* call, const std::string& effect, int nth) const {
    const ScratchFolder marks;
    const std::pair<const char*, Bytes> variables[] = {
        {"LD_PRELOAD", QV_FAULT_SHIM}, {"QV_FAULT_FOLDER", folder_.path()},
        {"QV_FAULT_CALL", call},       {"QV_FAULT_NTH", std::to_string(nth)},
        {"QV_FAULT_EFFECT", effect},   {"QV_FAULT_MARK", marks.file("mark")}};
    for (const auto& [name, value] : variables)
      setenv(name, value.c_str(), 1);
    const Outcome outcome = run();
    unsetenv("LD_PRELOAD");
    return marks.names().empty() ? std::nullopt : std::optional(outcome);
  }

  Files raw_files() const {
    Files all;
    for (const std::string& name : folder_.names())
      all[name] = read_file(folder_.path() / name);
    return all;
  }
  /// By their names; of the registry, what another program finds in it.
  Files files() const {
    Files all = raw_files();
    std::erase_if(all, [](const auto& file) { return file.first.starts_with("registry.db"); });
    const Outcome settings = has_settings() ? run_qv({"settings", "export"}, kEditor) : Outcome();
    if (settings.exit_code == 0)
      for (const auto& row : nlohmann::json::parse(settings.out)["values"])
        all["setting " + row["n"].dump()] = row["value"].dump();
    return all;
  }

  Bytes without_folder(Bytes text) const {
    const Bytes folder = folder_.path().string();
    for (size_t at; (at = text.find(folder)) != Bytes::npos;)
      text.erase(at, folder.size());
    return text;
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

/// Only this may leave a file half changed for good, and says so where it can.
bool may_be_half(const Files& found, const Case& each) {
  return found.contains("IN.qv-undo") || each.words.back() == "--no-undo";
}

bool holds(const Files& files, const std::string& name, const Bytes& bytes) {
  return files.contains(name) && files.at(name) == bytes;
}

void expect_old_or_new(const Case& each, const Files& found, const Files& before, const Files& after,
                       const Outcome& outcome) {
  for (const auto& [name, bytes] : found) {
    if (name.ends_with(".tmp")) EXPECT_EQ(outcome.signal, SIGKILL) << name;
    const bool is_useless = name == "IN.qv-undo" && !before.contains(name) && found.at("IN") == before.at("IN");
    if (is_useless) EXPECT_EQ(outcome.signal, SIGKILL) << name;
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
         says("could not be read") || says("the store is read-only, full or damaged") ||
         says("the registry is damaged") || says("access is denied");
}

/// What a command comes to when nothing disturbs it.
struct Expected {
  Files before, after;
  std::string out; ///< without the folder's name
};

/// Whether anything was left to the next run.
bool expect_safe(const Case& each, const Bench& bench, const Expected& expected, const Outcome& outcome,
                 const std::string& effect) {
  const auto& [before, after, out] = expected;
  const Files found = bench.files();
  const bool is_deadly = effect.starts_with("kill");
  if (effect == "short" || effect == "interrupt") EXPECT_EQ(outcome.exit_code, 0) << outcome.error;
  if (outcome.exit_code == 0) {
    EXPECT_FALSE(is_deadly);
    EXPECT_TRUE(found == after && outcome.error.empty()) << outcome.error;
    EXPECT_EQ(bench.without_folder(outcome.out), out);
    return false;
  }
  EXPECT_EQ(outcome.signal, is_deadly ? SIGKILL : 0);
  if (!is_deadly) {
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    EXPECT_TRUE(outcome.error.starts_with("qv: ") && tells_why(outcome.error)) << outcome.error;
  }
  expect_old_or_new(each, found, before, after, outcome);
  if (found == after) return false;
  const Outcome again = bench.run();
  EXPECT_EQ(again.exit_code, 0) << again.error;
  EXPECT_TRUE(bench.files() == after) << "after the next run: " << testing::PrintToString(again.out);
  return std::any_of(found.begin(), found.end(), [&](const auto& file) {
    return !holds(expected.before, file.first, file.second) && !holds(expected.after, file.first, file.second);
  });
}

/// Files in memory: syncing a disk some thousand times would take its time.
class Faults : public testing::Test {
protected:
  void SetUp() override {
    if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    unsetenv("QV_REGISTRY");
  }
};

TEST_F(Faults, LeaveOldOrNewAndTheNextRunClearsUp) {
  for (const Case& each : kCases) {
    const Bench undisturbed(each);
    const Files start = undisturbed.raw_files();
    Expected expected = {undisturbed.files(), {}, {}};
    const Outcome whole = undisturbed.run();
    ASSERT_EQ(whole.error, "");
    expected.after = undisturbed.files();
    expected.out = undisturbed.without_folder(whole.out);
    int faults = 0;
    int left_behind = 0;
    for (const auto& [call, effects] : kFaults)
      for (const std::string& effect : effects)
        for (int nth = 1;; ++nth) {
          SCOPED_TRACE(testing::PrintToString(each.words) + ": " + effect + " in " + call + " " + std::to_string(nth));
          ASSERT_LT(nth, 200);
          const Bench bench(each, start);
          const std::optional<Outcome> outcome = bench.run(call, effect, nth);
          if (!outcome) break;
          ++faults;
          left_behind += expect_safe(each, bench, expected, *outcome, effect);
          if (testing::Test::HasFailure()) break;
        }
    EXPECT_GE(faults, 9) << testing::PrintToString(each.words);
    const bool leaves = expected.before != expected.after && !undisturbed.has_settings();
    EXPECT_EQ(left_behind > 0, leaves) << testing::PrintToString(each.words);
  }
}

} // namespace
