#include "platform/posix/last_error.h"
#include "platform/posix/text/text_output.h"

#include "qv/win32.h"

#include <cstring>

namespace qv::platform {
namespace {

constexpr UINT kCodePage1252 = 1252;
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kInvalid = 0xFFFFFFFF;

// Codes 80 to 9F of code page 1252; all others equal their Unicode character. The five codes that it leaves undefined
// stand for the control characters of the same number.
constexpr WCHAR kUpperControls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                      0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

WCHAR character_of_1252(uint8_t code) { return code >= 0x80 && code < 0xA0 ? kUpperControls[code - 0x80] : code; }

/// The code of a character; -1 where the code page lacks it.
int code_in_1252(WCHAR character) {
  if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) return character;
  for (int i = 0; i < 32; ++i)
    if (kUpperControls[i] == character) return 0x80 + i;
  return -1;
}

bool is_between(uint8_t byte, uint8_t first, uint8_t last) { return byte >= first && byte <= last; }

/// What a lead byte of UTF-8 promises (the Unicode standard, table 3-7).
struct Sequence {
  int following;        // bytes that follow; -1: no lead byte
  uint8_t second_first; // least and greatest second byte
  uint8_t second_last;
};

Sequence sequence_of(uint8_t lead) {
  if (lead < 0x80) return {0, 0, 0};
  if (is_between(lead, 0xC2, 0xDF)) return {1, 0x80, 0xBF};
  if (is_between(lead, 0xE0, 0xEF))
    return {2, static_cast<uint8_t>(lead == 0xE0 ? 0xA0 : 0x80), static_cast<uint8_t>(lead == 0xED ? 0x9F : 0xBF)};
  if (is_between(lead, 0xF0, 0xF4))
    return {3, static_cast<uint8_t>(lead == 0xF0 ? 0x90 : 0x80), static_cast<uint8_t>(lead == 0xF4 ? 0x8F : 0xBF)};
  return {-1, 0, 0};
}

/// Takes one character from [next, end). Of a malformed sequence it takes what a well-formed one could start with, one
/// byte at least, and returns kInvalid.
char32_t next_utf8(const uint8_t*& next, const uint8_t* end) {
  const uint8_t lead = *next++;
  const Sequence sequence = sequence_of(lead);
  if (sequence.following <= 0) return sequence.following == 0 ? lead : kInvalid;
  char32_t character = lead & (0x3Fu >> sequence.following);
  for (int i = 0; i < sequence.following; ++i) {
    const uint8_t first = i == 0 ? sequence.second_first : 0x80;
    const uint8_t last = i == 0 ? sequence.second_last : 0xBF;
    if (next == end || !is_between(*next, first, last)) return kInvalid;
    character = (character << 6) | (*next++ & 0x3Fu);
  }
  return character;
}

void put_utf16(TextOutput<WCHAR>& output, char32_t character) {
  if (character < 0x10000) return output.put(static_cast<WCHAR>(character));
  output.put(static_cast<WCHAR>(0xD7C0 + (character >> 10)));
  output.put(static_cast<WCHAR>(0xDC00 + (character & 0x3FF)));
}

/// Takes one character from [next, end); half a surrogate pair is taken as U+FFFD.
char32_t next_utf16(const WCHAR*& next, const WCHAR* end) {
  const WCHAR unit = *next++;
  if (unit < 0xD800 || unit > 0xDFFF) return unit;
  if (unit > 0xDBFF || next == end || *next < 0xDC00 || *next > 0xDFFF) return kReplacement;
  const WCHAR low = *next++;
  return 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (static_cast<char32_t>(low) - 0xDC00);
}

void put_utf8(TextOutput<char>& output, char32_t character) {
  const int following = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  constexpr uint8_t kLeads[] = {0x00, 0xC0, 0xE0, 0xF0};
  output.put(static_cast<char>(kLeads[following] | (character >> (6 * following))));
  for (int i = following - 1; i >= 0; --i)
    output.put(static_cast<char>(0x80 | ((character >> (6 * i)) & 0x3F)));
}

/// Decodes all of [next, end); with `strict` returns false at the first bytes that are not UTF-8.
bool decode_utf8(const uint8_t* next, const uint8_t* end, bool strict, TextOutput<WCHAR>& output) {
  while (next != end) {
    const char32_t character = next_utf8(next, end);
    if (character == kInvalid && strict) return false;
    put_utf16(output, character == kInvalid ? kReplacement : character);
  }
  return true;
}

/// Encodes all of [next, end); returns whether the code page lacked a character.
bool encode_1252(const WCHAR* next, const WCHAR* end, char fallback, TextOutput<char>& output) {
  bool used_fallback = false;
  for (; next != end; ++next) {
    const int code = code_in_1252(*next);
    used_fallback |= code < 0;
    output.put(code < 0 ? fallback : static_cast<char>(code));
  }
  return used_fallback;
}

bool is_ansi(UINT code_page) { return code_page == CP_ACP || code_page == kCodePage1252; }

} // namespace
} // namespace qv::platform

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* bytes, int byteCount, WCHAR* text, int textCapacity) {
  using namespace qv::platform;
  const bool known = is_ansi(codePage) || codePage == CP_UTF8;
  if (!known || !bytes || byteCount == 0 || textCapacity < 0 || (!text && textCapacity > 0))
    return fail_with(ERROR_INVALID_PARAMETER);
  const size_t count = byteCount < 0 ? std::strlen(bytes) + 1 : static_cast<size_t>(byteCount);
  const uint8_t* next = reinterpret_cast<const uint8_t*>(bytes);
  const uint8_t* end = next + count;
  TextOutput<WCHAR> output(text, textCapacity);
  if (is_ansi(codePage))
    for (; next != end; ++next)
      output.put(character_of_1252(*next));
  else if (!decode_utf8(next, end, (flags & MB_ERR_INVALID_CHARS) != 0, output))
    return fail_with(ERROR_NO_UNICODE_TRANSLATION);
  return output.finish();
}

int WideCharToMultiByte(UINT codePage, DWORD, const WCHAR* text, int textCount, char* bytes, int byteCapacity,
                        const char* fallback, BOOL* usedFallback) {
  using namespace qv::platform;
  const bool known = is_ansi(codePage) || (codePage == CP_UTF8 && !fallback && !usedFallback);
  if (!known || !text || textCount == 0 || byteCapacity < 0 || (!bytes && byteCapacity > 0))
    return fail_with(ERROR_INVALID_PARAMETER);
  const size_t count = textCount < 0 ? std::char_traits<WCHAR>::length(text) + 1 : static_cast<size_t>(textCount);
  const WCHAR* end = text + count;
  TextOutput<char> output(bytes, byteCapacity);
  if (is_ansi(codePage)) {
    const bool used = encode_1252(text, end, fallback ? *fallback : '?', output);
    if (usedFallback) *usedFallback = used;
  } else {
    while (text != end)
      put_utf8(output, next_utf16(text, end));
  }
  return output.finish();
}
