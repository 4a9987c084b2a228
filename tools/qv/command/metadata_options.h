// The option of every command that writes audio: whether what the input knows beside its audio is kept.
#pragma once

#include "tools/qv/carry/carried_metadata.h"
#include "tools/qv/command_line.h"
#include "tools/qv/failure.h"

namespace qv::tool {

struct MetadataOptions {
  bool drop = false;

  void add_to(const Command& command) {
    command.flag("--no-metadata", drop, "Write the audio alone, without the texts, markers and other chunks of IN");
  }
  /// The chunks for an output; prints what is left out. They may refer to `input`.
  CarriedChunks chunks(const AudioFile& input, Container container, const AudioChange& change) const {
    if (drop) return {};
    Carried carried = carry_metadata(input, container, change);
    for (const std::string& warning : carried.warnings)
      print_warning(input.name, warning);
    return std::move(carried.chunks);
  }
};

} // namespace qv::tool
