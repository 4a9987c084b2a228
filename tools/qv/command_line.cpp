#include "tools/qv/command_line.h"

#include "tools/qv/failure.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace qv::tool {

Option& Option::required() {
  option_->required();
  return *this;
}

Option& Option::one_of(const std::vector<std::string>& names) {
  option_->check(CLI::IsMember(names));
  return *this;
}

Option& Option::between(int min, int max) {
  option_->check(CLI::Range(min, max));
  return *this;
}

Option& Option::between(DWORD min, DWORD max) {
  option_->check(CLI::Range(min, max));
  return *this;
}

Option& Option::between(double min, double max) {
  option_->check(CLI::Range(min, max));
  return *this;
}

Option& Option::above_zero() {
  option_->check(CLI::PositiveNumber);
  return *this;
}

Option& Option::not_negative() {
  option_->check(CLI::NonNegativeNumber);
  return *this;
}

Option& Option::checked_by(std::string (*check)(const std::string&), const std::string& type_name) {
  option_->check(CLI::Validator(check, type_name));
  return *this;
}

Option& Option::needs(const Option& other) {
  option_->needs(other.option_);
  return *this;
}

Option& Option::excludes(const Option& other) {
  option_->excludes(other.option_);
  return *this;
}

Option& Option::takes_one() {
  option_->allow_extra_args(false);
  return *this;
}

Option& Option::type_name(const std::string& name) {
  option_->type_name(name);
  return *this;
}

Option& Option::default_text(const std::string& text) {
  option_->default_str(text);
  return *this;
}

Option& Option::shows_default() {
  option_->capture_default_str();
  return *this;
}

namespace {

/// The parser's own kind of failure, which it knows to report.
CLI::ValidationError reported(const WrongUsage& usage) { return CLI::ValidationError(std::string(usage.what())); }

int say_wrong_usage(const CLI::ParseError& error) {
  std::string reason = error.what();
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  print_error(reason + " (qv --help says more)");
  return kWrongUsage;
}

} // namespace

Command Command::subcommand(const std::string& name, const std::string& description) const {
  return {app_->add_subcommand(name, description), chosen_};
}

void Command::needs_subcommand(bool required) const { app_->require_subcommand(required ? 1 : 0, 1); }

template <class Value>
Option Command::option(const std::string& names, Value& value, const std::string& description) const {
  return Option(app_->add_option(names, value, description));
}
template Option Command::option(const std::string&, std::string&, const std::string&) const;
template Option Command::option(const std::string&, std::vector<std::string>&, const std::string&) const;
template Option Command::option(const std::string&, double&, const std::string&) const;
template Option Command::option(const std::string&, WORD&, const std::string&) const;
template Option Command::option(const std::string&, DWORD&, const std::string&) const;
template Option Command::option(const std::string&, LONG&, const std::string&) const;
template Option Command::option(const std::string&, LONGLONG&, const std::string&) const;
template Option Command::option(const std::string&, std::optional<DWORD>&, const std::string&) const;
template Option Command::option(const std::string&, std::optional<uint64_t>&, const std::string&) const;

Option Command::option(const std::string& names, std::function<void(const std::string&)> read,
                       const std::string& description) const {
  const auto reading = [read](const std::string& text) {
    try {
      read(text);
    } catch (const WrongUsage& usage) {
      throw reported(usage);
    }
  };
  return Option(app_->add_option_function<std::string>(names, reading, description));
}

Option Command::flag(const std::string& names, bool& value, const std::string& description) const {
  return Option(app_->add_flag(names, value, description));
}

void Command::runs(Work work, std::function<void()> check) const {
  app_->callback([chosen = chosen_, work, check] {
    try {
      if (check) check();
    } catch (const WrongUsage& usage) {
      throw reported(usage);
    }
    *chosen = work;
  });
}

void Command::runs_alone(const std::string& word, Work work) const {
  app_->callback([app = app_, chosen = chosen_, word, work] {
    if (!app->get_subcommands().empty()) return;
    if (app->count(word) == 0) throw CLI::RequiredError(word);
    *chosen = work;
  });
}

Request parse_command_line(const std::string& name, const std::string& description, const std::string& version,
                           std::vector<std::string> words, void (*declare)(const Command&)) {
  CLI::App app(description, name);
  app.set_version_flag("--version", version);
  Work chosen;
  const Command program(&app, &chosen);
  program.needs_subcommand(false);
  declare(program);
  try {
    std::reverse(words.begin(), words.end()); // the parser takes them from the back
    app.parse(words);
    // Only now, so that a word that is no subcommand is reported by its name.
    if (!chosen) throw CLI::RequiredError::Subcommand(1);
  } catch (const CLI::ParseError& error) {
    return {nullptr, error.get_exit_code() == 0 ? app.exit(error) : say_wrong_usage(error)};
  }
  return {chosen, kSuccess};
}

bool read_number(const std::string& text, double& number) { return CLI::detail::lexical_cast(text, number); }

} // namespace qv::tool
