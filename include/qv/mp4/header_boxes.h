// Boxes that describe a file, its tracks and their media: ISO/IEC 14496-12, clauses 4.3, 8.2 to 8.4 and 8.7.
//
// Fields are named and ordered as there. "mvhd", "tkhd" and "mdhd" of version 1, which have 64-bit times, keep their
// payload behind the version word as `payload`, and their fields stay as constructed; it is empty otherwise.
#pragma once

#include "qv/mp4/box.h"

namespace fileutil {

inline constexpr std::array<uint32_t, 9> kUnityMatrix = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};

class QV_API FileTypeBox : public BoxOf<FileTypeBox, IBox, QvFourCC("ftyp")> {
public:
  FourCC majorBrand = 0;
  std::array<uint8_t, 4> minorVersion{};
  std::vector<FourCC> compatibleBrands; ///< empty where a file has 100 or more
};

class QV_API MovieHeaderBox : public BoxOf<MovieHeaderBox, FullBox, QvFourCC("mvhd")> {
public:
  uint32_t creationTime = 0;     ///< seconds since 1904-01-01, UTC
  uint32_t modificationTime = 0; ///< the same
  uint32_t timescale = 0;        ///< units per second
  uint32_t duration = 0;         ///< in these units
  uint32_t rate = 0x10000;       ///< 16.16
  uint16_t volume = 0x100;       ///< 8.8
  uint16_t reserved = 0;
  std::array<uint32_t, 2> reservedWords{};
  std::array<uint32_t, 9> matrix = kUnityMatrix;
  std::array<uint32_t, 6> preDefined{};
  uint32_t nextTrackId = 1;
  Bytes payload;
};

class QV_API TrackHeaderBox : public BoxOf<TrackHeaderBox, FullBox, QvFourCC("tkhd")> {
public:
  uint32_t creationTime = 0;
  uint32_t modificationTime = 0;
  uint32_t trackId = 0;
  uint32_t reserved = 0;
  uint32_t duration = 0; ///< in the movie's units
  std::array<uint32_t, 2> reservedWords{};
  uint16_t layer = 0;
  uint16_t alternateGroup = 0;
  uint16_t volume = 0; ///< 8.8; 0x100 for sound
  uint16_t reservedAfterVolume = 0;
  std::array<uint32_t, 9> matrix = kUnityMatrix;
  uint32_t width = 0;  ///< 16.16
  uint32_t height = 0; ///< 16.16
  Bytes payload;
};

class QV_API MediaHeaderBox : public BoxOf<MediaHeaderBox, FullBox, QvFourCC("mdhd")> {
public:
  uint32_t creationTime = 0;
  uint32_t modificationTime = 0;
  uint32_t timescale = 0;     ///< units per second of this track
  uint32_t duration = 0;      ///< in these units
  uint16_t language = 0x55C4; ///< packed, 5 bits a letter; 0x55C4 is "und"
  uint16_t preDefined = 0;
  Bytes payload;
};

class QV_API MediaHandlerReferenceBox : public BoxOf<MediaHandlerReferenceBox, FullBox, QvFourCC("hdlr")> {
public:
  std::array<uint8_t, 4> preDefined{};
  FourCC handlerType = 0;
  std::array<uint8_t, 12> reserved{};
  Bytes name; ///< the rest of the payload, with its zero where it has one
};

class QV_API SoundMediaInfoHeaderBox : public BoxOf<SoundMediaInfoHeaderBox, FullBox, QvFourCC("smhd")> {
public:
  uint16_t balance = 0;
  uint16_t reserved = 0;
};

/// Flags 1: the media is in this file, and nothing is stored.
class QV_API UrlBox : public BoxOf<UrlBox, FullBox, QvFourCC("url ")> {
public:
  Bytes location;
};

} // namespace fileutil
