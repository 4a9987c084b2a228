// qv settings on a registry of the test's own.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

using namespace cli_test;
using Json = nlohmann::json;

namespace {

class Settings : public testing::Test {
protected:
  void SetUp() override { setenv("QV_REGISTRY", (folder_.path() / "registry.db").c_str(), 1); }
  void TearDown() override { unsetenv("QV_REGISTRY"); }

  /// `qv settings COMMAND --app Editor --app-version 1.2 REST...`
  static Outcome settings(const std::string& command, const std::vector<std::string>& rest = {},
                          const std::string& version = "1.2") {
    std::vector<std::string> arguments = {"settings", command, "--app", "Editor", "--app-version", version};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    return run_qv(arguments);
  }
  static void expect_done(const std::string& command, const std::vector<std::string>& rest) {
    const Outcome outcome = settings(command, rest);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.error, "");
  }
  static std::string value(const std::vector<std::string>& rest) {
    const Outcome outcome = settings("get", rest);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error;
    return outcome.out;
  }
  static void expect_failure(const Outcome& outcome, const std::string& line) {
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.error, "qv: " + line + "\n");
  }

  ScratchFolder folder_;
};

TEST_F(Settings, ComeBackAsTheyWereSet) {
  struct Case {
    std::vector<std::string> set, get;
    const char* text;
    const char* json;
  };
  const Case cases[] = {
      {{"5", "77"}, {"5"}, "77\n", R"({"n":5,"type":"dword","value":77})"},
      {{"5", "0xFFFFFFFF"}, {"5"}, "4294967295\n", R"({"n":5,"type":"dword","value":4294967295})"},
      {{"--type", "string", "5", "h\xC3\xA9 \xF0\x9D\x84\x9E"},
       {"--type", "string", "5"},
       "h\xC3\xA9 \xF0\x9D\x84\x9E\n",
       R"({"n":5,"type":"string","value":"h\u00e9 \ud834\udd1e"})"},
      {{"--type", "string", "0", ""}, {"--type", "string", "0"}, "\n", R"({"n":0,"type":"string","value":""})"},
      {{"--type", "binary", "2147483647", "00ffA0"},
       {"--type", "binary", "2147483647"},
       "00ffa0\n",
       R"({"n":2147483647,"type":"binary","value":"00ffa0"})"},
      {{"--type", "binary", "3", ""}, {"--type", "binary", "3"}, "\n", R"({"n":3,"type":"binary","value":""})"},
      {{"--type", "multi", "5", "one", "two words"},
       {"--type", "multi", "5"},
       "one\ntwo words\n",
       R"({"n":5,"type":"multi","value":["one","two words"]})"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.json);
    expect_done("set", each.set);
    EXPECT_EQ(value(each.get), each.text);
    std::vector<std::string> as_json = each.get;
    as_json.insert(as_json.begin(), "--json");
    EXPECT_EQ(Json::parse(value(as_json)), Json::parse(each.json));
  }
}

TEST_F(Settings, AreListedByNumberAndType) {
  expect_done("set", {"--type", "string", "7", "line\nbreak\x1B"});
  expect_done("set", {"7", "1"});
  expect_done("set", {"10", "2"});
  expect_done("set", {"--sub", "Window", "9", "3"});
  EXPECT_EQ(settings("list").out, "         7  dword   1\n         7  string  line|break.\n        10  dword   2\n");
  const Json listed = Json::parse(settings("list", {"--json"}).out);
  EXPECT_EQ(listed, Json::parse(R"({"app": "Editor", "version": "1.2", "values": [
    {"n": 7, "type": "dword", "value": 1}, {"n": 7, "type": "string", "value": "line\nbreak\u001b"},
    {"n": 10, "type": "dword", "value": 2}]})"));
  EXPECT_EQ(Json::parse(settings("list", {"--json", "--sub", "Window"}).out)["sub"], "Window");
  expect_done("delete", {"7"});
  expect_failure(settings("delete", {"7"}), "Editor 1.2: 7: is a string, not a dword");
  EXPECT_EQ(settings("list").out, "         7  string  line|break.\n        10  dword   2\n");
}

TEST_F(Settings, AnExportImportsToTheSame) {
  expect_done("set", {"1", "4294967295"});
  expect_done("set", {"--type", "string", "1", "\xE2\x82\xAC\t\"\\"});
  expect_done("set", {"--type", "binary", "1", "00"});
  expect_done("set", {"--type", "multi", "1", "a", "b"});
  const Outcome exported = settings("export");
  ASSERT_EQ(exported.exit_code, 0);
  const std::string file = folder_.put("settings.json", exported.out);
  EXPECT_EQ(settings("import", {file}, "3.0").exit_code, 0);
  Json expected = Json::parse(exported.out);
  expected["version"] = "3.0";
  EXPECT_EQ(Json::parse(settings("export", {}, "3.0").out), expected);
}

TEST_F(Settings, ABadImportWritesNothing) {
  const std::string good = R"({"n": 1, "type": "dword", "value": 1})";
  const std::pair<std::string, std::string> cases[] = {
      {"{", "not JSON"},
      {"[]", "has no array \"values\""},
      {R"({"values": 3})", "has no array \"values\""},
      {R"({"values": [)" + good + R"(, 5]})", "entry 2: is not an object"},
      {R"({"values": [)" + good + R"(, {"type": "dword", "value": 1}]})", "entry 2: has no \"n\" from 0 to 2147483647"},
      {R"({"values": [)" + good + R"(, {"n": -1, "type": "dword", "value": 1}]})",
       "entry 2: has no \"n\" from 0 to 2147483647"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "word", "value": 1}]})",
       "entry 2: has no \"type\" of dword, string, binary or multi"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "dword"}]})", "entry 2: has no \"value\""},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "dword", "value": null}]})",
       "entry 2: a dword is a number from 0 to 4294967295"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "dword", "value": 4294967296}]})",
       "entry 2: 4294967296 is more than 4294967295"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "multi", "value": ["a", 1]}]})",
       "entry 2: a multi is an array of strings"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "multi", "value": ["a", ""]}]})",
       "entry 2: an empty text would end the list"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "string", "value": "a\u0000b"}]})",
       "entry 2: the text contains a zero character"},
      {R"({"values": [)" + good + R"(, {"n": 1, "type": "binary", "value": "0g"}]})",
       "entry 2: \"0g\" is not pairs of hexadecimal digits"},
  };
  for (const auto& [text, reason] : cases) {
    SCOPED_TRACE(text);
    const std::string file = folder_.put("bad.json", text);
    expect_failure(settings("import", {file}), file + ": " + reason);
  }
  const std::string none = (folder_.path() / "none.json").string();
  expect_failure(settings("import", {none}), none + ": the file could not be opened");
  expect_failure(settings("list"), "Editor 1.2: no settings");
}

TEST_F(Settings, WrongValuesAreOneLine) {
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"5", "abc"}, "5: \"abc\" is not a number from 0 to 4294967295"},
      {{"5", ""}, "5: \"\" is not a number from 0 to 4294967295"},
      {{"5", "0x"}, "5: \"0x\" is not a number from 0 to 4294967295"},
      {{"5", "1 "}, "5: \"1 \" is not a number from 0 to 4294967295"},
      {{"5", "4294967296"}, "5: 4294967296 is more than 4294967295"},
      {{"5", "99999999999999999999"}, "5: \"99999999999999999999\" is more than 4294967295"},
      {{"5", "1", "2"}, "5: a dword is one value"},
      {{"--type", "binary", "5", "abc"}, "5 (binary): \"abc\" is not pairs of hexadecimal digits"},
      {{"--type", "string", "5", "\xFF"}, "5 (string): the text is not UTF-8"},
      {{"--type", "multi", "5", "a", ""}, "5 (multi): an empty text would end the list"},
  };
  for (const auto& [arguments, line] : cases)
    expect_failure(settings("set", arguments), line);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "registry.db")) << "nothing is created";
  expect_failure(settings("get", {"5"}), "Editor 1.2: no settings");
  expect_done("set", {"--type", "string", "5", "x"});
  expect_failure(settings("get", {"5"}), "Editor 1.2: 5: is a string, not a dword");
  expect_failure(settings("get", {"6"}), "Editor 1.2: 6: not set");
  expect_failure(settings("get", {"--type", "binary", "6"}), "Editor 1.2: 6 (binary): not set");
  expect_failure(settings("get", {"5"}, "1"), "1: not a version of the form M.N, each from 0 to 255");
  expect_failure(settings("get", {"5"}, "1.256"), "1.256: not a version of the form M.N, each from 0 to 255");
}

TEST_F(Settings, WrongUsageExitsWith2) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"settings"},
           {"settings", "list"},
           {"settings", "get", "--app", "a", "--app-version", "1.0"},
           {"settings", "set", "--app", "a", "--app-version", "1.0", "5"},
           {"settings", "get", "--app", "a", "--app-version", "1.0", "--type", "word", "5"},
           {"settings", "get", "--app", "a", "--app-version", "1.0", "five"},
           {"settings", "get", "--app", "a", "--app-version", "1.0", "2147483648"}}) {
    const Outcome outcome = run_qv(arguments);
    EXPECT_EQ(outcome.exit_code, 2) << outcome.error;
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
  }
}

TEST_F(Settings, AStoreThatIsNoneIsNamedAsSuch) {
  const std::string text = "somebody's notes\n";
  setenv("QV_REGISTRY", folder_.put("notes.txt", text).c_str(), 1);
  const char* line = "Editor 1.2: the registry is damaged, or the file is no registry";
  expect_failure(settings("list"), line);
  expect_failure(settings("set", {"5", "1"}), line);
  std::ifstream stream(folder_.path() / "notes.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), text);
}

TEST_F(Settings, AReadOnlyStoreCanBeReadAndSaysSoOnWriting) {
  expect_done("set", {"5", "1"});
  namespace fs = std::filesystem;
  fs::permissions(folder_.path() / "registry.db", fs::perms::owner_read | fs::perms::others_read);
  fs::permissions(folder_.path(),
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
  // Permissions do not bind root: another user tries.
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(77);
    if (access(QV_PROGRAM, X_OK) != 0) _exit(77); // a build tree that others may not enter
    expect_failure(settings("set", {"5", "2"}),
                   "Editor 1.2: 5: cannot be written; the store is read-only, full or damaged");
    expect_failure(settings("delete", {"5"}),
                   "Editor 1.2: 5: cannot be deleted; the store is read-only, full or damaged");
    expect_failure(settings("set", {"--sub", "New", "5", "2"}), "Editor 1.2 New: access is denied");
    EXPECT_EQ(value({"5"}), "1\n");
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  fs::permissions(folder_.path(), fs::perms::all);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "no other user can run the program here";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
