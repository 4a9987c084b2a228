// qv settings: the settings of an application, one by one or all as JSON.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"
#include "tools/qv/settings/settings_store.h"
#include "tools/qv/text.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
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
  return Json::object({{"n", setting.number}, {"type", setting.type->name}, {"value", json_value(setting)}});
}

void print_json(const Application& application, const std::vector<Setting>& settings) {
  Json values = Json::array();
  for (const Setting& setting : settings)
    values.push_back(json_of(setting));
  Json document = Json::object({{"app", application.name}, {"version", application.version}});
  if (!application.sub_key.empty()) document.set("sub", application.sub_key);
  document.set("values", values);
  std::cout << document.dump() << "\n";
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
    std::cout << json_of(setting).dump() << "\n";
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
  std::ifstream opened;
  if (file != "-") opened.open(std::filesystem::path(path_from(file)), std::ios::binary);
  if (!opened) throw Failure(file, "the file could not be opened");
  std::istream& stream = file == "-" ? std::cin : opened;
  std::string text;
  char block[4096];
  while (stream.read(block, sizeof block), stream.gcount() > 0)
    text.append(block, static_cast<size_t>(stream.gcount()));
  if (stream.bad()) throw Failure(file, "the file could not be read");
  return text;
}

Setting setting_from(const Json& entry) {
  const auto reject = [](const char* reason) { throw std::invalid_argument(reason); };
  if (!entry.is_object()) reject("is not an object");
  const Json* const number = entry.find("n");
  const Json* const type = entry.find("type");
  const Json* const value = entry.find("value");
  const std::optional<uint64_t> whole = number ? number->whole_number() : std::nullopt;
  if (!whole || *whole > 0x7FFFFFFF) reject("has no \"n\" from 0 to 2147483647");
  const SettingType* row = type && type->is_string() ? setting_type(type->text()) : nullptr;
  if (!row) reject("has no \"type\" of dword, string, binary or multi");
  if (!value) reject("has no \"value\"");
  return {static_cast<LONG>(*whole), row, bytes_from_json(*row, *value)};
}

/// The settings in a file, all looked at before any is written.
std::vector<Setting> settings_from(const std::string& file) {
  const std::optional<Json> document = Json::parsed(read_text(file));
  if (!document) throw Failure(file, "not JSON");
  const Json* const values = document->find("values");
  if (!values || !values->is_array()) throw Failure(file, "has no array \"values\"");
  std::vector<Setting> settings;
  for (const Json& entry : values->items()) {
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

struct Subcommand {
  const char* name;
  const char* description;
  int (*run)(const Options&);
  bool number, value, json, file;
};

constexpr Subcommand kSubcommands[] = {
    {"list", "List all settings", list, false, false, true, false},
    {"get", "Print a setting", get, true, false, true, false},
    {"set", "Set a setting; the application's key is created where it is missing", set, true, true, false, false},
    {"delete", "Delete a setting", remove, true, false, false, false},
    {"export", "Print all settings as JSON that import takes", export_all, false, false, false, false},
    {"import", "Set what a file made by export holds", import_all, false, false, false, true},
};

void add_command(const Command& settings, const Subcommand& row) {
  auto options = std::make_shared<Options>();
  const Command command = settings.subcommand(row.name, row.description);
  command.option("--app", options->application.name, "Name of the application").required();
  command.option("--app-version", options->application.version, "Its version, M.N; 0.N is without version").required();
  command.option("--sub", options->application.sub_key, "Sub-key below its settings");
  if (row.json) command.flag("--json", options->json, "Print JSON");
  if (row.number) {
    command.option("--type", options->type, "Type of the value").one_of(names_of(kSettingTypes)).shows_default();
    command.option("N", options->number, "Number of the setting").required().between(0, 0x7FFFFFFF);
  }
  if (row.value)
    command.option("VALUE", options->values, "Decimal or 0x number; text; hexadecimal digits; or one text or more")
        .required();
  if (row.file) command.option("FILE", options->file, "JSON; - is standard input").required();
  command.runs([options, &row] { return row.run(*options); });
}

} // namespace

void add_settings(const Command& program) {
  const Command settings = program.subcommand("settings", "Read and write the settings of applications");
  settings.needs_subcommand(true);
  for (const Subcommand& row : kSubcommands)
    add_command(settings, row);
}

} // namespace qv::tool
