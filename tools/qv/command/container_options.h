// The options that say what container an output has, of every command that writes audio.
#pragma once

#include "tools/qv/command_line.h"
#include "tools/qv/file/audio_output.h"

#include <string>

namespace qv::tool {

struct ContainerOptions {
  std::string container;
  bool no_rf64 = false;

  void add_to(const Command& command) {
    command.option("--container", container, "Of OUT: wav, rf64, w64, aiff or aifc; otherwise its suffix chooses")
        .one_of(container_names());
    command.flag("--no-rf64", no_rf64, "Refuse what is too long for RIFF, which otherwise becomes an RF64 file");
  }
  /// Throws Failure for a suffix that is not written.
  OutputTarget target(const std::string& name, const std::string& input_name) const {
    return {name, input_name, container_of(name, container), no_rf64};
  }
};

} // namespace qv::tool
