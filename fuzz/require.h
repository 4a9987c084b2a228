// What every fuzz target demands.
#pragma once

#include <cstdlib>

namespace fuzz {

/// Ends the program where something does not hold: the fuzzer keeps the input that did it.
inline void require(bool holds) {
  if (!holds) std::abort();
}

} // namespace fuzz
