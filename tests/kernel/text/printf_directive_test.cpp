// What the "$" directives insert for one user and another.
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include <climits>
#include <random>
#include <tuple>

namespace {

using Directive = LocaleTest;

TEST_F(Directive, FollowTheLocale) {
  const std::pair<const QVUSERLOCALE*, const char*> cases[] = {
      {&kEnglish, "12:34.5, 6 $ 44,100 -1,234,567.891 1,234,567,890,123 999 0.5"},
      {&kGerman, "12:34,5; 6 $ 44.100 -1.234.567,891 1.234.567.890.123 999 0,5"},
      {&kFrench, "12:34,5; 6 $ 44\u202F100 -1\u202F234\u202F567,891 1\u202F234\u202F567\u202F890\u202F123 999 0,5"},
      {&kHindi, "12:34.5, 6 $ 44,100 -12,34,567.891 12,34,56,78,90,123 999 0.5"},
      {&kFinnish, "12.34,5; 6 $ 44\u00A0100 -1\u00A0234\u00A0567,891 1\u00A0234\u00A0567\u00A0890\u00A0123 999 0,5"},
  };
  for (const auto& [locale, text] : cases) {
    QvText_SetUserLocale(locale);
    EXPECT_EQ(formatted(QV_TEXT("%d$:%d$*%d$, %d $$ $d $.3f $I64d $u $g"), 12, 34, 5, 6, 44100, -1234567.891,
                        int64_t{1234567890123}, 999, 0.5),
              text);
  }
}

TEST_F(Directive, FieldsOfLocalizedNumbers) {
  EXPECT_EQ(formatted(QV_TEXT("$x $o $i $u $hhu [$.0d]"), 0xABCDE, 01234567, INT_MIN, -1, 0x1FF, 0),
            "abcde 1234567 -2,147,483,648 4,294,967,295 255 []");
  QvText_SetUserLocale(&kGerman);
  EXPECT_EQ(formatted(QV_TEXT("[$14.2f][$-14.2f][$014.2f]"), -12345.678, 12345.678, 12345.678),
            "[    -12.345,68][12.345,68     ][00.000.012.345,68]");
  EXPECT_EQ(formatted(QV_TEXT("$.2e $.0f $#.0f $a $f"), 12345.0, 1e6, 1e3, 1.5, -HUGE_VAL),
            "1,23e+04 1.000.000 1.000, 0x1,8p+0 -inf");
  EXPECT_EQ(formatted(QV_TEXT("$.*f|$-*d|"), 1, 1234.56, 7, 1234), "1.234,6|1.234  |");
}

TEST_F(Directive, DecimalSeparatorNeverEqualsTheThousandsSeparator) {
  const std::tuple<const WCHAR*, const WCHAR*, const char*> cases[] = {
      {QV_TEXT(","), QV_TEXT(","), ". 1,000.5"},
      {QV_TEXT("."), QV_TEXT("."), ", 1.000,5"},
      {QV_TEXT("'"), QV_TEXT("'"), ". 1'000.5"},
      {QV_TEXT("."), QV_TEXT(""), ". 1000.5"},
      {QV_TEXT("·dec"), QV_TEXT("·th"), "·dec 1·th000·dec5"},
  };
  for (const auto& [decimal, thousand, text] : cases) {
    QVUSERLOCALE locale = kEnglish;
    set(locale.decimal, decimal);
    set(locale.thousand, thousand);
    QvText_SetUserLocale(&locale);
    EXPECT_EQ(formatted(QV_TEXT("$* $.1f"), 1000.5), text);
  }
}

// Groups from the right, one digit after the other.
std::string grouped(const std::string& digits, std::vector<int> sizes, bool repeats) {
  std::string reversed;
  size_t group = 0;
  int in_group = 0;
  for (size_t i = digits.size(); i-- > 0;) {
    if (group < sizes.size() && in_group == sizes[group]) {
      reversed += '_';
      in_group = 0;
      if (group + 1 < sizes.size() || !repeats) ++group;
    }
    reversed += digits[i];
    ++in_group;
  }
  return {reversed.rbegin(), reversed.rend()};
}

TEST_F(Directive, GroupingFormsAgreeWithAModel) {
  const std::tuple<const WCHAR*, std::vector<int>, bool> cases[] = {
      {QV_TEXT("3;0"), {3}, true},      {QV_TEXT("3;2;0"), {3, 2}, true},
      {QV_TEXT("3;2"), {3, 2}, false},  {QV_TEXT("1;2;3;4"), {1, 2, 3, 4}, false},
      {QV_TEXT("1;0"), {1}, true},      {QV_TEXT("0;0"), {}, false},
      {QV_TEXT(""), {}, false},         {QV_TEXT("x;3"), {}, false},
      {QV_TEXT("9;9;0"), {9, 9}, true}, {QV_TEXT("1;1;1;1;1;1;1;"), {1, 1, 1, 1, 1, 1, 1}, false},
  };
  std::mt19937_64 random(3);
  for (const auto& [grouping, sizes, repeats] : cases) {
    QVUSERLOCALE locale = kEnglish;
    set(locale.thousand, QV_TEXT("_"));
    set(locale.grouping, grouping);
    QvText_SetUserLocale(&locale);
    for (int i = 0; i < 640; ++i) {
      const auto value = static_cast<int64_t>(random() >> i % 64);
      const bool plus = i % 3 == 0, left = i % 5 == 0, zeros = i % 7 == 0;
      const size_t precision = i % 11 == 0 ? random() % 30 : 0, width = 1 + random() % 40;
      // The width's zeros are digits and are grouped, its spaces are counted after that.
      std::string digits = std::to_string(value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value));
      std::string expected = value < 0 ? "-" : plus ? "+" : "";
      size_t length = precision;
      if (zeros && !left && precision == 0 && width > expected.size()) length = width - expected.size();
      if (length > digits.size()) digits.insert(0, length - digits.size(), '0');
      expected += grouped(digits, sizes, repeats);
      if (width > expected.size()) expected.insert(left ? expected.size() : 0, width - expected.size(), ' ');
      const std::string format = std::string("$") + (plus ? "+" : "") + (left ? "-" : "") + (zeros ? "0" : "") +
                                 std::to_string(width) + (precision != 0 ? "." + std::to_string(precision) : "") +
                                 "I64d";
      ASSERT_EQ(formatted(widened(format).c_str(), value), expected)
          << format << " of " << value << " with " << utf8(grouping);
    }
  }
}

TEST_F(Directive, Tokens) {
  const WCHAR* all = QV_TEXT("1$&:2$&.3 4$!:5$!.6$!,7");
  EXPECT_EQ(formatted(all), "1.2.3 4:5.6,7");
  EXPECT_EQ(QvText_SetToken(QV_TEXT("m.b"), QV_TEXT("|")), S_OK);
  EXPECT_EQ(QvText_SetToken(QV_TEXT("b.t"), QV_TEXT("")), S_OK);
  EXPECT_EQ(QvText_SetToken(QV_TEXT("SMPTE.Drop"), QV_TEXT("1234567")), S_OK);
  EXPECT_EQ(formatted(all), "1|23 4:5.612345677");
  EXPECT_EQ(QvText_SetToken(QV_TEXT("m.b"), QV_TEXT("12345678")), E_INVALIDARG);
  EXPECT_EQ(QvText_SetToken(QV_TEXT("M.B"), QV_TEXT("x")), E_INVALIDARG);
  EXPECT_EQ(QvText_SetToken(nullptr, QV_TEXT("x")), E_INVALIDARG);
  EXPECT_EQ(formatted(all), "1|23 4:5.612345677");
  for (const WCHAR* name : {QV_TEXT("m.b"), QV_TEXT("b.t"), QV_TEXT("SMPTE.Drop")})
    EXPECT_EQ(QvText_SetToken(name, nullptr), S_OK);
  EXPECT_EQ(formatted(all), "1.2.3 4:5.6,7");
}

} // namespace
