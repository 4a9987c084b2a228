// The groups of the kernel family, each in the file of its name.
#pragma once

namespace bench {

void add_list_groups();
void add_metric_groups();
void add_queue_groups();
void add_time_groups();

} // namespace bench
