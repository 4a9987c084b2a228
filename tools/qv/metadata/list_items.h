// The sub-chunks of "LIST" chunks, read from files as they are: a last pad byte may be missing, an item may claim more
// than its list has.
#pragma once

#include "tools/qv/file/audio_file.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct ListItem {
  DWORD id = 0;
  std::string bytes; ///< its data, without the pad byte
};

struct ListItems {
  std::vector<ListItem> items;
  /// What was found there that could not be read; empty where all was. Of an item that claims too much the bytes that
  /// are there are taken.
  std::string problem;
};

/// Bounds on what is read of all lists of one form, so that memory follows no claim.
inline constexpr size_t kMaxListItems = 16384;
inline constexpr size_t kMaxListBytes = 4 << 20;

/// The items of all lists of a type ("INFO", "adtl"), in the order of the file.
ListItems read_list_items(const AudioFile& audio, DWORD list_type);

/// The data of a list: its type, and each item with its pad byte.
std::string list_bytes(DWORD list_type, const std::vector<ListItem>& items);

/// Where in the data of an item of an "adtl" list its text begins: labels and notes have a cue point's id before it,
/// labelled texts a record of 20 bytes. Nothing for other items.
std::optional<size_t> label_text_offset(DWORD item_id);

} // namespace qv::tool
