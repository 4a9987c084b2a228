#include "tools/qv/metadata/info_list.h"

#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/text_fields.h"
#include "tools/qv/text.h"

#include "qv/chunk_id.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace qv::tool {

namespace {

using std::string_view;

InfoList read_riff_lists(const AudioFile& audio) {
  InfoList list;
  ListItems info = read_list_items(audio, QVSUMMARY_FORM_INFO);
  const ListItems labels = read_list_items(audio, QVRIFF_LIST_ADTL);
  list.encoding = encoding_from(character_set_of(audio), info, labels);
  list.problem = info.problem;
  for (ListItem& item : info.items) {
    std::string text = decode(item.bytes, list.encoding.page);
    list.items.push_back({item.id, std::move(item.bytes), std::move(text)});
  }
  return list;
}

std::string text_of_utf16(const std::string& bytes) {
  WString wide(bytes.size() / sizeof(WCHAR), WCHAR{0});
  std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(WCHAR));
  wide.resize(std::min(wide.size(), wide.find(WCHAR{0})));
  return wide.empty() ? std::string() : utf8(wide);
}

void add_summary_items(InfoList& list, const std::string& data) {
  constexpr size_t kHeaderBytes = 8;
  DWORD words[2] = {0, 0};
  if (data.size() < sizeof(DWORD)) return;
  std::memcpy(words, data.data(), sizeof(DWORD));
  size_t at = sizeof(DWORD);
  for (DWORD count = words[0]; count > 0 && list.problem.empty(); --count) {
    if (data.size() - at < kHeaderBytes) list.problem = std::to_string(count) + " items that are claimed and not there";
    if (list.items.size() == kMaxListItems) list.problem = "more than " + std::to_string(kMaxListItems) + " items";
    if (!list.problem.empty()) return;
    std::memcpy(words, data.data() + at, sizeof words);
    at += kHeaderBytes;
    if (words[1] > data.size() - at)
      list.problem = "the item \"" + printable_code(words[0]) + "\" claims " + std::to_string(words[1]) +
                     " bytes, its list has " + std::to_string(data.size() - at) + " left";
    std::string bytes = data.substr(at, words[1]);
    at += bytes.size();
    std::string text = text_of_utf16(bytes);
    list.items.push_back({words[0], std::move(bytes), std::move(text)});
  }
}

/// Reads the texts in the data of chunks of their own, as `add` does it, up to the bound on all of them.
template <class IsText, class Add>
InfoList read_text_chunks(const AudioFile& audio, IsText is_text, Add add) {
  InfoList list;
  size_t total = 0;
  for (const ChunkEntry& chunk : audio.chunks) {
    if (!is_text(chunk)) continue;
    const std::string data = chunk_data(audio, chunk, kMaxListBytes);
    total += data.size();
    if (list.items.size() == kMaxListItems) list.problem = "more than " + std::to_string(kMaxListItems) + " texts";
    if (total > kMaxListBytes || data.size() < chunk.size) list.problem = "more than 4 MiB, or less than is claimed";
    if (!list.problem.empty()) return list;
    add(list, chunk, data);
  }
  return list;
}

} // namespace

InfoList read_info_list(const AudioFile& audio) {
  if (!audio.coded_texts.empty()) {
    InfoList list;
    for (const auto& [id, text] : audio.coded_texts)
      list.items.push_back({id, text, decode_alone(text)});
    return list;
  }
  const string_view container = audio.container;
  if (container == "wave64")
    return read_text_chunks(
        audio, [](const ChunkEntry& chunk) { return chunk.id == kSummaryListGuid.Data1; },
        [](InfoList& list, const ChunkEntry&, const std::string& data) { add_summary_items(list, data); });
  if (container.starts_with("aif"))
    return read_text_chunks(
        audio, [](const ChunkEntry& chunk) { return is_aiff_text(chunk.id); },
        [](InfoList& list, const ChunkEntry& chunk, const std::string& data) {
          list.items.push_back({chunk.id, data, decode_alone(data)});
        });
  return read_riff_lists(audio);
}

const std::string* find_text(const InfoList& list, DWORD id) {
  const auto found =
      std::find_if(list.items.begin(), list.items.end(), [=](const InfoItem& item) { return item.id == id; });
  return found == list.items.end() ? nullptr : &found->text;
}

std::optional<InfoItem> info_item(DWORD id, const std::string& text, CodePage page) {
  const std::optional<std::string> bytes = encode(text, page);
  if (!bytes) return std::nullopt;
  return InfoItem{id, *bytes + '\0', text};
}

std::string info_list_data(const std::vector<InfoItem>& items) {
  std::vector<ListItem> list;
  for (const InfoItem& item : items)
    list.push_back({item.id, item.bytes});
  return list_bytes(QVSUMMARY_FORM_INFO, list);
}

std::optional<InfoItem> summary_item(DWORD id, const std::string& text) {
  std::optional<WString> wide = utf16(text);
  if (!wide) return std::nullopt;
  wide->push_back(0);
  return InfoItem{id, std::string(reinterpret_cast<const char*>(wide->data()), wide->size() * sizeof(WCHAR)), text};
}

std::string summary_list_data(const std::vector<InfoItem>& items) {
  const auto append = [](std::string& data, size_t word) {
    const auto number = static_cast<DWORD>(word);
    data.append(reinterpret_cast<const char*>(&number), sizeof number);
  };
  std::string data;
  append(data, items.size());
  for (const InfoItem& item : items) {
    append(data, item.id);
    append(data, item.bytes.size());
    data += item.bytes;
  }
  return data;
}

} // namespace qv::tool
