// The sample types that a wave file is written in, under their names on the command line.
#pragma once

#include "qv/audio.h"

#include <string>
#include <vector>

namespace qv::tool {

struct TypeName {
  const char* name;
  QVSAMPLETYPE type;
};

inline constexpr TypeName kTypeNames[] = {{"pcm8", QVSAMPLE_PCM8},       {"pcm16", QVSAMPLE_PCM16},
                                          {"pcm24", QVSAMPLE_PCM24},     {"pcm32", QVSAMPLE_PCM32},
                                          {"float32", QVSAMPLE_FLOAT32}, {"float64", QVSAMPLE_FLOAT64}};

inline std::vector<std::string> type_names() {
  std::vector<std::string> names;
  for (const TypeName& row : kTypeNames)
    names.emplace_back(row.name);
  return names;
}

} // namespace qv::tool
