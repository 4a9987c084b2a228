// Times as text: the twenty formats.
#include "tests/kernel/time/time_fixture.h"

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

using TimeText = LocaleTest;

TEST_F(TimeText, EveryFormat) {
  struct Case {
    DWORD format;
    QVNANOTIME time;
    const char* long_form;
    const char* short_form;
  };
  const QVNANOTIME late = 36'255'000'000; // 1:00:25.5
  const Case cases[] = {
      {0, late, "174,024,000", "174,024,000"},
      {0, 104, "0", "0"}, // half a sample is 104.17 units
      {0, 105, "1", "1"},
      {1, 0, "00:00:00.000", "00:00:00"},
      {1, -kSecond, "-00:00:01.000", "-00:00:01"},
      {1, late, "01:00:25.500", "01:00:25"},
      {1, 4'999, "00:00:00.000", "00:00:00"},
      {1, 5'000, "00:00:00.001", "00:00:00"},
      {1, kSecond - 5'000, "00:00:01.000", "00:00:01"},
      {1, 863'999'000'000, "23:59:59.900", "23:59:59"},
      {1, 863'999'000'001, "00:23:59:59", "00:23:59:59"}, // days, a tenth of a second early
      {1, kDay, "01:00:00:00", "01:00:00:00"},
      {1, 400 * kDay + late, "400:01:00:25", "400:01:00:25"},
      {2, late, "3,625.500", "3,625"},
      {2, 19'999'999, "2.000", "1"},
      {3, late, "01:00:25.12", "01:00:25"},
      {3, kSecond - 208'334, "00:00:00.23", "00:00:00"},
      {3, kSecond - 208'333, "00:00:01.00", "00:00:01"},
      {3, kDay + late, "01:00:25.12", "01:00:25"},
      {4, late, "87,012.000", "87,012"},
      {4, 1'250'000, "3.000", "3"},
      {5, late, "1,813.4.000", "1,813.4"},
      {5, 0, "1.1.000", "1.1"},
      {6, late, "01:00:21:26", "01:00:21:26"},
      {7, late, "01:00:25:15", "01:00:25:15"},
      {8, late, "01:00:25;14", "01:00:25;14"},
      {8, 600'600'000, "00:01:00;02", "00:01:00;02"},
      {9, late, "01:00:25:12", "01:00:25:12"},
      {10, late, "01:00:25:12", "01:00:25:12"},
      {11, -late, "-36,255,000,000", "-36,255,000,000"},
      {12, 14, "1", "1"},
      {12, 15, "2", "2"},
      {12, -15, "-2", "-2"},
      {13, late, "1,812.3.000", "1,812.3"},
      {14, late, "7,251.000", "7,251"},
      {15, 10 * kSecond, "6+0", "6+0"},
      {16, 10 * kSecond, "15+0", "15+0"},
      {15, late, "2,175+12", "2,175+12"},
      {16, -late, "-5,438+4", "-5,438+4"},
      {17, late, "01:00:25:38", "01:00:25"},
      {17, kSecond - 66'667, "00:00:00:74", "00:00:00"},
      {17, kSecond - 66'666, "00:00:01:00", "00:00:01"},
      {18, late, "01:00:21:21", "01:00:21:21"},
      {19, 0, "0:00", "0:00"},
      {19, 65 * kSecond, "1:05", "1:05"},
      {19, 725 * kSecond, "12:05", "12:05"},
      {19, 3'725 * kSecond, "1:02:05", "1:02:05"},
      {19, 11 * kHour, "11:00:00", "11:00:00"},
      {19, kDay + 65 * kSecond, "1:05", "1:05"},
      {19, -kSecond + 4'999, "-0:01", "-0:01"},
      {20, late, "36,255,000,000", "36,255,000,000"},
      {0xFFFFFFFF, -1, "-1", "-1"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << "format " << each.format << ", " << each.time);
    const _qvposfmt shown = shown_as(each.format);
    EXPECT_EQ(text_of(shown, each.time), each.long_form);
    EXPECT_EQ(text_of(shown, each.time, QVTIME_SHORT), each.short_form);
  }
}

TEST_F(TimeText, NoFieldReachesItsModulus) {
  // Doubles just below a whole second, in which floor+ finds all of its parts.
  struct Case {
    DWORD format;
    double rate;
    const char* whole_second; ///< how a text ends that shows no part of one
  };
  const Case cases[] = {{1, 0.0, ".000"}, {3, 24.0, ".00"}, {3, 25.0, ".00"}, {3, 1000.0, ".00"}, {17, 0.0, ":00"}};
  std::mt19937_64 random(3);
  for (const Case& each : cases) {
    _qvposfmt shown = shown_as(each.format);
    shown.frameRate = each.rate;
    const double parts = each.format == 1 ? 1000.0 : each.format == 17 ? 75.0 : each.rate;
    for (int i = 0; i < 20'000; ++i) {
      const auto second = static_cast<QVNANOTIME>(random() % (each.format == 1 ? 86'399 : 10'000'000)) + 1;
      // The first time that is rounded up to the second, and those around it.
      const auto edge = second * kSecond - static_cast<QVNANOTIME>(0.5 / parts * 1e7);
      for (const QVNANOTIME time : {edge - 1, edge, edge + 1, second * kSecond}) {
        const std::string text = text_of(shown, time);
        const size_t part = text.find_last_of(".:") + 1;
        ASSERT_LT(std::stod(text.substr(part)), parts) << text << " for " << time;
        ASSERT_LT(std::stoi(text.substr(part - 3, 2)), 60) << text;
        ASSERT_LT(std::stoi(text.substr(part - 6, 2)), 60) << text;
      }
      ASSERT_TRUE(text_of(shown, second * kSecond).ends_with(each.whole_second));
    }
  }
  EXPECT_EQ(text_of(shown_as(QVPOSFMT_TIME), 40'000 * kSecond), "11:06:40.000");
}

/// Format TIME by its definition in doubles.
std::string milliseconds_by_definition(QVNANOTIME time) {
  const double s = static_cast<double>(time) * 1e-7 + 0.0005;
  auto hours = static_cast<int64_t>(s / 3600);
  double rest = s - static_cast<double>(hours) * 3600;
  auto minutes = static_cast<int64_t>(rest / 60);
  rest -= static_cast<double>(minutes) * 60;
  auto seconds = static_cast<int64_t>(rest);
  auto part = static_cast<int64_t>(std::nearbyint((rest - static_cast<double>(seconds)) * 1000 - 0.499999985));
  if (part == 1000) {
    part = 0;
    if (++seconds == 60) seconds = 0, ++minutes;
    if (minutes == 60) minutes = 0, ++hours;
  }
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", static_cast<int>(hours % 24), static_cast<int>(minutes),
                static_cast<int>(seconds), static_cast<int>(part));
  return text;
}

TEST_F(TimeText, MillisecondsAreThoseOfTheDefinition) {
  const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  std::mt19937_64 random(1);
  for (int i = 0; i < 300'000; ++i) {
    const auto time = static_cast<QVNANOTIME>(random() % 863'998'000'000);
    const QVNANOTIME edge = time / 10'000 * 10'000 + 5'000; // where a millisecond begins
    for (const QVNANOTIME each : {time, edge - 1, edge, edge + 1})
      ASSERT_EQ(text_of(shown, each), milliseconds_by_definition(each)) << each;
  }
}

TEST_F(TimeText, OffsetAndAbsolute) {
  _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  shown.offset = 2 * kSecond;
  EXPECT_EQ(text_of(shown, 5 * kSecond), "00:00:03.000");
  EXPECT_EQ(text_of(shown, kSecond), "-00:00:01.000");
  EXPECT_EQ(text_of(shown, kSecond, QVTIME_ABSOLUTE), "00:00:01.000");
  shown.format = QVPOSFMT_MEASURES;
  EXPECT_EQ(text_of(shown, 4 * kSecond), "2.1.000");
  EXPECT_EQ(text_of(shown, 4 * kSecond, QVTIME_ABSOLUTE), "2.0.000");
  EXPECT_EQ(text_of(shown, 4 * kSecond, QVTIME_ABSOLUTE | QVTIME_SHORT), "2.0");
  shown.format = QVPOSFMT_RAW;
  shown.offset = INT64_MAX;
  EXPECT_EQ(text_of(shown, INT64_MIN), "-9,223,372,036,854,775,807");
  shown.offset = INT64_MIN;
  EXPECT_EQ(text_of(shown, 0), "9,223,372,036,854,775,807");
}

TEST_F(TimeText, OutOfRange) {
  _qvposfmt shown = shown_as(QVPOSFMT_SAMPLES);
  shown.sampleRate = 0xFFFFFFFF;
  EXPECT_EQ(text_of(shown, INT64_MAX), "9,223,372,036,854,775,807");
  shown = shown_as(QVPOSFMT_MEASURES);
  shown.tempo = 1e30;
  EXPECT_EQ(text_of(shown, INT64_MAX), "4,294,967,295.1.000");
  shown.tempo = std::nan("");
  EXPECT_EQ(text_of(shown, kSecond), "1.1.000");
  shown.tempo = 120.0;
  shown.beatsPerMeasure = 0;
  text_of(shown, kSecond);
  shown = shown_as(QVPOSFMT_TIMEFRAMES);
  for (const double rate : {0.0, -1.0, 0.01, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    shown.frameRate = rate;
    EXPECT_EQ(text_of(shown, 0).substr(0, 9), "00:00:00.") << rate;
  }
  shown = shown_as(QVPOSFMT_FEETFRAMES16);
  shown.frameRate = 1e300;
  EXPECT_EQ(text_of(shown, kSecond), "230,584,300,921,369,395+7");
  shown = shown_as(QVPOSFMT_MICROSECONDS);
  EXPECT_EQ(text_of(shown, INT64_MAX), "922,337,203,685,477,580");
}

TEST_F(TimeText, FormatStringsOfTheCaller) {
  const _qvposfmt time = shown_as(QVPOSFMT_TIME);
  const QVNANOTIME late = 36'255'000'000;
  EXPECT_EQ(text_with(time, late, QV_TEXT("%u h %u min %u$*%03u s")), "1 h 0 min 25.500 s");
  EXPECT_EQ(text_with(time, late, QV_TEXT("%02u-%02u-%02u")), "01-00-25");
  EXPECT_EQ(text_with(time, late, QV_TEXT("")), "");
  EXPECT_EQ(text_with(time, late, nullptr), "");
  EXPECT_EQ(text_with(time, -late, QV_TEXT("x")), "-x");
  EXPECT_EQ(text_with(time, kDay, QV_TEXT("%u")), "01:00:00:00") << "days have a format of their own";
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_SECONDS), late, QV_TEXT("%.1f")), "3625.5");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_SECONDS), 19'999'999, QV_TEXT("$.0f")), "1") << "truncated";
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_SECONDS), 19'999'999, QV_TEXT("$.0f ")), "2 ") << "rounded";
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_FRAMES), 10'416'667, QV_TEXT("$.0f")), "25");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_BEATS), 14'999'999, QV_TEXT("$.0f")), "2");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_COMPACT), 65 * kSecond, QV_TEXT("%u")), "1:05");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_SMPTE25), late, QV_TEXT("%02u$!:%02u$!:%02u$!.%02u")), "01:00:25.12");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_MEASURES), late, QV_TEXT("%d|%d|%d")), "1813|4|0");
  // Numbers are converted, and there are no others and no texts.
  EXPECT_EQ(text_with(time, late, QV_TEXT("%.2f %s %c%u %I64d %u %p")), "1.00 (null) \x19"
                                                                        "500 0 0 0000000000000000");
  EXPECT_EQ(text_with(shown_as(QVPOSFMT_SECONDS), late, QV_TEXT("%d %s %n%f")), "3625 (null) 0.000000");
  EXPECT_EQ(text_with(time, late, QV_TEXT("%*u|%-*u|")), "0|500                      |") << "widths are taken, too";
}

TEST_F(TimeText, CountedTextsAreCut) {
  const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  const std::string whole = "-00:00:01.000";
  for (int capacity = -1; capacity <= 20; ++capacity) {
    WCHAR text[32];
    std::fill(std::begin(text), std::end(text), WCHAR{'~'});
    const int length = QvNanoTimeToTextN(text, capacity, &shown, -kSecond, FALSE);
    const int expected = std::max(std::min(capacity - 1, 13), 0);
    ASSERT_EQ(length, expected) << capacity;
    if (capacity < 1) {
      EXPECT_EQ(text[0], '~');
      continue;
    }
    EXPECT_EQ(utf8(text), whole.substr(0, static_cast<size_t>(expected)));
    EXPECT_EQ(text[length + 1], '~');
    WCHAR same[32];
    EXPECT_EQ(QvNanoTimeToTextExN(same, capacity, &shown, -kSecond, 0), length);
    EXPECT_EQ(utf8(same), utf8(text));
    EXPECT_EQ(QvNanoTimeToTextFormatN(same, capacity, &shown, -kSecond, QV_TEXT("%02u$:%02u$:%02u$*%03u"), 0), length);
    EXPECT_EQ(utf8(same), utf8(text));
  }
  WCHAR text[32];
  EXPECT_EQ(QvNanoTimeToText(text, &shown, kSecond, 1), 8);
  EXPECT_EQ(QvNanoTimeToTextN(text, 32, &shown, kSecond, -5), 8);
  EXPECT_EQ(QvNanoTimeToText(nullptr, &shown, kSecond, 1), 0);
}

TEST_F(TimeText, SeparatorsOfTheUser) {
  const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
  QvText_SetUserLocale(&kFinnish);
  EXPECT_EQ(text_of(shown, kSecond), "00.00.01,000");
  EXPECT_EQ(text_of(shown_as(QVPOSFMT_SECONDS), 12'345'678'901), "1\u00A0234,568");
  EXPECT_EQ(text_of(shown_as(QVPOSFMT_SMPTE25), kSecond), "00:00:01:00") << "timecode has its own";
  QVUSERLOCALE odd = kEnglish;
  std::char_traits<WCHAR>::copy(odd.time, QV_TEXT(" h "), 4);
  std::char_traits<WCHAR>::copy(odd.decimal, QV_TEXT(","), 2); // as between groups
  QvText_SetUserLocale(&odd);
  EXPECT_EQ(text_of(shown, kSecond), "00 h 00 h 01.000");
  odd.time[0] = 0;
  QvText_SetUserLocale(&odd);
  EXPECT_EQ(text_of(shown, kSecond), "000001.000");
  ASSERT_EQ(QvText_SetToken(QV_TEXT("m.b"), QV_TEXT("|")), S_OK);
  ASSERT_EQ(QvText_SetToken(QV_TEXT("b.t"), QV_TEXT("/")), S_OK);
  EXPECT_EQ(text_of(shown_as(QVPOSFMT_MEASURES), kSecond), "1|3/000");
  QvText_SetToken(QV_TEXT("m.b"), nullptr);
  QvText_SetToken(QV_TEXT("b.t"), nullptr);
}

TEST(TimeFields, Hmsf) {
  struct Case {
    DWORD format;
    QVNANOTIME time;
    double rate;
    BOOL keep_hours;
    _smpteval expected;
  };
  const Case cases[] = {
      {0, 25 * kHour + 36'255'000'000, 24.0, FALSE, {0, 2, 0, 25, 12, 5}},
      {0, 25 * kHour + 36'255'000'000, 24.0, TRUE, {0, 26, 0, 25, 12, 5}},
      {0, kSecond - 208'333, 24.0, FALSE, {0, 0, 0, 1, 0, 5}},
      {0, 19'999'999, 0.0, FALSE, {0, 0, 0, 1, 0, 5}},
      {0, -kSecond, 24.0, FALSE, {0, 0, 0, 0, 0, 5}},
      {7, kSecond, 0.01, FALSE, {7, 0, 0, 1, 0, 5}},
      {2, 600'600'000, 0.0, FALSE, {2, 0, 1, 0, 2, 5}},
      {3, 25 * kHour, 0.0, TRUE, {3, 1, 0, 0, 0, 5}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.format << ": " << each.time);
    _smpteval fields = {each.format, 9, 9, 9, 9, 5};
    EXPECT_EQ(QvNanoTimeToHMSF(each.time, &fields, each.rate, each.keep_hours), each.expected.seconds);
    EXPECT_EQ(std::memcmp(&fields, &each.expected, sizeof fields), 0)
        << fields.hours << ":" << fields.minutes << ":" << fields.seconds << ":" << fields.frames;
  }
  // Half a frame before the hour; some of the sums are doubles just below it.
  for (DWORD hour = 1; hour <= 72; ++hour) {
    _smpteval fields = {};
    QvNanoTimeToHMSF(hour * kHour - kSecond / 50, &fields, 25.0, TRUE);
    EXPECT_EQ(fields.hours, hour);
    EXPECT_EQ(fields.minutes + fields.seconds + fields.frames, 0u) << hour;
  }
  const _smpteval plain = {0, 26, 0, 25, 12, 0};
  EXPECT_EQ(QvHMSFToNanoTime(&plain, 24.0), 25 * kHour + 36'255'000'000);
  EXPECT_EQ(QvHMSFToNanoTime(&plain, 0.0), INT64_MAX);
  const _smpteval without_frames = {0, 0, 0, 1, 0, 0};
  EXPECT_EQ(QvHMSFToNanoTime(&without_frames, 0.0), kSecond);
  const _smpteval drop_frame = {2, 0, 1, 0, 2, 0};
  EXPECT_EQ(QvHMSFToNanoTime(&drop_frame, 1.0), 600'600'000);
}

TEST(TimeFields, Measures) {
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  DWORD measure = 9, beat = 9, tick = 9;
  QvNanoTimeToMeasures(36'255'000'000 + 2'500'000, &shown, &measure, &beat, &tick);
  EXPECT_EQ(measure, 1812u);
  EXPECT_EQ(beat, 3u);
  EXPECT_EQ(tick, 480u);
  QvNanoTimeToMeasures(-kSecond, &shown, &measure, &beat, &tick);
  EXPECT_EQ(measure + beat + tick, 0u);
  QvNanoTimeToMeasures(kSecond, &shown, nullptr, nullptr, nullptr);
}

} // namespace
