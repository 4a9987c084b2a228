// Kernels, filters and resampling against the scalar build, memory copies, and what else a user would pick.
//
//     bench_audio [FILTER [generic|sse2|avx2|avx512]]   the groups whose name has it, at that level at most
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include "qv/cpu.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <string_view>

int main(int argc, char** argv) {
  if (argc > 2) {
    constexpr std::string_view kLevels[] = {"generic", "sse2", "avx2", "avx512"};
    const auto* const level = std::find(std::begin(kLevels), std::end(kLevels), argv[2]);
    if (level == std::end(kLevels)) {
      std::cerr << argv[2] << ": no such level\n";
      return 2;
    }
    QvLimitKernelLevel(static_cast<QVKERNELLEVEL>(level - kLevels));
  }
  bench::add_copy_matrix();
  bench::add_mixes();
  bench::add_peers();
  bench::add_filters();
  bench::add_resampling();
  return bench::run_all(argc, argv);
}
