// The subcommands: each adds itself to the command line and, when it is chosen, says what is to be run.
#pragma once

#include "tools/qv/command_line.h"

namespace qv::tool {

void add_boxes(const Command& program);
void add_info(const Command& program);
void add_convert(const Command& program);
void add_stats(const Command& program);
void add_cpu(const Command& program);
void add_filter(const Command& program);
void add_mux(const Command& program);
void add_repair(const Command& program);
void add_settings(const Command& program);
void add_tag(const Command& program);
void add_time(const Command& program);

} // namespace qv::tool
