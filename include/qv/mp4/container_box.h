// Boxes with children, and those whose payload is skipped.
#pragma once

#include "qv/mp4/box.h"

namespace fileutil {

/// A payload of children and nothing else: the rows of QV_MP4_CONTAINER_TABLE.
template <FourCC kType>
class ContainerBox : public BoxOf<ContainerBox<kType>, IContainerBox, kType> {};

/// An item of "ilst": the rows of QV_MP4_ITEM_TABLE.
template <FourCC kType>
class ItemContainerBox : public BoxOf<ItemContainerBox<kType>, IContainerBox, kType> {};

/// An item of "ilst" of any other type.
class QV_API UnknownItemBox : public BoxOfAnyType<UnknownItemBox, IContainerBox> {};

using MovieBox = ContainerBox<QvFourCC("moov")>;
using TrackBox = ContainerBox<QvFourCC("trak")>;
using MediaBox = ContainerBox<QvFourCC("mdia")>;
using MediaInformationBox = ContainerBox<QvFourCC("minf")>;
using DataInformationBox = ContainerBox<QvFourCC("dinf")>;
using SampleTableBox = ContainerBox<QvFourCC("stbl")>;
using UserDataBox = ContainerBox<QvFourCC("udta")>;
using ItemListBox = ContainerBox<QvFourCC("ilst")>;

class QV_API MetaBox : public BoxOf<MetaBox, FullContainerBox, QvFourCC("meta")> {};

class QV_API SampleDescriptionBox : public BoxOf<SampleDescriptionBox, FullContainerBox, QvFourCC("stsd")> {
public:
  uint32_t entryCount = 0; ///< as read; a writer sets it to the number of children
};

class QV_API DataReferenceBox : public BoxOf<DataReferenceBox, FullContainerBox, QvFourCC("dref")> {
public:
  uint32_t entryCount = 0;
};

/// Any type that the active factory does not know. Its payload is in the source alone.
class QV_API UnknownBox : public BoxOfAnyType<UnknownBox, IBox> {};

/// Media. Its payload is in the source alone.
class QV_API MediaDataBox : public BoxOf<MediaDataBox, IBox, QvFourCC("mdat")> {
public:
  uint64_t payloadStart = 0; ///< position in the file
  uint64_t payloadEnd = 0;
  bool mustCopy = false; ///< set by PrepareWrite where it cannot stay where it is
};

/// Room. Writers fill it with zeros.
class QV_API FreeBox : public BoxOf<FreeBox, IBox, QvFourCC("free")> {};

// ---- "uuid" --------------------------------------------------------------------------------------------------------

/// The extended type of ID3v23MetaDataBox, {BA91547A-D233-4774-AC94-9B6C0F04595C}. In a file the bytes of a GUID stand
/// in the order in which they are printed.
inline constexpr GUID kId3v23MetaDataType = {
    0xBA91547A, 0xD233, 0x4774, {0xAC, 0x94, 0x9B, 0x6C, 0x0F, 0x04, 0x59, 0x5C}};

/// A box of type "uuid", told apart by the extended type that follows its header.
template <class Base>
class Guided : public Base {
public:
  GUID extendedType{};
};
using GuidBox = Guided<IBox>;
using GuidContainerBox = Guided<IContainerBox>;

class QV_API UserSpecificMetaData : public BoxOf<UserSpecificMetaData, GuidContainerBox, QvFourCC("uuid")> {};
class QV_API MetaDataContainerBox : public BoxOf<MetaDataContainerBox, GuidContainerBox, QvFourCC("uuid")> {};
class QV_API MetaDataSampleData : public BoxOf<MetaDataSampleData, GuidBox, QvFourCC("uuid")> {
public:
  Bytes payload;
};

/// One ID3v2.3 frame: version and flags, a packed language, the frame with its header.
class QV_API ID3v23MetaDataBox : public BoxOf<ID3v23MetaDataBox, Full<GuidBox>, QvFourCC("uuid")> {
public:
  ID3v23MetaDataBox() { extendedType = kId3v23MetaDataType; }
  uint16_t language = 0;
  Bytes frame;
};

/// Its payload is in the source alone.
class QV_API UnknownGuidBox : public BoxOf<UnknownGuidBox, GuidBox, QvFourCC("uuid")> {};

} // namespace fileutil
