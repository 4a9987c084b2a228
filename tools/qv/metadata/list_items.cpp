#include "tools/qv/metadata/list_items.h"

#include "tools/qv/text.h"

#include "qv/riff.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr size_t kHeaderBytes = 8;
constexpr DWORD kNoteId = QvFourCC("note");
constexpr DWORD kLabelledTextId = QvFourCC("ltxt");

DWORD word_at(const std::string& data, size_t at) {
  DWORD word = 0;
  std::memcpy(&word, data.data() + at, sizeof word);
  return word;
}

bool is_id(DWORD id) {
  for (; id != 0; id >>= 8)
    if ((id & 0xFF) < 0x20 || (id & 0xFF) > 0x7E) return false;
  return true;
}

bool has_item(const std::string& data, size_t at) {
  if (data.size() - at < kHeaderBytes) return false;
  const DWORD id = word_at(data, at);
  return id > 0xFFFFFF && is_id(id) && word_at(data, at + 4) <= data.size() - at - kHeaderBytes;
}

/// Where the item behind one that ends at `end` begins. Some writers leave pad bytes out.
size_t next_item(const std::string& data, size_t end, bool is_odd) {
  if (!is_odd || end == data.size()) return end;
  return !has_item(data, end + 1) && has_item(data, end) ? end : end + 1;
}

bool is_zero_from(const std::string& data, size_t at) { return data.find_first_not_of('\0', at) == std::string::npos; }

/// Adds the items in the data of a list. A list may be filled up with zeros.
void add_items(ListItems& list, const std::string& data) {
  size_t at = 0;
  while (data.size() - at >= kHeaderBytes && !is_zero_from(data, at)) {
    const DWORD id = word_at(data, at);
    const DWORD size = word_at(data, at + 4);
    const size_t left = data.size() - at - kHeaderBytes;
    if (id <= 0xFFFFFF || !is_id(id)) break;
    if (list.items.size() == kMaxListItems) {
      list.problem = "more than " + std::to_string(kMaxListItems) + " items";
      return;
    }
    list.items.push_back({id, data.substr(at + kHeaderBytes, size)});
    if (size > left) {
      list.problem = "the item \"" + printable_code(id) + "\" claims " + std::to_string(size) +
                     " bytes, its list has " + std::to_string(left) + " left";
      return;
    }
    at = next_item(data, at + kHeaderBytes + size, size % 2 != 0);
  }
  if (!is_zero_from(data, at)) list.problem = std::to_string(data.size() - at) + " bytes that are no item";
}

} // namespace

ListItems read_list_items(const AudioFile& audio, DWORD list_type) {
  ListItems list;
  size_t bytes_left = kMaxListBytes;
  for (const ChunkEntry& chunk : audio.chunks) {
    if (chunk.list_type != list_type || chunk.size <= sizeof list_type) continue;
    const uint64_t start = chunk.data + sizeof list_type;
    const uint64_t size = std::min(chunk.size - sizeof list_type, audio.file_bytes - std::min(start, audio.file_bytes));
    std::string data(static_cast<size_t>(std::min<uint64_t>(size, bytes_left)), '\0');
    bytes_left -= data.size();
    if (!move_to(audio.file, start) ||
        FAILED(riff_ReadData(audio.file, data.data(), static_cast<DWORD>(data.size())))) {
      list.problem = "a list that could not be read";
      return list;
    }
    add_items(list, data);
    if (data.size() == size) continue;
    list.problem = "more than " + std::to_string(kMaxListBytes >> 20) + " MiB";
    break;
  }
  return list;
}

std::string list_bytes(DWORD list_type, const std::vector<ListItem>& items) {
  std::string data(reinterpret_cast<const char*>(&list_type), sizeof list_type);
  for (const ListItem& item : items) {
    const DWORD header[2] = {item.id, static_cast<DWORD>(item.bytes.size())};
    data.append(reinterpret_cast<const char*>(header), sizeof header);
    data += item.bytes;
    if (item.bytes.size() % 2 != 0) data += '\0';
  }
  return data;
}

std::optional<size_t> label_text_offset(DWORD item_id) {
  if (item_id == QVRIFF_ID_LABL || item_id == kNoteId) return sizeof(DWORD);
  if (item_id == kLabelledTextId) return 20;
  return std::nullopt;
}

} // namespace qv::tool
