// Hostile formats and hostile locales, with arguments that every conversion can read: each pointer is good as UTF-16
// text, as ANSI text and as a number.
//
// Input: a capacity, a byte whose lowest bit says that the bytes of a locale follow, and the format, a byte for each
// character.
// Sources: kernel/text
#include "fuzz/require.h"

#include "qv/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using fuzz::require;

namespace {

constexpr ptrdiff_t kMostArguments = 32;

int write(WCHAR* dst, int capacity, const WCHAR* format) {
  static const WCHAR kText[] = QV_TEXT("a text of \u20AC and \U0001D11E\u0000");
  const void* p = kText;
  // Doubles have places of their own beside the pointers; past those, pointers are read as doubles.
  return QvCchPrintF(dst, capacity, format, 0.0, -1.5, 1e300, 5e-324, -0.0, 1e15 / 3, 123456.789, 1e21, //
                     p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const int capacity = 1 + data[0];
  const bool has_locale = (data[1] & 1) != 0;
  data += 2;
  size -= 2;
  QVUSERLOCALE locale = {QV_TEXT("en-US"), QV_TEXT(":"), QV_TEXT("."), QV_TEXT(","), QV_TEXT(","), QV_TEXT("3;0")};
  if (has_locale) {
    const size_t taken = std::min(size, sizeof locale);
    std::memcpy(&locale, data, taken);
    data += taken;
    size -= taken;
  }
  QvText_SetUserLocale(&locale);

  const qv::WString format(data, data + size);
  const auto takes_argument = [](WCHAR c) { return c == QV_TEXT('%') || c == QV_TEXT('$') || c == QV_TEXT('*'); };
  if (std::count_if(format.begin(), format.end(), takes_argument) > kMostArguments) return 0;

  std::vector<WCHAR> small(static_cast<size_t>(capacity), QV_TEXT('~'));
  const int count = write(small.data(), capacity, format.c_str());
  require(count >= 0 && count < capacity);
  require(small[static_cast<size_t>(count)] == 0);

  // A larger buffer shows the same text, and more of it only where the small one was full.
  std::vector<WCHAR> large(static_cast<size_t>(capacity) + 1000, QV_TEXT('~'));
  const int large_count = write(large.data(), capacity + 1000, format.c_str());
  require(std::equal(small.begin(), small.begin() + count, large.begin()));
  require(count == std::min(large_count, capacity - 1));
  return 0;
}
