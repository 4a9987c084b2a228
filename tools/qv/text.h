// Text between the program's UTF-8 and the library's UTF-16.
#pragma once

#include "qv/audio.h"

#include <optional>
#include <string>

namespace qv::tool {

std::string utf8(const WString& text);
/// Nothing when the text is not UTF-8.
std::optional<WString> utf16(const std::string& text);

/// A file name from the command line. Throws Failure for one that is empty or not UTF-8.
WString path_from(const std::string& name);
/// Whether a file of that name is a Wave64 file: it ends in .w64.
bool is_wave64_name(const std::string& name);

/// A four-character code as Latin-1 text.
std::string code_text(DWORD code);
/// The same for a terminal: control characters as '.'.
std::string printable_code(DWORD code);
/// A text on one line of a terminal: '|' for line feeds, '.' for other control characters, those of Latin-1 included,
/// as UTF-8 or as bytes that are none, and for marks that turn the direction of writing.
std::string printable(const std::string& text);
/// The text with something else for each of those.
std::string with_harmless(const std::string& text, std::string (*shown_for)(char32_t));

/// "PCM, 48,000 Hz, 16 Bit, Mono".
std::string format_text(DWORD tag, const WAVEFORMATEX* header);

} // namespace qv::tool
