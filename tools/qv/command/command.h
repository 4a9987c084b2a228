// The subcommands: each adds itself to the command line and, when it is chosen, says what is to be run.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace qv::tool {

/// The chosen work; answers an exit code and may throw Failure.
using Work = std::function<int()>;

void add_info(CLI::App& app, Work& chosen);
void add_convert(CLI::App& app, Work& chosen);
void add_stats(CLI::App& app, Work& chosen);
void add_cpu(CLI::App& app, Work& chosen);
void add_filter(CLI::App& app, Work& chosen);
void add_repair(CLI::App& app, Work& chosen);
void add_settings(CLI::App& app, Work& chosen);
void add_tag(CLI::App& app, Work& chosen);
void add_time(CLI::App& app, Work& chosen);

} // namespace qv::tool
