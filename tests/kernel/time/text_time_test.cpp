// Texts as times: tokens, separators, limits, and what a text gives that the library itself wrote.
#include "tests/kernel/time/time_fixture.h"

#include <array>
#include <climits>
#include <random>
#include <tuple>
#include <utility>

namespace {

using TextTime = LocaleTest;

using Parsed = std::pair<QVNANOTIME, ptrdiff_t>; ///< the time, and the characters up to the end of the token

Parsed parse(const _qvposfmt& shown, const WCHAR* text, DWORD flags = 0) {
  const WCHAR* end = nullptr;
  const QVNANOTIME time = QvTextToNanoTimeToken2(text, &shown, 123, 10, 1000, flags, &end);
  EXPECT_EQ(QvTextToNanoTimeToken2(text, &shown, 123, 10, 1000, flags, nullptr), time);
  return {time, end - text};
}

TEST_F(TextTime, EveryFormat) {
  struct Case {
    DWORD format;
    const WCHAR* text;
    Parsed expected;
    DWORD flags = 0;
    const QVUSERLOCALE* locale = &kEnglish;
  };
  const QVNANOTIME minute = 60 * kSecond;
  const Case cases[] = {
      {0, QV_TEXT(" -48,000 x"), {-kSecond, 8}},
      {0, QV_TEXT("1"), {208, 1}},
      {0, QV_TEXT("48,00,0.5"), {kSecond, 7}}, // groups are not counted
      {0, QV_TEXT("48, 000"), {10'000, 2}},
      {0, QV_TEXT("99999999999999999999"), {INT64_C(1) << 61, 20}},
      {1, QV_TEXT("2.5"), {25'000'000, 3}},
      {1, QV_TEXT("2"), {2 * kSecond, 1}},
      {1, QV_TEXT("1:30"), {13'000'000, 4}}, // a fraction, whatever separates it
      {1, QV_TEXT("1:30"), {90 * kSecond, 4}, QVTIME_SHORT},
      {1, QV_TEXT("1:02:03.45678"), {kHour + 2 * minute + 34'560'000, 13}},
      {1, QV_TEXT("1:02:03.045"), {kHour + 2 * minute + 30'450'000, 11}},
      {1, QV_TEXT("01:02:00:00"), {kHour + 2 * minute, 11}},             // days, as TIME shows them, are read as hours
      {1, QV_TEXT("1:02:03.4:5"), {kHour + 2 * minute + 34'000'000, 9}}, // four fields
      {1, QV_TEXT("1:2:3:4"), {kHour + 2 * minute + 3 * kSecond, 5}, QVTIME_SHORT},
      {1, QV_TEXT("2 "), {2'000'000, 1}}, // white space makes a fraction of it
      {1, QV_TEXT("\t -1.5"), {-15'000'000, 6}},
      {1, QV_TEXT("  -"), {123, 3}},
      {1, QV_TEXT(" -abc"), {0, 2}},
      {1, QV_TEXT("99999999999999999999:0"), {INT64_MAX, 22}, QVTIME_SHORT},
      {2, QV_TEXT("3,625.5"), {36'255'000'000, 7}},
      {2, QV_TEXT(".5"), {5'000'000, 2}},
      {2, QV_TEXT("5."), {5 * kSecond, 1}},
      {2, QV_TEXT("0.1234567890123456789012345678901234567890123456789012345678901234567"), {1'234'567, 69}},
      {2, QV_TEXT("1e5"), {kSecond, 1}},
      {2, QV_TEXT("999999999999999"), {2'305'843'009'209'999'872, 15}},
      {2, QV_TEXT("-999999999999999"), {-2'305'843'009'209'999'872, 16}}, // limited before its sign counts
      {3, QV_TEXT("1:02:03.12"), {kHour + 2 * minute + 35'000'000, 10}},
      {3, QV_TEXT("1:12"), {15'000'000, 4}},
      {3, QV_TEXT("1:12"), {72 * kSecond, 4}, QVTIME_SHORT},
      {4, QV_TEXT("1.5"), {625'000, 3}},
      {4, QV_TEXT("-24"), {-kSecond, 3}},
      {5, QV_TEXT("1.1.0"), {0, 5}},
      {5, QV_TEXT("2.1.480"), {22'500'000, 7}},
      {5, QV_TEXT("2.2"), {25'000'000, 3}, QVTIME_SHORT},
      {5, QV_TEXT("2.1.480"), {47'500'000, 7}, QVTIME_ABSOLUTE},
      {5, QV_TEXT("-2.1.0"), {-20'000'000, 6}},
      {5, QV_TEXT("480"), {2'500'000, 3}}, // ticks alone
      {5, QV_TEXT("0.0.0"), {0, 5}},
      {5, QV_TEXT("1,813.4.000"), {4'060'020'833, 7}}, // 1, 813 and 4
      {8, QV_TEXT("00:01:00;00"), {600'600'000, 11}},  // skipped: the label after it
      {8, QV_TEXT("00:10:00;00 x"), {5'999'994'000, 11}},
      {9, QV_TEXT("24:00:01:00"), {kSecond, 11}}, // the dial has 24 hours
      {9, QV_TEXT("1:2:3:4:5"), {37'230'000'000 + 1'600'000, 7}},
      {9, QV_TEXT("1:2:3:4: "), {37'230'000'000 + 1'600'000, 7}},
      {9, QV_TEXT("5:"), {5 * kSecond, 2}}, // the separator is read: a 0 stands behind it
      {9, QV_TEXT(" 1:2\t  "), {62 * kSecond, 5}},
      {9, QV_TEXT("5 fps"), {5 * kSecond, 5}},
      {9, QV_TEXT("5  "), {2'000'000, 1}},
      {10, QV_TEXT("-1:00"), {-kSecond, 5}},
      {11, QV_TEXT("-36,255,000,000"), {-36'255'000'000, 15}},
      {11, QV_TEXT("9223372036854775808"), {INT64_MAX, 19}},
      {12, QV_TEXT("15"), {150, 2}},
      {12, QV_TEXT("9223372036854775807"), {INT64_MAX, 19}},
      {15, QV_TEXT("24"), {kSecond, 2}}, // frames alone
      {15, QV_TEXT("2,175+12 x"), {36'255'000'000, 8}},
      {16, QV_TEXT("15+0+9"), {100'000'000, 4}},
      {17, QV_TEXT("01:00:25:38"), {36'255'066'667, 11}},
      {17, QV_TEXT("99"), {13'200'000, 2}}, // more frames than a second has
      {17, QV_TEXT("5;"), {5 * kSecond, 2}},
      {19, QV_TEXT("1:05"), {0, 0}},
      {20, QV_TEXT("5"), {0, 0}},
      {11, QV_TEXT(""), {123, 0}, QVTIME_VALIDATE}, // absent is 123, and kept are 10 to 1000
      {11, QV_TEXT(""), {123, 0}},
      {11, QV_TEXT("  - "), {10, 3}, QVTIME_VALIDATE}, // a space, which reads 0
      {11, QV_TEXT("abc"), {123, 0}, QVTIME_VALIDATE},
      {11, QV_TEXT("abc"), {0, 0}},
      {11, QV_TEXT("0  "), {10, 1}, QVTIME_VALIDATE},
      {11, QV_TEXT("0 s"), {123, 1}, QVTIME_VALIDATE},
      {11, QV_TEXT("50 s"), {50, 2}, QVTIME_VALIDATE},
      {11, QV_TEXT("5000"), {1000, 4}, QVTIME_VALIDATE},
      {11, QV_TEXT("-5"), {10, 2}, QVTIME_VALIDATE},
      {7, QV_TEXT("0:"), {10, 2}, QVTIME_VALIDATE}, // timecode reads what separates at the end
      {17, QV_TEXT("0 s"), {10, 3}, QVTIME_VALIDATE},
      {3, QV_TEXT("0:"), {123, 1}, QVTIME_VALIDATE},
      {7, QV_TEXT("0:0:0:0:"), {123, 7}, QVTIME_VALIDATE},
      {8, QV_TEXT("abc"), {123, 0}, QVTIME_VALIDATE},
      {17, QV_TEXT(":"), {123, 0}, QVTIME_VALIDATE},
      {2, QV_TEXT("3.625,5"), {36'255'000'000, 7}, 0, &kGerman},
      {2, QV_TEXT("2.5"), {25 * kSecond, 3}, 0, &kGerman},
      {2, QV_TEXT("3\u202F625,5"), {36'255'000'000, 7}, 0, &kFrench},
      {2, QV_TEXT("2.5"), {25'000'000, 3}, 0, &kFrench},
      {2, QV_TEXT("3\u00A0625,5"), {36'255'000'000, 7}, 0, &kFinnish},
      {2, QV_TEXT("1,00,000.5"), {100'000 * kSecond + 5'000'000, 10}, 0, &kHindi},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << "format " << each.format << ": \"" << utf8(each.text) << "\"");
    QvText_SetUserLocale(each.locale);
    EXPECT_EQ(parse(shown_as(each.format), each.text, each.flags), each.expected);
  }
}

TEST_F(TextTime, OffsetsAndLimits) {
  const _qvposfmt seconds = shown_with(QVPOSFMT_SECONDS, 5 * kSecond);
  EXPECT_EQ(parse(seconds, QV_TEXT("-2")).first, 3 * kSecond);
  EXPECT_EQ(parse(seconds, QV_TEXT("-2"), QVTIME_ABSOLUTE).first, -2 * kSecond);
  EXPECT_EQ(parse(shown_with(QVPOSFMT_RAW, INT64_MAX), QV_TEXT("9")).first, INT64_MAX);
  EXPECT_EQ(parse(shown_with(QVPOSFMT_RAW, INT64_MIN), QV_TEXT("-9")).first, INT64_MIN);
  const auto limited = [](const _qvposfmt& shown, const WCHAR* text, BOOL short_form = FALSE) {
    return QvTextToNanoTimeTokenEx(text, &shown, short_form, 123, 10, kDay, nullptr);
  };
  EXPECT_EQ(limited(shown_with(QVPOSFMT_TIME, 70), QV_TEXT("")), 123);
  EXPECT_EQ(limited(shown_with(QVPOSFMT_TIME, 70), QV_TEXT("0 s")), 70) << "with the offset the result is not 0";
  EXPECT_EQ(limited(shown_as(QVPOSFMT_RAW), QV_TEXT("x")), 123);
  EXPECT_EQ(limited(shown_as(QVPOSFMT_RAW), QV_TEXT("9999999999999")), kDay);
  const _qvposfmt time = shown_as(QVPOSFMT_TIME);
  EXPECT_EQ(limited(time, QV_TEXT("1:30"), TRUE), 90 * kSecond);
  EXPECT_EQ(QvTextToNanoTimeToken(QV_TEXT("1:30"), &time, TRUE, nullptr), 90 * kSecond);
  EXPECT_EQ(QvTextToNanoTimeToken(QV_TEXT("x"), &time, FALSE, nullptr), 0);
}

TEST_F(TextTime, RatesThatAreNone) {
  for (const DWORD format : {0u, 3u, 4u, 5u, 13u, 14u, 15u, 16u}) {
    _qvposfmt shown = {};
    shown.format = format;
    EXPECT_EQ(parse(shown, QV_TEXT("0")).first, 0) << format;
    parse(shown, QV_TEXT("1:2:3:4"));
  }
  EXPECT_EQ(parse(shown_with(QVPOSFMT_TIMEFRAMES, 0, 0.0), QV_TEXT("1:02:03:00")).first, 3723 * kSecond);
  const _qvposfmt backwards = shown_with(QVPOSFMT_FRAMES, 0, -24.0); // its bounds stand the wrong way round
  EXPECT_EQ(parse(backwards, QV_TEXT("24")).first, parse(backwards, QV_TEXT("25")).first);
}

TEST_F(TextTime, Tokens) {
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  const WCHAR* end = nullptr;
  const WCHAR* text = QV_TEXT("at 1:02.5 or so");
  EXPECT_EQ(QvTextToTimeToken(text, &shown, 0, &end), 62'500);
  EXPECT_EQ(end, text + 9);
  EXPECT_EQ(QvTextToTimeToken(text, &shown, 1, nullptr), 3'725'000);
  EXPECT_EQ(QvTextToTimeToken(QV_TEXT(" "), &shown, 0, nullptr), 0);
  EXPECT_EQ(QvTextToTimeToken(QV_TEXT("-7"), &shown, 0, nullptr), 7'000) << "tokens know no sign";
  EXPECT_EQ(QvTextToHMSFToken(QV_TEXT("1:2:3:4:5"), &shown, 1, nullptr), 3723 * kSecond);
  EXPECT_EQ(QvTextToMusicTimeToken(QV_TEXT("3:2:1"), &shown, QVTIME_SHORT, nullptr), 45'000'000);
  EXPECT_EQ(QvTextToFeetAndFramesToken(QV_TEXT("1'8"), &shown, 0), kSecond);
  EXPECT_EQ(QvTextToFeetAndFramesToken(QV_TEXT("1+8"), &shown, 1), 2 * kSecond);
}

TEST_F(TextTime, TextsOfTheLibraryAreReadBack) {
  std::mt19937_64 random(11);
  for (const QVUSERLOCALE* locale : {&kEnglish, &kGerman, &kFrench, &kFinnish, &kHindi}) {
    QvText_SetUserLocale(locale);
    for (DWORD format = 0; format < QVPOSFMT_COUNT; ++format) {
      if (format == QVPOSFMT_COMPACT) continue; // is not read
      _qvposfmt shown = shown_as(format);
      for (int i = 0; i < 3'000; ++i) {
        // Within what the texts hold: a day, less where timecode runs slow, and 999 measures of 2 s.
        const bool musical = format == QVPOSFMT_MEASURES || format == QVPOSFMT_MEASURES0;
        const auto limit = static_cast<uint64_t>(musical ? 998 * 2 * kSecond : kDay - 100 * kSecond);
        shown.offset = i % 3 == 0 ? static_cast<QVNANOTIME>(random() % 1'000'000'000) - 500'000'000 : 0;
        const QVNANOTIME sign = i % 2 == 0 ? 1 : -1;
        const QVNANOTIME time = sign * static_cast<QVNANOTIME>(random() % limit) + shown.offset;
        WCHAR text[QVTIME_TEXT_CHARS];
        const int length = QvNanoTimeToText(text, &shown, time, FALSE);
        const Parsed read = parse(shown, text);
        ASSERT_EQ(read.second, length) << utf8(text) << " in format " << format;
        // What was read is the text's own time: it gives the same text again, but for the sign of 0. Measures hold
        // ticks of 5208 units that are rounded down, a little late.
        const bool lost_its_sign = read.first == shown.offset && text[0] == '-';
        if (musical)
          ASSERT_LE(std::abs(read.first - time), 6'308) << utf8(text) << " for " << time;
        else
          ASSERT_EQ(text_of(shown, read.first), utf8(text).substr(lost_its_sign ? 1 : 0)) << "format " << format;
      }
    }
  }
}

TEST(MeasureText, Writing) {
  constexpr LONG kWhole = INT_MIN + 1; // all in ticks, for QvTicksToText
  struct Case {
    LONG measure;
    LONGLONG tick;
    BOOL from_one, short_form;
    LONG divisor;
    const char* text;
    WORD unit = 4, beats = 4;
    DWORD ticks_per_beat = 960;
  };
  const Case cases[] = {
      {0, 0, 0, 0, 1, "0.0.000"},
      {2, 960 + 480, 1, 0, 1, "3.2.480"},
      {2, 960 + 480, 1, 0, 10, "3.2.048"},
      {2, 960 + 480, 1, 1, 10, "3.2"},
      {0, -960, 0, 0, 1, "-1.3.000"},
      {0, -960, 1, 0, 1, "-1.4.000"}, // no measure 0
      {1, -960, 1, 0, 1, "1.4.000"},
      {-2, 0, 1, 0, 1, "-2.1.000"},
      {0, 480 * 7 - 1, 1, 0, 1, "1.7.479", 8, 7},
      {0, -1, 1, 0, 1, "-1.7.479", 8, 7},
      {0, 4 * 960, 1, 0, 1, "1.1.000"},    // beats wrap at the measure
      {0, 3, 1, 0, 1, "1.4.000", 8, 4, 1}, // half a tick per beat counts as one
      {0, -1, 0, 0, 1, "-1.1.000", 8, 4, 1},
      {0, 1, 0, 1, 1, "0.1", 64, 3, 15},
      {INT_MIN, -1, 0, 1, 1, "-2147483648.3"},
      {INT_MAX, 0, 1, 1, 1, "2147483647.1"},
      {kWhole, 4 * 960 + 961, 1, 0, 1, "2.2.001"},
      {kWhole, 961, 1, 1, 1, "1.2"},
      {kWhole, -1, 1, 0, 7, "-1.4.137"},
      {kWhole, -4 * 960, 0, 0, 1, "-1.0.000"},
      {kWhole, -4 * 960 - 1, 0, 0, 1, "-2.3.959"},
      {kWhole, 4 * 960, 0, 0, 1, "1.0.000", 8}, // measures of 4 quarters, though its beats are eighths
      {kWhole, 480, 0, 0, 1, "0.1.000", 8},
      {kWhole, 5, 0, 0, 1, "1.1.000", 8, 4, 1},
      {kWhole, INT64_MAX, 0, 0, 1, "2147483647.2.127"},
  };
  for (const Case& each : cases) {
    _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
    shown.beatUnit = each.unit;
    shown.beatsPerMeasure = each.beats;
    shown.ticksPerBeat = each.ticks_per_beat;
    WCHAR text[64];
    const int length = each.measure == kWhole
                           ? QvTicksToText(text, &shown, each.tick, each.from_one, each.short_form, each.divisor)
                           : QvMeasuresAndTicksToText(text, &shown, each.measure, static_cast<LONG>(each.tick),
                                                      each.from_one, each.short_form, each.divisor);
    EXPECT_EQ(utf8(text), each.text);
    EXPECT_EQ(length, static_cast<int>(utf8(text).size()));
  }
}

TEST(MeasureText, Reading) {
  using Values = std::array<LONG, 3>; // measure, beat, tick
  const std::tuple<const WCHAR*, BOOL, LONG, Values> cases[] = {
      {QV_TEXT("3.2.480"), FALSE, 1, {3, 2, 480}},    {QV_TEXT("3.2.048"), TRUE, 10, {2, 1, 480}},
      {QV_TEXT(" -3.2.480 "), TRUE, 1, {-3, 1, 480}}, {QV_TEXT("3"), TRUE, 1, {2, 0, 0}},
      {QV_TEXT("3:2"), FALSE, 1, {3, 2, 0}},          {QV_TEXT("0.0.0"), TRUE, 1, {0, 0, 0}},
      {QV_TEXT("x1y2z3w4"), FALSE, 1, {1, 2, 3}},     {QV_TEXT("99999999999.1.1"), FALSE, 1, {INT_MAX, 1, 1}},
  };
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  for (const auto& [text, from_one, multiplier, values] : cases) {
    const LONGLONG all = (4LL * values[0] + values[1]) * 960 + values[2];
    Values read = {9, 9, 9};
    EXPECT_EQ(QvTextToMeasuresBeatsTicks(text, &shown, from_one, multiplier, &read[0], &read[1], &read[2]), all);
    EXPECT_EQ(read, values) << utf8(text);
    EXPECT_EQ(QvTextToMeasuresBeatsTicks(text, &shown, from_one, multiplier, nullptr, nullptr, nullptr), all);
  }
}

TEST(MeasureText, WhatItWritesItReads) {
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  for (LONGLONG ticks = -20'000; ticks < 20'000; ticks += 37) {
    for (const BOOL from_one : {TRUE, FALSE}) {
      WCHAR text[64];
      QvTicksToText(text, &shown, ticks, from_one, FALSE, 1);
      EXPECT_EQ(QvTextToMeasuresBeatsTicks(text, &shown, from_one, 1, nullptr, nullptr, nullptr), ticks) << utf8(text);
    }
  }
}

} // namespace
