#include "fileutil/printer/field_text.h"

#include "qv/mp4/box_printer.h"
#include "qv/win32.h"

#include <algorithm>
#include <cstdio>

namespace fileutil {

std::string boxTypeText(FourCC type) {
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) {
    const unsigned byte = type >> shift & 0xFF;
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02X", byte);
    const bool isPlain = byte >= 0x20 && byte < 0x7F && byte != '\\';
    text += isPlain ? std::string(1, static_cast<char>(byte)) : byte == 0xA9 ? "\xC2\xA9" : escaped;
  }
  return text;
}

std::string languageText(uint16_t language) {
  std::string text;
  for (const int shift : {10, 5, 0}) {
    const int letter = language >> shift & 31;
    if (letter < 1 || letter > 26 || language > 0x7FFF) return std::to_string(language);
    text += static_cast<char>(0x60 + letter);
  }
  return text;
}

std::string guidText(const GUID& guid) {
  char text[40];
  const auto& tail = guid.Data4;
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4],
                tail[5], tail[6], tail[7]);
  return text;
}

namespace {

/// `high` is where in a pair the upper byte stands.
std::string fromUtf16(std::span<const uint8_t> text, size_t high) {
  std::vector<WCHAR> units;
  for (size_t at = 0; at + 1 < text.size(); at += 2)
    units.push_back(static_cast<WCHAR>(text[at + high] << 8 | text[at + 1 - high]));
  units.erase(std::find(units.begin(), units.end(), WCHAR{0}), units.end());
  if (units.empty()) return "";
  const int count = static_cast<int>(units.size());
  std::string utf8(3 * units.size(), '\0');
  utf8.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, units.data(), count, utf8.data(),
                                                      static_cast<int>(utf8.size()), nullptr, nullptr)));
  return utf8;
}

} // namespace

std::string utf16Text(std::span<const uint8_t> text) { return fromUtf16(text, 0); }

std::string storedText(std::span<const uint8_t> text) {
  if (text.size() >= 2 && text[0] == 0xFE && text[1] == 0xFF) return fromUtf16(text.subspan(2), 0);
  if (text.size() >= 2 && text[0] == 0xFF && text[1] == 0xFE) return fromUtf16(text.subspan(2), 1);
  return {text.begin(), std::find(text.begin(), text.end(), 0)};
}

std::string handlerName(std::span<const uint8_t> name) {
  const bool isCounted = !name.empty() && name[0] > 0 && name[0] == name.size() - 1;
  return storedText(isCounted ? name.subspan(1) : name);
}

} // namespace fileutil
