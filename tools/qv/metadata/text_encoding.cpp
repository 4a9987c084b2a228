#include "tools/qv/metadata/text_encoding.h"

#include "tools/qv/file/audio_file.h"
#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/list_items.h"
#include "tools/qv/text.h"

#include "qv/chunk_id.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kCharacterSetId = QvFourCC("CSET");

struct Page {
  WORD number; ///< in a "CSET" chunk
  CodePage page;
};

/// Texts that are called ISO 8859-1 (28591) have the quotes and dashes of 1252 where that standard has controls.
constexpr Page kPages[] = {{1252, CodePage::k1252}, {28591, CodePage::k1252}, {65001, CodePage::kUtf8}};

WString utf16_from(UINT page, std::string_view bytes) {
  WString wide(bytes.size(), WCHAR{0}); // no page takes more units than bytes
  const int size = static_cast<int>(bytes.size());
  const int count = bytes.empty() ? 0 : MultiByteToWideChar(page, 0, bytes.data(), size, wide.data(), size);
  wide.resize(static_cast<size_t>(count));
  return wide;
}

} // namespace

const char* page_name(CodePage page) { return page == CodePage::kUtf8 ? "UTF-8" : "code page 1252"; }

std::optional<CharacterSet> character_set_of(const AudioFile& audio) {
  for (const ChunkEntry& chunk : audio.chunks) {
    if (chunk.id != kCharacterSetId || chunk.size < sizeof(CharacterSet)) continue;
    const std::string data = chunk_data(audio, chunk, sizeof(CharacterSet));
    ChunkBytes bytes(data, byte_order_of(audio));
    const CharacterSet set = {bytes.word<WORD>(), bytes.word<WORD>(), bytes.word<WORD>(), bytes.word<WORD>()};
    if (!bytes.is_short()) return set;
  }
  return std::nullopt;
}

TextEncoding choose_encoding(std::optional<CharacterSet> named, const std::vector<std::string_view>& texts) {
  const bool all_ascii = std::all_of(texts.begin(), texts.end(), is_ascii);
  const bool all_utf8 = all_ascii || std::all_of(texts.begin(), texts.end(), is_utf8);
  const WORD number = named ? named->code_page : WORD{0};
  const auto known = std::find_if(std::begin(kPages), std::end(kPages), [=](Page row) { return row.number == number; });
  if (known != std::end(kPages) && (known->page != CodePage::kUtf8 || all_utf8)) return {known->page, all_ascii, false};
  return {all_utf8 ? CodePage::kUtf8 : CodePage::k1252, all_ascii, !all_ascii};
}

TextEncoding encoding_from(std::optional<CharacterSet> named, const ListItems& info, const ListItems& labels) {
  std::vector<std::string_view> texts;
  for (const ListItem& item : info.items)
    texts.push_back(text_part(item.bytes));
  for (const ListItem& item : labels.items) {
    const std::optional<size_t> offset = label_text_offset(item.id);
    if (offset && *offset <= item.bytes.size())
      texts.push_back(text_part(std::string_view(item.bytes).substr(*offset)));
  }
  return choose_encoding(named, texts);
}

TextEncoding encoding_of(const AudioFile& audio) {
  const ListItems info = read_list_items(audio, QVSUMMARY_FORM_INFO);
  const ListItems labels = read_list_items(audio, QVRIFF_LIST_ADTL);
  return encoding_from(character_set_of(audio), info, labels);
}

std::string decode(std::string_view bytes, CodePage page) {
  return utf8(utf16_from(static_cast<UINT>(page), text_part(bytes)));
}

std::optional<std::string> encode(const std::string& text, CodePage page) {
  if (!is_utf8(text)) return std::nullopt;
  if (page == CodePage::kUtf8 || is_ascii(text)) return text;
  const WString wide = utf16_from(CP_UTF8, text);
  std::string bytes(wide.size(), '\0');
  BOOL lacks = FALSE;
  const int count = static_cast<int>(wide.size());
  // Without the flag Windows takes what looks like a character for it.
  WideCharToMultiByte(static_cast<UINT>(page), WC_NO_BEST_FIT_CHARS, wide.data(), count, bytes.data(), count, nullptr,
                      &lacks);
  if (lacks) return std::nullopt;
  return bytes;
}

bool is_ascii(std::string_view bytes) {
  return std::all_of(
      bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool is_utf8(std::string_view bytes) {
  const int size = static_cast<int>(bytes.size());
  return bytes.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0) != 0;
}

std::string decode_alone(std::string_view bytes) {
  const std::string_view text = text_part(bytes);
  return decode(text, is_utf8(text) ? CodePage::kUtf8 : CodePage::k1252);
}

} // namespace qv::tool
