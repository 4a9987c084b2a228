// What the codes of an MP4 file mean, in words.
#pragma once

#include "qv/mp4/four_cc.h"

#include <cstdint>
#include <string>

namespace qv::tool {

/// Of a sample entry's type; its four characters where they are not known.
std::string codec_name(fileutil::FourCC type);
/// Of an object type indication of "esds": ISO/IEC 14496-1, table 5, and https://mp4ra.org.
std::string object_type_name(uint32_t indication);
/// Of an audio object type: ISO/IEC 14496-3, table 1.17.
std::string audio_object_name(uint32_t type);
/// Of a track, by its handler: "audio", "video"; its four characters where they are not known,
/// "unknown" for none.
std::string track_kind_name(fileutil::FourCC handler);
/// Of a file, by its major brand; "MP4" where nothing better is known. "QuickTime" without one.
std::string container_name(fileutil::FourCC major_brand);
/// "deu", from a media header's language: three letters of five bits each (ISO 639-2/T), or QuickTime's number of it.
/// "und" where the number is not known.
std::string language_code(uint16_t packed);
/// Of a number of ID3v1's list, 1 for the first, as "gnre" has it; the number itself where it is not known.
std::string genre_name(uint32_t number);

} // namespace qv::tool
