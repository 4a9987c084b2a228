#include "tools/qv/tag/tag_change.h"

#include "tools/qv/file/container_readers.h"
#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/text_fields.h"
#include "tools/qv/tag/text_change.h"

#include "qv/riff.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr DWORD kBroadcastId = QvFourCC("bext");
constexpr const char* kBroadcastWord = "bext";

/// Where the file's "bext" chunk stands among its chunks; their number without one.
size_t broadcast_index(const AudioFile& audio) {
  const auto found = std::find_if(audio.chunks.begin(), audio.chunks.end(),
                                  [](const ChunkEntry& chunk) { return chunk.id == kBroadcastId; });
  return static_cast<size_t>(found - audio.chunks.begin());
}

bool is_broadcast(const TagSetting& setting) { return setting.key.field || setting.key.is_broadcast_chunk; }

Broadcast broadcast_to_change(const AudioFile& audio) {
  const size_t index = broadcast_index(audio);
  if (index == audio.chunks.size()) return {};
  std::optional<Broadcast> broadcast = broadcast_of(audio);
  if (!broadcast || audio.chunks[index].size > kMaxListBytes)
    fail(audio, "its \"bext\" chunk has " + std::to_string(audio.chunks[index].size) +
                    " bytes, which is no broadcast record: --remove bext takes it away");
  return *broadcast;
}

void change_broadcast(const AudioFile& audio, const TagChange& change, ChunkEdit& edit) {
  if (audio.kind == Container::kAiff || audio.kind == Container::kAifc) fail(audio, "AIFF has no broadcast chunk");
  const size_t index = broadcast_index(audio);
  const bool is_there = index < audio.chunks.size();
  std::optional<Broadcast> broadcast;
  bool is_removed = false; // and no field set since
  for (const TagSetting& setting : change.settings) {
    if (setting.key.is_broadcast_chunk) broadcast = Broadcast();
    is_removed = setting.key.is_broadcast_chunk || (is_removed && !(setting.key.field && setting.text));
    if (!setting.key.field || (!setting.text && !is_there && !broadcast)) continue;
    if (!broadcast) broadcast = broadcast_to_change(audio);
    const std::string reason =
        broadcast->set_text(*setting.key.field, setting.text.value_or(""), change.page.value_or(CodePage::kUtf8));
    if (!reason.empty()) fail(audio, setting.word + " " + reason);
  }
  if (!broadcast) return;
  if (is_there && !is_removed && broadcast->data().size() == audio.chunks[index].size)
    return edit.replace(index, broadcast->data());
  if (is_there) edit.remove(index);
  if (!is_removed) edit.put_in_front({kBroadcastId, broadcast->data()});
}

} // namespace

std::optional<TagKey> tag_key(const std::string& word) {
  if (word == kBroadcastWord) return TagKey{0, std::nullopt, true};
  if (const TextField* const field = text_field_named(word)) return TagKey{field->info, std::nullopt, false};
  if (const std::optional<BroadcastField> field = broadcast_field_named(word)) return TagKey{0, field, false};
  const bool is_printable = std::all_of(word.begin(), word.end(), [](char c) { return c > ' ' && c <= '~'; });
  if (word.size() != 4 || (!is_printable && word != "(c) ")) return std::nullopt;
  TagKey key;
  std::memcpy(&key.info_id, word.data(), sizeof key.info_id);
  return key;
}

std::vector<std::string> plan_change(const AudioFile& audio, const TagChange& change, ChunkEdit& edit) {
  std::vector<std::string> remarks;
  const auto is_text = [](const TagSetting& setting) { return setting.key.info_id != 0; };
  if (change.clear || change.page || std::any_of(change.settings.begin(), change.settings.end(), is_text))
    remarks = change_texts(audio, change, edit);
  if (std::any_of(change.settings.begin(), change.settings.end(), is_broadcast)) change_broadcast(audio, change, edit);
  return remarks;
}

std::optional<Broadcast> broadcast_of(const AudioFile& audio) {
  const size_t index = broadcast_index(audio);
  if (index == audio.chunks.size()) return std::nullopt;
  return Broadcast::parsed(chunk_data(audio, audio.chunks[index], kMaxListBytes));
}

} // namespace qv::tool
