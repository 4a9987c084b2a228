// What the "$" directives insert for one user and another.
#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include <climits>
#include <random>

namespace {

class Directive : public LocaleTest {};

TEST_F(Directive, FollowTheLocale) {
  struct Case {
    const QVUSERLOCALE& locale;
    const char* text;
  };
  const Case cases[] = {
      {kEnglish, "12:34.5, 6 $ 44,100 -1,234,567.891 1,234,567,890,123 999 0.5"},
      {kGerman, "12:34,5; 6 $ 44.100 -1.234.567,891 1.234.567.890.123 999 0,5"},
      {kFrench, "12:34,5; 6 $ 44\u202F100 -1\u202F234\u202F567,891 1\u202F234\u202F567\u202F890\u202F123 999 0,5"},
      {kHindi, "12:34.5, 6 $ 44,100 -12,34,567.891 12,34,56,78,90,123 999 0.5"},
      {kFinnish, "12.34,5; 6 $ 44\u00A0100 -1\u00A0234\u00A0567,891 1\u00A0234\u00A0567\u00A0890\u00A0123 999 0,5"},
  };
  for (const Case& each : cases) {
    QvText_SetUserLocale(&each.locale);
    EXPECT_EQ(formatted(QV_TEXT("%d$:%d$*%d$, %d $$ $d $.3f $I64d $u $g"), 12, 34, 5, 6, 44100, -1234567.891,
                        int64_t{1234567890123}, 999, 0.5),
              each.text);
  }
}

TEST_F(Directive, FieldsOfLocalizedNumbers) {
  struct Case {
    const WCHAR* format;
    int value;
    const char* text;
  };
  const Case cases[] = {
      {QV_TEXT("[$10d]"), 1234567, "[ 1,234,567]"},
      {QV_TEXT("[$-10d]"), 1234567, "[1,234,567 ]"},
      {QV_TEXT("[$5d]"), 1234567, "[1,234,567]"},
      {QV_TEXT("[$+d]"), 1000, "[+1,000]"},
      {QV_TEXT("[$08d]"), -1234, "[-0,001,234]"},
      {QV_TEXT("[$.8d]"), 1234, "[00,001,234]"},
      {QV_TEXT("[$.0d]"), 0, "[]"},
      {QV_TEXT("[$x]"), 0xABCDE, "[abcde]"},
      {QV_TEXT("[$o]"), 01234567, "[1234567]"},
      {QV_TEXT("[$i]"), INT_MIN, "[-2,147,483,648]"},
      {QV_TEXT("[$u]"), -1, "[4,294,967,295]"},
      {QV_TEXT("[$hhu]"), 0x1FF, "[255]"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(formatted(each.format, each.value), each.text) << utf8(each.format);

  QvText_SetUserLocale(&kGerman);
  EXPECT_EQ(formatted(QV_TEXT("[$14.2f][$-14.2f][$014.2f]"), -12345.678, 12345.678, 12345.678),
            "[    -12.345,68][12.345,68     ][00.000.012.345,68]");
  EXPECT_EQ(formatted(QV_TEXT("$.2e $.0f $#.0f $a $f"), 12345.0, 1e6, 1e3, 1.5, -HUGE_VAL),
            "1,23e+04 1.000.000 1.000, 0x1,8p+0 -inf");
  EXPECT_EQ(formatted(QV_TEXT("$.*f|$-*d|"), 1, 1234.56, 7, 1234), "1.234,6|1.234  |");
}

TEST_F(Directive, DecimalSeparatorNeverEqualsTheThousandsSeparator) {
  struct Case {
    const WCHAR* decimal;
    const WCHAR* thousand;
    const char* text;
  };
  const Case cases[] = {
      {QV_TEXT(","), QV_TEXT(","), ". 1,000.5"},
      {QV_TEXT("."), QV_TEXT("."), ", 1.000,5"},
      {QV_TEXT("'"), QV_TEXT("'"), ". 1'000.5"},
      {QV_TEXT("."), QV_TEXT(""), ". 1000.5"},
      {QV_TEXT("·dec"), QV_TEXT("·th"), "·dec 1·th000·dec5"},
  };
  for (const Case& each : cases) {
    QVUSERLOCALE locale = kEnglish;
    qv::WString(each.decimal).copy(locale.decimal, 7);
    locale.decimal[qv::WString(each.decimal).size()] = 0;
    qv::WString(each.thousand).copy(locale.thousand, 7);
    locale.thousand[qv::WString(each.thousand).size()] = 0;
    QvText_SetUserLocale(&locale);
    EXPECT_EQ(formatted(QV_TEXT("$* $.1f"), 1000.5), each.text);
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
  struct Case {
    const WCHAR* grouping;
    std::vector<int> sizes;
    bool repeats;
  };
  const Case cases[] = {
      {QV_TEXT("3;0"), {3}, true},
      {QV_TEXT("3;2;0"), {3, 2}, true},
      {QV_TEXT("3"), {3}, false},
      {QV_TEXT("3;2"), {3, 2}, false},
      {QV_TEXT("4;0"), {4}, true},
      {QV_TEXT("1;2;3;4"), {1, 2, 3, 4}, false},
      {QV_TEXT("1;0"), {1}, true},
      {QV_TEXT("0"), {}, false},
      {QV_TEXT("0;0"), {}, false},
      {QV_TEXT(""), {}, false},
      {QV_TEXT("x;3"), {}, false},
      {QV_TEXT("9;9;0"), {9, 9}, true},
      {QV_TEXT("1;1;1;1;1;1;1;"), {1, 1, 1, 1, 1, 1, 1}, false},
  };
  std::mt19937_64 random(3);
  for (const Case& each : cases) {
    QVUSERLOCALE locale = kEnglish;
    locale.thousand[0] = QV_TEXT('_');
    std::fill(std::begin(locale.grouping), std::end(locale.grouping), WCHAR{0});
    qv::WString(each.grouping).copy(locale.grouping, 15);
    QvText_SetUserLocale(&locale);
    for (int i = 0; i < 64; ++i) {
      const uint64_t value = random() >> i;
      const std::string expected = grouped(std::to_string(value), each.sizes, each.repeats);
      ASSERT_EQ(formatted(QV_TEXT("$I64u"), value), expected) << utf8(each.grouping);
      // A width just above the length shows that separators were counted.
      const int width = static_cast<int>(expected.size()) + 1;
      ASSERT_EQ(formatted(QV_TEXT("$-*I64u"), width, value), expected + " ") << utf8(each.grouping);
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
