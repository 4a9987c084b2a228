// Kernels, filters and resampling against the scalar build, memory copies, and what else a user would pick.
#include "bench/audio/groups.h"
#include "bench/ratios.h"

int main(int argc, char** argv) {
  bench::add_copy_matrix();
  bench::add_mixes();
  bench::add_peers();
  bench::add_filters();
  bench::add_resampling();
  return bench::run_all(argc, argv);
}
