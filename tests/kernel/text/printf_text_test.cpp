// Text arguments, formats that are no formats, and buffers that are too small.
#include "tests/kernel/text/formatted.h"

#include <climits>
#include <memory>

namespace {

TEST(PrintfText, Strings) {
  const WCHAR* wide = QV_TEXT("Größe \U0001D11E");
  EXPECT_EQ(formatted(QV_TEXT("%s"), wide), "Größe \U0001D11E");
  EXPECT_EQ(formatted(QV_TEXT("%ls|%lS"), wide, wide), "Größe \U0001D11E|Größe \U0001D11E");
  EXPECT_EQ(formatted(QV_TEXT("%.4s|%.0s|%.*s"), wide, wide, 2, wide), "Größ||Gr");
  EXPECT_EQ(formatted(QV_TEXT("%7.3s|%-7.3s|"), wide, wide), "    Grö|Grö    |");
  EXPECT_EQ(formatted(QV_TEXT("%*s|%*s|"), 4, QV_TEXT("ab"), -4, QV_TEXT("ab")), "  ab|ab  |");
  EXPECT_EQ(formatted(QV_TEXT("%s|%S|%hs|%8s"), nullptr, nullptr, nullptr, nullptr), "(null)|(null)|(null)|  (null)");
}

TEST(PrintfText, AnsiStrings) {
  const char* ansi = "1 \x80 \xFC";
  EXPECT_EQ(formatted(QV_TEXT("%S|%hs"), ansi, ansi), "1 € ü|1 € ü");
  EXPECT_EQ(formatted(QV_TEXT("%.3S|%6.3S|%-6.3S|"), ansi, ansi, ansi), "1 €|   1 €|1 €   |");
  EXPECT_EQ(formatted(QV_TEXT("[%S]"), ""), "[]");
  const std::string longer(1500, '\x80');
  EXPECT_EQ(formatted(QV_TEXT("%S"), longer.c_str()), utf8(qv::WString(1500, QV_TEXT('€'))));
}

TEST(PrintfText, Characters) {
  EXPECT_EQ(formatted(QV_TEXT("%c%lc"), QV_TEXT('x'), 0x20AC), "x€");
  EXPECT_EQ(formatted(QV_TEXT("%C%hc"), 'y', '\xE9'), "yé");
  EXPECT_EQ(formatted(QV_TEXT("%3c|%-3C|"), QV_TEXT('x'), 'y'), "  x|y  |");
  EXPECT_EQ(formatted(QV_TEXT("%c."), 0), std::string("\0.", 2));
}

TEST(PrintfText, PrecisionLimitsWhatIsRead) {
  // Exactly four characters and no terminator: a checker of addresses sees any read beyond.
  const std::unique_ptr<WCHAR[]> wide(new WCHAR[4]{QV_TEXT('a'), QV_TEXT('b'), QV_TEXT('c'), QV_TEXT('d')});
  const std::unique_ptr<char[]> ansi(new char[4]{'a', 'b', 'c', 'd'});
  EXPECT_EQ(formatted(QV_TEXT("%.4s %.4S"), wide.get(), ansi.get()), "abcd abcd");
  WCHAR small[5];
  EXPECT_EQ(QvCchPrintF(small, 5, QV_TEXT("%s"), wide.get()), 4);
}

TEST(PrintfText, WhatIsNoConversionPrintsAsItStands) {
  const std::string texts[] = {"%",  "100%", "%5",   "%-+ #0", "%.",    "%5.3", "%y",   "%5y",  "%-08.3lly",
                               "%I", "%I6",  "%I64", "%h",     "%Lf",   "%llf", "%llc", "%hhs", "$",
                               "a$", "$s",   "$p",   "$c",     "$&",    "$&;",  "$!",   "$!x",  "$-",
                               "$y", "$n",   "$&,",  "US$ 5.", "%.-5d", "%'d",  "%w"};
  for (const std::string& text : texts)
    EXPECT_EQ(formatted(widened(text).c_str(), 1, 2, 3), text);
  EXPECT_EQ(formatted(QV_TEXT("%é"), 1), "%é");
  // An unknown conversion takes no argument, and the one after it is read.
  EXPECT_EQ(formatted(QV_TEXT("%5y%d %*y%d"), 1, 2), "%5y1 %*y2");
  EXPECT_EQ(formatted(QV_TEXT("%%|%5%|%d%%"), 3), "%|%|3%");
  EXPECT_EQ(formatted(QV_TEXT("%5$$|$%d|$$d"), 3), "%5$|$3|$d");
}

TEST(PrintfText, CountOfCharactersIsNotStored) {
  int64_t untouched = -1;
  EXPECT_EQ(formatted(QV_TEXT("a%nb%hhnc%I64n%d"), &untouched, &untouched, &untouched, 5), "abc5");
  EXPECT_EQ(untouched, -1);
}

TEST(PrintfText, EveryCapacityCutsAndTerminates) {
  expect_cut([](WCHAR* dst, int capacity) {
    return QvCchPrintF(dst, capacity, QV_TEXT("a%5d|%-6s|%S|$I64d$:%08.3f|%12s%12S|$.2f%p%c"), -42, QV_TEXT("text"),
                       "ansi", int64_t{1234567}, 2.5, QV_TEXT("to the right"), "too", 1e6, nullptr, 'z');
  });
}

TEST(PrintfText, WithoutTextRoomOrCount) {
  std::vector<WCHAR> text(3000, QV_TEXT('~'));
  EXPECT_EQ(QvCchPrintF(text.data(), INT_MIN, QV_TEXT("abc")), 0);
  EXPECT_EQ(text[0], QV_TEXT('~'));
  EXPECT_EQ(QvCchPrintF(nullptr, 10, QV_TEXT("abc")) + QvPrintF(nullptr, QV_TEXT("abc")), 0);
  EXPECT_EQ(QvCchPrintF(text.data(), 2, nullptr), 0);
  EXPECT_EQ(text[0], 0);
  const qv::WString argument(2000, QV_TEXT('x'));
  EXPECT_EQ(QvPrintF(text.data(), QV_TEXT("%s-%d"), argument.c_str(), 12), 2003);
  EXPECT_EQ(qv::WString(text.data()), argument + QV_TEXT("-12"));
}

} // namespace
