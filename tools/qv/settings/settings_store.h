// The settings of one application, as qv settings works on them. What fails throws Failure, named after the
// application.
#pragma once

#include "tools/qv/settings/settings_value.h"

#include "qv/metric.h"

#include <optional>

namespace qv::tool {

struct Application {
  std::string name;
  std::string version; ///< "M.N"
  std::string sub_key; ///< empty: none
};

class SettingsStore {
public:
  enum class Access { kRead, kCreate };
  /// Opens the settings. With kRead nothing is created, and no settings at all are a failure.
  SettingsStore(const Application& application, Access access);
  SettingsStore(const SettingsStore&) = delete;
  SettingsStore& operator=(const SettingsStore&) = delete;
  ~SettingsStore() { close(); }

  /// All settings by number and type, of a store that was opened to read. Values with other names are no settings.
  std::vector<Setting> all() const;
  Setting get(LONG number, const SettingType& type) const;
  void set(const Setting& setting);
  void remove(LONG number, const SettingType& type);

  /// Throws the failure of work on a setting.
  [[noreturn]] void fail(LONG number, const SettingType& type, const std::string& reason) const;

private:
  void close();
  std::optional<Setting> find(LONG number, const SettingType& type) const;
  [[noreturn]] void fail_unknown(LONG number, const SettingType& type) const;

  std::string label_;
  HQVMETRIC handle_ = nullptr;
  HKEY key_ = nullptr; ///< the same key, to list what is in it
};

} // namespace qv::tool
