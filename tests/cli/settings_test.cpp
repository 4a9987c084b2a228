// qv settings on a registry of the test's own.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace cli_test;
using Json = nlohmann::json;

namespace {

class Settings : public testing::Test {
protected:
  void SetUp() override { setenv("QV_REGISTRY", (folder_.path() / "registry.db").c_str(), 1); }
  void TearDown() override { unsetenv("QV_REGISTRY"); }

  /// `qv settings COMMAND --app Editor --app-version 1.2`
  static Arguments words(const std::string& command, const std::string& version = "1.2") {
    return {"settings", command, "--app", "Editor", "--app-version", version};
  }
  /// What a command prints that succeeds.
  static std::string says(const std::string& command, const Arguments& rest = {}, const std::string& version = "1.2") {
    return qv_says(words(command, version), rest);
  }
  static void expect_failure(const std::string& command, const Arguments& rest, const std::string& line,
                             const std::string& version = "1.2") {
    expect_refused(run_qv(words(command, version), rest), 1, line + "\n", "");
  }

  ScratchFolder folder_;
};

TEST_F(Settings, ComeBackAsTheyWereSet) {
  struct Case {
    Arguments key, values;
    const char* text;
    const char* json;
  };
  const Case cases[] = {
      {{"5"}, {"77"}, "77\n", R"({"n":5,"type":"dword","value":77})"},
      {{"5"}, {"0xFFFFFFFF"}, "4294967295\n", R"({"n":5,"type":"dword","value":4294967295})"},
      {{"--type", "string", "5"},
       {"h\xC3\xA9 \xF0\x9D\x84\x9E"},
       "h\xC3\xA9 \xF0\x9D\x84\x9E\n",
       R"({"n":5,"type":"string","value":"h\u00e9 \ud834\udd1e"})"},
      {{"--type", "string", "0"}, {""}, "\n", R"({"n":0,"type":"string","value":""})"},
      {{"--type", "string", "0"}, {"\t\"\\"}, "\t\"\\\n", R"({"n":0,"type":"string","value":"\t\"\\"})"},
      {{"--type", "binary", "2147483647"},
       {"00ffA0"},
       "00ffa0\n",
       R"({"n":2147483647,"type":"binary","value":"00ffa0"})"},
      {{"--type", "binary", "3"}, {""}, "\n", R"({"n":3,"type":"binary","value":""})"},
      {{"--type", "multi", "5"},
       {"one", "two words"},
       "one\ntwo words\n",
       R"({"n":5,"type":"multi","value":["one","two words"]})"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.json);
    EXPECT_EQ(says("set", joined(each.key, each.values)), "");
    EXPECT_EQ(says("get", each.key), each.text);
    EXPECT_EQ(Json::parse(says("get", joined({"--json"}, each.key))), Json::parse(each.json));
  }
  // An export imports to the same.
  const std::string exported = says("export");
  EXPECT_EQ(Json::parse(exported)["values"].size(), 6u);
  says("import", {folder_.put("settings.json", exported)}, "3.0");
  Json expected = Json::parse(exported);
  expected["version"] = "3.0";
  EXPECT_EQ(Json::parse(says("export", {}, "3.0")), expected);
}

TEST_F(Settings, AreListedByNumberAndType) {
  says("set", {"--type", "string", "7", "line\nbreak\x1B"});
  says("set", {"7", "1"});
  says("set", {"10", "2"});
  says("set", {"--sub", "Window", "9", "3"});
  EXPECT_EQ(says("list"), "         7  dword   1\n         7  string  line|break.\n        10  dword   2\n");
  const Json listed = Json::parse(says("list", {"--json"}));
  EXPECT_EQ(listed, Json::parse(R"({"app": "Editor", "version": "1.2", "values": [
    {"n": 7, "type": "dword", "value": 1}, {"n": 7, "type": "string", "value": "line\nbreak\u001b"},
    {"n": 10, "type": "dword", "value": 2}]})"));
  EXPECT_EQ(Json::parse(says("list", {"--json", "--sub", "Window"}))["sub"], "Window");
  says("delete", {"7"});
  expect_failure("delete", {"7"}, "Editor 1.2: 7: is a string, not a dword");
  EXPECT_EQ(says("list"), "         7  string  line|break.\n        10  dword   2\n");
}

TEST_F(Settings, ABadImportWritesNothing) {
  std::vector<std::pair<std::string, std::string>> cases = {
      {"{", "not JSON"}, {"[]", "has no array \"values\""}, {R"({"values": 3})", "has no array \"values\""}};
  // Behind an entry that is good.
  const std::pair<const char*, const char*> entries[] = {
      {"5", "is not an object"},
      {R"({"type": "dword", "value": 1})", "has no \"n\" from 0 to 2147483647"},
      {R"({"n": -1, "type": "dword", "value": 1})", "has no \"n\" from 0 to 2147483647"},
      {R"({"n": 2147483648, "type": "dword", "value": 1})", "has no \"n\" from 0 to 2147483647"},
      {R"({"n": 1, "type": "word", "value": 1})", "has no \"type\" of dword, string, binary or multi"},
      {R"({"n": 1, "type": "dword"})", "has no \"value\""},
      {R"({"n": 1, "type": "dword", "value": null})", "a dword is a number from 0 to 4294967295"},
      {R"({"n": 1, "type": "dword", "value": 4294967296})", "4294967296 is more than 4294967295"},
      {R"({"n": 1, "type": "multi", "value": ["a", 1]})", "a multi is an array of strings"},
      {R"({"n": 1, "type": "multi", "value": ["a", ""]})", "an empty text would end the list"},
      {R"({"n": 1, "type": "string", "value": "a\u0000b"})", "the text contains a zero character"},
      {R"({"n": 1, "type": "binary", "value": "0g"})", "\"0g\" is not pairs of hexadecimal digits"},
  };
  for (const auto& [entry, reason] : entries)
    cases.emplace_back(R"({"values": [{"n": 1, "type": "dword", "value": 1}, )" + std::string(entry) + "]}",
                       std::string("entry 2: ") + reason);
  for (const auto& [text, reason] : cases) {
    SCOPED_TRACE(text);
    const std::string file = folder_.put("bad.json", text);
    expect_failure("import", {file}, file + ": " + reason);
  }
  expect_failure("import", {folder_.path()}, folder_.path().string() + ": the file could not be read");
  const std::string none = folder_.file("none.json");
  expect_failure("import", {none}, none + ": the file could not be opened");
  expect_failure("list", {}, "Editor 1.2: no settings");
}

TEST_F(Settings, WrongValuesAreOneLine) {
  const std::pair<Arguments, const char*> cases[] = {
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
    expect_failure("set", arguments, line);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "registry.db")) << "nothing is created";
  expect_failure("get", {"5"}, "Editor 1.2: no settings");
  says("set", {"--type", "string", "5", "x"});
  expect_failure("get", {"5"}, "Editor 1.2: 5: is a string, not a dword");
  expect_failure("get", {"6"}, "Editor 1.2: 6: not set");
  expect_failure("get", {"--type", "binary", "6"}, "Editor 1.2: 6 (binary): not set");
  expect_failure("get", {"5"}, "1: not a version of the form M.N, each from 0 to 255", "1");
  expect_failure("get", {"5"}, "1.256: not a version of the form M.N, each from 0 to 255", "1.256");
}

TEST_F(Settings, AStoreThatIsNoneIsNamedAsSuch) {
  const std::string text = "somebody's notes\n";
  setenv("QV_REGISTRY", folder_.put("notes.txt", text).c_str(), 1);
  const char* line = "Editor 1.2: the registry is damaged, or the file is no registry";
  expect_failure("list", {}, line);
  expect_failure("set", {"5", "1"}, line);
  EXPECT_EQ(read_file(folder_.file("notes.txt")), text);
}

TEST_F(Settings, AReadOnlyStoreCanBeReadAndSaysSoOnWriting) {
  says("set", {"5", "1"});
  namespace fs = std::filesystem;
  fs::permissions(folder_.path() / "registry.db", fs::perms::owner_read | fs::perms::others_read);
  fs::permissions(folder_.path(),
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
  // Permissions do not bind root: another user tries.
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(77);
    if (access(QV_PROGRAM, X_OK) != 0) _exit(77); // a build tree that others may not enter
    expect_failure("set", {"5", "2"}, "Editor 1.2: 5: cannot be written; the store is read-only, full or damaged");
    expect_failure("delete", {"5"}, "Editor 1.2: 5: cannot be deleted; the store is read-only, full or damaged");
    expect_failure("set", {"--sub", "New", "5", "2"}, "Editor 1.2 New: access is denied");
    EXPECT_EQ(run_qv(words("get"), {"5"}).out, "1\n");
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
