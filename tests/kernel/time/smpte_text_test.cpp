// Reading timecode text.
#include "tests/kernel/text/formatted.h"

#include "qv/smpte.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string read(const WCHAR* text, DWORD format, WCHAR* stopped_at = nullptr) {
  _smpteval value = {format, 9, 9, 9, 9, 9};
  const WCHAR stopped = QVSMPTE_TextToSMPTE(text, &value);
  if (stopped_at) *stopped_at = stopped;
  EXPECT_EQ(value.format, format);
  EXPECT_EQ(value.reserved, 0u);
  return std::to_string(value.hours) + " " + std::to_string(value.minutes) + " " + std::to_string(value.seconds) + " " +
         std::to_string(value.frames);
}

TEST(TimecodeText, Table) {
  struct Case {
    const WCHAR* text;
    const char* fields;
    DWORD format = QVSMPTE_FMT_30;
    WCHAR stopped_at = 0;
  };
  const Case cases[] = {
      {QV_TEXT("1:2:3:4"), "1 2 3 4"},
      {QV_TEXT("01:02:03:04"), "1 2 3 4"},
      {QV_TEXT("01:02:03;04"), "1 2 3 4", QVSMPTE_FMT_2997DF},
      {QV_TEXT("01 02 03 04"), "1 2 3 4"},
      {QV_TEXT("  01:02:03:04  "), "1 2 3 4"},
      {QV_TEXT("7"), "0 0 0 7"},
      {QV_TEXT("3.7"), "0 0 3 7"},
      {QV_TEXT("2/3.7"), "0 2 3 7"},
      {QV_TEXT("100"), "0 0 1 0"},
      {QV_TEXT("1234"), "0 0 13 4"}, // 34 frames are 1 s and 4
      {QV_TEXT("10203"), "0 1 2 3"},
      {QV_TEXT("01020304"), "1 2 3 4"},
      {QV_TEXT("1020304"), "1 2 3 4"},
      {QV_TEXT("5:"), "0 0 5 0"},
      {QV_TEXT("5: "), "0 0 5 0"},
      {QV_TEXT("5:;"), "0 0 5 0"}, // one field, however many separators
      {QV_TEXT("1:2:3:"), "1 2 3 0"},
      {QV_TEXT("1:2\t"), "0 1 2 0"}, // of white space only spaces are cut
      {QV_TEXT("1:2\u00A0 "), "0 1 2 0"},
      {QV_TEXT("1:2:3:4\t"), "1 2 3 4", QVSMPTE_FMT_30, QV_TEXT('\t')},
      {QV_TEXT("1:2:3:4:"), "1 2 3 4", QVSMPTE_FMT_30, QV_TEXT(':')},
      {QV_TEXT("1:2:3:4:5"), "1 2 3 4", QVSMPTE_FMT_30, QV_TEXT(':')},
      {QV_TEXT("123456789"), "1 23 45 67", 0, QV_TEXT('8')},
      {QV_TEXT(""), "0 0 0 0"},
      {QV_TEXT("   "), "0 0 0 0"},
      {QV_TEXT(":"), "0 0 0 0"},
      {QV_TEXT("abc"), "0 0 0 0"},
      {QV_TEXT("a1b2c"), "0 1 2 0"},
      {QV_TEXT("0:0:0:50"), "0 0 2 0", QVSMPTE_FMT_25},
      {QV_TEXT("0:0:0:50"), "0 0 2 2", QVSMPTE_FMT_24},
      {QV_TEXT("0:0:0:50"), "0 0 2 2", QVSMPTE_FMT_23976},
      {QV_TEXT("0:0:0:50"), "0 0 1 20", QVSMPTE_FMT_2997ND},
      {QV_TEXT("0:0:0:50"), "0 0 1 20", QVSMPTE_FMT_2997DF},
      {QV_TEXT("0:0:0:99"), "0 0 0 99", 0}, // no format to carry in
      {QV_TEXT("0:0:75:0"), "0 1 15 0", 0},
      {QV_TEXT("23:59:59:30"), "0 0 0 0"},
      {QV_TEXT("99:99:99:99"), "4 40 42 9"},
      {QV_TEXT("-1:00"), "0 0 1 0"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(utf8(each.text) + " in " + std::to_string(each.format));
    WCHAR stopped_at = 77;
    EXPECT_EQ(read(each.text, each.format, &stopped_at), each.fields);
    EXPECT_EQ(stopped_at, each.stopped_at);
  }
}

TEST(TimecodeText, LongTextsAreReadInPlace) {
  qv::WString text(100'000, QV_TEXT(':'));
  text += QV_TEXT("12");
  EXPECT_EQ(read(text.c_str(), 1), "0 0 0 12");
  EXPECT_EQ(read(qv::WString(100'001, QV_TEXT('1')).c_str(), 0), "1 11 11 11");
}

} // namespace
