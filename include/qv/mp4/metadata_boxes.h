// Boxes that say what a file is called, and by whom it is: items of "ilst", 3GPP asset boxes, ID3v2 tags, and the boxes
// of timed metadata.
#pragma once

#include "qv/mp4/box.h"
#include "qv/mp4/id3.h"

#include <memory>

namespace fileutil {

/// "data" inside an item of "ilst".
class QV_API IDataBox : public IBox {
public:
  virtual uint32_t typeIndicator() const = 0;
  std::array<uint8_t, 4> locale{}; ///< written as it was read
  Bytes value;
};

template <DWORD kIndicator>
class DataBox : public BoxOf<DataBox<kIndicator>, IDataBox, QvFourCC("data")> {
public:
  uint32_t typeIndicator() const override { return kIndicator; }
};

class QV_API UnknownDataBox : public BoxOf<UnknownDataBox, IDataBox, QvFourCC("data")> {
public:
  uint32_t typeIndicator() const override { return indicator; }
  uint32_t indicator = 0;
};

/// "mean" and "name" inside a "----" item.
class QV_API ITagBox : public FullBox {
public:
  Bytes text;
};
template <FourCC kType>
class TagBox : public BoxOf<TagBox<kType>, ITagBox, kType> {};

/// 3GPP TS 26.244, clause 8.
class QV_API IThreeGPPAssetMetaBox : public FullBox {
public:
  uint16_t language = 0x55C4; ///< packed, 5 bits a letter; 0x55C4 is "und"
  Bytes text;                 ///< with its terminator, and the track byte of "albm"
};
template <FourCC kType>
class ThreeGPPAssetMetaBox : public BoxOf<ThreeGPPAssetMetaBox<kType>, IThreeGPPAssetMetaBox, kType> {};

class QV_API RecordingYearBox : public BoxOf<RecordingYearBox, FullBox, QvFourCC("yrrc")> {
public:
  Bytes payload;
};

class QV_API ID3v2MetaBox : public BoxOf<ID3v2MetaBox, FullBox, QvFourCC("ID32")> {
public:
  uint16_t language = 0x55C4;
  std::unique_ptr<id3meta::Header> tag; ///< null where the payload holds none
};

// ---- timed metadata: kept as bytes ---------------------------------------------------------------------------------

template <class Box, class Base, FourCC kType>
class RawBoxOf : public BoxOf<Box, Base, kType> {
public:
  Bytes payload;
};

class QV_API MetaDataSampleManagerHeaderBox
    : public RawBoxOf<MetaDataSampleManagerHeaderBox, FullBox, QvFourCC("MTHD")> {};
class QV_API MetaTypeDefinitionBox : public RawBoxOf<MetaTypeDefinitionBox, IBox, QvFourCC("MTDF")> {};
class QV_API MetaDataSampleTableBox : public RawBoxOf<MetaDataSampleTableBox, FullBox, QvFourCC("MDST")> {};
class QV_API MetaDataBox : public RawBoxOf<MetaDataBox, IBox, QvFourCC("MTDT")> {};

} // namespace fileutil
