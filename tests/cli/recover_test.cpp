// qv tag --recover, on files that an update of the library, a change of texts or a repair has left half done.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"

#include "qv/undo.h"

#include <gtest/gtest.h>

using namespace cli_test;
namespace fs = std::filesystem;

namespace {

const std::string kOld = "RIFFsizeWAVEfmt recorddatasizeaudio";
const std::string kNew = "RIFFSIZEWAVEfmt recorddata1234audio";
const qv::undo::FileChange kChange = {35, 35, {{4, "size", "SIZE"}, {26, "size", "1234"}}};

struct Row {
  std::string file;
  qv::undo::Record record;
  std::string backup; ///< "": none
  std::string after;
  std::string word; ///< what is said of it
};

std::string in_state(qv::undo::State state) { return qv::undo::to_bytes({state, kChange, 0, 0}); }

qv::undo::Record copying() {
  qv::undo::CheckSum sum;
  sum.add(kNew.data(), kNew.size());
  return {qv::undo::State::kCopying, {35, 35, {}}, 7, sum.value()};
}

void put_undo(const ScratchFolder& folder, const std::string& bytes) {
  const std::string path = folder.put("a.m4a.qv-undo", bytes);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

TEST(Recover, FinishesOrUndoesAndSaysWhich) {
  const std::string half = kNew.substr(0, 26) + kOld.substr(26);
  const Row rows[] = {
      {half, {qv::undo::State::kPassing, kChange, 0, 0}, "", kOld, "undone"},
      {half, {qv::undo::State::kBegun, kChange, 0, 0}, "", kOld, "undone"},
      {kNew, {qv::undo::State::kPassing, kChange, 0, 0}, "", kNew, "finished"},
      {half, copying(), kNew, kNew, "finished"},
      {kNew, copying(), "", kNew, "finished"},
      {kOld, {qv::undo::State::kPreparing, {35, 36, {}}, 7, 0}, "", kOld, "undone"},
  };
  for (const Row& row : rows) {
    const ScratchFolder folder;
    const std::string name = folder.put("a.m4a", row.file);
    put_undo(folder, qv::undo::to_bytes(row.record));
    if (!row.backup.empty()) fs::permissions(folder.put("a.m4a.bak", row.backup), fs::perms::owner_all);
    const std::string said = qv_says({"tag", name, "--recover"});
    EXPECT_NE(said.find(row.word), std::string::npos) << said;
    EXPECT_EQ(read_file(name), row.after);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.m4a"});
    EXPECT_NE(qv_says({"tag", name, "--recover"}).find("nothing was done"), std::string::npos);
  }
}

TEST(Recover, RefusesWhatIsNotItsOwn) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", kOld);
  const auto refuses = [&](const std::string& subject, const std::string& reason) {
    expect_refused(run_qv({"tag", "--recover", name}), 1, name + subject, reason);
    EXPECT_EQ(read_file(name), kOld);
  };
  put_undo(folder, "a text");
  refuses(".qv-undo", "cannot be used");
  put_undo(folder, qv::undo::to_bytes({qv::undo::State::kPassing, {35, 35, {{0, "x", "y"}}}, 0, 0}));
  refuses(".qv-undo", "changed since");
  put_undo(folder, qv::undo::to_bytes(copying()));
  refuses(".qv-undo", "gone");
  folder.put("a.m4a.bak", "mine");
  refuses(".bak", "is not the new file");
  expect_refused(run_qv({"tag", name, "--recover", "title=x"}), 2, "--recover", "takes no texts");
}

TEST(Recover, IsWhatTheOtherCommandsPointTo) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", kOld);
  for (const std::string& undo : {qv::undo::to_bytes(copying()), in_state(qv::undo::State::kUnbegun)}) {
    put_undo(folder, undo);
    for (const Arguments& words : {Arguments{"repair", name, "--undo"}, Arguments{"tag", name, "title=x"}})
      expect_refused(run_qv(words), 1, name + ".qv-undo", "qv tag --recover");
    EXPECT_EQ(read_file(name), kOld);
  }
}

TEST(Recover, InfoWarnsOfAnUpdateThatWasBrokenOff) {
  const ScratchFolder folder;
  const std::string name = folder.put("a.m4a", mp4::plain_file());
  qv_says({"info", name});
  put_undo(folder, in_state(qv::undo::State::kPassing));
  const Outcome outcome = run_qv({"info", name});
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_NE(outcome.error.find("broken off; \"qv tag --recover\""), std::string::npos) << outcome.error;
}

} // namespace
