#include "bench/kernel/groups.h"
#include "bench/ratios.h"

int main(int argc, char** argv) {
  bench::add_list_groups();
  bench::add_queue_groups();
  bench::add_metric_groups();
  bench::add_time_groups();
  return bench::run_all(argc, argv);
}
