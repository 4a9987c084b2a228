// Sub-formats of extensible wave headers: GUIDs of the form xxxxxxxx-0000-0010-8000-00AA00389B71, whose first field
// holds a format tag (Microsoft, "Converting Between Format Tags and Subformat GUIDs").
#pragma once

#include "qv/win32.h"

#include <cstddef>
#include <cstring>

namespace qv::audio {

/// The sub-format of a format tag.
inline GUID sub_format_of_tag(uint32_t tag) {
  return GUID{tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

inline bool equal_guid(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }

/// Whether the GUID has the pattern, with a zero upper half of its first field.
inline bool names_format_tag(const GUID& guid) { return equal_guid(guid, sub_format_of_tag(guid.Data1 & 0xFFFF)); }

inline bool is_zero_guid(const GUID& guid) { return equal_guid(guid, GUID{}); }

/// Extra bytes that a WAVEFORMATEXTENSIBLE has beyond a WAVEFORMATEX.
inline constexpr WORD kExtensibleExtra = 22;

/// The whole of a header whose tag says that it is extensible.
inline const WAVEFORMATEXTENSIBLE& as_extensible(const WAVEFORMATEX& format) {
  return *reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(&format);
}

/// The sub-format of an extensible header (a copy: headers are packed, a GUID is not).
inline GUID sub_format_of(const WAVEFORMATEX& format) {
  GUID guid;
  std::memcpy(&guid, reinterpret_cast<const BYTE*>(&format) + offsetof(WAVEFORMATEXTENSIBLE, SubFormat), sizeof guid);
  return guid;
}

/// Bytes before cbSize: a record of tag 1 or 3 may end there.
inline constexpr DWORD kPlainBytes = 16;

} // namespace qv::audio
