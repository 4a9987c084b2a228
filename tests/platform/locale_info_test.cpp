// What the user's environment says about separators. Locales are compiled into a scratch folder with localedef from
// the distribution's own definitions; without those the tests that need them are skipped.
#include "qv/win32.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>

#ifndef _WIN32
// The C library never frees the list that it makes of LOCPATH, which no program but this test sets.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:argz_add_sep";
}
#endif

namespace {

TEST(UserLocaleInfo, CountsAndCapacities) {
  for (const LCTYPE type : {LOCALE_SNAME, LOCALE_SDECIMAL, LOCALE_SGROUPING, LOCALE_SLIST}) {
    const int count = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, nullptr, 0);
    ASSERT_GT(count, 1);
    WCHAR text[96] = {};
    text[count] = 7;
    EXPECT_EQ(GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, count), count);
    EXPECT_EQ(qv::WString(text).size(), static_cast<size_t>(count) - 1);
    EXPECT_EQ(text[count], 7);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, count - 1), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  }
  WCHAR text[96];
  EXPECT_EQ(GetLocaleInfoW(LOCALE_USER_DEFAULT, 0xFFFF, text, 96), 0);
}

#ifndef _WIN32
// There the system's settings decide, which a test must not change.

std::string value_of(LCTYPE type) {
  WCHAR text[96];
  const int count = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, 96);
  EXPECT_GT(count, 0);
  char bytes[288] = {};
  WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, 288, nullptr, nullptr);
  return bytes;
}

constexpr const char* kVariables[] = {"LC_ALL", "LC_NUMERIC", "LC_TIME", "LC_MESSAGES", "LANG", "LOCPATH"};

class LocaleInfo : public testing::Test {
protected:
  void SetUp() override {
    for (const char* name : kVariables) {
      if (const char* value = std::getenv(name)) before_[name] = value;
      unsetenv(name);
    }
  }

  void TearDown() override {
    for (const char* name : kVariables)
      if (before_.count(name))
        setenv(name, before_[name].c_str(), 1);
      else
        unsetenv(name);
  }

  static void TearDownTestSuite() {
    if (!folder().empty()) std::filesystem::remove_all(folder());
  }

  // Makes the C library find a locale ("de_DE", "UTF-8"); false where the definitions are missing.
  static bool compile(const std::string& name, const std::string& code_set) {
    if (folder().empty()) {
      std::string pattern = (std::filesystem::temp_directory_path() / "qv-locale-XXXXXX").string();
      if (!mkdtemp(pattern.data())) return false;
      folder() = pattern;
    }
    setenv("LOCPATH", folder().c_str(), 1);
    const std::string path = folder() + "/" + name + "." + code_set;
    if (std::filesystem::exists(path)) return true;
    const std::string command = "localedef -i " + name + " -f " + code_set + " " + path + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
  }

private:
  static std::string& folder() {
    static std::string path;
    return path;
  }
  std::map<std::string, std::string> before_;
};

struct Expected {
  const char* locale;
  const char* code_set;
  const char* name;
  const char* decimal;
  const char* thousand;
  const char* grouping;
  const char* list;
  const char* time;
};

void expect_values(const Expected& expected) {
  EXPECT_EQ(value_of(LOCALE_SNAME), expected.name);
  EXPECT_EQ(value_of(LOCALE_SDECIMAL), expected.decimal);
  EXPECT_EQ(value_of(LOCALE_STHOUSAND), expected.thousand);
  EXPECT_EQ(value_of(LOCALE_SGROUPING), expected.grouping);
  EXPECT_EQ(value_of(LOCALE_SLIST), expected.list);
  EXPECT_EQ(value_of(LOCALE_STIME), expected.time);
}

// One for each way to differ; compiling a locale takes a second.
constexpr Expected kLocales[] = {
    {"de_DE", "UTF-8", "de-DE", ",", ".", "3;0", ";", ":"},
    {"fr_FR", "UTF-8", "fr-FR", ",", "\u202F", "3;0", ";", ":"},
    {"fr_FR", "ISO-8859-1", "fr-FR", ",", "\u00A0", "3;0", ";", ":"},
    {"en_IN", "UTF-8", "en-IN", ".", ",", "3;2;0", ",", ":"},
    {"fi_FI", "UTF-8", "fi-FI", ",", "\u202F", "3;0", ";", "."},
};

TEST_F(LocaleInfo, FollowsTheInstalledLocale) {
  if (!compile("de_DE", "UTF-8")) GTEST_SKIP() << "localedef has no locale definitions";
  for (const Expected& expected : kLocales) {
    const std::string name = std::string(expected.locale) + "." + expected.code_set;
    SCOPED_TRACE(name);
    ASSERT_TRUE(compile(expected.locale, expected.code_set));
    setenv("LC_ALL", name.c_str(), 1);
    expect_values(expected);
  }
}

TEST_F(LocaleInfo, TheMostSpecificVariableCounts) {
  if (!compile("de_DE", "UTF-8") || !compile("fi_FI", "UTF-8")) GTEST_SKIP() << "localedef has no locale definitions";
  setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(value_of(LOCALE_SDECIMAL), ",");
  setenv("LC_NUMERIC", "C", 1);
  setenv("LC_TIME", "fi_FI.UTF-8", 1);
  setenv("LC_ALL", "", 1); // empty is as good as unset
  expect_values({"", "", "de-DE", ".", ",", "3;0", ",", "."});
  setenv("LC_MESSAGES", "fi_FI.UTF-8", 1);
  EXPECT_EQ(value_of(LOCALE_SNAME), "fi-FI");
  setenv("LC_ALL", "C.UTF-8", 1);
  expect_values({"", "", "en-US", ".", ",", "3;0", ",", ":"});
}

TEST_F(LocaleInfo, EverythingElseCountsAsEnglish) {
  expect_values({"", "", "en-US", ".", ",", "3;0", ",", ":"});
  for (const char* variable : {"C", "POSIX", "C.UTF-8", "", "xx_YY.UTF-8@euro", "../../etc/passwd", "a b", "@"}) {
    SCOPED_TRACE(variable);
    setenv("LANG", variable, 1);
    const bool is_a_name = variable[0] == 'x'; // of a locale that is not installed
    expect_values({"", "", is_a_name ? "xx-YY" : "en-US", ".", ",", "3;0", ",", ":"});
  }
}

#endif

} // namespace
