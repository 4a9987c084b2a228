// A filter's response in a file: numbers for .csv, curves for .svg and .png.
#pragma once

#include "tools/qv/filter/filter_chain.h"

#include <string>

namespace qv::tool {

/// "" for a name that write_response takes, otherwise what is wrong with it.
std::string check_response_name(const std::string& name);
/// Throws Failure. The file appears whole or not at all.
void write_response(const std::string& name, const std::string& title, const FilterChain& chain);

} // namespace qv::tool
