// Each call of an update fails, or does half its work: the file is the old one or the new one and the result says so,
// or it is half written, the result says that, and recovery settles it.
#include "tests/fileutil/update/broken_calls.h"
#include "tests/fileutil/update/update_subject.h"

#include "qv/result.h"

using namespace update_test;
using fileutil::Recovery;

namespace {

class Failures : public testing::Test {
protected:
  void SetUp() override {
    if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
  }
  void TearDown() override { unsetenv("TMPDIR"); }
};

/// How often an update ended in which way.
struct Tally {
  int refused = 0, half = 0, untidy = 0, done = 0;
};

void expect_as_said(const Subject& subject, const std::string& before, const std::string& after, HRESULT result,
                    Tally& tally) {
  const std::string found = subject.bytes();
  if (SUCCEEDED(result)) {
    EXPECT_TRUE(found == after);
    ++(result == S_OK ? tally.done : tally.untidy);
    if (result == S_OK) EXPECT_EQ(subject.names(), kTheFileAlone);
  } else if (result == QVERR_MP4_HALF_WRITTEN) {
    ++tally.half;
    EXPECT_TRUE(fileutil::hasBrokenUpdate(subject.text().c_str()));
  } else {
    ++tally.refused;
    EXPECT_TRUE(found == before) << std::hex << result;
  }
  const bool is_tidy = subject.names() == kTheFileAlone;
  Recovery what = Recovery::kNothing;
  EXPECT_EQ(fileutil::recoverFile(subject.text().c_str(), &what), S_OK);
  EXPECT_TRUE(!is_tidy || what == Recovery::kNothing);
  const std::string settled = subject.bytes();
  EXPECT_TRUE(SUCCEEDED(result) ? settled == after : settled == before || settled == after);
  if (FAILED(result) && result != QVERR_MP4_HALF_WRITTEN) EXPECT_TRUE(settled == before);
  EXPECT_EQ(subject.names(), kTheFileAlone);
}

TEST_F(Failures, AreReportedAndLeaveAWholeFileOrOneThatRecovers) {
  constexpr size_t kLength = 2'200'000; // two blocks of a copy
  const std::string before = noise(kLength);
  for (const Break how : {Break::kFail, Break::kFailFromHere, Break::kWriteHalf}) {
    Tally tally;
    for (const Scenario& scenario : scenarios(kLength))
      for (const bool flush : {false, true}) {
        const std::string after = updated(scenario, before);
        bool has_happened = true;
        for (int nth = 1; has_happened && !testing::Test::HasFailure(); ++nth) {
          SCOPED_TRACE(std::string(scenario.name) + ", call " + std::to_string(nth) + ", way " +
                       std::to_string(static_cast<int>(how)) + (flush ? ", flushed" : ""));
          ASSERT_LT(nth, 200);
          const Subject subject(before);
          HRESULT result = E_FAIL;
          {
            const BrokenCalls calls(nth, how, true);
            result = subject.update(scenario, flush);
            has_happened = calls.has_happened();
          }
          const bool is_refused = FAILED(result) && result != QVERR_MP4_HALF_WRITTEN;
          if (how == Break::kFail && is_refused)
            EXPECT_EQ(subject.names(), kTheFileAlone) << "one call failed, no more";
          expect_as_said(subject, before, after, result, tally);
          if (how == Break::kWriteHalf) EXPECT_EQ(result, S_OK);
        }
      }
    const bool fails = how != Break::kWriteHalf;
    EXPECT_EQ(tally.refused > 50, fails);
    EXPECT_EQ(tally.half > 10, fails);
    EXPECT_EQ(tally.untidy > 5, fails);
    EXPECT_GT(tally.done, 10);
  }
}

TEST_F(Failures, RecoveryThatFailsCanBeTriedAgain) {
  constexpr size_t kLength = 3'000;
  const std::string before = noise(kLength);
  int broken = 0;
  for (const Scenario& scenario : scenarios(kLength)) {
    const std::string after = updated(scenario, before);
    bool kills = true;
    for (int nth = 1; kills && !testing::Test::HasFailure(); ++nth) {
      bool has_happened = true;
      for (int failing = 1; has_happened && !testing::Test::HasFailure(); ++failing) {
        SCOPED_TRACE(std::string(scenario.name) + ", killed in call " + std::to_string(nth) + ", call " +
                     std::to_string(failing) + " of the recovery failing");
        const Subject subject(before);
        kills = is_killed(nth, Break::kKillHalfWay, [&] { subject.update(scenario, false); });
        {
          const BrokenCalls calls(failing, Break::kFailFromHere, true);
          fileutil::recoverFile(subject.text().c_str());
          has_happened = calls.has_happened();
        }
        broken += subject.bytes() != before && subject.bytes() != after;
        EXPECT_EQ(fileutil::recoverFile(subject.text().c_str()), S_OK);
        EXPECT_TRUE(subject.bytes() == before || subject.bytes() == after);
        EXPECT_EQ(subject.names(), kTheFileAlone);
      }
    }
  }
  EXPECT_GT(broken, 10);
}

} // namespace
