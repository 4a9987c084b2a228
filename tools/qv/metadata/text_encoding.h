// The code page of a file's texts: one for all of its INFO lists, labels and notes. A "CSET" chunk may name it, but few
// programs write one.
#pragma once

#include "qv/win32.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv::tool {

struct AudioFile;
struct ListItems;

enum class CodePage : WORD { k1252 = 1252, kUtf8 = 65001 };

struct TextEncoding {
  CodePage page = CodePage::kUtf8;
  bool is_ascii = true;    ///< no text has another character: every page shows it
  bool is_guessed = false; ///< the texts are not all ASCII, and no "CSET" chunk names a page that they can be in
};

/// The record of a "CSET" chunk, of the Multimedia Programming Interface and Data Specifications 1.0.
struct CharacterSet {
  WORD code_page = 0;
  WORD country = 0;
  WORD language = 0;
  WORD dialect = 0;
};
static_assert(sizeof(CharacterSet) == 8);

/// "UTF-8" or "code page 1252".
const char* page_name(CodePage page);

/// The record of the file's first "CSET" chunk; nothing without a whole one.
std::optional<CharacterSet> character_set_of(const AudioFile& audio);

/// A named page that is known rules, unless it is UTF-8 and a text is not; else the texts are UTF-8 when all of them
/// are; else 1252.
TextEncoding choose_encoding(std::optional<CharacterSet> named, const std::vector<std::string_view>& texts);

/// The same from the items of "INFO" and of "adtl" lists.
TextEncoding encoding_from(std::optional<CharacterSet> named, const ListItems& info, const ListItems& labels);
/// The same for a file: reads its "CSET" chunk, INFO lists, labels and notes.
TextEncoding encoding_of(const AudioFile& audio);

/// Bytes as UTF-8 text, up to the first 0. Every byte has a meaning in 1252; malformed UTF-8 gives U+FFFD.
std::string decode(std::string_view bytes, CodePage page);
/// The way back, without a terminator; nothing when the page lacks a character, or the text is not UTF-8.
std::optional<std::string> encode(const std::string& text, CodePage page);

/// Bytes up to the first 0: what stands behind it is no text.
inline std::string_view text_part(std::string_view bytes) { return bytes.substr(0, bytes.find('\0')); }
bool is_ascii(std::string_view bytes);
bool is_utf8(std::string_view bytes);
/// A text that stands by itself, outside lists: UTF-8 when it is valid, else 1252.
std::string decode_alone(std::string_view bytes);

} // namespace qv::tool
