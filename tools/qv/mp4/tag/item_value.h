// The value of a "data" box in an item of "ilst", as a text or a picture.
#pragma once

#include "tools/qv/mp4/mp4_summary.h"

#include <optional>
#include <string>
#include <string_view>

namespace qv::tool {

/// Nothing for a value that is no text and no number. `item`: the type of the item, on which the meaning of untyped
/// values depends.
std::optional<std::string> item_text(fileutil::FourCC item, uint32_t indicator, std::string_view value);

/// Whether a value is a picture by its type indicator, or its item.
bool is_picture(fileutil::FourCC item, uint32_t indicator);
/// The kind of a picture by its first bytes.
const char* picture_type(std::string_view start);

/// UTF-8 of bytes that are UTF-8, or UTF-16 behind a byte order mark, up to a zero.
std::string text_of_either(std::string_view bytes);

} // namespace qv::tool
