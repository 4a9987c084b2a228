// qv: the library's families at work on files.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/long_work.h"

#ifdef _WIN32
#include "tools/qv/text.h"

#include <shellapi.h>
#endif

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace qv::tool {

namespace {

/// The words of the command line behind the program's name, as UTF-8.
std::vector<std::string> program_arguments([[maybe_unused]] int argc, [[maybe_unused]] char** argv) {
  std::vector<std::string> arguments;
#ifdef _WIN32
  // The words of main() are in the ANSI code page; the system has them whole.
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int k = 1; words && k < count; ++k)
    arguments.push_back(utf8(words[k]));
  LocalFree(words);
  SetConsoleOutputCP(CP_UTF8);
#else
  for (int k = 1; k < argc; ++k)
    arguments.emplace_back(argv[k]);
#endif
  return arguments;
}

int run(const Work& work) {
  try {
    const int exit_code = work();
    std::cout.flush();
    if (std::cout && std::fflush(stdout) == 0) return exit_code;
    print_error("standard output: cannot be written");
  } catch (const Interrupted& interrupted) {
    die_of(interrupted);
  } catch (const std::bad_alloc&) {
    print_error("out of memory");
  } catch (const std::exception& failure) {
    print_error(failure.what());
  }
  return kWorkFailed;
}

int wrong_usage(const CLI::ParseError& error) {
  std::string reason = error.what();
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  print_error(reason + " (qv --help says more)");
  return kWrongUsage;
}

} // namespace

int main(int argc, char** argv) {
  CLI::App app("Reads, converts, filters, measures and mends audio files; converts times; reads and writes settings.",
               "qv");
  app.require_subcommand(0, 1);
  app.set_version_flag("--version", QV_PROGRAM_VERSION);
  Work chosen;
  add_info(app, chosen);
  add_convert(app, chosen);
  add_stats(app, chosen);
  add_cpu(app, chosen);
  add_filter(app, chosen);
  add_repair(app, chosen);
  add_settings(app, chosen);
  add_tag(app, chosen);
  add_time(app, chosen);
  try {
    std::vector<std::string> arguments = program_arguments(argc, argv);
    std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
    app.parse(arguments);
    // Only now, so that a word that is no subcommand is reported by its name.
    if (!chosen) throw CLI::RequiredError::Subcommand(1);
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == 0 ? app.exit(error) : wrong_usage(error);
  }
  return run(chosen);
}

} // namespace qv::tool

int main(int argc, char** argv) { return qv::tool::main(argc, argv); }
