// What the fields of format headers and records mean: sizes, speaker masks, sub-formats.
#pragma once

#include "qv/audio.h"

#include <cstddef>
#include <cstring>

namespace qv::audio {

// ---- sizes ---------------------------------------------------------------------------------------------------------

/// A header before its cbSize, where one of tag 1 or 3 may end; with it; and as a whole extensible one.
inline constexpr DWORD kBareBytes = offsetof(WAVEFORMATEX, cbSize);
inline constexpr DWORD kHeaderBytes = sizeof(WAVEFORMATEX);
inline constexpr DWORD kExtensibleBytes = sizeof(WAVEFORMATEXTENSIBLE);
static_assert(kBareBytes == 16 && kHeaderBytes == 18 && kExtensibleBytes == 40);

/// What cbSize counts in an extensible header that has nothing more.
inline constexpr WORD kExtensibleExtra = kExtensibleBytes - kHeaderBytes;

/// A record without extra bytes, and where these begin.
inline constexpr DWORD kRecordBytes = offsetof(_qvwaveformat, extraSize);
inline constexpr DWORD kRecordExtra = offsetof(_qvwaveformat, extra);
static_assert(kRecordBytes == 32 && kRecordExtra == 34);

/// Tags of headers that may be bare.
constexpr bool may_be_bare(DWORD tag) { return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT; }

// ---- speaker masks -------------------------------------------------------------------------------------------------

/// (1 << channels) - 1, all ones from 32 channels on.
constexpr DWORD default_channel_mask(DWORD channels) { return channels >= 32 ? ~DWORD{0} : (DWORD{1} << channels) - 1; }

constexpr bool is_default_mask(DWORD channels, DWORD mask) {
  return mask == 0 || mask == default_channel_mask(channels);
}

/// Equal when a mask of 0 stands for the default.
constexpr bool same_channel_mask(DWORD channels, DWORD a, DWORD b) {
  const DWORD standard = default_channel_mask(channels);
  return (a == 0 ? standard : a) == (b == 0 ? standard : b);
}

// ---- sub-formats ---------------------------------------------------------------------------------------------------
// GUIDs of the form xxxxxxxx-0000-0010-8000-00AA00389B71, whose first field holds a format tag (Microsoft, "Converting
// Between Format Tags and Subformat GUIDs").

/// The sub-format of a format tag.
inline GUID sub_format_of_tag(uint32_t tag) {
  return GUID{tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

inline bool equal_guid(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }

/// Whether the GUID has the pattern, with a zero upper half of its first field.
inline bool names_format_tag(const GUID& guid) { return equal_guid(guid, sub_format_of_tag(guid.Data1 & 0xFFFF)); }

inline bool is_zero_guid(const GUID& guid) { return equal_guid(guid, GUID{}); }

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

} // namespace qv::audio
