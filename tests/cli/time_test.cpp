// qv time: positions in and out.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace cli_test;
using Json = nlohmann::json;

namespace {

class Time : public testing::Test {
protected:
  // The separators of the user are those of this locale.
  void SetUp() override { setenv("LC_ALL", "en_US.UTF-8", 1); }
  void TearDown() override { unsetenv("LC_ALL"); }
};

std::string time(const Arguments& arguments) { return qv_says({"time"}, arguments); }

TEST_F(Time, Conversions) {
  struct Case {
    Arguments arguments;
    const char* out;
  };
  const Case cases[] = {
      {{"36255000000"}, "36,255,000,000\n"},
      {{"36255000000", "--to", "time"}, "01:00:25.500\n"},
      {{"36255000000", "--to", "1", "--short"}, "01:00:25\n"},
      {{"-10000000", "--to", "time"}, "-00:00:01.000\n"},
      {{"-1.5", "--from", "time"}, "-15,000,000\n"},
      {{"1:00:25.5", "--from", "time", "--to", "smpte2997df"}, "01:00:25;14\n"},
      {{"01:00:25;14", "--from", "smpte2997df", "--to", "seconds"}, "3,625.489\n"},
      {{"6+0", "--from", "feetframes16", "--fps", "24", "--to", "time"}, "00:00:10.000\n"},
      {{"10", "--from", "seconds", "--to", "frames", "--fps", "30000/1001"}, "299.700\n"},
      {{"3.1.0", "--from", "measures", "--meter", "6/8", "--tempo", "60", "--to", "seconds"}, "12.000\n"},
      {{"1.1.240", "--from", "measures", "--tpb", "480", "--to", "seconds"}, "0.250\n"},
      {{"0.0.480", "--from", "measures", "--absolute", "--to", "seconds"}, "0.250\n"},
      {{"44100", "--from", "samples", "--rate", "44100", "--to", "seconds"}, "1.000\n"},
      {{"0:00:01.0", "--from", "time", "--offset", "20000000"}, "10,000,000\n"},
      {{"0:00:01.0", "--from", "time", "--offset", "20000000", "--absolute"}, "10,000,000\n"},
      {{"add", "00:00:59:29", "00:00:00:01", "--format", "smpte2997df"}, "00:01:00;02\n"},
      {{"sub", "00:00:00:00", "00:00:00:01", "--format", "smpte25"}, "23:59:59:24\n"},
      {{"add", "1:30", "0:45", "--format", "time", "--short"}, "00:02:15\n"},
      {{"sub", "1", "3"}, "-2\n"},
      {{"add", "1.0", "2.0", "--format", "seconds", "--offset", "50000000"}, "3.000\n"},
      {{"add", "1:00", "2:00", "--format", "smpte30", "--offset", "50000000"}, "00:00:03:00\n"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(time(each.arguments), each.out) << testing::PrintToString(each.arguments);
}

TEST_F(Time, AllFormatsSideBySide) {
  const std::string all = time({"1:02:03.456", "--from", "time", "--to", "all"});
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 20);
  EXPECT_NE(all.find("smpte2997df   01:02:03;14\n"), std::string::npos) << all;
  const std::string table = time({"table", "650000000"});
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 21);
  EXPECT_NE(table.find(" 1  time          00:01:05.000           00:01:05\n"), std::string::npos) << table;
  EXPECT_NE(table.find("19  compact       1:05                   1:05\n"), std::string::npos) << table;
}

TEST_F(Time, Json) {
  const Json one = qv_json({"time", "1:02", "--from", "time", "--to", "smpte25"});
  EXPECT_EQ(one, (Json{{"text", "00:00:01:00"}, {"time_100ns", 10'200'000}}));
  const Json all = qv_json({"time", "650000000", "--to", "all"});
  EXPECT_EQ(all["time_100ns"], 650'000'000);
  EXPECT_EQ(all["texts"]["compact"], "1:05");
  EXPECT_EQ(all["texts"].size(), 20u);
  const Json table = qv_json({"time", "table", "1:05", "--from", "time", "--short"});
  EXPECT_EQ(table["formats"].size(), 20u);
  EXPECT_EQ(table["formats"][2]["long"], "65.000");
  EXPECT_EQ(table["formats"][2]["short"], "65");
}

TEST_F(Time, SeparatorsOfTheUser) {
  const ScratchFolder locales;
  run({"localedef", "-i", "de_DE", "-f", "UTF-8", locales.file("de_DE.UTF-8")});
  ASSERT_FALSE(locales.names().empty()) << "localedef has no locale definitions: the package locales brings them";
  setenv("LOCPATH", locales.path().c_str(), 1);
  setenv("LSAN_OPTIONS", "detect_leaks=0", 1); // the C library never frees the list that it makes of LOCPATH
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_EQ(time({"3.625,5", "--from", "seconds", "--to", "time"}), "01:00:25,500\n");
  EXPECT_EQ(time({"36255000000"}), "36.255.000.000\n");
  unsetenv("LOCPATH");
  unsetenv("LSAN_OPTIONS");
}

} // namespace
