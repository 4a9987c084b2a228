// A program that loads only our library finds PCRE's interface in it, and it works.
#include "tests/include/loaded_library.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// PCRE's published interface, as far as it is used here.
using Compile = void* (*)(const char* pattern, int options, const char** error, int* error_offset,
                          const unsigned char* tables);
using Exec = int (*)(const void* code, const void* extra, const char* subject, int length, int start, int options,
                     int* offsets, int offset_count);
using Config = int (*)(int what, void* where);
constexpr int kUtf8 = 0x00000800;
constexpr int kConfigUtf8 = 0;
constexpr int kConfigNewline = 1;
constexpr int kConfigUnicodeProperties = 6;

template <class Function>
Function function(const LoadedLibrary& library, const char* name) {
  return reinterpret_cast<Function>(library.find(name));
}

struct Match {
  const char* pattern;
  const char* subject;
  std::vector<std::string> groups; ///< empty: no match
};

TEST(PcreExport, MatchesThroughOurLibraryAlone) {
  const LoadedLibrary library;
  ASSERT_TRUE(library.is_open());
  const auto compile = function<Compile>(library, "pcre_compile");
  const auto exec = function<Exec>(library, "pcre_exec");
  ASSERT_TRUE(compile && exec && library.find("pcre_free") && library.find("pcre_study"));
  const Match cases[] = {
      {"^(\\d+):(\\d\\d)$", "12:34", {"12:34", "12", "34"}},
      {"^(\\d+):(\\d\\d)$", "12:3", {}},
      {"(?<=Tr)ac(.)", "Track", {"ack", "k"}},
      {"^\\p{Lu}.$", "\xC3\x89\xC3\xA9", {"\xC3\x89\xC3\xA9"}}, // two characters in four bytes
  };
  for (const Match& expected : cases) {
    const char* error = nullptr;
    int error_offset = 0;
    void* code = compile(expected.pattern, kUtf8, &error, &error_offset, nullptr);
    ASSERT_NE(code, nullptr) << expected.pattern << ": " << error;
    int offsets[30] = {};
    const int count =
        exec(code, nullptr, expected.subject, static_cast<int>(std::strlen(expected.subject)), 0, 0, offsets, 30);
    std::vector<std::string> groups;
    for (int i = 0; i < count; i++)
      groups.emplace_back(expected.subject + offsets[2 * i], expected.subject + offsets[2 * i + 1]);
    EXPECT_EQ(groups, expected.groups) << expected.pattern;
    // pcre_free is a variable that holds the function.
    (*static_cast<void (**)(void*)>(library.find("pcre_free")))(code);
  }
}

TEST(PcreExport, IsConfiguredAsTheDistributionDoes) {
  const LoadedLibrary library;
  ASSERT_TRUE(library.is_open());
  const auto config = function<Config>(library, "pcre_config");
  ASSERT_TRUE(config);
  const struct {
    int what;
    int value;
  } cases[] = {{kConfigUtf8, 1}, {kConfigUnicodeProperties, 1}, {kConfigNewline, '\n'}};
  for (const auto& expected : cases) {
    int value = -1;
    EXPECT_EQ(config(expected.what, &value), 0);
    EXPECT_EQ(value, expected.value) << "setting " << expected.what;
  }
}

} // namespace
