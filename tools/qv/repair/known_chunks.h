// The chunks that are known to stand in audio files, and how each is told from other bytes.
#pragma once

#include "tools/qv/repair/header_layout.h"

#include <optional>
#include <vector>

namespace qv::tool {

/// Their ids in a container.
std::vector<std::string> known_ids(const HeaderLayout& layout);
bool is_known(const HeaderLayout& layout, const std::string& id);
/// Bytes that the data of a chunk of a known id has at least.
uint64_t least_bytes(const HeaderLayout& layout, const std::string& id);
/// The one known id that differs from `id` in one byte.
std::optional<std::string> nearly_known(const HeaderLayout& layout, const std::string& id);

/// How many bytes of a chunk's data its kind can be told from.
inline constexpr uint64_t kTellingBytes = 340;
/// Whether data that begin like this are those of the known id; false also where nothing tells.
bool looks_like(const HeaderLayout& layout, const std::string& id, const std::string& data);
/// The id of a chunk of `size` bytes of data that begin like this; nothing where they do not tell.
std::optional<std::string> told_from(const HeaderLayout& layout, const std::string& data, uint64_t size);

} // namespace qv::tool
