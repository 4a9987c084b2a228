// Numbers, held against the C library's own formatter.
#include "tests/kernel/text/formatted.h"

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string_view>
#include <tuple>

namespace {

/// A size as our formats and as C's name it, for an argument of the same width.
struct SizeName {
  const char* ours;
  const char* c;
  bool wide;
};

constexpr SizeName kSizes[] = {{"", "", false},    {"h", "h", false},  {"hh", "hh", false}, {"l", "", false},
                               {"I32", "", false}, {"ll", "ll", true}, {"I64", "ll", true}, {"j", "j", true},
                               {"z", "z", true},   {"t", "t", true},   {"I", "z", true}};

class NumberAgainstC : public testing::Test {
protected:
  size_t below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random_); }

  // `flags`: those that mean something to C before the conversion.
  std::string random_fields(std::string_view flags) {
    std::string text;
    for (const char flag : flags)
      if (below(4) == 0) text += flag;
    if (below(2) == 0) text += std::to_string(1 + below(below(8) == 0 ? 512 : 40));
    if (below(2) == 0) {
      text += '.';
      if (below(6) != 0) text += std::to_string(below(below(8) == 0 ? 513 : 25));
    }
    return text;
  }

  template <class... Arguments>
  void compare(const std::string& ours, const std::string& c, Arguments... arguments) {
    char expected[2048];
    const int length = std::snprintf(expected, sizeof expected, c.c_str(), arguments...);
    ASSERT_LT(length, static_cast<int>(sizeof expected));
    ASSERT_EQ(formatted(widened(ours).c_str(), arguments...), expected)
        << ours << " of " << testing::PrintToString(std::tuple(arguments...));
  }

  uint64_t random_bits() { return random_() >> below(64); }

  double random_double() {
    constexpr double kSpecial[] = {HUGE_VAL, -HUGE_VAL, -0.0, 0.0, 5e-324, 3.0, DBL_MAX};
    switch (below(6)) {
    case 0: return std::bit_cast<double>(random_()); // any exponent, NaN and infinity rarely
    case 1: return static_cast<double>(static_cast<int64_t>(random_bits())) / 1000.0;
    case 2: return static_cast<double>(below(2000)) / 8.0; // ties
    case 3: return std::ldexp(static_cast<double>(random_()), static_cast<int>(below(160)) - 140);
    case 4: return kSpecial[below(std::size(kSpecial))];
    default: return -static_cast<double>(below(100000)) / 100.0;
    }
  }

  std::mt19937_64 random_{20260722};
};

TEST_F(NumberAgainstC, Integers) {
  for (int i = 0; i < 40000 && !HasFatalFailure(); ++i) {
    const SizeName& size = kSizes[below(std::size(kSizes))];
    const char type = "diuoxX"[below(6)];
    const std::string fields = random_fields(type == 'd' || type == 'i' ? "-+ 0" : type == 'u' ? "-0" : "-#0");
    const std::string ours = "<%" + fields + size.ours + type + ">";
    const std::string c = "<%" + fields + size.c + type + ">";
    // C libraries differ in "%#.0o" of 0.
    const uint64_t bits = random_bits() | (type == 'o' ? 1 : 0);
    if (size.wide)
      compare(ours, c, static_cast<long long>(bits));
    else
      compare(ours, c, static_cast<int>(bits));
  }
}

TEST_F(NumberAgainstC, Doubles) {
  char probe[32];
  const std::string left_filled = "%-#010a";
  std::snprintf(probe, sizeof probe, left_filled.c_str(), 1.5);
  // Some C libraries start hexadecimal digits with another one than 1, or fill them wrongly: no model for ours.
  const bool same_hexadecimal = std::string(probe) == "0x1.8p+0  ";
  compare("%.512f", "%.512f", -DBL_MAX); // the longest of all
  for (int i = 0; i < 40000 && !HasFatalFailure(); ++i) {
    const char type = "eEfFgGaA"[below(same_hexadecimal ? 8 : 6)];
    const double value = random_double();
    if (std::isnan(value)) continue; // its sign is the C library's affair
    ASSERT_EQ(std::strtod(formatted(QV_TEXT("%a"), value).c_str(), nullptr), value);
    if ((type == 'a' || type == 'A') && std::fpclassify(value) == FP_SUBNORMAL) continue; // the first digit is, too
    const std::string format = "<%" + random_fields("-+ #0") + (below(4) == 0 ? "l" : "") + type + ">";
    compare(format, format, value);
    // Fields from arguments. A negative width aligns left, a negative precision is none.
    const int width = static_cast<int>(below(1025)) - 512, precision = static_cast<int>(below(520)) - 7;
    compare("%+*.*d|%0*.*f|%.*g", "%+*.*d|%0*.*f|%.*g", width, precision, -i, width, precision, 2.5, precision, value);
  }
}

// What C libraries do in different ways, or wrongly.
TEST(PrintfNumber, SpecialValues) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const std::tuple<const WCHAR*, double, const char*> cases[] = {
      {QV_TEXT("%-8g|"), kNan, "nan     |"}, {QV_TEXT("%08A"), kNan, "     NAN"},
      {QV_TEXT("%A"), -0.5, "-0X1P-1"},      {QV_TEXT("%.3a"), 1.999999, "0x2.000p+0"},
      {QV_TEXT("%#a"), 1.0, "0x1.p+0"},      {QV_TEXT("%010a"), 1.5, "0x001.8p+0"},
      {QV_TEXT("%a"), 0.0, "0x0p+0"},        {QV_TEXT("%F"), -HUGE_VAL, "-INF"},
      {QV_TEXT("%#.3g"), 999.9, "1.00e+03"},
  };
  for (const auto& [format, value, expected] : cases) {
    const std::string text = formatted(format, value);
    // 2.000p+0 and 1.000p+1 are the same number; both are allowed.
    if (text != "0x1.000p+1") EXPECT_EQ(text, expected) << utf8(format);
  }
}

TEST(PrintfNumber, AbsurdFieldsCountAs512) {
  const std::string spaces(511, ' '), zeros(511, '0');
  EXPECT_EQ(formatted(QV_TEXT("%99999999999999999999d"), 7), spaces + "7");
  EXPECT_EQ(formatted(QV_TEXT("%*d%*d"), INT_MAX, 7, INT_MIN, 8), spaces + "78" + spaces);
  EXPECT_EQ(formatted(QV_TEXT("%.2147483648d"), 7), zeros + "7");
  EXPECT_EQ(formatted(QV_TEXT("%.*d%.*d"), INT_MAX, 7, INT_MIN, 8), zeros + "78");
  EXPECT_EQ(formatted(QV_TEXT("%.*f"), INT_MAX, 0.5), "0.5" + zeros);
}

TEST(PrintfNumber, CornersOfTheFlags) {
  EXPECT_EQ(formatted(QV_TEXT("%+u|% x|%+ o|%#d|%#u|%#i"), 5, 0xA, 7, 5, 5, -5), "5|a|7|5|5|-5");
  EXPECT_EQ(formatted(QV_TEXT("%#.0o|%.0o|%#.0x"), 0, 0, 0), "0||");
  EXPECT_EQ(formatted(QV_TEXT("%+#s|% 0c"), QV_TEXT("x"), QV_TEXT('y')), "x|y");
}

TEST(PrintfNumber, Pointers) {
  const void* pointer = reinterpret_cast<const void*>(uintptr_t{0xABCDEF});
  EXPECT_EQ(formatted(QV_TEXT("%p"), pointer), "0000000000ABCDEF");
  EXPECT_EQ(formatted(QV_TEXT("%18p|%-18p|"), pointer, pointer), "  0000000000ABCDEF|0000000000ABCDEF  |");
}

} // namespace
