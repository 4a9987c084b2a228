#include "tools/qv/settings/settings_value.h"

#include "tools/qv/text.h"

#include <charconv>
#include <cstring>
#include <stdexcept>

namespace qv::tool {

const SettingType* setting_type(const std::string& name) {
  for (const SettingType& row : kSettingTypes)
    if (row.name == name) return &row;
  return nullptr;
}

const SettingType* setting_type(DWORD type) {
  for (const SettingType& row : kSettingTypes)
    if (row.type == type) return &row;
  return nullptr;
}

std::string setting_label(LONG number, const SettingType& type) {
  const std::string label = std::to_string(number);
  return type.type == REG_DWORD ? label : label + " (" + type.name + ")";
}

namespace {

[[noreturn]] void reject(const std::string& reason) { throw std::invalid_argument(reason); }

std::vector<BYTE> number_bytes(uint64_t number) {
  if (number > 0xFFFFFFFF) reject(std::to_string(number) + " is more than 4294967295");
  const auto value = static_cast<DWORD>(number);
  std::vector<BYTE> bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::vector<BYTE> number_from(const std::string& text) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const char* first = text.data() + (hexadecimal ? 2 : 0);
  const char* last = text.data() + text.size();
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(first, last, number, hexadecimal ? 16 : 10);
  if (error == std::errc::result_out_of_range) reject("\"" + text + "\" is more than 4294967295");
  if (error != std::errc() || end != last) reject("\"" + text + "\" is not a number from 0 to 4294967295");
  return number_bytes(number);
}

std::vector<BYTE> binary_from(const std::string& text) {
  std::vector<BYTE> bytes;
  for (size_t at = 0; at < text.size(); at += 2) {
    BYTE byte = 0;
    const char* last = text.data() + std::min(at + 2, text.size());
    const auto [end, error] = std::from_chars(text.data() + at, last, byte, 16);
    if (error != std::errc() || end != text.data() + at + 2)
      reject("\"" + text + "\" is not pairs of hexadecimal digits");
    bytes.push_back(byte);
  }
  return bytes;
}

WString wide_text(const std::string& text) {
  const std::optional<WString> converted = utf16(text);
  if (!converted) reject("the text is not UTF-8");
  if (converted->find(WCHAR{0}) != WString::npos) reject("the text contains a zero character");
  return *converted;
}

std::vector<BYTE> characters(const WString& text) {
  const auto* first = reinterpret_cast<const BYTE*>(text.data());
  return {first, first + text.size() * sizeof(WCHAR)};
}

std::vector<BYTE> string_from(const std::string& text) {
  WString terminated = wide_text(text);
  terminated += WCHAR{0};
  return characters(terminated);
}

std::vector<BYTE> multi_from(const std::vector<std::string>& texts) {
  WString joined;
  for (const std::string& text : texts) {
    if (text.empty()) reject("an empty text would end the list");
    joined += wide_text(text);
    joined += WCHAR{0};
  }
  joined += WCHAR{0};
  return characters(joined);
}

/// The whole characters of a stored text; a byte behind the last one is left out.
WString stored_text(const std::vector<BYTE>& bytes) {
  WString text(bytes.size() / sizeof(WCHAR), WCHAR{0});
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
  return text;
}

/// A text up to its terminator, or all of it where there is none.
std::string string_of(const Setting& setting) {
  const WString text = stored_text(setting.bytes);
  return utf8(text.substr(0, text.find(WCHAR{0})));
}

std::vector<std::string> texts_of(const Setting& setting) {
  const WString all = stored_text(setting.bytes);
  std::vector<std::string> texts;
  for (size_t at = 0; at < all.size() && all[at] != 0;) {
    const size_t end = std::min(all.find(WCHAR{0}, at), all.size());
    texts.push_back(utf8(all.substr(at, end - at)));
    at = end + 1;
  }
  return texts;
}

std::string digits_of(const std::vector<BYTE>& bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const BYTE byte : bytes)
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  return text;
}

} // namespace

std::vector<BYTE> bytes_from_text(const SettingType& type, const std::vector<std::string>& texts) {
  if (type.type == REG_MULTI_SZ) return multi_from(texts);
  if (texts.size() != 1) reject("a " + std::string(type.name) + " is one value");
  switch (type.type) {
  case REG_DWORD: return number_from(texts[0]);
  case REG_SZ: return string_from(texts[0]);
  default: return binary_from(texts[0]);
  }
}

std::vector<BYTE> bytes_from_json(const SettingType& type, const Json& value) {
  if (type.type == REG_DWORD) {
    const std::optional<uint64_t> number = value.whole_number();
    if (!number) reject("a dword is a number from 0 to 4294967295");
    return number_bytes(*number);
  }
  if (type.type == REG_MULTI_SZ) {
    std::vector<std::string> texts;
    for (const Json& text : value.items())
      if (text.is_string()) texts.push_back(text.text());
    if (!value.is_array() || texts.size() != value.items().size()) reject("a multi is an array of strings");
    return multi_from(texts);
  }
  if (!value.is_string()) reject("a " + std::string(type.name) + " is a string");
  return bytes_from_text(type, {value.text()});
}

Json json_value(const Setting& setting) {
  switch (setting.type->type) {
  case REG_DWORD: {
    DWORD number = 0;
    if (setting.bytes.size() != sizeof number) return {};
    std::memcpy(&number, setting.bytes.data(), sizeof number);
    return number;
  }
  case REG_SZ: return string_of(setting);
  case REG_BINARY: return digits_of(setting.bytes);
  default: return texts_of(setting);
  }
}

std::string text_value(const Setting& setting) {
  const Json value = json_value(setting);
  if (value.is_null()) return "(damaged: " + std::to_string(setting.bytes.size()) + " bytes)";
  if (!value.is_array()) return value.text();
  std::string lines;
  for (const Json& text : value.items())
    lines += (lines.empty() ? "" : "\n") + text.text();
  return lines;
}

} // namespace qv::tool
