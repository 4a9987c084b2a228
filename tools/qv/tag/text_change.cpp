#include "tools/qv/tag/text_change.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/container_readers.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/text_fields.h"

#include "qv/riff.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kCharacterSetId = QvFourCC("CSET");

bool is_aiff(const AudioFile& audio) { return audio.kind == Container::kAiff || audio.kind == Container::kAifc; }

/// The id of a setting's text in the file.
DWORD stored_id(const AudioFile& audio, const TagSetting& setting) {
  const DWORD id = setting.key.info_id;
  if (!is_aiff(audio) || is_aiff_text(id)) return id;
  const DWORD aiff_id = aiff_id_for_info(id);
  if (aiff_id == 0) fail(audio, "AIFF has no chunk for " + setting.word);
  return aiff_id;
}

/// A text that is still to be stored in the place of an item.
struct NewText {
  DWORD id;
  const TagSetting* setting;
};

/// Takes away the items that are removed, and empties those that get another text, or adds them. Returns the last text
/// for each id.
std::vector<NewText> make_room(const AudioFile& audio, const TagChange& change, std::vector<InfoItem>& items) {
  if (change.clear) items.clear();
  std::vector<NewText> texts;
  for (const TagSetting& setting : change.settings) {
    if (setting.key.info_id == 0) continue;
    const DWORD id = stored_id(audio, setting);
    const auto is_same = [id](const auto& other) { return other.id == id; };
    std::erase_if(texts, is_same);
    const auto first = std::find_if(items.begin(), items.end(), is_same);
    const bool is_kept = setting.text.has_value();
    items.erase(std::remove_if(is_kept && first != items.end() ? first + 1 : first, items.end(), is_same), items.end());
    if (!is_kept) continue;
    const auto place = std::find_if(items.begin(), items.end(), is_same);
    if (place == items.end())
      items.push_back({id, {}, {}});
    else
      *place = {id, {}, {}};
    texts.push_back({id, &setting});
  }
  return texts;
}

/// Stores the new texts in their places, as `store` makes items of them.
template <class Store>
void fill_in(const AudioFile& audio, const std::vector<NewText>& texts, std::vector<InfoItem>& items, Store store) {
  for (const NewText& text : texts) {
    const std::optional<InfoItem> item = store(text.id, *text.setting->text);
    if (!is_utf8(*text.setting->text)) fail(audio, "the text of " + text.setting->word + " is not UTF-8");
    if (!item) fail(audio, "the text of " + text.setting->word + " has a character that code page 1252 lacks");
    *std::find_if(items.begin(), items.end(), [&](const InfoItem& place) { return place.id == text.id; }) = *item;
  }
}

/// Bytes in another page, with a terminator where they have one. Throws Failure where that lacks a character.
std::string recoded(const AudioFile& audio, const std::string& bytes, CodePage from, CodePage to) {
  if (is_ascii(text_part(bytes))) return bytes;
  const std::optional<std::string> text = encode(decode(bytes, from), to);
  if (!text) fail(audio, "a text that it has holds a character that code page 1252 lacks");
  return bytes.find('\0') == std::string::npos ? *text : *text + '\0';
}

/// The texts of labels and notes, without the records before them.
bool are_ascii(const ListItems& labels) {
  return std::all_of(
      labels.items.begin(), labels.items.end(),
      [](const ListItem& item) {
        const size_t offset = label_text_offset(item.id).value_or(item.bytes.size());
        return offset >= item.bytes.size() || is_ascii(text_part(std::string_view(item.bytes).substr(offset)));
      });
}

void recode_labels(const AudioFile& audio, ListItems labels, CodePage from, CodePage to, ChunkEdit& edit) {
  if (!labels.problem.empty())
    fail(audio, "its labels hold " + labels.problem + ": they cannot be brought into " + page_name(to));
  for (ListItem& item : labels.items) {
    const size_t offset = std::min(label_text_offset(item.id).value_or(item.bytes.size()), item.bytes.size());
    item.bytes = item.bytes.substr(0, offset) + recoded(audio, item.bytes.substr(offset), from, to);
  }
  edit.remove_all(QVRIFF_ID_LIST, QVRIFF_LIST_ADTL);
  edit.append({QVRIFF_ID_LIST, list_bytes(QVRIFF_LIST_ADTL, labels.items)});
}

/// Lets the "CSET" chunk say what the texts are in. Texts that are all ASCII need none: where they were not before, it
/// goes when it says nothing else.
void set_page(const AudioFile& audio, bool is_all_ascii, bool is_decided, CodePage page, ChunkEdit& edit) {
  if (is_all_ascii && !is_decided) return;
  const std::optional<CharacterSet> there = character_set_of(audio);
  CharacterSet set = there.value_or(CharacterSet{});
  set.code_page = 0;
  const bool says_more =
      std::string(reinterpret_cast<const char*>(&set), sizeof set).find_first_not_of('\0') != std::string::npos;
  set.code_page = static_cast<WORD>(page);
  const bool is_needed = !is_all_ascii || says_more;
  if (is_needed && there && there->code_page == set.code_page) return;
  edit.remove_all(kCharacterSetId, 0);
  if (is_needed) edit.append({kCharacterSetId, std::string(reinterpret_cast<const char*>(&set), sizeof set)});
}

std::vector<std::string> change_riff_texts(const AudioFile& audio, const TagChange& change, InfoList& list,
                                           ChunkEdit& edit) {
  std::vector<std::string> remarks;
  const std::vector<NewText> texts = make_room(audio, change, list.items);
  const ListItems labels = read_list_items(audio, QVRIFF_LIST_ADTL);
  const CodePage from = list.encoding.page;
  const CodePage page = change.page.value_or(CodePage::kUtf8);
  const bool labels_ascii = are_ascii(labels);
  const bool rest_ascii = labels_ascii && std::all_of(list.items.begin(), list.items.end(), [](const InfoItem& item) {
                            return is_ascii(text_part(item.bytes));
                          });
  if (!rest_ascii && list.encoding.is_guessed)
    remarks.push_back(std::string("its other texts were taken for ") + page_name(from));
  if (from != page) {
    for (InfoItem& item : list.items)
      item.bytes = recoded(audio, item.bytes, from, page);
    if (!labels_ascii) recode_labels(audio, labels, from, page, edit);
  }
  fill_in(
      audio, texts, list.items, [page](DWORD id, const std::string& text) { return info_item(id, text, page); });
  const bool all_ascii = rest_ascii && std::all_of(texts.begin(), texts.end(),
                                                   [](const NewText& text) { return is_ascii(*text.setting->text); });
  edit.remove_all(QVRIFF_ID_LIST, QVSUMMARY_FORM_INFO);
  set_page(audio, all_ascii, change.page || !list.encoding.is_ascii, page, edit);
  if (!list.items.empty()) edit.append({QVRIFF_ID_LIST, info_list_data(list.items)});
  return remarks;
}

void change_summary_list(const AudioFile& audio, const TagChange& change, InfoList& list, ChunkEdit& edit) {
  fill_in(audio, make_room(audio, change, list.items), list.items, summary_item);
  edit.remove_all(kSummaryListGuid.Data1, 0);
  if (!list.items.empty()) edit.append({kSummaryListGuid.Data1, summary_list_data(list.items)});
}

/// Texts that are not changed stay where they are.
void change_aiff_texts(const AudioFile& audio, const TagChange& change, InfoList& list, ChunkEdit& edit) {
  if (change.clear)
    for (const InfoItem& item : list.items)
      edit.remove_all(item.id, 0);
  for (const TagSetting& setting : change.settings)
    if (setting.key.info_id != 0) edit.remove_all(stored_id(audio, setting), 0);
  const std::vector<NewText> texts = make_room(audio, change, list.items);
  fill_in(audio, texts, list.items, [](DWORD id, const std::string& text) {
    return is_utf8(text) ? std::optional(InfoItem{id, text, text}) : std::nullopt;
  });
  for (const NewText& text : texts)
    edit.append({text.id, *text.setting->text});
}

} // namespace

std::vector<std::string> change_texts(const AudioFile& audio, const TagChange& change, ChunkEdit& edit) {
  InfoList list = read_info_list(audio);
  if (!list.problem.empty() && !change.clear)
    fail(audio, "its texts hold " + list.problem + ": --clear removes them all, then others can be set");
  const bool is_riff = audio.kind == Container::kRiff || audio.kind == Container::kRf64;
  if (change.page && !is_riff) fail(audio, "only the texts of RIFF files are in a code page");
  if (is_riff) return change_riff_texts(audio, change, list, edit);
  if (is_aiff(audio))
    change_aiff_texts(audio, change, list, edit);
  else
    change_summary_list(audio, change, list, edit);
  return {};
}

} // namespace qv::tool
