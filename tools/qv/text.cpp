#include "tools/qv/text.h"

#include "tools/qv/failure.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace qv::tool {

std::string utf8(const WString& text) {
  const int count = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), count, nullptr, 0, nullptr, nullptr);
  std::string converted(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), count, converted.data(), bytes, nullptr, nullptr);
  return converted;
}

std::optional<WString> utf16(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int count = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
  if (count == 0 && bytes != 0) return std::nullopt;
  WString converted(static_cast<size_t>(count), WCHAR{0});
  MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, converted.data(), count);
  return converted;
}

WString path_from(const std::string& name) {
  if (name.empty()) throw Failure("\"\"", "the file name is empty");
  const std::optional<WString> converted = utf16(name);
  if (!converted) throw Failure(name, "the file name is not UTF-8 text");
  return *converted;
}

bool is_wave64_name(const std::string& name) {
  const std::string extension = std::filesystem::path(path_from(name)).extension().string();
  return extension == ".w64" || extension == ".W64";
}

std::string code_text(DWORD code) {
  std::string text;
  for (int k = 0; k < 4; ++k, code >>= 8) {
    const unsigned byte = code & 0xFF;
    if (byte >= 0x80) text += static_cast<char>(0xC0 | byte >> 6);
    text += static_cast<char>(byte >= 0x80 ? 0x80 | (byte & 0x3F) : byte);
  }
  return text;
}

std::string printable_code(DWORD code) {
  for (int shift = 0; shift < 32; shift += 8) {
    const DWORD byte = code >> shift & 0xFF;
    if (byte >= 0x20 && (byte < 0x7F || byte >= 0xA0)) continue;
    code = (code & ~(DWORD{0xFF} << shift)) | DWORD{'.'} << shift;
  }
  return code_text(code);
}

namespace {

/// Takes the character off the front; a byte that begins none stands for itself.
char32_t take_character(std::string_view& rest) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(rest[at]); };
  const size_t wanted = byte(0) < 0xC0 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
  size_t bytes = 1;
  char32_t character = byte(0) & (0xFF >> (wanted + 1));
  for (; bytes < std::min(wanted, rest.size()) && (byte(bytes) & 0xC0) == 0x80; ++bytes)
    character = character << 6 | (byte(bytes) & 0x3F);
  if (bytes != wanted || wanted == 1) {
    character = byte(0);
    bytes = 1;
  }
  rest.remove_prefix(bytes);
  return character;
}

/// Control characters, line ends, and marks that turn the direction of writing.
bool is_harmful(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

} // namespace

std::string with_harmless(const std::string& text, std::string (*shown_for)(char32_t)) {
  std::string shown;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view before = rest;
    const char32_t character = take_character(rest);
    shown += is_harmful(character) ? shown_for(character) : std::string(before.substr(0, before.size() - rest.size()));
  }
  return shown;
}

std::string printable(const std::string& text) {
  return with_harmless(
      text, [](char32_t character) { return std::string(character == '\n' ? "|" : "."); });
}

std::string format_text(DWORD tag, const WAVEFORMATEX* header) {
  constexpr int kCapacity = 256;
  // The library has texts for what wave files hold.
  constexpr struct {
    DWORD tag;
    const char* name;
  } kOthers[] = {{0xF1AC, "FLAC"}, {0x566F, "Ogg Vorbis"}, {0x704F, "Ogg Opus"}};
  const auto* const other =
      std::find_if(std::begin(kOthers), std::end(kOthers), [=](const auto& row) { return row.tag == tag; });
  WAVEFORMATEX described = *header;
  if (other != std::end(kOthers)) described.wFormatTag = 0x55; // MP3, or any that is compressed
  WCHAR name[kCapacity] = {};
  WCHAR attributes[kCapacity] = {};
  QvAudio_GetTagText(tag, name, kCapacity);
  QvAudio_GetAttribsText(other == std::end(kOthers) ? header : &described, attributes, kCapacity);
  return (other == std::end(kOthers) ? utf8(name) : other->name) + ", " + utf8(attributes);
}

} // namespace qv::tool
