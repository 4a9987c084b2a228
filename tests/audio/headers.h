// Wave format headers as files have them.
#pragma once

#include "qv/audio.h"

#include <cstring>
#include <sstream>

/// A header in room for extra bytes.
struct Header {
  WAVEFORMATEXTENSIBLE wfx{};
  BYTE room[2000]{};

  WAVEFORMATEX& plain() { return wfx.Format; }
  const WAVEFORMATEX& plain() const { return wfx.Format; }
  BYTE* bytes() { return reinterpret_cast<BYTE*>(this); }
  void name_sub_format(uint32_t tag) { wfx.SubFormat = {tag, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}}; }
  bool operator==(const Header& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
  /// Extra bytes 1, 2, 3, ..., counted by cbSize.
  void add_extra(WORD count) {
    plain().cbSize = count;
    for (WORD i = 0; i < count; ++i)
      bytes()[sizeof(WAVEFORMATEX) + i] = static_cast<BYTE>(i + 1);
  }
};

inline Header plain_header(WORD tag, DWORD rate, WORD bits, WORD channels) {
  Header header;
  const auto block = static_cast<WORD>(bits / 8 * channels);
  header.plain() = {tag, channels, rate, rate * block, block, bits, 0};
  return header;
}

inline Header extensible_header(uint32_t sub_tag, WORD bits, WORD channels, DWORD mask) {
  Header header = plain_header(WAVE_FORMAT_EXTENSIBLE, 48000, bits, channels);
  header.plain().cbSize = 22;
  header.wfx.Samples.wValidBitsPerSample = bits;
  header.wfx.dwChannelMask = mask;
  header.name_sub_format(sub_tag);
  return header;
}

/// All that a record says of one frame's bytes.
inline std::string told(const _qvwaveformat& record) {
  std::ostringstream out;
  out << "type " << record.sampleType << ", tag " << record.FormatTag() << ", " << record.BitsPerSample() << " bits in "
      << record.BytesPerSample() << ", block " << record.blockAlign << ", average " << record.avgBytesPerSec
      << ", flags " << record.flags << ", mask " << record.channelMask << ", extra " << record.ExtraCount();
  return out.str();
}
