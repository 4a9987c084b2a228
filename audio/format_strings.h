// The texts that describe audio formats, in every language of the library.
#pragma once

#include "qv/language.h"

#include <cstdint>

namespace qv::audio {

enum class FormatString : uint32_t {
  kPcm,
  kPcmFloat,
  kPcmUnpacked,
  kPcmSigned,
  kPcmBigEndian,
  kUnknown,
  kMono,
  kStereo,
  kFiveOne,
  kSevenOne,
  kChannels,     ///< %d channels
  kAttribs,      ///< $d rate, %d bits, %s channel text
  kAttribsFloat, ///< the same for IEEE float
  kBits,         ///< %d bits
  kBitsFloat,    ///< %d bits
  kBitsUnpacked,
  kBitsSigned,
  kBitsMac, ///< %d bits
  kBitsRa,  ///< %d bits
  kCount
};

/// The record of a text. Every translation takes the arguments that the English text takes, in the same order.
const QVSTRINGRECORD& format_string_record(FormatString string);

/// The text in the language in force.
inline const WCHAR* format_string(FormatString string) { return QvLanguage_Text(&format_string_record(string)); }

} // namespace qv::audio
