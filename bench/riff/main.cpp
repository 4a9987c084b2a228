// Chunks and whole files, against libsndfile.
#include "bench/ratios.h"
#include "bench/riff/groups.h"

int main(int argc, char** argv) {
  const bench::ScratchFolder folder;
  bench::add_walk(folder);
  bench::add_transfers(folder);
  bench::add_repairs(folder);
  return bench::run_all(argc, argv);
}
