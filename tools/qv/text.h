// Text between the program's UTF-8 and the library's UTF-16.
#pragma once

#include "qv/win32.h"

#include <filesystem>
#include <optional>
#include <string>

namespace qv::tool {

std::string utf8(const WString& text);
/// Nothing when the text is not UTF-8.
std::optional<WString> utf16(const std::string& text);

/// A file name from the command line. Throws Failure for one that is empty or not UTF-8.
std::filesystem::path path_from(const std::string& name);
WString wide(const std::filesystem::path& path);

/// A four-character code as Latin-1 text.
std::string code_text(DWORD code);
/// The same for a terminal: control characters as '.'.
std::string printable_code(DWORD code);
/// A text on one line of a terminal: '|' for line feeds, '.' for other control characters.
std::string printable(std::string text);

} // namespace qv::tool
