// The containers that audio comes in: what they are called, and which one a file's name asks for.
#pragma once

#include <string>
#include <vector>

namespace qv::tool {

enum class Container { kRiff, kRf64, kWave64, kAiff, kAifc, kFlac, kOgg, kMp3 };

/// "RIFF", "RF64", "wave64", "aiff", "aifc", "FLAC", "Ogg" or "MP3".
const char* name_of(Container container);

/// The containers that --container names.
std::vector<std::string> container_names();

/// The container of a file that is to be written: that of an option out of container_names(), or for "" the one that
/// the name's suffix chooses, RIFF without one. Throws Failure, with a list of those that are written, for any other.
Container container_of(const std::string& file_name, const std::string& option);

} // namespace qv::tool
