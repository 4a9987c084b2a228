// Values of fields as text in UTF-8.
#pragma once

#include "qv/mp4/box.h"

#include <span>
#include <string>

namespace fileutil {

/// Three letters of ISO 639-2; a number where it is not packed from letters, as QuickTime's are.
std::string languageText(uint16_t language);

/// As it is printed: "BA91547A-D233-4774-AC94-9B6C0F04595C".
std::string guidText(const GUID& guid);

/// Up to the first zero: UTF-16 where it begins with a byte order mark, otherwise as it stands.
std::string storedText(std::span<const uint8_t> text);

/// UTF-16, big-endian, the whole of it.
std::string utf16Text(std::span<const uint8_t> text);

/// The name of a handler: it ends in a zero, or begins with its length as QuickTime's does.
std::string handlerName(std::span<const uint8_t> name);

} // namespace fileutil
