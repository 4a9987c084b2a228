#include "kernel/text/string_writer.h"

#include <algorithm>
#include <memory>
#include <new>

namespace qv::kernel {
namespace {

bool is_ansi(const Conversion& conversion) {
  const bool capital = conversion.type == QV_TEXT('S') || conversion.type == QV_TEXT('C');
  return conversion.size == ArgumentSize::kShort || (capital && conversion.size == ArgumentSize::kNone);
}

template <class Character>
size_t bounded_length(const Character* text, size_t limit) {
  size_t length = 0;
  while (length < limit && text[length] != 0)
    ++length;
  return length;
}

void write_wide(Sink& sink, const Conversion& conversion, const WCHAR* text, size_t count) {
  const size_t width = static_cast<size_t>(conversion.width);
  const size_t spaces = width > count ? width - count : 0;
  if (!conversion.left) sink.fill(QV_TEXT(' '), spaces);
  sink.write(text, count);
  if (conversion.left) sink.fill(QV_TEXT(' '), spaces);
}

// Answers the characters written to `text`, which has room for one per byte: no code page needs more.
size_t convert(const char* bytes, size_t count, WCHAR* text) {
  const int room = static_cast<int>(count);
  const int converted = count == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, bytes, room, text, room);
  return static_cast<size_t>(std::max(converted, 0));
}

void write_ansi(Sink& sink, const Conversion& conversion, const char* bytes, size_t count) {
  if (count > kFieldLimit) {
    const std::unique_ptr<WCHAR[]> text(new (std::nothrow) WCHAR[count]);
    if (text) return write_wide(sink, conversion, text.get(), convert(bytes, count, text.get()));
    count = kFieldLimit;
  }
  WCHAR text[kFieldLimit] = {};
  write_wide(sink, conversion, text, convert(bytes, count, text));
}

} // namespace

void write_string(Sink& sink, const Conversion& conversion, const void* text) {
  // What lies beyond the width and the room left cannot change the outcome.
  const size_t limit = conversion.precision >= 0 ? static_cast<size_t>(conversion.precision)
                                                 : std::max(sink.left(), static_cast<size_t>(conversion.width));
  if (text && is_ansi(conversion)) {
    const char* bytes = static_cast<const char*>(text);
    write_ansi(sink, conversion, bytes, bounded_length(bytes, limit));
  } else {
    const WCHAR* wide = text ? static_cast<const WCHAR*>(text) : QV_TEXT("(null)");
    write_wide(sink, conversion, wide, bounded_length(wide, limit));
  }
}

void write_character(Sink& sink, const Conversion& conversion, int character) {
  if (is_ansi(conversion)) {
    const char byte = static_cast<char>(character);
    write_ansi(sink, conversion, &byte, 1);
  } else {
    const WCHAR wide = static_cast<WCHAR>(character);
    write_wide(sink, conversion, &wide, 1);
  }
}

} // namespace qv::kernel
