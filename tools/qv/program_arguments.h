// The words of the command line behind the program's name, as UTF-8.
#pragma once

#include <string>
#include <vector>

namespace qv::tool {

std::vector<std::string> program_arguments(int argc, char** argv);

} // namespace qv::tool
