// Texts as times: tokens, separators, limits, and what a text gives that the library itself wrote.
#include "tests/kernel/time/time_fixture.h"

#include <climits>
#include <random>

namespace {

using TextTime = LocaleTest;

struct Parsed {
  QVNANOTIME time;
  ptrdiff_t read; ///< characters up to the end of the token
  bool operator==(const Parsed&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Parsed& parsed) {
  return out << parsed.time << " from " << parsed.read << " characters";
}

Parsed parse(const _qvposfmt& shown, const WCHAR* text, DWORD flags = 0) {
  const WCHAR* end = nullptr;
  const QVNANOTIME time = QvTextToNanoTimeToken2(text, &shown, 0, 0, 0, flags, &end);
  EXPECT_EQ(QvTextToNanoTimeToken2(text, &shown, 0, 0, 0, flags, nullptr), time);
  return {time, end - text};
}

TEST_F(TextTime, EveryFormat) {
  struct Case {
    DWORD format;
    const WCHAR* text;
    Parsed expected;
    DWORD flags = 0;
  };
  const QVNANOTIME minute = 60 * kSecond;
  const Case cases[] = {
      {0, QV_TEXT("48000"), {kSecond, 5}},
      {0, QV_TEXT(" -48,000 x"), {-kSecond, 8}},
      {0, QV_TEXT("1"), {208, 1}},
      {0, QV_TEXT("48,00,0.5"), {kSecond, 7}}, // groups are not counted
      {0, QV_TEXT("48, 000"), {10'000, 2}},
      {0, QV_TEXT("99999999999999999999"), {INT64_C(1) << 61, 20}},
      {1, QV_TEXT("2.5"), {25'000'000, 3}},
      {1, QV_TEXT("2"), {2 * kSecond, 1}},
      {1, QV_TEXT("1:30"), {13'000'000, 4}}, // a fraction, whatever separates it
      {1, QV_TEXT("1:30"), {90 * kSecond, 4}, QVTIME_SHORT},
      {1, QV_TEXT("1:02:03.4"), {kHour + 2 * minute + 34'000'000, 9}},
      {1, QV_TEXT("1:02:03.45678"), {kHour + 2 * minute + 34'560'000, 13}},
      {1, QV_TEXT("1:02:03.045"), {kHour + 2 * minute + 30'450'000, 11}},
      {1, QV_TEXT("1:02:03.4:5"), {kHour + 2 * minute + 34'000'000, 9}}, // four fields
      {1, QV_TEXT("1:2:3:4"), {kHour + 2 * minute + 3 * kSecond, 5}, QVTIME_SHORT},
      {1, QV_TEXT("2 "), {2'000'000, 1}}, // white space makes a fraction of it
      {1, QV_TEXT("\t -1.5"), {-15'000'000, 6}},
      {1, QV_TEXT("abc"), {0, 0}},
      {1, QV_TEXT("99999999999999999999:0"), {INT64_MAX, 22}, QVTIME_SHORT},
      {2, QV_TEXT("3,625.5"), {36'255'000'000, 7}},
      {2, QV_TEXT(".5"), {5'000'000, 2}},
      {2, QV_TEXT("5."), {5 * kSecond, 1}},
      {2,
       QV_TEXT("0.12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
       {1'234'567, 82}},
      {2, QV_TEXT("1e5"), {kSecond, 1}},
      {2, QV_TEXT("999999999999999"), {2'305'843'009'209'999'872, 15}},
      {2, QV_TEXT("-999999999999999"), {-2'305'843'009'209'999'872, 16}}, // limited before its sign counts
      {3, QV_TEXT("1:02:03.12"), {kHour + 2 * minute + 35'000'000, 10}},
      {3, QV_TEXT("1:12"), {15'000'000, 4}},
      {3, QV_TEXT("1:12"), {72 * kSecond, 4}, QVTIME_SHORT},
      {4, QV_TEXT("24"), {kSecond, 2}},
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
      {13, QV_TEXT("2.1.480"), {47'500'000, 7}},
      {6, QV_TEXT("00:01:00:00"), {600'600'000, 11}},
      {7, QV_TEXT("00:01:00:15"), {605'000'000, 11}},
      {8, QV_TEXT("00:01:00;00"), {600'600'000, 11}}, // skipped: the label after it
      {8, QV_TEXT("00:10:00;00 x"), {5'999'994'000, 11}},
      {9, QV_TEXT("1:2:3:4:5"), {37'230'000'000 + 1'600'000, 7}},
      {9, QV_TEXT("1:2:3:4: "), {37'230'000'000 + 1'600'000, 7}},
      {9, QV_TEXT("112"), {10'000'000 + 4'800'000, 3}},
      {9, QV_TEXT("5:"), {5 * kSecond, 2}}, // the separator is read: a 0 stands behind it
      {9, QV_TEXT(" 1:2\t  "), {62 * kSecond, 5}},
      {9, QV_TEXT("5 fps"), {5 * kSecond, 5}},
      {9, QV_TEXT("5  "), {2'000'000, 1}},
      {9, QV_TEXT("abc"), {0, 0}},
      {10, QV_TEXT("-1:00"), {-kSecond, 5}},
      {18, QV_TEXT("00:00:01:00"), {10'010'000, 11}},
      {11, QV_TEXT("-36,255,000,000"), {-36'255'000'000, 15}},
      {11, QV_TEXT("9223372036854775808"), {INT64_MAX, 19}},
      {12, QV_TEXT("15"), {150, 2}},
      {12, QV_TEXT("9223372036854775807"), {INT64_MAX, 19}},
      {14, QV_TEXT("7,251.5"), {36'257'500'000, 7}},
      {15, QV_TEXT("6+0"), {100'000'000, 3}},
      {15, QV_TEXT("24"), {kSecond, 2}}, // frames alone
      {15, QV_TEXT("2,175+12 x"), {36'255'000'000, 8}},
      {16, QV_TEXT("15+0+9"), {100'000'000, 4}},
      {17, QV_TEXT("01:00:25:38"), {36'255'066'667, 11}},
      {17, QV_TEXT("99"), {13'200'000, 2}}, // more frames than a second has
      {17, QV_TEXT("5;"), {5 * kSecond, 2}},
      {19, QV_TEXT("1:05"), {0, 0}},
      {20, QV_TEXT("5"), {0, 0}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << "format " << each.format << ": \"" << utf8(each.text) << "\"");
    EXPECT_EQ(parse(shown_as(each.format), each.text, each.flags), each.expected);
  }
}

TEST_F(TextTime, OffsetsAreAdded) {
  _qvposfmt shown = shown_as(QVPOSFMT_SECONDS);
  shown.offset = 5 * kSecond;
  EXPECT_EQ(parse(shown, QV_TEXT("-2")).time, 3 * kSecond);
  EXPECT_EQ(parse(shown, QV_TEXT("-2"), QVTIME_ABSOLUTE).time, -2 * kSecond);
  shown.format = QVPOSFMT_RAW;
  shown.offset = INT64_MAX;
  EXPECT_EQ(parse(shown, QV_TEXT("9")).time, INT64_MAX);
  shown.offset = INT64_MIN;
  EXPECT_EQ(parse(shown, QV_TEXT("-9")).time, INT64_MIN);
}

TEST_F(TextTime, AbsentTexts) {
  struct Case {
    const WCHAR* text;
    DWORD flags;
    QVNANOTIME expected;
    DWORD format = QVPOSFMT_RAW;
  };
  const Case cases[] = {
      {QV_TEXT(""), QVTIME_VALIDATE, 123},
      {QV_TEXT(""), 0, 123},
      {QV_TEXT("  - "), QVTIME_VALIDATE, 10}, // a space, which reads 0
      {QV_TEXT("  -"), 0, 123},
      {QV_TEXT("abc"), QVTIME_VALIDATE, 123},
      {QV_TEXT("abc"), 0, 0},
      {QV_TEXT("0"), QVTIME_VALIDATE, 10},
      {QV_TEXT("0  "), QVTIME_VALIDATE, 10},
      {QV_TEXT("0 s"), QVTIME_VALIDATE, 123},
      {QV_TEXT("50 s"), QVTIME_VALIDATE, 50},
      {QV_TEXT("5000"), QVTIME_VALIDATE, 1000},
      {QV_TEXT("5000"), 0, 5000},
      {QV_TEXT("-5"), QVTIME_VALIDATE, 10},
      {QV_TEXT("0:"), QVTIME_VALIDATE, 10, QVPOSFMT_SMPTE30}, // timecode reads what separates at the end
      {QV_TEXT("0 s"), QVTIME_VALIDATE, 10, QVPOSFMT_CDTIME},
      {QV_TEXT("0:"), QVTIME_VALIDATE, 123, QVPOSFMT_TIMEFRAMES},
      {QV_TEXT("0:0:0:0:"), QVTIME_VALIDATE, 123, QVPOSFMT_SMPTE30},
      {QV_TEXT("abc"), QVTIME_VALIDATE, 123, QVPOSFMT_SMPTE2997DF},
      {QV_TEXT(":"), QVTIME_VALIDATE, 123, QVPOSFMT_CDTIME},
  };
  const _qvposfmt shown = shown_as(QVPOSFMT_RAW);
  for (const Case& each : cases) {
    const _qvposfmt read = shown_as(each.format);
    const QVNANOTIME time = QvTextToNanoTimeToken2(each.text, &read, 123, 10, 1000, each.flags, nullptr);
    EXPECT_EQ(time, each.expected) << utf8(each.text) << " in format " << each.format;
  }
  _qvposfmt offset = shown;
  offset.offset = 7;
  EXPECT_EQ(QvTextToNanoTimeToken2(QV_TEXT(""), &offset, 123, 0, 0, QVTIME_VALIDATE, nullptr), 123);
  EXPECT_EQ(QvTextToNanoTimeTokenEx(QV_TEXT("x"), &shown, 0, 123, 10, 1000, nullptr), 123);
  EXPECT_EQ(QvTextToNanoTimeTokenEx(QV_TEXT("4000"), &shown, 0, 123, 10, 1000, nullptr), 1000);
  const _qvposfmt time = shown_as(QVPOSFMT_TIME);
  EXPECT_EQ(QvTextToNanoTimeTokenEx(QV_TEXT("1:30"), &time, 1, 0, 0, kDay, nullptr), 90 * kSecond);
  EXPECT_EQ(QvTextToNanoTimeToken(QV_TEXT("1:30"), &time, 1, nullptr), 90 * kSecond);
  EXPECT_EQ(QvTextToNanoTimeToken(QV_TEXT("x"), &time, 0, nullptr), 0);
}

TEST_F(TextTime, EndsOfEmptyTexts) {
  const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  EXPECT_EQ(parse(shown, QV_TEXT("  -")).read, 3);
  EXPECT_EQ(parse(shown, QV_TEXT(" -abc")).read, 2);
}

TEST_F(TextTime, RatesThatAreNone) {
  for (const DWORD format : {0u, 3u, 4u, 5u, 13u, 14u, 15u, 16u}) {
    _qvposfmt shown = {};
    shown.format = format;
    EXPECT_EQ(parse(shown, QV_TEXT("0")).time, 0) << format;
    parse(shown, QV_TEXT("1:2:3:4"));
  }
  _qvposfmt shown = shown_as(QVPOSFMT_TIMEFRAMES);
  shown.frameRate = 0.0;
  EXPECT_EQ(parse(shown, QV_TEXT("1:02:03:00")).time, 3723 * kSecond);
  shown = shown_as(QVPOSFMT_FRAMES);
  shown.frameRate = -24.0; // bounds the wrong way round
  EXPECT_EQ(parse(shown, QV_TEXT("24")).time, parse(shown, QV_TEXT("25")).time);
}

TEST_F(TextTime, Tokens) {
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  const WCHAR* end = nullptr;
  const WCHAR* text = QV_TEXT("at 1:02.5 or so");
  EXPECT_EQ(QvTextToTimeToken(text, &shown, 0, &end), 62'500);
  EXPECT_EQ(end, text + 9);
  EXPECT_EQ(QvTextToTimeToken(text, &shown, 1, nullptr), 3'725'000);
  EXPECT_EQ(QvTextToTimeToken(QV_TEXT(""), &shown, 0, nullptr), 0);
  EXPECT_EQ(QvTextToTimeToken(QV_TEXT(" "), &shown, 0, nullptr), 0);
  EXPECT_EQ(QvTextToTimeToken(QV_TEXT("-7"), &shown, 0, nullptr), 7'000) << "tokens know no sign";
  EXPECT_EQ(QvTextToHMSFToken(QV_TEXT("1:2:3:4:5"), &shown, 1, &end), 3723 * kSecond);
  EXPECT_EQ(QvTextToHMSFToken(QV_TEXT("0:0:0:12"), &shown, 0, nullptr), 5'000'000);
  EXPECT_EQ(QvTextToMusicTimeToken(QV_TEXT("3:2:1"), &shown, QVTIME_SHORT, &end), 45'000'000);
  EXPECT_EQ(QvTextToFeetAndFramesToken(QV_TEXT("1'8"), &shown, 0), kSecond);
  EXPECT_EQ(QvTextToFeetAndFramesToken(QV_TEXT("1+8"), &shown, 1), 2 * kSecond);
  EXPECT_EQ(QvTextToFeetAndFramesToken(QV_TEXT(""), &shown, 1), 0);
}

TEST_F(TextTime, SeparatorsOfTheUser) {
  struct Case {
    const QVUSERLOCALE* locale;
    const WCHAR* text;
    QVNANOTIME time;
  };
  const Case cases[] = {
      {&kGerman, QV_TEXT("3.625,5"), 36'255'000'000},
      {&kGerman, QV_TEXT("2.5"), 25 * kSecond},
      {&kFrench, QV_TEXT("3\u202F625,5"), 36'255'000'000},
      {&kFrench, QV_TEXT("2.5"), 25'000'000},
      {&kFinnish, QV_TEXT("3\u00A0625,5"), 36'255'000'000},
      {&kHindi, QV_TEXT("1,00,000.5"), 100'000 * kSecond + 5'000'000},
  };
  for (const Case& each : cases) {
    QvText_SetUserLocale(each.locale);
    EXPECT_EQ(parse(shown_as(QVPOSFMT_SECONDS), each.text).time, each.time) << utf8(each.text);
  }
}

/// The largest error that a format's text leaves.
QVNANOTIME resolution(const _qvposfmt& shown) {
  switch (shown.format) {
  case QVPOSFMT_SAMPLES: return kSecond / shown.sampleRate / 2 + 2;
  case QVPOSFMT_TIME:
  case QVPOSFMT_SECONDS: return 5'000 + 1;
  case QVPOSFMT_TIMEFRAMES: return static_cast<QVNANOTIME>(1e7 / shown.frameRate / 2) + 2;
  case QVPOSFMT_FRAMES: return static_cast<QVNANOTIME>(1e7 / shown.frameRate / 2000) + 10;
  case QVPOSFMT_RAW: return 0;
  case QVPOSFMT_MICROSECONDS: return 5;
  case QVPOSFMT_MEASURES:
  case QVPOSFMT_MEASURES0: return static_cast<QVNANOTIME>(6e8 / shown.tempo / shown.ticksPerBeat) + 1'100;
  case QVPOSFMT_BEATS: return static_cast<QVNANOTIME>(6e8 / shown.tempo / 2000) + 2;
  case QVPOSFMT_CDTIME: return kSecond / 75 / 2 + 2;
  default: return kSecond / 23; // a whole frame: those texts name the frame that holds the time
  }
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
        ASSERT_EQ(read.read, length) << utf8(text) << " in format " << format;
        ASSERT_LE(std::abs(read.time - time), resolution(shown)) << utf8(text) << " for " << time << " in " << format;
        // What was read is the text's own time: it gives the same text again.
        if (format != QVPOSFMT_MEASURES && format != QVPOSFMT_MEASURES0) {
          WCHAR again[QVTIME_TEXT_CHARS];
          QvNanoTimeToText(again, &shown, read.time, FALSE);
          const bool lost_its_sign = read.time == shown.offset && text[0] == '-';
          ASSERT_EQ(utf8(again), utf8(text).substr(lost_its_sign ? 1 : 0)) << "format " << format;
        }
      }
    }
  }
}

TEST_F(TextTime, WhatTextsLeaveOut) {
  _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  const auto back = [&shown](QVNANOTIME time, DWORD flags = 0) {
    WCHAR text[QVTIME_TEXT_CHARS];
    QvNanoTimeToTextEx(text, &shown, time, flags);
    return parse(shown, text, flags).time;
  };
  EXPECT_EQ(back(3'725 * kSecond + 9'000'000, QVTIME_SHORT), 3'725 * kSecond) << "whole seconds";
  EXPECT_EQ(back(kDay + 2 * kHour), kHour + 2 * 60 * kSecond) << "days are read as hours, the last field as a fraction";
  shown.format = QVPOSFMT_MEASURES;
  EXPECT_EQ(back(2 * 1'233 * kSecond), 233 * 5'000'000 + 5'208)
      << "\"1,234.1.000\": the first three runs are 1, 234, 1";
  EXPECT_EQ(back(5 * kSecond, QVTIME_SHORT), 5 * kSecond);
  shown.format = QVPOSFMT_COMPACT;
  EXPECT_EQ(back(65 * kSecond), 0) << "is not read";
  shown.format = QVPOSFMT_SMPTE25;
  EXPECT_EQ(back(kDay + kSecond), kSecond) << "the dial has 24 hours";
}

TEST(MeasureText, MeasuresAndTicks) {
  struct Case {
    LONG measure, tick;
    BOOL from_one, short_form;
    LONG divisor;
    const char* text;
    WORD unit = 4, beats = 4;
    DWORD ticks_per_beat = 960;
  };
  const Case cases[] = {
      {0, 0, 0, 0, 1, "0.0.000"},
      {0, 0, 1, 0, 1, "1.1.000"},
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
  };
  for (const Case& each : cases) {
    _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
    shown.beatUnit = each.unit;
    shown.beatsPerMeasure = each.beats;
    shown.ticksPerBeat = each.ticks_per_beat;
    WCHAR text[64];
    const int length =
        QvMeasuresAndTicksToText(text, &shown, each.measure, each.tick, each.from_one, each.short_form, each.divisor);
    EXPECT_EQ(utf8(text), each.text);
    EXPECT_EQ(length, static_cast<int>(utf8(text).size()));
  }
}

TEST(MeasureText, Ticks) {
  struct Case {
    LONGLONG ticks;
    BOOL from_one;
    const char* text;
    WORD unit = 4;
  };
  const Case cases[] =
      {
          {0, 1, "1.1.000"},          {4 * 960 + 961, 1, "2.2.001"},      {-1, 0, "-1.3.959"},
          {-1, 1, "-1.4.959"},        {-4 * 960, 0, "-1.0.000"},          {-4 * 960 - 1, 0, "-2.3.959"},
          {4 * 960, 0, "1.0.000", 8}, // measures of 4 quarters, though its beats are eighths
          {480, 0, "0.1.000", 8},     {INT64_MAX, 0, "2147483647.2.127"},
      };
  for (const Case& each : cases) {
    _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
    shown.beatUnit = each.unit;
    WCHAR text[64];
    QvTicksToText(text, &shown, each.ticks, each.from_one, FALSE, 1);
    EXPECT_EQ(utf8(text), each.text) << each.ticks;
  }
  _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  WCHAR text[64];
  EXPECT_EQ(QvTicksToText(text, &shown, 961, TRUE, TRUE, 1), 3);
  EXPECT_EQ(utf8(text), "1.2");
  shown.ticksPerBeat = 1;
  shown.beatUnit = 8;
  QvTicksToText(text, &shown, 5, FALSE, FALSE, 1);
  EXPECT_EQ(utf8(text), "1.1.000");
}

TEST(MeasureText, Reading) {
  struct Case {
    const WCHAR* text;
    BOOL from_one;
    LONG multiplier;
    LONG measure, beat, tick;
    LONGLONG all;
  };
  const Case cases[] = {
      {QV_TEXT("3.2.480"), FALSE, 1, 3, 2, 480, (4 * 3 + 2) * 960 + 480},
      {QV_TEXT("3.2.480"), TRUE, 1, 2, 1, 480, (4 * 2 + 1) * 960 + 480},
      {QV_TEXT("3.2.048"), TRUE, 10, 2, 1, 480, (4 * 2 + 1) * 960 + 480},
      {QV_TEXT(" -3.2.480 "), TRUE, 1, -3, 1, 480, (4 * -3 + 1) * 960 + 480},
      {QV_TEXT("3"), TRUE, 1, 2, 0, 0, 2 * 4 * 960},
      {QV_TEXT("3:2"), FALSE, 1, 3, 2, 0, 14 * 960},
      {QV_TEXT("0.0.0"), TRUE, 1, 0, 0, 0, 0},
      {QV_TEXT(""), TRUE, 1, 0, 0, 0, 0},
      {QV_TEXT("x1y2z3w4"), FALSE, 1, 1, 2, 3, 6 * 960 + 3},
      {QV_TEXT("99999999999.1.1"), FALSE, 1, INT_MAX, 1, 1, (4LL * INT_MAX + 1) * 960 + 1},
  };
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  for (const Case& each : cases) {
    SCOPED_TRACE(utf8(each.text));
    LONG measure = 9, beat = 9, tick = 9;
    EXPECT_EQ(QvTextToMeasuresBeatsTicks(each.text, &shown, each.from_one, each.multiplier, &measure, &beat, &tick),
              each.all);
    EXPECT_EQ(measure, each.measure);
    EXPECT_EQ(beat, each.beat);
    EXPECT_EQ(tick, each.tick);
    EXPECT_EQ(QvTextToMeasuresBeatsTicks(each.text, &shown, each.from_one, each.multiplier, nullptr, nullptr, nullptr),
              each.all);
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
