// What the formatter writes, as UTF-8 so that a failing test shows it.
#pragma once

#include "qv/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

inline std::string utf8(const qv::WString& text) {
  if (text.empty()) return {};
  std::string bytes(text.size() * 3, '\0');
  const int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                        static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<size_t>(count));
  return bytes;
}

inline qv::WString widened(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

inline std::string formatted(const WCHAR* format, ...) {
  std::vector<WCHAR> text(4096, QV_TEXT('~'));
  va_list list;
  va_start(list, format);
  const int count = QvCchVPrintF(text.data(), static_cast<int>(text.size()), format, list);
  va_end(list);
  if (count < 0 || text[static_cast<size_t>(count)] != 0) return "not terminated at its length";
  return utf8(qv::WString(text.data(), static_cast<size_t>(count)));
}

/// Expects that a counted text is cut at every capacity and terminated, and that nothing is written behind it. `write`
/// takes a buffer and its capacity, and returns a length.
template <class Write>
void expect_cut(Write write) {
  WCHAR whole[256];
  const int length = write(whole, 256);
  for (int capacity = -1; capacity <= length + 2; ++capacity) {
    std::vector<WCHAR> text(static_cast<size_t>(length) + 3, QV_TEXT('~'));
    const int count = write(text.data(), capacity);
    ASSERT_EQ(count, std::clamp(capacity - 1, 0, length)) << capacity;
    if (capacity > 0) ASSERT_EQ(qv::WString(text.data()), qv::WString(whole, static_cast<size_t>(count)));
    ASSERT_EQ(text[static_cast<size_t>(std::max(capacity, 0))], QV_TEXT('~'));
  }
}
