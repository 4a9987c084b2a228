// Whether a wave format record agrees with itself: its fields say some things twice.
#pragma once

#include "qv/audio.h"

#include <optional>
#include <string>

namespace qv::tool {

/// The tags of formats whose samples have a fixed number of bytes.
inline constexpr WORD kALawTag = 6;
inline constexpr WORD kMuLawTag = 7;

bool has_fixed_samples(DWORD tag);
/// The name of a compressed format that is known to be written under a tag; null for any other.
const char* compressed_name(DWORD tag);
/// Whether a record under a tag that is not known may be that of a compressed format all the same.
bool looks_compressed(const WAVEFORMATEX& format);
/// How many bytes of an extensible record's sub format are not as they are where its start is a tag.
size_t strange_bytes(const GUID& sub_format);
/// Those of them that are not zero, and so may be meant.
size_t own_bytes(const GUID& sub_format);
GUID sub_format_of(DWORD tag);
/// The tag, of an extensible record that in its sub format; 0 for a sub format that has none.
DWORD tag_of(const WAVEFORMATEXTENSIBLE& record);

/// Whether samples under this tag may have so many bits in so many bytes.
bool fits_bytes(DWORD tag, DWORD bits, DWORD sample_bytes, bool is_extensible);
/// Whether byte rate, block align, channels and bits are what they are of samples of fixed size, whatever the tag.
bool agrees_as_samples(const WAVEFORMATEX& format, DWORD tag);

/// What in a record contradicts the rest of it; nothing where all agrees, and of a compressed format.
std::optional<std::string> disagreement(const WAVEFORMATEXTENSIBLE& record);

} // namespace qv::tool
