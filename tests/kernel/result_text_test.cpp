// Sentences for results: the public headers say which codes there are.
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include "qv/result.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <tuple>

namespace {

using ResultText = LocaleTest;

std::string sentence(HRESULT result) { return utf8(QvResultText(result)); }

std::vector<std::smatch> matches(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  return {std::sregex_iterator(text.begin(), text.end(), expression), {}};
}

/// Names and values of the results that the public headers speak of, those of the Win32 names included. Errors of the
/// system count where a comment names them.
std::map<std::string, HRESULT> documented_results() {
  std::ostringstream all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(QV_PUBLIC_HEADERS))
    if (entry.path().extension() == ".h") all << std::ifstream(entry.path()).rdbuf() << '\n';
  const std::string headers = all.str();
  std::map<std::string, unsigned long> values;
  for (const std::smatch& match :
       matches(headers, R"((?:ROW\(|#define )((?:S|E|STG_E|QVERR|ERROR)_[A-Z0-9_]+),? +\(?(?:.*[<{(])?(0x\w+|\d+))"))
    values[match[1]] = std::stoul(match[2], nullptr, 0);
  std::map<std::string, HRESULT> results;
  for (const std::smatch& match : matches(headers, R"(\b(?:S|E|STG_E|QVERR)_[A-Z0-9_]+\b)"))
    results[match[0]] = static_cast<HRESULT>(values.at(match[0]));
  for (const std::smatch& match : matches(headers, R"((#define )?\b(ERROR_[A-Z_]+))"))
    if (!match[1].matched && values.at(match[2]) != 0)
      results[match[2]] = static_cast<HRESULT>(0x80070000u | values.at(match[2]));
  return results;
}

TEST_F(ResultText, EveryDocumentedResultHasASentence) {
  const auto results = documented_results();
  ASSERT_GT(results.size(), 30u);
  ASSERT_TRUE(results.contains("ERROR_FILENAME_EXCED_RANGE") && results.contains("QVERR_MP4_UNSAFE"));
  for (const auto& [name, result] : results) {
    EXPECT_NE(sentence(result), "unknown result") << name;
    EXPECT_NE(sentence(result), "the system reports an error") << name;
  }
  EXPECT_EQ(sentence(static_cast<HRESULT>(0x8007FFFFu)), "the system reports an error");
  EXPECT_EQ(sentence(static_cast<HRESULT>(0x8006FFFFu)), "unknown result");
  EXPECT_EQ(sentence(QVERR_RIFF_NOTFOUND), "what was asked for is not there") << "for chunks and settings alike";
}

TEST_F(ResultText, SentencesFollowTheLanguage) {
  const std::tuple<QVLANGUAGE, char32_t, char32_t> scripts[] = {{QVLANGUAGE_RUSSIAN, 0x400, 0x4FF},
                                                                {QVLANGUAGE_JAPANESE, 0x3040, 0x9FFF},
                                                                {QVLANGUAGE_KOREAN, 0xAC00, 0xD7A3},
                                                                {QVLANGUAGE_CHINESE, 0x4E00, 0x9FFF}};
  const auto results = documented_results();
  for (const auto& [language, first, last] : scripts) {
    QvLanguage_Set(language);
    for (const auto& [name, result] : results) {
      const qv::WString text = QvResultText(result);
      EXPECT_TRUE(
          std::any_of(text.begin(), text.end(),
                      [first = first, last = last](char32_t letter) { return letter >= first && letter <= last; }))
          << name << " in language " << language;
    }
  }
  QvLanguage_Set(QVLANGUAGE_GERMAN);
  EXPECT_EQ(sentence(E_OUTOFMEMORY), "nicht genügend Arbeitsspeicher");
  EXPECT_EQ(sentence(QVERR_RIFF_NOTFOUND), "das Gesuchte ist nicht vorhanden");
  EXPECT_EQ(sentence(static_cast<HRESULT>(0x80070008u)), sentence(E_OUTOFMEMORY)) << "the system has a name of its own";
  EXPECT_EQ(sentence(12345), "unbekanntes Ergebnis");
}

} // namespace
