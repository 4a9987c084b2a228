// Kernels, filters and resampling against the scalar build, memory copies, and what else a user would pick.
//
//     bench_audio [FILTER [generic|sse2|avx2|avx512]]   the groups whose name has it, at that level at most
#include "audio/kernels/levels.h"
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include "qv/cpu.h"

#include <algorithm>
#include <iostream>

int main(int argc, char** argv) {
  if (argc > 2) {
    using qv::audio::kKernelLevels;
    const auto is_named = [&](const qv::audio::KernelLevel& level) { return level.name == argv[2]; };
    const auto* const level = std::find_if(kKernelLevels.begin(), kKernelLevels.end(), is_named);
    if (level == kKernelLevels.end()) {
      std::cerr << argv[2] << ": no such level\n";
      return 2;
    }
    QvLimitKernelLevel(level->level);
  }
  bench::add_copy_matrix();
  bench::add_mixes();
  bench::add_peers();
  bench::add_filters();
  bench::add_resampling();
  return bench::run_all(argc, argv);
}
