// The sample types that a wave file is written in, under their names on the command line.
#pragma once

#include "tools/qv/named_rows.h"

#include "qv/audio.h"

namespace qv::tool {

struct TypeName {
  const char* name;
  QVSAMPLETYPE type;
};

inline constexpr TypeName kTypeNames[] = {{"pcm8", QVSAMPLE_PCM8},       {"pcm16", QVSAMPLE_PCM16},
                                          {"pcm24", QVSAMPLE_PCM24},     {"pcm32", QVSAMPLE_PCM32},
                                          {"float32", QVSAMPLE_FLOAT32}, {"float64", QVSAMPLE_FLOAT64}};

inline std::vector<std::string> type_names() { return names_of(kTypeNames); }

/// The type of that name; for "" the source's own, or the nearest that a wave file usually has.
inline QVSAMPLETYPE output_type(const std::string& name, QVSAMPLETYPE source) {
  for (const TypeName& row : kTypeNames)
    if (name.empty() ? row.type == source : row.name == name) return row.type;
  switch (QvAudio_BitsFromSampleType(source)) {
  case 8: return QVSAMPLE_PCM8;
  case 16: return QVSAMPLE_PCM16;
  case 24: return QVSAMPLE_PCM24;
  default: return source == QVSAMPLE_PCM24IN32 ? QVSAMPLE_PCM24 : QVSAMPLE_PCM32;
  }
}

} // namespace qv::tool
