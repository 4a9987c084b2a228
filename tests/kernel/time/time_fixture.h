// A position format for tests, and times as text and back.
#pragma once

#include "tests/kernel/text/formatted.h"
#include "tests/kernel/text/locale_fixture.h"

#include "qv/time.h"

#include <optional>
#include <string>

inline _qvposfmt shown_as(DWORD format) {
  _qvposfmt shown = {};
  shown.format = format;
  shown.sampleRate = 48'000;
  shown.frameRate = 24.0;
  shown.tempo = 120.0;
  shown.beatUnit = 4;
  shown.beatsPerMeasure = 4;
  shown.ticksPerBeat = 960;
  return shown;
}

/// A format with an offset, and another number for its rates.
inline _qvposfmt shown_with(DWORD format, QVNANOTIME offset, std::optional<double> rate = std::nullopt) {
  _qvposfmt shown = shown_as(format);
  shown.offset = offset;
  if (!rate) return shown;
  shown.frameRate = shown.tempo = *rate;
  shown.sampleRate = *rate >= 0.0 && *rate <= 0xFFFFFFFF ? static_cast<DWORD>(*rate) : 0;
  return shown;
}

inline std::string text_of(const _qvposfmt& shown, QVNANOTIME time, DWORD flags = 0) {
  WCHAR text[QVTIME_TEXT_CHARS];
  const int length = QvNanoTimeToTextEx(text, &shown, time, flags);
  EXPECT_EQ(length, static_cast<int>(std::char_traits<WCHAR>::length(text)));
  return utf8(text);
}

inline std::string text_with(const _qvposfmt& shown, QVNANOTIME time, const WCHAR* format, DWORD flags = 0) {
  WCHAR text[4096];
  const int length = QvNanoTimeToTextFormat(text, &shown, time, format, flags);
  EXPECT_EQ(length, static_cast<int>(std::char_traits<WCHAR>::length(text)));
  return utf8(text);
}

inline constexpr QVNANOTIME kSecond = QVNANOTIME_SECOND;
inline constexpr QVNANOTIME kHour = 3600 * kSecond;
inline constexpr QVNANOTIME kDay = 24 * kHour;
