// qv: the library's families at work on files.
#include "tools/qv/program.h"

#ifdef _WIN32
#include "tools/qv/text.h"

#include <shellapi.h>
#endif

namespace {

/// The words of the command line behind the program's name, as UTF-8.
std::vector<std::string> program_arguments([[maybe_unused]] int argc, [[maybe_unused]] char** argv) {
  std::vector<std::string> arguments;
#ifdef _WIN32
  // The words of main() are in the ANSI code page; the system has them whole.
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int k = 1; words && k < count; ++k)
    arguments.push_back(qv::tool::utf8(words[k]));
  LocalFree(words);
  SetConsoleOutputCP(CP_UTF8);
#else
  for (int k = 1; k < argc; ++k)
    arguments.emplace_back(argv[k]);
#endif
  return arguments;
}

} // namespace

int main(int argc, char** argv) { return qv::tool::run_program(QV_PROGRAM_VERSION, program_arguments(argc, argv)); }
