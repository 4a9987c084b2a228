// A process that updates a file is killed in each of its calls: what it leaves is the old file, the new one, or what
// recovery makes one of them from.
#include "tests/fileutil/update/broken_calls.h"
#include "tests/fileutil/update/update_subject.h"

using namespace update_test;
using fileutil::Recovery;

namespace {

const std::string kBackup = "a.m4a.bak";
const std::string kUndo = "a.m4a.qv-undo";

/// Files in memory where there is such a folder: thousands are synced.
class Kill : public testing::Test {
protected:
  void SetUp() override {
    if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
  }
  void TearDown() override { unsetenv("TMPDIR"); }
};

/// What is there after the kill, before anything is settled. Reading notices, and changes nothing.
void expect_whole_or_recoverable(const Subject& subject, const std::string& before, const std::string& after) {
  const std::string found = subject.bytes();
  const std::set<std::string> names = subject.names();
  if (found != before && found != after) {
    EXPECT_TRUE(fileutil::hasBrokenUpdate(subject.text().c_str()));
    EXPECT_TRUE(!names.contains(kBackup) || subject.bytes(kBackup) == after);
  }
  EXPECT_EQ(fileutil::hasBrokenUpdate(subject.text().c_str()), names.contains(kUndo));
  EXPECT_EQ(subject.names(), names);
  EXPECT_TRUE(subject.bytes() == found) << "reading wrote";
  for (const std::string& name : names)
    EXPECT_TRUE(name == "a.m4a" || names.contains(kUndo)) << name << " is nobody's";
}

void expect_recovers(const Subject& subject, const std::string& before, const std::string& after) {
  const bool is_broken = subject.names().contains(kUndo);
  Recovery what = Recovery::kNothing;
  EXPECT_EQ(fileutil::recoverFile(subject.text().c_str(), &what), S_OK);
  EXPECT_EQ(what != Recovery::kNothing, is_broken);
  EXPECT_TRUE(subject.bytes() == before || subject.bytes() == after);
  if (is_broken) EXPECT_TRUE(subject.bytes() == (what == Recovery::kFinished ? after : before));
  EXPECT_EQ(subject.names(), kTheFileAlone);
}

constexpr Break kKills[] = {Break::kKillHalfWay, Break::kKillAfter};

/// An update that is to be killed.
struct Course {
  Scenario scenario;
  std::string before, after;
  bool flush;

  bool is_killed(const Subject& subject, int nth, Break how) const {
    return update_test::is_killed(
        nth, how, [&] { subject.update(scenario, flush); });
  }
  /// `check` kills in the n-th call, and answers whether there was one.
  void in_each_call(const std::function<bool(int nth, Break how)>& check) const {
    for (const Break how : kKills) {
      bool kills = true;
      for (int nth = 1; kills && !testing::Test::HasFailure(); ++nth) {
        SCOPED_TRACE(std::string(scenario.name) + ", killed in call " + std::to_string(nth) + ", way " +
                     std::to_string(static_cast<int>(how)) + (flush ? ", flushed" : ""));
        ASSERT_LT(nth, 500);
        kills = check(nth, how);
      }
    }
  }
};

std::vector<Course> courses(size_t length, std::set<bool> flushes) {
  const std::string before = noise(length);
  std::vector<Course> all;
  for (const Scenario& scenario : scenarios(length))
    for (const bool flush : flushes)
      all.push_back({scenario, before, updated(scenario, before), flush});
  return all;
}

TEST_F(Kill, AnUpdateOf8MegabytesIsRecoveredFrom) {
  int halves = 0, backups = 0;
  for (const Course& course : courses(8 << 20, {false})) {
    if (!std::string_view(course.scenario.name).ends_with("longer")) continue;
    course.in_each_call([&](int nth, Break how) {
      const Subject subject(course.before);
      if (!course.is_killed(subject, nth, how)) {
        EXPECT_TRUE(subject.bytes() == course.after);
        EXPECT_EQ(subject.names(), kTheFileAlone);
        return false;
      }
      halves += subject.bytes() != course.before && subject.bytes() != course.after;
      backups += subject.names().contains(kBackup);
      expect_whole_or_recoverable(subject, course.before, course.after);
      expect_recovers(subject, course.before, course.after);
      return true;
    });
  }
  EXPECT_GT(halves, 10);
  EXPECT_GT(backups, 15);
}

TEST_F(Kill, TheNextUpdateRecoversByItself) {
  for (const Course& course : courses(70'000, {false, true}))
    course.in_each_call([&](int nth, Break how) {
      const Subject subject(course.before);
      const bool kills = course.is_killed(subject, nth, how);
      expect_whole_or_recoverable(subject, course.before, course.after);
      if (subject.bytes() != course.after || subject.names() != kTheFileAlone)
        EXPECT_EQ(subject.update(course.scenario, course.flush), S_OK);
      EXPECT_TRUE(subject.bytes() == course.after);
      EXPECT_EQ(subject.names(), kTheFileAlone);
      return kills;
    });
}

TEST_F(Kill, RecoveryThatIsKilledIsRecoveredFromToo) {
  for (const Course& course : courses(3'000, {false}))
    course.in_each_call([&](int nth, Break how) {
      bool kills = false;
      bool kills_again = true;
      for (int in_recovery = 1; kills_again && !testing::Test::HasFailure(); ++in_recovery) {
        const Subject subject(course.before);
        kills = course.is_killed(subject, nth, how);
        kills_again = is_killed(
            in_recovery, how, [&] { fileutil::recoverFile(subject.text().c_str()); });
        expect_whole_or_recoverable(subject, course.before, course.after);
        expect_recovers(subject, course.before, course.after);
      }
      return kills;
    });
}

} // namespace
