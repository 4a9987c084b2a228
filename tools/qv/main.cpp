// qv: the library's families at work on files.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/long_work.h"

#ifdef _WIN32
#include "tools/qv/text.h"

#include <shellapi.h>
#endif

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

void add_all(const Command& program) {
  for (const auto add :
       {add_info, add_convert, add_stats, add_cpu, add_filter, add_repair, add_settings, add_tag, add_time})
    add(program);
}

} // namespace

int main(int argc, char** argv) {
  const Request request = parse_command_line(
      "qv", "Reads, converts, filters, measures and mends audio files; converts times; reads and writes settings.",
      QV_PROGRAM_VERSION, program_arguments(argc, argv), add_all);
  return request.work ? run(request.work) : request.exit_code;
}

} // namespace qv::tool

int main(int argc, char** argv) { return qv::tool::main(argc, argv); }
