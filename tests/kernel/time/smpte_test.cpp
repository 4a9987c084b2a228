// Timecode, held to the labels' definition: a day is walked label by label.
#include "tests/kernel/text/formatted.h"

#include "qv/smpte.h"

#include <array>
#include <random>
#include <tuple>

namespace {

struct Format {
  DWORD code, counted;
  double rate;
  DWORD frames_of_day;
};

const Format kFormats[] = {
    {QVSMPTE_FMT_30, 30, 30.0, 2'592'000}, {QVSMPTE_FMT_2997DF, 30, 30000.0 / 1001.0, 2'589'408},
    {QVSMPTE_FMT_25, 25, 25.0, 2'160'000}, {QVSMPTE_FMT_24, 24, 24.0, 2'073'600},
    {5, 30, 30000.0 / 1001.0, 2'592'000},  {6, 24, 24000.0 / 1001.0, 2'073'600},
};

using Fields = std::array<DWORD, 4>; ///< hours, minutes, seconds, frames

_smpteval label(DWORD format, const Fields& fields = {}) {
  return {format, fields[0], fields[1], fields[2], fields[3], 77};
}

Fields fields(const _smpteval& value) { return {value.hours, value.minutes, value.seconds, value.frames}; }

/// Every label of a day in its order.
std::vector<Fields> labels_of_day(const Format& format) {
  std::vector<Fields> labels;
  labels.reserve(format.frames_of_day);
  for (DWORD minute = 0; minute < 24 * 60; ++minute)
    for (DWORD frame = 0; frame < 60 * format.counted; ++frame)
      if (format.code != QVSMPTE_FMT_2997DF || minute % 10 == 0 || frame >= 2)
        labels.push_back({minute / 60, minute % 60, frame / format.counted, frame % format.counted});
  return labels;
}

TEST(Timecode, EveryLabelOfADay) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(format.code);
    const std::vector<Fields> labels = labels_of_day(format);
    ASSERT_EQ(labels.size(), format.frames_of_day);
    const bool goes_back_as_forward = format.code != QVSMPTE_FMT_2997DF && format.code != QVSMPTE_FMT_2997ND;
    _smpteval stepped = label(format.code, labels.back());
    for (DWORD count = 0; count < labels.size(); ++count) {
      const Fields& expected = labels[count];
      _smpteval before = stepped;
      QVSMPTE_IncrementByFrame(&stepped, 12345);
      ASSERT_EQ(fields(stepped), expected) << count;
      ASSERT_EQ(QVSMPTE_SMPTEToFrameCount(&stepped), count);
      const QVNANOTIME time = QVSMPTE_SMPTEToNanos(&stepped);
      ASSERT_EQ(time, static_cast<QVNANOTIME>(count / format.rate * 1e7 + 0.999));
      if (goes_back_as_forward) {
        _smpteval back = stepped;
        QVSMPTE_DeccrementByFrame(&back, 12345);
        ASSERT_EQ(fields(back), fields(before));
      }
      QVSMPTE_FrameCountToSMPTE(&before, count + count % 3 * 800 * format.frames_of_day);
      ASSERT_EQ(fields(before), expected) << count << ", some days later";
      before = label(format.code);
      QVSMPTE_NanoToSMPTE(time, &before);
      ASSERT_EQ(fields(before), expected) << time;
      ASSERT_EQ(before.reserved, 77u);
    }
  }
}

TEST(Timecode, LabelsThatDropFrameSkips) {
  for (const DWORD frames : {0u, 1u, 2u}) {
    const _smpteval first = label(QVSMPTE_FMT_2997DF, {0, 1, 0, frames});
    EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&first), 1800u);
    const _smpteval tenth = label(QVSMPTE_FMT_2997DF, {0, 10, 0, frames});
    EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&tenth), 17'982u + frames);
  }
}

TEST(Timecode, UnknownFormatsCountNothingAndShowDropFrame) {
  for (const DWORD code : {0u, 7u, 0xFFFFFFFFu}) {
    const _smpteval hour = label(code, {1, 0, 0, 0});
    EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&hour), 0u);
    EXPECT_EQ(QVSMPTE_SMPTEToNanos(&hour), 0);
    _smpteval shown = label(code);
    QVSMPTE_FrameCountToSMPTE(&shown, 2'589'408 + 1800);
    EXPECT_EQ(fields(shown), (Fields{0, 1, 0, 2}));
    QVSMPTE_NanoToSMPTE(120 * QVNANOTIME_SECOND, &shown); // at 30 a second
    EXPECT_EQ(fields(shown), (Fields{0, 2, 0, 4}));
  }
}

TEST(Timecode, TimesThatNoLabelHas) {
  // Frame 1 begins at 40 ms, and 2 units of rounding earlier. The largest time shows the largest count.
  const std::pair<QVNANOTIME, DWORD> cases[] = {
      {-1, 0}, {INT64_MIN, 0}, {399'997, 0}, {399'999, 1}, {INT64_MAX, 0xFFFFFFFF % 2'160'000}};
  for (const auto& [time, count] : cases) {
    _smpteval shown = label(QVSMPTE_FMT_25);
    QVSMPTE_NanoToSMPTE(time, &shown);
    EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&shown), count) << time;
  }
}

TEST(Timecode, LabelsOfAnyRate) {
  const std::tuple<double, Fields, QVNANOTIME> cases[] = {
      {60.0, {0, 0, 1, 30}, 15'000'000},
      {50.0, {1, 2, 3, 4}, 37'230'800'000},
      {29.97, {0, 1, 0, 0}, 600'000'000},
      {30.0, {0, 0, 0, 1}, 333'334}, // a third of a unit is rounded up
      {0.0, {0, 0, 0, 0}, 0},
      {1e-300, {0, 0, 0, 1}, INT64_MAX},
  };
  for (const auto& [rate, fields, time] : cases) {
    const _smpteval value = label(QVSMPTE_FMT_2997DF, fields);
    EXPECT_EQ(QVSMPTE_SmpteLikeToNanos(rate, &value), time) << rate;
  }
}

TEST(TimecodeDial, SumsAndDifferences) {
  std::mt19937 random(4);
  for (const Format& format : kFormats) {
    const DWORD dial = format.frames_of_day;
    const auto label_of = [&](DWORD count) { // with the days in its hours
      _smpteval value = label(format.code);
      QVSMPTE_FrameCountToSMPTE(&value, count);
      value.hours += count / dial * 24;
      return value;
    };
    for (int i = 0; i < 3'000; ++i) {
      const DWORD first = i % 3 == 0 ? dial : random() % (4 * dial);
      const DWORD second = i % 2 == 0 ? first + random() % 2 : random() % (4 * dial);
      const _smpteval b = label_of(second);
      _smpteval sum = label_of(first), difference = sum;
      QVSMPTE_AddSMPTE(&sum, &b);
      ASSERT_EQ(fields(sum), fields(label_of((first + second) % dial))) << first << " and " << second;
      QVSMPTE_SubtractSMPTE(&difference, &b);
      ASSERT_EQ(fields(difference), fields(label_of((first + 5 * dial - second) % dial))) << first << " and " << second;
    }
  }
  // Each is counted in its own format, and the sum is more than 32 bits hold.
  _smpteval a = label(3, {0, 0, 0, 0xFFFFFFFF});
  const _smpteval b = label(1, {0, 0, 0, 0xFFFFFFFF});
  QVSMPTE_AddSMPTE(&a, &b);
  EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&a), 2ull * 0xFFFFFFFF % 2'160'000);
  // An unknown format has no dial.
  a = label(0, {1, 2, 3, 4});
  QVSMPTE_SubtractSMPTE(&a, &b);
  EXPECT_EQ(fields(a), (Fields{1, 2, 3, 4}));
  const _smpteval minute = label(1, {0, 1, 0, 0});
  QVSMPTE_AddSMPTE(&a, &minute);
  EXPECT_EQ(fields(a), (Fields{0, 1, 0, 2}));
}

// Beside the steps of a day: back over dropped labels, from labels that are none, and in formats that are none.
TEST(TimecodeDial, Steps) {
  const std::tuple<DWORD, Fields, Fields, Fields> cases[] = {
      {2, {0, 1, 0, 0}, {0, 1, 0, 1}, {0, 0, 59, 29}},       // back into a minute divisible by 10
      {2, {0, 2, 0, 0}, {0, 2, 0, 1}, {0, 1, 59, 31}},       // and into one that is not
      {5, {0, 2, 0, 0}, {0, 2, 0, 1}, {0, 1, 59, 31}},       // though format 5 drops nothing
      {2, {0, 1, 0, 2}, {0, 1, 0, 3}, {0, 1, 0, 1}},         // skipped labels inside a second
      {2, {0, 11, 0, 0}, {0, 11, 0, 1}, {0, 10, 59, 29}},    //
      {2, {1, 0, 0, 0}, {1, 0, 0, 1}, {0, 59, 59, 31}},      // the hour changes
      {2, {0, 0, 0, 0}, {0, 0, 0, 1}, {23, 59, 59, 31}},     //
      {0, {0, 0, 0, 29}, {0, 0, 1, 0}, {0, 0, 0, 28}},       // as format 1
      {9, {0, 0, 1, 0}, {0, 0, 1, 1}, {0, 0, 0, 29}},        //
      {1, {33, 59, 59, 29}, {2, 0, 0, 0}, {33, 59, 59, 28}}, // hours count modulo 32
      {1, {31, 59, 59, 29}, {0, 0, 0, 0}, {31, 59, 59, 28}}, //
      {1, {33, 0, 0, 0}, {33, 0, 0, 1}, {0, 59, 59, 29}},    //
      {1, {32, 0, 0, 0}, {32, 0, 0, 1}, {23, 59, 59, 29}},   //
  };
  for (const auto& [format, from, forward, back] : cases) {
    SCOPED_TRACE(testing::Message() << format << ": " << testing::PrintToString(from));
    _smpteval value = label(format, from);
    QVSMPTE_IncrementByFrame(&value, 0);
    EXPECT_EQ(fields(value), forward);
    value = label(format, from);
    QVSMPTE_DeccrementByFrame(&value, 0);
    EXPECT_EQ(fields(value), back);
  }
}

TEST(TimecodeDial, Comparison) {
  const Fields ascending[] = {{0, 9, 9, 9}, {1, 1, 59, 29}, {1, 2, 2, 29}, {1, 2, 3, 3}, {1, 2, 3, 4}, {0x80000000}};
  for (const Fields& a : ascending)
    for (const Fields& b : ascending) {
      const _smpteval left = label(1, a);
      const _smpteval right = label(5, b);
      EXPECT_EQ(QVSMPTE_SMPTECompare(&left, &right), (&a > &b) - (&a < &b));
    }
}

TEST(TimecodeText, Table) {
  struct Case {
    const WCHAR* text;
    Fields fields;
    DWORD format = QVSMPTE_FMT_30;
    WCHAR stopped_at = 0;
  };
  const Case cases[] = {
      {QV_TEXT("1:2:3:4"), {1, 2, 3, 4}},
      {QV_TEXT("01:02:03;04"), {1, 2, 3, 4}, QVSMPTE_FMT_2997DF},
      {QV_TEXT("  01:02:03:04  "), {1, 2, 3, 4}},
      {QV_TEXT("7"), {0, 0, 0, 7}},
      {QV_TEXT("2/3.7"), {0, 2, 3, 7}},
      {QV_TEXT("100"), {0, 0, 1, 0}},
      {QV_TEXT("1234"), {0, 0, 13, 4}}, // 34 frames are 1 s and 4
      {QV_TEXT("10203"), {0, 1, 2, 3}},
      {QV_TEXT("01020304"), {1, 2, 3, 4}},
      {QV_TEXT("5: "), {0, 0, 5, 0}},
      {QV_TEXT("5:;"), {0, 0, 5, 0}}, // one field, however many separators
      {QV_TEXT("1:2:3:"), {1, 2, 3, 0}},
      {QV_TEXT("1:2\t"), {0, 1, 2, 0}}, // of white space only spaces are cut
      {QV_TEXT("1:2:3:4\t"), {1, 2, 3, 4}, QVSMPTE_FMT_30, QV_TEXT('\t')},
      {QV_TEXT("1:2:3:4:5"), {1, 2, 3, 4}, QVSMPTE_FMT_30, QV_TEXT(':')},
      {QV_TEXT("123456789"), {1, 23, 45, 67}, 0, QV_TEXT('8')},
      {QV_TEXT(""), {}},
      {QV_TEXT("abc"), {}},
      {QV_TEXT("a1b2c"), {0, 1, 2, 0}},
      {QV_TEXT("0:0:0:50"), {0, 0, 2, 0}, QVSMPTE_FMT_25},
      {QV_TEXT("0:0:0:50"), {0, 0, 2, 2}, QVSMPTE_FMT_24},
      {QV_TEXT("0:0:0:50"), {0, 0, 2, 2}, QVSMPTE_FMT_23976},
      {QV_TEXT("0:0:0:50"), {0, 0, 1, 20}, QVSMPTE_FMT_2997ND},
      {QV_TEXT("0:0:0:50"), {0, 0, 1, 20}, QVSMPTE_FMT_2997DF},
      {QV_TEXT("0:0:0:99"), {0, 0, 0, 99}, 0}, // no format to carry in
      {QV_TEXT("0:0:75:0"), {0, 1, 15, 0}, 0},
      {QV_TEXT("23:59:59:30"), {0, 0, 0, 0}},
      {QV_TEXT("99:99:99:99"), {4, 40, 42, 9}},
  };
  const auto expect = [](const WCHAR* text, const Case& expected) {
    _smpteval value = {expected.format, 9, 9, 9, 9, 9};
    EXPECT_EQ(QVSMPTE_TextToSMPTE(text, &value), expected.stopped_at);
    EXPECT_EQ(fields(value), expected.fields) << utf8(text).substr(0, 40) << " in " << expected.format;
    EXPECT_EQ(value.format, expected.format);
    EXPECT_EQ(value.reserved, 0u);
  };
  for (const Case& each : cases)
    expect(each.text, each);
  // Long texts are read in place.
  expect((qv::WString(100'000, QV_TEXT(':')) + QV_TEXT("12")).c_str(), {nullptr, {0, 0, 0, 12}, 1});
  expect(qv::WString(100'001, QV_TEXT('1')).c_str(), {nullptr, {1, 11, 11, 11}, 0, QV_TEXT('1')});
}

} // namespace
