#include "tools/qv/settings/settings_store.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <charconv>

namespace qv::tool {

namespace {

WString wide_name(const std::string& label, const std::string& text) {
  const std::optional<WString> converted = utf16(text);
  if (!converted) throw Failure(label, "the name is not UTF-8 text");
  return *converted;
}

/// A version as the library takes it: the major number in the top byte, the minor one below it.
DWORD version_word(const std::string& version) {
  unsigned major = 0;
  unsigned minor = 0;
  const char* last = version.data() + version.size();
  const auto [dot, major_error] = std::from_chars(version.data(), last, major);
  const bool numbered = major_error == std::errc() && dot != last && *dot == '.';
  const auto [end, minor_error] = std::from_chars(numbered ? dot + 1 : last, last, minor);
  if (!numbered || minor_error != std::errc() || end != last || major > 255 || minor > 255)
    throw Failure(version, "not a version of the form M.N, each from 0 to 255");
  return DWORD{major} << 24 | DWORD{minor} << 16;
}

/// Where the library keeps the settings of an application.
WString key_path(const WString& name, DWORD version, const WString& sub_key) {
  WString path = QV_TEXT("Software\\QvKernel\\") + name;
  if (version >> 24 != 0) {
    const std::string numbers = "\\" + std::to_string(version >> 24) + "." + std::to_string(version >> 16 & 0xFF);
    path.append(numbers.begin(), numbers.end());
  }
  path += QV_TEXT("\\Metrics");
  if (!sub_key.empty()) path += WCHAR{'\\'};
  return path += sub_key;
}

/// The setting that a value of that name holds, without its bytes; nothing when it holds none.
std::optional<Setting> setting_named(const WString& name, DWORD type) {
  const SettingType* row = setting_type(type);
  if (!row) return std::nullopt;
  const WString digits = row->prefix == 0 ? name : name.starts_with(row->prefix) ? name.substr(1) : WString();
  const std::string ascii(digits.begin(), digits.end());
  LONG number = 0;
  const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), number);
  const bool canonical = error == std::errc() && number >= 0 && std::to_string(number) == ascii;
  if (!canonical) return std::nullopt;
  return Setting{number, row, {}};
}

} // namespace

SettingsStore::SettingsStore(const Application& application, Access access)
    : label_(application.name + " " + application.version +
             (application.sub_key.empty() ? "" : " " + application.sub_key)) {
  const WString name = wide_name(label_, application.name);
  const WString sub_key = wide_name(label_, application.sub_key);
  const DWORD version = version_word(application.version);
  if (name.empty()) throw Failure(label_, "the application's name is empty");
  if (access == Access::kRead) {
    const WString path = key_path(name, version, sub_key);
    const LONG error = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key_);
    if (error == ERROR_FILE_NOT_FOUND) throw Failure(label_, "no settings");
    if (error != ERROR_SUCCESS) throw Failure(label_, system_error_text(static_cast<DWORD>(error)));
  }
  const HRESULT result = QvMetric_Open(&handle_, name.c_str(), version, sub_key.c_str());
  if (SUCCEEDED(result)) return;
  close();
  throw Failure(label_, result == E_OUTOFMEMORY ? "out of memory" : system_error_text(result & 0xFFFF));
}

void SettingsStore::close() {
  QvMetric_Close(handle_);
  if (key_) RegCloseKey(key_);
}

void SettingsStore::fail(LONG number, const SettingType& type, const std::string& reason) const {
  throw Failure(label_, setting_label(number, type) + ": " + reason);
}

std::optional<Setting> SettingsStore::find(LONG number, const SettingType& type) const {
  const std::string digits = std::to_string(number);
  const WString name = WString(type.prefix == 0 ? 0 : 1, type.prefix) + WString(digits.begin(), digits.end());
  Setting setting{number, &type, {}};
  for (;;) {
    DWORD stored_type = 0;
    const size_t capacity = setting.bytes.size();
    auto size = static_cast<DWORD>(capacity);
    // Not by QvGetMetricAny(), which takes what cannot be read for what is not there.
    const LONG error = RegQueryValueExW(key_, name.c_str(), nullptr, &stored_type, setting.bytes.data(), &size);
    if (error == ERROR_FILE_NOT_FOUND) return std::nullopt;
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
      fail(number, type, system_error_text(static_cast<DWORD>(error)));
    if (error == ERROR_SUCCESS && stored_type != type.type) return std::nullopt;
    setting.bytes.resize(size);
    if (size <= capacity) return setting;
  }
}

void SettingsStore::fail_unknown(LONG number, const SettingType& type) const {
  for (const SettingType& other : kSettingTypes)
    if (find(number, other))
      throw Failure(label_, std::to_string(number) + ": is a " + other.name + ", not a " + type.name);
  throw Failure(label_, setting_label(number, type) + ": not set");
}

Setting SettingsStore::get(LONG number, const SettingType& type) const {
  std::optional<Setting> setting = find(number, type);
  if (!setting) fail_unknown(number, type);
  return *std::move(setting);
}

std::vector<Setting> SettingsStore::all() const {
  std::vector<Setting> settings;
  std::vector<WCHAR> name(16384);
  for (DWORD index = 0;; ++index) {
    auto length = static_cast<DWORD>(name.size());
    DWORD type = 0;
    const LONG error = RegEnumValueW(key_, index, name.data(), &length, nullptr, &type, nullptr, nullptr);
    if (error == ERROR_NO_MORE_ITEMS) break;
    if (error != ERROR_SUCCESS) throw Failure(label_, system_error_text(static_cast<DWORD>(error)));
    const std::optional<Setting> named = setting_named(WString(name.data(), length), type);
    if (!named) continue;
    std::optional<Setting> whole = find(named->number, *named->type);
    if (whole) settings.push_back(*std::move(whole)); // another program may have deleted it just now
  }
  std::sort(settings.begin(), settings.end(), [](const Setting& a, const Setting& b) {
    return a.number != b.number ? a.number < b.number : a.type < b.type;
  });
  return settings;
}

void SettingsStore::set(const Setting& setting) {
  const auto size = static_cast<DWORD>(setting.bytes.size());
  const void* data = setting.bytes.data();
  HRESULT result = E_FAIL;
  switch (setting.type->type) {
  case REG_DWORD: result = QvSetMetric(handle_, setting.number, *static_cast<const DWORD*>(data)); break;
  case REG_SZ: result = QvSetMetricString(handle_, setting.number, static_cast<const WCHAR*>(data)); break;
  case REG_BINARY: result = QvSetMetricBinary(handle_, setting.number, size == 0 ? "" : data, size); break;
  default:
    result = QvSetMetricMultiString(handle_, setting.number, static_cast<const WCHAR*>(data),
                                    size / static_cast<DWORD>(sizeof(WCHAR)));
    break;
  }
  if (FAILED(result)) fail(setting.number, *setting.type, "cannot be written; the store is read-only, full or damaged");
}

void SettingsStore::remove(LONG number, const SettingType& type) {
  if (!find(number, type)) fail_unknown(number, type);
  if (FAILED(QvDeleteMetric(handle_, number, type.type)))
    fail(number, type, "cannot be deleted; the store is read-only, full or damaged");
}

} // namespace qv::tool
