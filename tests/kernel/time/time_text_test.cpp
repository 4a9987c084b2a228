// Times as text: the twenty formats.
#include "tests/kernel/time/time_fixture.h"

#include <cmath>
#include <cstring>
#include <random>
#include <tuple>

namespace {

using TimeText = LocaleTest;

TEST_F(TimeText, EveryFormat) {
  const QVNANOTIME late = 36'255'000'000; // 1:00:25.5
  const std::tuple<DWORD, QVNANOTIME, const char*, const char*> cases[] = {
      {0, late, "174,024,000", "174,024,000"},
      {0, 104, "0", "0"}, // half a sample is 104.17 units
      {0, 105, "1", "1"},
      {1, 0, "00:00:00.000", "00:00:00"},
      {1, -kSecond, "-00:00:01.000", "-00:00:01"},
      {1, late, "01:00:25.500", "01:00:25"},
      {1, kSecond - 5'000, "00:00:01.000", "00:00:01"},
      {1, 863'999'000'000, "23:59:59.900", "23:59:59"},
      {1, 863'999'000'001, "00:23:59:59", "00:23:59:59"}, // days, a tenth of a second early
      {1, kDay, "01:00:00:00", "01:00:00:00"},
      {1, 400 * kDay + late, "400:01:00:25", "400:01:00:25"},
      {2, late, "3,625.500", "3,625"},
      {2, 19'999'999, "2.000", "1"},
      {3, late, "01:00:25.12", "01:00:25"},
      {3, kSecond - 208'333, "00:00:01.00", "00:00:01"},
      {4, late, "87,012.000", "87,012"},
      {4, 1'250'000, "3.000", "3"},
      {5, late, "1,813.4.000", "1,813.4"},
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
      {15, late, "2,175+12", "2,175+12"},
      {16, -late, "-5,438+4", "-5,438+4"},
      {17, late, "01:00:25:38", "01:00:25"},
      {17, kSecond - 66'666, "00:00:01:00", "00:00:01"},
      {18, late, "01:00:21:21", "01:00:21:21"},
      {19, 65 * kSecond, "1:05", "1:05"},
      {19, 725 * kSecond, "12:05", "12:05"},
      {19, 3'725 * kSecond, "1:02:05", "1:02:05"},
      {19, 11 * kHour, "11:00:00", "11:00:00"},
      {19, kDay + 65 * kSecond, "1:05", "1:05"},
      {19, -kSecond + 4'999, "-0:01", "-0:01"},
      {20, late, "36,255,000,000", "36,255,000,000"},
      {0xFFFFFFFF, -1, "-1", "-1"},
  };
  for (const auto& [format, time, long_form, short_form] : cases) {
    EXPECT_EQ(text_of(shown_as(format), time), long_form) << format << ", " << time;
    EXPECT_EQ(text_of(shown_as(format), time, QVTIME_SHORT), short_form) << format << ", " << time;
  }
}

/// A clock's text by its definition in doubles; a part that comes out as a whole second is carried.
std::string clock_by_definition(double seconds, double parts, const char* format) {
  int fields[4];
  fields[0] = static_cast<int>(seconds / 3600);
  double rest = seconds - fields[0] * 3600.0;
  fields[1] = static_cast<int>(rest / 60);
  rest -= fields[1] * 60.0;
  fields[2] = static_cast<int>(rest);
  fields[3] = static_cast<int>(std::nearbyint((rest - fields[2]) * parts - 0.499999985));
  for (const int i : {3, 2, 1}) {
    const int limit = i == 3 ? static_cast<int>(parts) : 60;
    fields[i - 1] += fields[i] / limit;
    fields[i] %= limit;
  }
  char text[64];
  std::snprintf(text, sizeof text, format, fields[0] % 24, fields[1], fields[2], fields[3]);
  return text;
}

TEST_F(TimeText, ClocksAreThoseOfTheDefinition) {
  const std::tuple<DWORD, double, const char*> cases[] = {{1, 1000.0, "%02d:%02d:%02d.%03d"},
                                                          {3, 24.0, "%02d:%02d:%02d.%02d"},
                                                          {3, 25.0, "%02d:%02d:%02d.%02d"},
                                                          {3, 1000.0, "%02d:%02d:%02d.%02d"},
                                                          {17, 75.0, "%02d:%02d:%02d:%02d"}};
  std::mt19937_64 random(3);
  for (const auto& [format, parts, form] : cases) {
    _qvposfmt shown = shown_as(format);
    shown.frameRate = parts;
    const double half = 0.5 / parts;
    for (int i = 0; i < 60'000; ++i) {
      // Any time, the time around which a part begins, and the one around which an hour does.
      const auto time = static_cast<QVNANOTIME>(random() % 863'998'000'000);
      const double part = std::floor(static_cast<double>(time) * 1e-7 * parts) + 0.5;
      const auto edge = static_cast<QVNANOTIME>(part / parts * 1e7);
      const auto hour = (time / kHour + 1) * kHour - static_cast<QVNANOTIME>(half * 1e7);
      for (const QVNANOTIME at : {time, edge - 1, edge, edge + 1, hour % 863'998'000'000})
        ASSERT_EQ(text_of(shown, at), clock_by_definition(static_cast<double>(at) * 1e-7 + half, parts, form))
            << at << " in format " << format << " at " << parts;
    }
  }
}

TEST_F(TimeText, OffsetsRatesAndRanges) {
  struct Case {
    _qvposfmt shown;
    QVNANOTIME time;
    const char* text;
    DWORD flags = 0;
  };
  const Case cases[] = {
      {shown_with(1, 2 * kSecond), 5 * kSecond, "00:00:03.000"},
      {shown_with(1, 2 * kSecond), kSecond, "-00:00:01.000"},
      {shown_with(1, 2 * kSecond), kSecond, "00:00:01.000", QVTIME_ABSOLUTE},
      {shown_with(5, 2 * kSecond), 4 * kSecond, "2.1.000"},
      {shown_with(5, 2 * kSecond), 4 * kSecond, "2.0.000", QVTIME_ABSOLUTE},
      {shown_with(5, 2 * kSecond), 4 * kSecond, "2.0", QVTIME_ABSOLUTE | QVTIME_SHORT},
      {shown_with(11, INT64_MAX), INT64_MIN, "-9,223,372,036,854,775,807"},
      {shown_with(11, INT64_MIN), 0, "9,223,372,036,854,775,807"},
      {shown_with(0, 0, 0xFFFFFFFF), INT64_MAX, "9,223,372,036,854,775,807"},
      {shown_with(5, 0, 1e30), INT64_MAX, "4,294,967,295.1.000"},
      {shown_with(5, 0, std::nan("")), kSecond, "1.1.000"},
      {shown_with(15, 0, 1e300), kSecond, "230,584,300,921,369,395+7"},
      {shown_with(12, 0, 0), INT64_MAX, "922,337,203,685,477,580"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(text_of(each.shown, each.time, each.flags), each.text) << each.shown.format;
  for (const double rate : {0.0, -1.0, 0.01, HUGE_VAL, -HUGE_VAL, std::nan("")})
    EXPECT_EQ(text_of(shown_with(3, 0, rate), 0).substr(0, 9), "00:00:00.") << rate;
  _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  shown.beatsPerMeasure = 0;
  text_of(shown, kSecond);
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
  expect_cut([&](WCHAR* dst, int room) { return QvNanoTimeToTextN(dst, room, &shown, -kSecond, FALSE); });
  expect_cut([&](WCHAR* dst, int room) { return QvNanoTimeToTextExN(dst, room, &shown, -kSecond, 0); });
  expect_cut([&](WCHAR* dst, int room) {
    return QvNanoTimeToTextFormatN(dst, room, &shown, -kSecond, QV_TEXT("%02u$:%02u$:%02u$*%03u"), 0);
  });
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
  set(odd.time, QV_TEXT(" h "));
  set(odd.decimal, QV_TEXT(",")); // as between groups
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
    QVNANOTIME time;
    double rate;
    BOOL keep_hours;
    _smpteval expected;
  };
  const Case cases[] = {
      {25 * kHour + 36'255'000'000, 24.0, FALSE, {0, 2, 0, 25, 12, 5}},
      {25 * kHour + 36'255'000'000, 24.0, TRUE, {0, 26, 0, 25, 12, 5}},
      {19'999'999, 0.0, FALSE, {0, 0, 0, 1, 0, 5}},
      {-kSecond, 24.0, FALSE, {0, 0, 0, 0, 0, 5}},
      {kSecond, 0.01, FALSE, {7, 0, 0, 1, 0, 5}},
      {600'600'000, 0.0, FALSE, {2, 0, 1, 0, 2, 5}},
      {25 * kHour, 0.0, TRUE, {3, 1, 0, 0, 0, 5}},
  };
  for (const Case& each : cases) {
    _smpteval fields = {each.expected.format, 9, 9, 9, 9, 5};
    EXPECT_EQ(QvNanoTimeToHMSF(each.time, &fields, each.rate, each.keep_hours), each.expected.seconds);
    EXPECT_EQ(std::memcmp(&fields, &each.expected, sizeof fields), 0)
        << each.time << ": " << fields.hours << ":" << fields.minutes << ":" << fields.seconds << ":" << fields.frames;
  }
  const auto time_of = [](const _smpteval& fields, double rate) { return QvHMSFToNanoTime(&fields, rate); };
  EXPECT_EQ(time_of({0, 26, 1, 25, 12, 0}, 24.0), 26 * kHour + 855'000'000);
  EXPECT_EQ(time_of({0, 26, 0, 25, 12, 0}, 0.0), INT64_MAX);
  EXPECT_EQ(time_of({0, 0, 0, 1, 0, 0}, 0.0), kSecond);
  EXPECT_EQ(time_of({2, 0, 1, 0, 2, 0}, 1.0), 600'600'000);
}

TEST(TimeFields, Measures) {
  const _qvposfmt shown = shown_as(QVPOSFMT_MEASURES);
  DWORD measure = 9, beat = 9, tick = 9;
  QvNanoTimeToMeasures(36'255'000'000 + 2'500'000, &shown, &measure, &beat, &tick);
  EXPECT_TRUE(measure == 1812 && beat == 3 && tick == 480) << measure << "." << beat << "." << tick;
  QvNanoTimeToMeasures(-kSecond, &shown, &measure, &beat, &tick);
  EXPECT_EQ(measure + beat + tick, 0u);
  QvNanoTimeToMeasures(kSecond, &shown, nullptr, nullptr, nullptr);
}

} // namespace
