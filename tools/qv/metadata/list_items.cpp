#include "tools/qv/metadata/list_items.h"

#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/text.h"

#include "qv/chunk_id.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr size_t kHeaderBytes = 8;
constexpr DWORD kNoteId = QvFourCC("note");
constexpr DWORD kLabelledTextId = QvFourCC("ltxt");

bool is_id(DWORD id) {
  for (int byte = 0; byte < 4; ++byte, id >>= 8)
    if ((id & 0xFF) < 0x20 || (id & 0xFF) > 0x7E) return false;
  return true;
}

/// The data of a list behind its type.
struct ListData {
  std::string bytes;
  ByteOrder order; ///< of sizes

  size_t left(size_t at) const { return bytes.size() - at; }
  DWORD id(size_t at) const { return word_at<DWORD>(bytes, at); }
  DWORD size(size_t at) const { return word_at<DWORD>(bytes, at + 4, order); }
};

bool has_item(const ListData& data, size_t at) {
  return data.left(at) >= kHeaderBytes && is_id(data.id(at)) && data.size(at) <= data.left(at) - kHeaderBytes;
}

/// Where the item behind one that ends at `end` begins. Some writers leave pad bytes out.
size_t next_item(const ListData& data, size_t end, bool is_odd) {
  if (!is_odd || data.left(end) == 0) return end;
  return !has_item(data, end + 1) && has_item(data, end) ? end : end + 1;
}

bool is_zero_from(const ListData& data, size_t at) {
  return data.bytes.find_first_not_of('\0', at) == std::string::npos;
}

/// Adds the items in the data of a list. A list may be filled up with zeros.
void add_items(ListItems& list, const ListData& data) {
  size_t at = 0;
  while (data.left(at) >= kHeaderBytes && is_id(data.id(at))) {
    if (list.items.size() == kMaxListItems) {
      list.problem = "more than " + std::to_string(kMaxListItems) + " items";
      return;
    }
    const DWORD size = data.size(at);
    const size_t left = data.left(at) - kHeaderBytes;
    list.items.push_back({data.id(at), data.bytes.substr(at + kHeaderBytes, size)});
    if (size > left) {
      list.problem = "the item \"" + printable_code(data.id(at)) + "\" claims " + std::to_string(size) +
                     " bytes, its list has " + std::to_string(left) + " left";
      return;
    }
    at = next_item(data, at + kHeaderBytes + size, size % 2 != 0);
  }
  if (!is_zero_from(data, at)) list.problem = std::to_string(data.left(at)) + " bytes that are no item";
}

} // namespace

ListItems read_list_items(const AudioFile& audio, DWORD list_type) {
  ListItems list;
  size_t bytes_left = kMaxListBytes;
  for (const ChunkEntry& chunk : audio.chunks) {
    if (chunk.list_type != list_type || chunk.size <= sizeof list_type) continue;
    const uint64_t wanted = chunk.size - sizeof list_type;
    const ChunkEntry behind_type = {chunk.id, list_type, chunk.offset, wanted, chunk.data + sizeof list_type};
    const ListData data = {chunk_data(audio, behind_type, bytes_left), byte_order_of(audio)};
    add_items(list, data);
    bytes_left -= data.bytes.size();
    if (data.bytes.size() == wanted) continue;
    list.problem = bytes_left == 0 ? "more than " + std::to_string(kMaxListBytes >> 20) + " MiB" : "a list that is cut";
    if (bytes_left == 0) break;
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
