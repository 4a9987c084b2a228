// The descriptive texts of a file, each under an id: the "INFO" lists of RIFF and RF64, the summary lists of Wave64,
// the text chunks of AIFF. What is not understood is kept as bytes.
#pragma once

#include "tools/qv/metadata/list_items.h"
#include "tools/qv/metadata/text_encoding.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct InfoItem {
  DWORD id = 0;      ///< its characters in file order
  std::string bytes; ///< as in the file, of Wave64 too; a terminator may be among them
  std::string text;  ///< UTF-8
};

struct InfoList {
  std::vector<InfoItem> items; ///< ids need not be unique
  TextEncoding encoding;       ///< of RIFF and RF64
  std::string problem;         ///< why not all could be read; empty where it was
};

/// Reads the texts of all lists, one list behind the other. Prints no warning.
InfoList read_info_list(const AudioFile& audio);

/// The first text under an id; null when there is none.
const std::string* find_text(const InfoList& list, DWORD id);

/// An item whose text is stored in a page, terminated. Nothing when the page lacks a character.
std::optional<InfoItem> info_item(DWORD id, const std::string& text, CodePage page);
/// The data of a "LIST" chunk of the form "INFO".
std::string info_list_data(const std::vector<InfoItem>& items);

/// An item whose text is stored in UTF-16, terminated. Nothing when the text is not UTF-8.
std::optional<InfoItem> summary_item(DWORD id, const std::string& text);
/// The data of a Wave64 summary list: how many items; of each its id, how many bytes, and these.
std::string summary_list_data(const std::vector<InfoItem>& items);
/// The GUID of Wave64's summary list. It does not begin with characters as others do.
inline constexpr GUID kSummaryListGuid = {0x925F94BC, 0x525A, 0x11D2, {0x86, 0xDC, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}};

} // namespace qv::tool
