// A filter's response in a file: numbers for .csv, curves for .svg and .png.
#pragma once

#include "tools/qv/filter/filter_chain.h"

#include <string>
#include <vector>

namespace qv::tool {

/// "" for a name that write_response takes, otherwise what is wrong with it.
std::string check_response_name(const std::string& name);
/// Throws Failure. The file appears whole or not at all.
void write_response(const std::string& name, const std::string& title, const FilterChain& chain);

/// Whether this build has what draws curves: magnitude, phase and group delay over a logarithmic axis of frequencies.
bool can_draw();
/// The bytes of a PNG, or else an SVG, file. Throws std::runtime_error where nothing can be drawn.
std::string drawn(const std::vector<Response>& responses, const std::string& title, bool as_png);

} // namespace qv::tool
