// The command line as data: subcommands, their words and options. The parser is long to compile: command_line.cpp alone
// includes it.
#pragma once

#include "qv/win32.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qv::tool {

/// The chosen work; returns an exit code and may throw Failure.
using Work = std::function<int()>;

/// Words that the program cannot be used with. Thrown by what reads an option, or checks all.
class WrongUsage : public std::runtime_error {
public:
  WrongUsage(const std::string& option, const std::string& reason) : std::runtime_error(option + ": " + reason) {}
};

/// What is demanded of an option, or of a word without a name.
class Option {
public:
  explicit Option(CLI::Option* option) : option_(option) {}

  Option& required();
  Option& one_of(const std::vector<std::string>& names);
  /// Allows numbers from `min` to `max`, both included.
  Option& between(int min, int max);
  Option& between(DWORD min, DWORD max);
  Option& between(double min, double max);
  Option& above_zero();
  Option& not_negative();
  /// `check` returns "" for a text that is allowed, otherwise what is wrong with it.
  Option& checked_by(std::string (*check)(const std::string&), const std::string& type_name);
  Option& needs(const Option& other);
  Option& excludes(const Option& other);
  /// Allows one value each time that the option is given, even into a list.
  Option& takes_one();
  /// What the help says of it: the name of the values' type, and what holds where the option is not given.
  Option& type_name(const std::string& name);
  Option& default_text(const std::string& text);
  Option& shows_default();

private:
  CLI::Option* option_;
};

/// The program, or a subcommand of it. What its options are written to must live as long as the work.
class Command {
public:
  Command(CLI::App* app, Work* chosen) : app_(app), chosen_(chosen) {}

  Command subcommand(const std::string& name, const std::string& description) const;
  /// Takes one subcommand at most; with `required` no fewer either.
  void needs_subcommand(bool required) const;

  /// Declares an option, or a word for a name without dashes. `value` is a text, a number, an optional number, or a
  /// list of texts, which takes all words that are left.
  template <class Value>
  Option option(const std::string& names, Value& value, const std::string& description) const;
  Option option(const std::string& names, std::function<void(const std::string&)> read,
                const std::string& description) const;
  Option flag(const std::string& names, bool& value, const std::string& description) const;

  /// What is to be done when this is chosen; `check` is called before, and may throw WrongUsage.
  void runs(Work work, std::function<void()> check = nullptr) const;
  /// The same for a command with subcommands where none of them is chosen; `word` is then required.
  void runs_alone(const std::string& word, Work work) const;

private:
  CLI::App* app_;
  Work* chosen_;
};

/// What the words ask for: work, or nothing more than to end with an exit code, when all is said.
struct Request {
  Work work;
  int exit_code;
};

/// Reads the words of the command line; `declare` adds the subcommands that they may name. Prints the help, the version
/// or what is wrong with the words.
Request parse_command_line(const std::string& name, const std::string& description, const std::string& version,
                           std::vector<std::string> words, void (*declare)(const Command&));

/// The whole of `text` as a number, as the options read it; false where it is none.
bool read_number(const std::string& text, double& number);

} // namespace qv::tool
