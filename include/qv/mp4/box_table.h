// The types of boxes, one row each: type, class, where it is known, what it is, and the factories that register it.
// Everything that must know all boxes (the visitor's overloads, the factories, the names that are printed) reads these
// tables.
//
//     ROW(type, class, place, factories)
//
//   place      where a box of this type is one of this class. ANYWHERE: everywhere but directly inside "ilst" and its
//              items; IN_META: as ANYWHERE for BoxFactory, directly inside "meta" for the other two; IN_ITEM: directly
//              inside an item of "ilst". Elsewhere it is an UnknownBox.
//   factories  GENERAL: BoxFactory, of readFile(); META: ReadMetaFactory, of readMeta(); UPDATE: MetaFactory, of
//              readMetaForUpdate(). The kind of payload is that of the class.
#pragma once

#include "qv/mp4/four_cc.h"

// clang-format off
/// Containers that are ContainerBox<type>, and hold nothing but children.
#define QV_MP4_CONTAINER_TABLE(ROW)                                                                          \
  ROW("moov", ANYWHERE, GENERAL | META | UPDATE)                                                             \
  ROW("trak", ANYWHERE, GENERAL | UPDATE)                                                                    \
  ROW("mdia", ANYWHERE, GENERAL | UPDATE)                                                                    \
  ROW("minf", ANYWHERE, GENERAL | UPDATE)                                                                    \
  ROW("dinf", ANYWHERE, GENERAL)                                                                             \
  ROW("stbl", ANYWHERE, GENERAL | UPDATE)                                                                    \
  ROW("udta", ANYWHERE, GENERAL | META | UPDATE)                                                             \
  ROW("ilst", ANYWHERE, GENERAL | META | UPDATE)                                                             \
  ROW("MTSM", ANYWHERE, GENERAL)

/// Items of "ilst", ItemContainerBox<type>: their children are "data", or "mean", "name" and "data" for "----". Known
/// directly inside "ilst" alone, in every mode of reading, to ItemFactory; any other type there is an UnknownItemBox,
/// which is a container too. "\251" is the byte A9.
#define QV_MP4_ITEM_TABLE(ROW)                                                                               \
  ROW("\251nam") ROW("\251ART") ROW("aART") ROW("\251alb") ROW("\251gen") ROW("gnre") ROW("trkn")            \
  ROW("\251too") ROW("covr") ROW("\251des") ROW("\251cmt") ROW("\251wrt") ROW("keyw") ROW("\251day")         \
  ROW("\251cpy") ROW("----")

/// Boxes with a payload of their own.
#define QV_MP4_BOX_TABLE(ROW)                                                                                \
  ROW("ftyp", FileTypeBox,                    ANYWHERE, GENERAL | META)                                      \
  ROW("mvhd", MovieHeaderBox,                 ANYWHERE, GENERAL)                                             \
  ROW("tkhd", TrackHeaderBox,                 ANYWHERE, GENERAL)                                             \
  ROW("mdhd", MediaHeaderBox,                 ANYWHERE, GENERAL)                                             \
  ROW("hdlr", MediaHandlerReferenceBox,       IN_META,  GENERAL | META | UPDATE)                             \
  ROW("smhd", SoundMediaInfoHeaderBox,        ANYWHERE, GENERAL)                                             \
  ROW("dref", DataReferenceBox,               ANYWHERE, GENERAL)                                             \
  ROW("url ", UrlBox,                         ANYWHERE, GENERAL)                                             \
  ROW("stsd", SampleDescriptionBox,           ANYWHERE, GENERAL)                                             \
  ROW("mp4a", Mpeg4AudioSampleEntry,          ANYWHERE, GENERAL)                                             \
  ROW("PNG ", PNGSampleEntryBox,              ANYWHERE, GENERAL)                                             \
  ROW("esds", ElementaryStreamDescriptorBox,  ANYWHERE, GENERAL)                                             \
  ROW("iods", InitialObjectDescriptorBox,     ANYWHERE, GENERAL)                                             \
  ROW("stts", TimeToSampleBox,                ANYWHERE, GENERAL)                                             \
  ROW("stsc", SampleToChunkBox,               ANYWHERE, GENERAL)                                             \
  ROW("stsz", SampleSizeBox,                  ANYWHERE, GENERAL)                                             \
  ROW("stco", ChunkOffsetBox,                 ANYWHERE, GENERAL | UPDATE)                                    \
  ROW("co64", ChunkLargeOffsetBox,            ANYWHERE, GENERAL | UPDATE)                                    \
  ROW("mdat", MediaDataBox,                   ANYWHERE, GENERAL | UPDATE)                                    \
  ROW("free", FreeBox,                        ANYWHERE, GENERAL | UPDATE)                                    \
  ROW("meta", MetaBox,                        ANYWHERE, GENERAL | META | UPDATE)                             \
  ROW("ID32", ID3v2MetaBox,                   ANYWHERE, GENERAL | META | UPDATE)                             \
  ROW("yrrc", RecordingYearBox,               ANYWHERE, GENERAL | META | UPDATE)                             \
  ROW("mean", TagBox<QvFourCC("mean")>,       IN_ITEM,  GENERAL | META | UPDATE)                             \
  ROW("name", TagBox<QvFourCC("name")>,       IN_ITEM,  GENERAL | META | UPDATE)                             \
  ROW("MTHD", MetaDataSampleManagerHeaderBox, ANYWHERE, GENERAL)                                             \
  ROW("MTDF", MetaTypeDefinitionBox,          ANYWHERE, GENERAL)                                             \
  ROW("MDST", MetaDataSampleTableBox,         ANYWHERE, GENERAL)                                             \
  ROW("MTDT", MetaDataBox,                    ANYWHERE, GENERAL)

/// 3GPP asset boxes, ThreeGPPAssetMetaBox<type>: 3GPP TS 26.244, clause 8. Known anywhere but inside "ilst".
#define QV_MP4_ASSET_TABLE(ROW) ROW("titl") ROW("dscp") ROW("cprt") ROW("perf") ROW("gnre") ROW("albm")

/// The well-known type indicators of "data", DataBox<indicator>; any other is an UnknownDataBox. "data" is known inside
/// an item alone, in every mode of reading.
#define QV_MP4_DATA_TABLE(ROW) ROW(0) ROW(1) ROW(2) ROW(3) ROW(13) ROW(14) ROW(21) ROW(22) ROW(23) ROW(24) ROW(27)

/// Classes of "uuid" boxes, which are told apart by their extended type. kId3v23MetaDataType is the only one that is
/// registered; the others are made by callers.
#define QV_MP4_GUID_TABLE(ROW) \
  ROW(UserSpecificMetaData) ROW(MetaDataContainerBox) ROW(MetaDataSampleData) ROW(ID3v23MetaDataBox) ROW(UnknownGuidBox)
// clang-format on
