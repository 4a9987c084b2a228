#include "tools/qv/program_arguments.h"

#ifdef _WIN32
#include "tools/qv/text.h"

#include <shellapi.h>
#endif

namespace qv::tool {

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

} // namespace qv::tool
