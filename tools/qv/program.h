// The whole program as a function, so that fuzzing runs it as often as it can.
#pragma once

#include <string>
#include <vector>

namespace qv::tool {

/// Does what the words of the command line, as UTF-8 and without the program's name, ask for. Prints what fails;
/// answers the exit code. After a signal that asks for the end it does not return.
int run_program(const std::string& version, const std::vector<std::string>& words);

} // namespace qv::tool
