// What `qv info` shows of a file, in its two forms.
#pragma once

#include "tools/qv/file/audio_file.h"
#include "tools/qv/json.h"
#include "tools/qv/metadata/file_metadata.h"

#include <string>

namespace qv::tool {

void print_info(const AudioFile& audio, const FileMetadata& metadata);
Json info_json(const AudioFile& audio, const FileMetadata& metadata);

/// The name of a sample type, in the user's language.
std::string sample_type_text(QVSAMPLETYPE type);
/// "forward", "alternating", "backward", or the number of a sampler's own kind.
std::string loop_kind_text(LoopKind kind);

} // namespace qv::tool
