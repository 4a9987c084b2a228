// Labels, counts and times, held to the labels' definition: a day is walked label by label.
#include "qv/smpte.h"

#include <cmath>
#include <gtest/gtest.h>
#include <ostream>
#include <vector>

namespace {

struct Format {
  DWORD code;
  const char* name;
  DWORD counted;
  double rate;
  DWORD frames_of_day;
};

const Format kFormats[] = {
    {1, "30", 30, 30.0, 2'592'000},
    {2, "29.97 drop", 30, 30000.0 / 1001.0, 2'589'408},
    {3, "25", 25, 25.0, 2'160'000},
    {4, "24", 24, 24.0, 2'073'600},
    {5, "29.97 non-drop", 30, 30000.0 / 1001.0, 2'592'000},
    {6, "23.976", 24, 24000.0 / 1001.0, 2'073'600},
};

_smpteval label(DWORD format, DWORD hours = 0, DWORD minutes = 0, DWORD seconds = 0, DWORD frames = 0) {
  return {format, hours, minutes, seconds, frames, 77};
}

struct Fields {
  DWORD hours, minutes, seconds, frames;
  bool operator==(const Fields&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Fields& fields) {
  return out << fields.hours << ":" << fields.minutes << ":" << fields.seconds << ":" << fields.frames;
}

Fields fields(const _smpteval& value) { return {value.hours, value.minutes, value.seconds, value.frames}; }

bool is_dropped(DWORD code, DWORD minutes, DWORD seconds, DWORD frames) {
  return code == QVSMPTE_FMT_2997DF && minutes % 10 != 0 && seconds == 0 && frames < 2;
}

/// Every label of a day in its order.
std::vector<Fields> labels_of_day(const Format& format) {
  std::vector<Fields> labels;
  labels.reserve(format.frames_of_day);
  for (DWORD hours = 0; hours < 24; ++hours)
    for (DWORD minutes = 0; minutes < 60; ++minutes)
      for (DWORD seconds = 0; seconds < 60; ++seconds)
        for (DWORD frames = 0; frames < format.counted; ++frames)
          if (!is_dropped(format.code, minutes, seconds, frames)) labels.push_back({hours, minutes, seconds, frames});
  return labels;
}

TEST(Timecode, EveryLabelOfADay) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(format.name);
    const std::vector<Fields> labels = labels_of_day(format);
    ASSERT_EQ(labels.size(), format.frames_of_day);
    _smpteval stepped = label(format.code);
    for (DWORD count = 0; count < labels.size(); ++count) {
      const Fields& expected = labels[count];
      const _smpteval written = label(format.code, expected.hours, expected.minutes, expected.seconds, expected.frames);
      ASSERT_EQ(QVSMPTE_SMPTEToFrameCount(&written), count) << expected;
      _smpteval read = label(format.code);
      QVSMPTE_FrameCountToSMPTE(&read, count);
      ASSERT_EQ(fields(read), expected) << count;
      ASSERT_EQ(fields(stepped), expected) << count;
      QVSMPTE_IncrementByFrame(&stepped, 12345);

      const QVNANOTIME time = QVSMPTE_SMPTEToNanos(&written);
      ASSERT_EQ(time, static_cast<QVNANOTIME>(count / format.rate * 1e7 + 0.999));
      read = label(format.code);
      QVSMPTE_NanoToSMPTE(time, &read);
      ASSERT_EQ(fields(read), expected) << time;
      ASSERT_EQ(read.reserved, 77u);
    }
    EXPECT_EQ(fields(stepped), (Fields{0, 0, 0, 0})) << "once around the dial";
  }
}

TEST(Timecode, CountsGoAroundTheDial) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(format.name);
    for (const DWORD count : {DWORD{0}, DWORD{1799}, DWORD{1800}, DWORD{17'982}, format.frames_of_day - 1}) {
      _smpteval first = label(format.code);
      _smpteval second = label(format.code);
      QVSMPTE_FrameCountToSMPTE(&first, count);
      QVSMPTE_FrameCountToSMPTE(&second, count + 1000 * format.frames_of_day);
      EXPECT_EQ(fields(first), fields(second)) << count;
    }
  }
}

TEST(Timecode, UnknownFormatsCountNothingAndShowDropFrame) {
  for (const DWORD code : {0u, 7u, 0xFFFFFFFFu}) {
    const _smpteval hour = label(code, 1);
    EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&hour), 0u);
    EXPECT_EQ(QVSMPTE_SMPTEToNanos(&hour), 0);
    _smpteval shown = label(code);
    QVSMPTE_FrameCountToSMPTE(&shown, 1800);
    EXPECT_EQ(fields(shown), (Fields{0, 1, 0, 2}));
    QVSMPTE_FrameCountToSMPTE(&shown, 2'589'408);
    EXPECT_EQ(fields(shown), (Fields{0, 0, 0, 0}));
    QVSMPTE_NanoToSMPTE(60 * QVNANOTIME_SECOND, &shown); // at 30 a second
    EXPECT_EQ(fields(shown), (Fields{0, 1, 0, 2}));
  }
}

TEST(Timecode, LabelsThatDropFrameSkips) {
  const auto count = [](DWORD minutes, DWORD seconds, DWORD frames) {
    const _smpteval value = label(QVSMPTE_FMT_2997DF, 0, minutes, seconds, frames);
    return QVSMPTE_SMPTEToFrameCount(&value);
  };
  EXPECT_EQ(count(1, 0, 0), 1800u);
  EXPECT_EQ(count(1, 0, 1), 1800u);
  EXPECT_EQ(count(1, 0, 2), 1800u);
  EXPECT_EQ(count(10, 0, 0), 17'982u);
  EXPECT_EQ(count(59, 0, 1), count(59, 0, 2));
}

TEST(Timecode, TimesThatNoLabelHas) {
  _smpteval shown = label(QVSMPTE_FMT_25);
  QVSMPTE_NanoToSMPTE(-1, &shown);
  EXPECT_EQ(fields(shown), (Fields{0, 0, 0, 0}));
  QVSMPTE_NanoToSMPTE(INT64_MIN, &shown);
  EXPECT_EQ(fields(shown), (Fields{0, 0, 0, 0}));
  QVSMPTE_NanoToSMPTE(INT64_MAX, &shown); // the largest count
  _smpteval last = label(QVSMPTE_FMT_25);
  QVSMPTE_FrameCountToSMPTE(&last, 0xFFFFFFFF);
  EXPECT_EQ(fields(shown), fields(last));
  QVSMPTE_NanoToSMPTE(399'997, &shown); // frame 1 begins at 40 ms, and 2 units of rounding earlier
  EXPECT_EQ(shown.frames, 0u);
  QVSMPTE_NanoToSMPTE(399'999, &shown);
  EXPECT_EQ(shown.frames, 1u);
}

TEST(Timecode, LabelsOfAnyRate) {
  struct Case {
    double rate;
    Fields label;
    QVNANOTIME time;
  };
  const Case cases[] = {
      {60.0, {0, 0, 1, 30}, 15'000'000},  {50.0, {1, 2, 3, 4}, 37'230'800'000},
      {29.97, {0, 1, 0, 0}, 600'000'000}, {30.0, {0, 0, 0, 1}, 333'334}, // a third of a unit is rounded up
      {1.0, {0, 0, 0, 5}, 50'000'000},    {0.0, {0, 0, 0, 0}, 0},
      {1e-300, {0, 0, 0, 1}, INT64_MAX},
  };
  for (const Case& each : cases) {
    const _smpteval value = label(2, each.label.hours, each.label.minutes, each.label.seconds, each.label.frames);
    EXPECT_EQ(QVSMPTE_SmpteLikeToNanos(each.rate, &value), each.time) << each.rate << " " << each.label;
  }
}

TEST(TimecodeDial, SumsAndDifferences) {
  struct Case {
    DWORD format;
    Fields a, b, sum, difference;
  };
  const Case cases[] = {
      {3, {0, 0, 0, 0}, {0, 0, 0, 1}, {0, 0, 0, 1}, {23, 59, 59, 24}},
      {1, {23, 59, 59, 29}, {0, 0, 0, 1}, {0, 0, 0, 0}, {23, 59, 59, 28}},
      {2, {0, 0, 59, 29}, {0, 0, 0, 1}, {0, 1, 0, 2}, {0, 0, 59, 28}},
      {2, {12, 0, 0, 0}, {12, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}},
      {4, {1, 2, 3, 4}, {22, 57, 56, 21}, {0, 0, 0, 1}, {2, 4, 6, 7}},
      {6, {100, 0, 0, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {4, 0, 0, 0}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.format << ": " << each.a << " and " << each.b);
    const _smpteval b = label(each.format, each.b.hours, each.b.minutes, each.b.seconds, each.b.frames);
    _smpteval a = label(each.format, each.a.hours, each.a.minutes, each.a.seconds, each.a.frames);
    QVSMPTE_AddSMPTE(&a, &b);
    EXPECT_EQ(fields(a), each.sum);
    a = label(each.format, each.a.hours, each.a.minutes, each.a.seconds, each.a.frames);
    QVSMPTE_SubtractSMPTE(&a, &b);
    EXPECT_EQ(fields(a), each.difference);
  }
  // Each is counted in its own format, and the sum is more than 32 bits hold.
  _smpteval a = label(3, 0, 0, 0, 0xFFFFFFFF);
  const _smpteval b = label(1, 0, 0, 0, 0xFFFFFFFF);
  QVSMPTE_AddSMPTE(&a, &b);
  EXPECT_EQ(QVSMPTE_SMPTEToFrameCount(&a), 2ull * 0xFFFFFFFF % 2'160'000);
  // An unknown format has no dial.
  a = label(0, 1, 2, 3, 4);
  QVSMPTE_SubtractSMPTE(&a, &b);
  EXPECT_EQ(fields(a), (Fields{1, 2, 3, 4}));
  const _smpteval minute = label(1, 0, 1);
  QVSMPTE_AddSMPTE(&a, &minute);
  EXPECT_EQ(fields(a), (Fields{0, 1, 0, 2}));
}

TEST(TimecodeDial, Steps) {
  struct Case {
    DWORD format;
    Fields from, forward, back;
  };
  const Case cases[] = {
      {2, {0, 0, 59, 29}, {0, 1, 0, 2}, {0, 0, 59, 28}},     // into a minute that drops
      {2, {0, 9, 59, 29}, {0, 10, 0, 0}, {0, 9, 59, 28}},    // into one that does not
      {2, {0, 1, 0, 0}, {0, 1, 0, 1}, {0, 0, 59, 29}},       // back into a minute divisible by 10
      {2, {0, 2, 0, 0}, {0, 2, 0, 1}, {0, 1, 59, 31}},       // and into one that is not
      {5, {0, 2, 0, 0}, {0, 2, 0, 1}, {0, 1, 59, 31}},       // though format 5 drops nothing
      {5, {0, 0, 59, 29}, {0, 1, 0, 0}, {0, 0, 59, 28}},     // as it knows going forward
      {2, {0, 1, 0, 2}, {0, 1, 0, 3}, {0, 1, 0, 1}},         // skipped labels inside a second
      {2, {0, 11, 0, 0}, {0, 11, 0, 1}, {0, 10, 59, 29}},    //
      {2, {1, 0, 0, 0}, {1, 0, 0, 1}, {0, 59, 59, 31}},      // the hour changes
      {2, {0, 0, 0, 0}, {0, 0, 0, 1}, {23, 59, 59, 31}},     //
      {1, {0, 0, 0, 0}, {0, 0, 0, 1}, {23, 59, 59, 29}},     //
      {1, {23, 59, 59, 29}, {0, 0, 0, 0}, {23, 59, 59, 28}}, //
      {3, {0, 59, 59, 24}, {1, 0, 0, 0}, {0, 59, 59, 23}},   //
      {3, {1, 0, 0, 0}, {1, 0, 0, 1}, {0, 59, 59, 24}},      //
      {4, {0, 0, 0, 23}, {0, 0, 1, 0}, {0, 0, 0, 22}},       //
      {6, {0, 0, 1, 0}, {0, 0, 1, 1}, {0, 0, 0, 23}},        //
      {0, {0, 0, 0, 29}, {0, 0, 1, 0}, {0, 0, 0, 28}},       // as format 1
      {9, {0, 0, 1, 0}, {0, 0, 1, 1}, {0, 0, 0, 29}},        //
      {1, {33, 59, 59, 29}, {2, 0, 0, 0}, {33, 59, 59, 28}}, // hours count modulo 32
      {1, {31, 59, 59, 29}, {0, 0, 0, 0}, {31, 59, 59, 28}}, //
      {1, {33, 0, 0, 0}, {33, 0, 0, 1}, {0, 59, 59, 29}},    //
      {1, {32, 0, 0, 0}, {32, 0, 0, 1}, {23, 59, 59, 29}},   //
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.format << ": " << each.from);
    _smpteval value = label(each.format, each.from.hours, each.from.minutes, each.from.seconds, each.from.frames);
    QVSMPTE_IncrementByFrame(&value, 0);
    EXPECT_EQ(fields(value), each.forward);
    value = label(each.format, each.from.hours, each.from.minutes, each.from.seconds, each.from.frames);
    QVSMPTE_DeccrementByFrame(&value, 0);
    EXPECT_EQ(fields(value), each.back);
  }
}

TEST(TimecodeDial, SteppingBackIsSteppingForwardReversed) {
  // In the formats whose steps are symmetric.
  for (const DWORD code : {1u, 3u, 4u, 6u}) {
    _smpteval value = label(code);
    for (int i = 0; i < 3'000'000; ++i) {
      const Fields before = fields(value);
      QVSMPTE_DeccrementByFrame(&value, 0);
      _smpteval again = value;
      QVSMPTE_IncrementByFrame(&again, 0);
      ASSERT_EQ(fields(again), before) << code;
    }
  }
}

TEST(TimecodeDial, Comparison) {
  const auto compare = [](const Fields& a, const Fields& b) {
    const _smpteval left = label(1, a.hours, a.minutes, a.seconds, a.frames);
    const _smpteval right = label(5, b.hours, b.minutes, b.seconds, b.frames);
    EXPECT_EQ(QVSMPTE_SMPTECompare(&left, &right), -QVSMPTE_SMPTECompare(&right, &left));
    return QVSMPTE_SMPTECompare(&left, &right);
  };
  EXPECT_EQ(compare({1, 2, 3, 4}, {1, 2, 3, 4}), 0);
  EXPECT_EQ(compare({2, 0, 0, 0}, {1, 59, 59, 29}), 1);
  EXPECT_EQ(compare({1, 2, 0, 0}, {1, 1, 59, 29}), 1);
  EXPECT_EQ(compare({1, 2, 3, 0}, {1, 2, 2, 29}), 1);
  EXPECT_EQ(compare({1, 2, 3, 3}, {1, 2, 3, 4}), -1);
  EXPECT_EQ(compare({0x80000000, 0, 0, 0}, {1, 0, 0, 0}), 1) << "unsigned";
}

} // namespace
