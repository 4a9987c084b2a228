// Curves of a filter's response: magnitude, phase and group delay over a logarithmic axis of frequencies.
#pragma once

#include "tools/qv/filter/filter_chain.h"

#include <string>
#include <vector>

namespace qv::tool {

/// Whether this build has what draws.
bool can_draw();
/// The bytes of a PNG, or else an SVG, file. Throws std::runtime_error where nothing can be drawn.
std::string drawn(const std::vector<Response>& responses, const std::string& title, bool as_png);

} // namespace qv::tool
