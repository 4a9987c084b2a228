#include "tools/qv/text.h"

#include "tools/qv/failure.h"

#include <filesystem>

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

std::string printable(std::string text) {
  for (char& character : text)
    if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) character = character == '\n' ? '|' : '.';
  return text;
}

std::string format_text(DWORD tag, const WAVEFORMATEX* header) {
  constexpr int kCapacity = 256;
  WCHAR name[kCapacity] = {};
  WCHAR attributes[kCapacity] = {};
  QvAudio_GetTagText(tag, name, kCapacity);
  QvAudio_GetAttribsText(header, attributes, kCapacity);
  return utf8(name) + ", " + utf8(attributes);
}

} // namespace qv::tool
