// What lies around a file that is updated: links, owners, permissions, attributes, files in the way, and others who
// update it at the same time.
#include "tests/fileutil/update/broken_calls.h"
#include "tests/fileutil/update/update_subject.h"

#include "qv/result.h"
#include "qv/undo.h"

#include <algorithm>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace update_test;
using fileutil::Recovery;
namespace fs = std::filesystem;

namespace {

constexpr size_t kLength = 5'000;
const std::string kBefore = noise(kLength);
const std::vector<Scenario> kScenarios = scenarios(kLength);
const Scenario& in_place() { return kScenarios[0]; }
const Scenario& by_copy() { return kScenarios[5]; }

struct stat status_of(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0);
  return status;
}

TEST(Around, AFileKeepsWhatItIs) {
  for (const Scenario& scenario : {in_place(), by_copy()}) {
    SCOPED_TRACE(scenario.name);
    const Subject subject(kBefore);
    fs::create_hard_link(subject.path(), subject.path("b.m4a"));
    if (geteuid() == 0) ASSERT_EQ(chown(subject.path().c_str(), 1234, 1235), 0);
    ASSERT_EQ(chmod(subject.path().c_str(), 0640), 0);
    const bool has_attributes = setxattr(subject.path().c_str(), "user.mood", "calm", 4, 0) == 0;
    const struct stat before = status_of(subject.path());
    EXPECT_EQ(subject.update(scenario, true), S_OK);
    const struct stat after = status_of(subject.path());
    EXPECT_EQ(std::tie(after.st_ino, after.st_mode, after.st_uid, after.st_gid, after.st_nlink),
              std::tie(before.st_ino, before.st_mode, before.st_uid, before.st_gid, before.st_nlink));
    EXPECT_TRUE(subject.bytes("b.m4a") == updated(scenario, kBefore));
    char mood[8] = {};
    if (has_attributes) EXPECT_EQ(getxattr(subject.path().c_str(), "user.mood", mood, sizeof mood), 4);
  }
}

TEST(Around, ALinkIsFollowedAndWhatLiesBesideIsBesideItsTarget) {
  for (const Scenario& scenario : {in_place(), by_copy()}) {
    const Subject subject(kBefore);
    fs::create_directory(subject.path("far"));
    fs::rename(subject.path(), subject.path("far/b.m4a"));
    fs::create_symlink("far/b.m4a", subject.path());
    bool kills = true;
    for (int nth = 1; kills && nth < 200; ++nth) {
      kills = is_killed(nth, Break::kKillAfter, [&] { subject.update(scenario, false); });
      EXPECT_FALSE(subject.names().contains("a.m4a.qv-undo") || subject.names().contains("a.m4a.bak"));
      EXPECT_EQ(fileutil::hasBrokenUpdate(subject.text().c_str()), fs::exists(subject.path("far/b.m4a.qv-undo")));
      EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), S_OK);
      EXPECT_TRUE(fs::is_symlink(subject.path()));
      if (subject.bytes() != kBefore) subject.put("far/b.m4a", kBefore);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(subject.path("far")), {}), 1);
  }
}

TEST(Around, WhatIsMadeBesideAFileIsItsOwnersAlone) {
  for (const Scenario& scenario : {in_place(), by_copy()}) {
    const Subject subject(kBefore);
    const bool is_root = geteuid() == 0;
    if (is_root) ASSERT_EQ(chown(subject.path().c_str(), 1234, 1235), 0);
    std::set<std::string> seen;
    bool kills = true;
    for (int nth = 1; kills && nth < 200; ++nth) {
      kills = is_killed(nth, Break::kKillBefore, [&] { subject.update(scenario, false); });
      for (const std::string& name : subject.names()) {
        if (name == "a.m4a") continue;
        const struct stat status = status_of(subject.path(name));
        seen.insert(name.substr(name.rfind('.')));
        EXPECT_EQ(status.st_mode & 0777, 0600u) << name;
        EXPECT_EQ(status.st_uid, is_root ? 1234 : geteuid()) << name;
      }
      fileutil::recoverFile(subject.text().c_str());
    }
    EXPECT_EQ(seen, scenario.is_in_place ? std::set<std::string>({".qv-undo"})
                                         : std::set<std::string>({".qv-undo", ".tmp", ".bak"}));
  }
}

struct Obstacle {
  const char* name;
  std::function<void(const Subject&)> put;
  HRESULT in_place, by_copy, recovery;
};

const Obstacle kObstacles[] = {
    {"a .bak", [](const Subject& subject) { subject.put("a.m4a.bak", "mine"); }, S_OK, QVERR_MP4_FOREIGN_BAK, S_OK},
    {"a link as .bak", [](const Subject& subject) { fs::create_symlink("nowhere", subject.path("a.m4a.bak")); }, S_OK,
     QVERR_MP4_FOREIGN_BAK, S_OK},
    {"a folder as .bak", [](const Subject& subject) { fs::create_directory(subject.path("a.m4a.bak")); }, S_OK,
     QVERR_MP4_FOREIGN_BAK, S_OK},
    {"another's undo file", [](const Subject& subject) { subject.put("a.m4a.qv-undo", "a text of my own"); },
     QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY},
    {"a link as undo file",
     [](const Subject& subject) {
       subject.put("b", "");
       fs::create_symlink("b", subject.path("a.m4a.qv-undo"));
     },
     QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY},
    {"one that others may write",
     [](const Subject& subject) {
       subject.put("a.m4a.qv-undo", "");
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0666);
     },
     QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY},
    {"a repair that can be undone",
     [](const Subject& subject) {
       const qv::undo::FileChange change = {kLength, kLength, {{0, "x", kBefore.substr(0, 1)}}};
       subject.put("a.m4a.qv-undo", qv::undo::to_bytes({qv::undo::State::kDone, change, 0, 0}));
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0600);
     },
     QVERR_UNDO_IN_THE_WAY, QVERR_UNDO_IN_THE_WAY, S_OK},
    {"an update of other bytes",
     [](const Subject& subject) {
       const qv::undo::FileChange change = {kLength, kLength, {{0, "old", "new"}}};
       subject.put("a.m4a.qv-undo", qv::undo::to_bytes({qv::undo::State::kPassing, change, 0, 0}));
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0600);
     },
     QVERR_UNDO_STALE, QVERR_UNDO_STALE, QVERR_UNDO_STALE},
    {"a copy that is gone",
     [](const Subject& subject) {
       subject.put("a.m4a.qv-undo", qv::undo::to_bytes({qv::undo::State::kCopying, {kLength + 1, kLength, {}}, 1, 2}));
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0600);
     },
     QVERR_UNDO_STALE, QVERR_UNDO_STALE, QVERR_UNDO_STALE},
    {"a copy that is gone, and a file that is longer",
     [](const Subject& subject) {
       qv::undo::CheckSum sum;
       sum.add(kBefore.data(), kLength - 1);
       subject.put("a.m4a.qv-undo",
                   qv::undo::to_bytes({qv::undo::State::kCopying, {kLength, kLength - 1, {}}, 1, sum.value()}));
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0600);
     },
     QVERR_UNDO_STALE, QVERR_UNDO_STALE, QVERR_UNDO_STALE},
    {"a copy of another sum",
     [](const Subject& subject) {
       subject.put("a.m4a.qv-undo", qv::undo::to_bytes({qv::undo::State::kCopying, {kLength + 1, kLength, {}}, 1, 2}));
       chmod(subject.path("a.m4a.qv-undo").c_str(), 0600);
       subject.put("a.m4a.bak", kBefore);
     },
     QVERR_MP4_FOREIGN_BAK, QVERR_MP4_FOREIGN_BAK, QVERR_MP4_FOREIGN_BAK},
};

TEST(Around, WhatIsInTheWayIsNotTouched) {
  for (const Obstacle& obstacle : kObstacles)
    for (const Scenario& scenario : {in_place(), by_copy()}) {
      SCOPED_TRACE(std::string(obstacle.name) + ", " + scenario.name);
      const Subject subject(kBefore);
      obstacle.put(subject);
      const std::set<std::string> names = subject.names();
      const std::string undo = subject.bytes("a.m4a.qv-undo");
      const HRESULT expected = scenario.is_in_place ? obstacle.in_place : obstacle.by_copy;
      EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), obstacle.recovery);
      EXPECT_EQ(subject.update(scenario, true), expected);
      EXPECT_TRUE(subject.bytes() == (expected == S_OK ? updated(scenario, kBefore) : kBefore));
      EXPECT_EQ(subject.names(), names);
      EXPECT_TRUE(subject.bytes("a.m4a.qv-undo") == undo);
    }
}

TEST(Around, ABackupThatComesMeanwhileIsNotReplaced) {
  for (int nth = 1;; ++nth) {
    ASSERT_LT(nth, 200);
    const Subject subject(kBefore);
    ASSERT_TRUE(is_killed(nth, Break::kKillBefore, [&] { subject.update(by_copy(), false); })) << "never half made";
    const std::set<std::string> names = subject.names();
    const bool is_prepared =
        std::any_of(names.begin(), names.end(), [](const std::string& name) { return name.ends_with(".tmp"); });
    if (!is_prepared) continue;
    subject.put("a.m4a.bak", "mine");
    EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), S_OK);
    EXPECT_TRUE(subject.bytes() == kBefore);
    EXPECT_EQ(subject.bytes("a.m4a.bak"), "mine");
    EXPECT_EQ(subject.names().size(), 2u);
    return;
  }
}

TEST(Around, OnlyWhatDiffersIsSavedAndWritten) {
  std::string after = kBefore;
  for (const size_t at : {10u, 50u, 51u, 200u, 4'000u})
    after[at] = static_cast<char>(after[at] ^ 1);
  const Scenario scenario = {"", true, {{0, 0, after.substr(0, 3'000)}, {3'000, 500}, {0, 0, after.substr(3'500)}}};
  const Subject subject(kBefore);
  for (int nth = 1; subject.bytes() == kBefore && nth < 200; ++nth)
    is_killed(nth, Break::kKillAfter, [&] { subject.update(scenario, false); });
  qv::undo::Record record;
  ASSERT_EQ(qv::undo::read_record(subject.bytes("a.m4a.qv-undo"), record), qv::undo::Trouble::kNone);
  std::vector<std::pair<uint64_t, size_t>> pieces;
  for (const qv::undo::Replacement& piece : record.change.replacements)
    pieces.emplace_back(piece.offset, piece.old_bytes.size());
  // Ranges less than 64 bytes apart cost no more as one.
  EXPECT_EQ(pieces, (std::vector<std::pair<uint64_t, size_t>>{{10, 42}, {200, 1}, {4'000, 1}}));
  EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), S_OK);

  // Where nothing differs nothing is made.
  const Scenario nothing = {"", true, {{0, 0, kBefore.substr(0, 3'000)}, {3'000, kLength - 3'000}}};
  subject.put("a.m4a", kBefore);
  for (int nth = 1; is_killed(nth, Break::kKillAfter, [&] { subject.update(nothing, false); }); ++nth)
    EXPECT_EQ(subject.names(), kTheFileAlone);
}

TEST(Around, AFileThatAnotherProgramChangedSinceIsLeft) {
  const Subject subject(kBefore);
  for (int nth = 1; subject.bytes() == kBefore && nth < 200; ++nth)
    is_killed(nth, Break::kKillHalfWay, [&] { subject.update(in_place(), false); });
  const std::string foreign = std::string(subject.bytes()).replace(150, 1, "#");
  subject.put("a.m4a", foreign);
  EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), QVERR_UNDO_STALE);
  EXPECT_TRUE(subject.bytes() == foreign);
  EXPECT_TRUE(subject.names().contains("a.m4a.qv-undo"));
}

TEST(Around, AFolderThatCannotBeWrittenRefuses) {
  if (geteuid() == 0) ASSERT_EQ(seteuid(1234), 0);
  {
    const Subject subject(kBefore);
    ASSERT_EQ(chmod(subject.path("").c_str(), 0555), 0);
    for (const Scenario& scenario : {in_place(), by_copy()})
      EXPECT_EQ(subject.update(scenario, false), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(subject.bytes() == kBefore);
    ASSERT_EQ(chmod(subject.path("").c_str(), 0755), 0);
  }
  EXPECT_EQ(seteuid(getuid()), 0);
}

TEST(Around, PlansThatDoNotFitTheFileAreRefused) {
  const Subject subject(kBefore);
  fileutil::HeldFile held;
  ASSERT_EQ(held.open(subject.text().c_str()), S_OK);
  const fileutil::UpdatePlan good = plan_of(in_place(), kLength);
  const auto result_of = [&](const std::function<void(fileutil::UpdatePlan&)>& spoil) {
    fileutil::UpdatePlan plan = good;
    spoil(plan);
    return carryOut(held, plan, {});
  };
  EXPECT_EQ(result_of([](auto& plan) { ++plan.oldLength; }), QVERR_UNDO_STALE);
  EXPECT_EQ(result_of([](auto& plan) { ++plan.newLength; }), E_INVALIDARG);
  EXPECT_EQ(result_of([](auto& plan) { --plan.newLength; }), E_INVALIDARG);
  EXPECT_EQ(result_of([](auto& plan) { ++plan.segments[2].source; }), E_INVALIDARG);
  EXPECT_EQ(result_of([](auto& plan) { plan.segments[2].source = ~uint64_t{0}; }), E_INVALIDARG);
  EXPECT_EQ(result_of([](auto& plan) { plan.segments[1].bytes.pop_back(); }), E_INVALIDARG);
  EXPECT_TRUE(subject.bytes() == kBefore);
}

TEST(Around, ProcessesTakeTurns) {
  // Each appends a line; none is lost, and none is torn.
  const Subject subject("");
  constexpr int kWriters = 4, kLines = 25;
  std::vector<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer)
    if (children.push_back(fork()); children.back() == 0) {
      for (int line = 0; line < kLines; ++line) {
        fileutil::HeldFile held;
        uint64_t length = 0;
        Recovery what = Recovery::kNothing;
        if (held.open(subject.text().c_str()) != S_OK || settle(held, what) != S_OK || what != Recovery::kNothing ||
            !held.file().getLength(length))
          _exit(1);
        const bool is_in_place = line % 2 == 0;
        const Scenario append = {
            "", is_in_place, {{0, length}, {0, 0, std::string(7, static_cast<char>('a' + writer)) + "\n"}}};
        if (carryOut(held, plan_of(append, length), {0, false, false}) != S_OK) _exit(2);
      }
      _exit(0);
    }
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const std::string all = subject.bytes();
  ASSERT_EQ(all.size(), 8u * kWriters * kLines);
  for (size_t at = 0; at < all.size(); at += 8)
    EXPECT_EQ(all.substr(at, 8), std::string(7, all[at]) + "\n");
  EXPECT_EQ(subject.names(), kTheFileAlone);
}

TEST(Around, AReaderIsToldNothingWhileTheWriterLives) {
  const Subject subject(kBefore);
  fileutil::HeldFile held;
  ASSERT_EQ(held.open(subject.text().c_str()), S_OK);
  subject.put("a.m4a.qv-undo", "");
  ASSERT_EQ(chmod(subject.path("a.m4a.qv-undo").c_str(), 0600), 0);
  EXPECT_FALSE(fileutil::hasBrokenUpdate(subject.text().c_str()));
  held = {};
  EXPECT_TRUE(fileutil::hasBrokenUpdate(subject.text().c_str()));
  const HANDLE writer = CreateFileW(subject.path("a.m4a.qv-undo").string<WCHAR>().c_str(), GENERIC_READ,
                                    fileutil::kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  OVERLAPPED place = {};
  EXPECT_TRUE(LockFileEx(writer, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place));
  EXPECT_FALSE(fileutil::hasBrokenUpdate(subject.text().c_str()));
  CloseHandle(writer);
  EXPECT_FALSE(fileutil::hasBrokenUpdate(QV_TEXT("/nowhere/at/all")));
}

} // namespace
