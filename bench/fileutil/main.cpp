// MP4 files, against TagLib and the bare system calls.
#include "bench/fileutil/groups.h"
#include "bench/ratios.h"

int main(int argc, char** argv) {
  const bench::ScratchFolder folder;
  bench::add_reads(folder);
  bench::add_updates(folder);
  return bench::run_all(argc, argv);
}
