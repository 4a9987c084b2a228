// What is to become of a file's texts, as the user said it, and how it is done to its chunks.
#pragma once

#include "tools/qv/metadata/broadcast.h"
#include "tools/qv/tag/chunk_edit.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// What a key names: a text by its "INFO" id, a field of the broadcast chunk, or that chunk.
struct TagKey {
  DWORD info_id = 0;
  std::optional<BroadcastField> field;
  bool is_broadcast_chunk = false;
};

/// From a friendly name, or an id of four characters; nothing for other words.
std::optional<TagKey> tag_key(const std::string& word);

struct TagSetting {
  std::string word; ///< the key as the user wrote it
  TagKey key;
  std::optional<std::string> text; ///< nothing: the text is removed
};

struct TagChange {
  std::vector<TagSetting> settings; ///< in this order
  bool clear = false;               ///< all texts that are there are removed first
  std::optional<CodePage> page;     ///< all texts are stored in this one

  bool is_empty() const { return settings.empty() && !clear && !page; }
};

/// Plans the change of a file. Returns what the user should know of it besides. Throws Failure where something would be
/// lost that could not be read, or a text has no place.
std::vector<std::string> plan_change(const AudioFile& audio, const TagChange& change, ChunkEdit& edit);

/// The record of the file's "bext" chunk; nothing without one that can be read.
std::optional<Broadcast> broadcast_of(const AudioFile& audio);

} // namespace qv::tool
