// What `qv info` shows of a file, in its two forms.
#pragma once

#include "tools/qv/file/audio_file.h"
#include "tools/qv/json.h"
#include "tools/qv/metadata/file_metadata.h"

#include <string>

namespace qv::tool {

void print_info(const AudioFile& audio, const FileMetadata& metadata);
Json info_json(const AudioFile& audio, const FileMetadata& metadata);

// What containers of other kinds show alike.

void print_line(const char* label, const std::string& value);
void print_id3(const Id3Tag& tag);
Json id3_json(const Id3Tag& tag);
/// "00:01:02.345", of units of 100 ns.
std::string duration_text(uint64_t duration);

/// The name of a sample type, in the user's language.
std::string sample_type_text(QVSAMPLETYPE type);
/// "forward", "alternating", "backward", or the number of a sampler's own kind.
std::string loop_kind_text(LoopKind kind);

} // namespace qv::tool
