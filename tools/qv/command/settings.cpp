// qv settings: the settings of an application, one by one or all as JSON.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/settings/settings_store.h"
#include "tools/qv/text.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

namespace qv::tool {

namespace {

using Access = SettingsStore::Access;

struct Options {
  Application application;
  LONG number = 0;
  std::string type = "dword";
  std::vector<std::string> values;
  std::string file;
  bool json = false;
};

Json json_of(const Setting& setting) {
  return {{"n", setting.number}, {"type", setting.type->name}, {"value", json_value(setting)}};
}

void print_json(const Application& application, const std::vector<Setting>& settings) {
  Json values = Json::array();
  for (const Setting& setting : settings)
    values.push_back(json_of(setting));
  Json document{{"app", application.name}, {"version", application.version}};
  if (!application.sub_key.empty()) document["sub"] = application.sub_key;
  document["values"] = values;
  std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

int list(const Options& options) {
  const std::vector<Setting> settings = SettingsStore(options.application, Access::kRead).all();
  if (options.json) {
    print_json(options.application, settings);
    return kSuccess;
  }
  for (const Setting& setting : settings)
    std::printf("%10d  %-6s  %s\n", static_cast<int>(setting.number), setting.type->name,
                printable(text_value(setting)).c_str());
  return kSuccess;
}

int get(const Options& options) {
  const Setting setting =
      SettingsStore(options.application, Access::kRead).get(options.number, *setting_type(options.type));
  if (options.json)
    std::cout << json_of(setting).dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
  else
    std::cout << text_value(setting) << "\n";
  return kSuccess;
}

int set(const Options& options) {
  const SettingType& type = *setting_type(options.type);
  Setting setting{options.number, &type, {}};
  // Before the store is touched: a value that does not parse creates nothing.
  try {
    setting.bytes = bytes_from_text(type, options.values);
  } catch (const std::invalid_argument& reason) {
    throw Failure(setting_label(options.number, type), reason.what());
  }
  SettingsStore(options.application, Access::kCreate).set(setting);
  return kSuccess;
}

int remove(const Options& options) {
  SettingsStore(options.application, Access::kRead).remove(options.number, *setting_type(options.type));
  return kSuccess;
}

int export_all(const Options& options) {
  print_json(options.application, SettingsStore(options.application, Access::kRead).all());
  return kSuccess;
}

std::string read_text(const std::string& file) {
  if (file == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
  std::ifstream stream(path_from(file), std::ios::binary);
  if (!stream) throw Failure(file, "the file could not be opened");
  return {std::istreambuf_iterator<char>(stream), {}};
}

Setting setting_from(const Json& entry) {
  const auto reject = [](const char* reason) { throw std::invalid_argument(reason); };
  if (!entry.is_object()) reject("is not an object");
  const auto number = entry.find("n");
  const auto type = entry.find("type");
  const auto value = entry.find("value");
  if (number == entry.end() || !number->is_number_unsigned() || number->get<uint64_t>() > 0x7FFFFFFF)
    reject("has no \"n\" from 0 to 2147483647");
  const SettingType* row = type != entry.end() && type->is_string() ? setting_type(type->get<std::string>()) : nullptr;
  if (!row) reject("has no \"type\" of dword, string, binary or multi");
  if (value == entry.end()) reject("has no \"value\"");
  return {number->get<LONG>(), row, bytes_from_json(*row, *value)};
}

/// Everything is looked at before anything is written.
std::vector<Setting> settings_from(const std::string& file) {
  const Json document = Json::parse(read_text(file), nullptr, false);
  if (document.is_discarded()) throw Failure(file, "not JSON");
  if (!document.is_object() || !document.contains("values") || !document["values"].is_array())
    throw Failure(file, "has no array \"values\"");
  std::vector<Setting> settings;
  for (const Json& entry : document["values"]) {
    try {
      settings.push_back(setting_from(entry));
    } catch (const std::invalid_argument& reason) {
      throw Failure(file, "entry " + std::to_string(settings.size() + 1) + ": " + reason.what());
    }
  }
  return settings;
}

int import_all(const Options& options) {
  const std::vector<Setting> settings = settings_from(options.file);
  SettingsStore store(options.application, Access::kCreate);
  for (const Setting& setting : settings)
    store.set(setting);
  return kSuccess;
}

struct Command {
  const char* name;
  const char* description;
  int (*run)(const Options&);
  bool number, value, json, file;
};

constexpr Command kCommands[] = {
    {"list", "List all settings", list, false, false, true, false},
    {"get", "Print a setting", get, true, false, true, false},
    {"set", "Set a setting; the application's key is created where it is missing", set, true, true, false, false},
    {"delete", "Delete a setting", remove, true, false, false, false},
    {"export", "Print all settings as JSON that import takes", export_all, false, false, false, false},
    {"import", "Set what a file made by export holds", import_all, false, false, false, true},
};

void add_command(CLI::App& settings, const Command& row, Work& chosen) {
  auto options = std::make_shared<Options>();
  CLI::App* command = settings.add_subcommand(row.name, row.description);
  command->add_option("--app", options->application.name, "Name of the application")->required();
  command->add_option("--app-version", options->application.version, "Its version, M.N; 0.N is without version")
      ->required();
  command->add_option("--sub", options->application.sub_key, "Sub-key below its settings");
  if (row.json) command->add_flag("--json", options->json, "Print JSON");
  if (row.number) {
    std::vector<std::string> names;
    for (const SettingType& type : kSettingTypes)
      names.emplace_back(type.name);
    command->add_option("--type", options->type, "Type of the value")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
    command->add_option("N", options->number, "Number of the setting")->required()->check(CLI::Range(0, 0x7FFFFFFF));
  }
  if (row.value)
    command->add_option("VALUE", options->values, "Decimal or 0x number; text; hexadecimal digits; or one text or more")
        ->required();
  if (row.file) command->add_option("FILE", options->file, "JSON; - is standard input")->required();
  command->callback([options, &row, &chosen] { chosen = [options, &row] { return row.run(*options); }; });
}

} // namespace

void add_settings(CLI::App& app, Work& chosen) {
  CLI::App* settings = app.add_subcommand("settings", "Read and write the settings of applications");
  settings->require_subcommand(1);
  for (const Command& row : kCommands)
    add_command(*settings, row, chosen);
}

} // namespace qv::tool
