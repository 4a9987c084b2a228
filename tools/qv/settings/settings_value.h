// One setting: how its type is called, and its value as text and as JSON.
#pragma once

#include "tools/qv/json.h"

#include "qv/win32.h"

#include <string>
#include <vector>

namespace qv::tool {

struct SettingType {
  const char* name;
  DWORD type;   ///< of the registry
  WCHAR prefix; ///< of the value's name; 0: none
};

inline constexpr SettingType kSettingTypes[] = {
    {"dword", REG_DWORD, 0}, {"string", REG_SZ, 'S'}, {"binary", REG_BINARY, 'B'}, {"multi", REG_MULTI_SZ, 'Z'}};

/// The row of a name or of a registry type; null for one that is not in the table.
const SettingType* setting_type(const std::string& name);
const SettingType* setting_type(DWORD type);

struct Setting {
  LONG number = 0;
  const SettingType* type = nullptr;
  std::vector<BYTE> bytes; ///< as they are stored
};

/// "5" or "5 (string)", as messages name a setting.
std::string setting_label(LONG number, const SettingType& type);

/// The bytes that store a value. Both throw std::invalid_argument that says what is wrong with the value.
std::vector<BYTE> bytes_from_text(const SettingType& type, const std::vector<std::string>& texts);
std::vector<BYTE> bytes_from_json(const SettingType& type, const Json& value);

/// The value as JSON; null for a number that is not of 4 bytes.
Json json_value(const Setting& setting);
/// The value as text, with a line for each of several texts.
std::string text_value(const Setting& setting);

} // namespace qv::tool
