// Visiting a tree of boxes: all work on it, as reading payloads, printing, writing and finding metadata, is done by
// classes derived from IBoxVisitor.
#pragma once

#include "qv/export.h"
#include "qv/mp4/box_table.h"

namespace fileutil {

class IBox;
class IContainerBox;
class IDataBox;
class ITagBox;
class IThreeGPPAssetMetaBox;
class UnknownBox;
class UnknownItemBox;
class UnknownDataBox;
template <FourCC kType>
class ContainerBox;
template <FourCC kType>
class ItemContainerBox;
template <FourCC kType>
class TagBox;
template <FourCC kType>
class ThreeGPPAssetMetaBox;
template <DWORD kIndicator>
class DataBox;
// The classes of QV_MP4_BOX_TABLE and QV_MP4_GUID_TABLE that are no templates.
class FileTypeBox;
class MovieHeaderBox;
class TrackHeaderBox;
class MediaHeaderBox;
class MediaHandlerReferenceBox;
class SoundMediaInfoHeaderBox;
class DataReferenceBox;
class UrlBox;
class SampleDescriptionBox;
class Mpeg4AudioSampleEntry;
class PNGSampleEntryBox;
class ElementaryStreamDescriptorBox;
class InitialObjectDescriptorBox;
class TimeToSampleBox;
class SampleToChunkBox;
class SampleSizeBox;
class ChunkOffsetBox;
class ChunkLargeOffsetBox;
class MediaDataBox;
class FreeBox;
class MetaBox;
class ID3v2MetaBox;
class RecordingYearBox;
class MetaDataSampleManagerHeaderBox;
class MetaTypeDefinitionBox;
class MetaDataSampleTableBox;
class MetaDataBox;
class UserSpecificMetaData;
class MetaDataContainerBox;
class MetaDataSampleData;
class ID3v23MetaDataBox;
class UnknownGuidBox;

#define QV_MP4_CONTAINER_CLASS(type, place, factories) QV_MP4_CLASS_ROW(ContainerBox<QvFourCC(type)>)
#define QV_MP4_ITEM_CLASS(type) QV_MP4_CLASS_ROW(ItemContainerBox<QvFourCC(type)>)
#define QV_MP4_BOX_CLASS(type, Class, place, factories) QV_MP4_CLASS_ROW(Class)
#define QV_MP4_ASSET_CLASS(type) QV_MP4_CLASS_ROW(ThreeGPPAssetMetaBox<QvFourCC(type)>)
#define QV_MP4_DATA_CLASS(indicator) QV_MP4_CLASS_ROW(DataBox<indicator>)
/// Define QV_MP4_CLASS_ROW(class) first.
#define QV_MP4_EVERY_CLASS                                                                                             \
  QV_MP4_CONTAINER_TABLE(QV_MP4_CONTAINER_CLASS)                                                                       \
  QV_MP4_ITEM_TABLE(QV_MP4_ITEM_CLASS)                                                                                 \
  QV_MP4_BOX_TABLE(QV_MP4_BOX_CLASS)                                                                                   \
  QV_MP4_ASSET_TABLE(QV_MP4_ASSET_CLASS)                                                                               \
  QV_MP4_DATA_TABLE(QV_MP4_DATA_CLASS)                                                                                 \
  QV_MP4_GUID_TABLE(QV_MP4_CLASS_ROW)                                                                                  \
  QV_MP4_CLASS_ROW(UnknownBox) QV_MP4_CLASS_ROW(UnknownItemBox) QV_MP4_CLASS_ROW(UnknownDataBox)

/// One overload for every concrete class. A visitor changes what it is given or keeps pointers into it at its own risk:
/// the tree owns its boxes.
class QV_API IBoxVisitor {
public:
  virtual ~IBoxVisitor() = default;
#define QV_MP4_CLASS_ROW(Class) virtual void visit(Class* box) = 0;
  QV_MP4_EVERY_CLASS
#undef QV_MP4_CLASS_ROW
};

/// Visits whole trees: the overload of a class with children calls accept() on each in list order, that of a leaf does
/// nothing. A visitor that needs some boxes overrides their overloads, or, where it treats a group alike, the group's
/// function, which the overloads of its classes call.
class QV_API BoxVisitor : public IBoxVisitor {
public:
#define QV_MP4_CLASS_ROW(Class) void visit(Class* box) override;
  QV_MP4_EVERY_CLASS
#undef QV_MP4_CLASS_ROW

protected:
  /// Any box with children: visits them.
  virtual void visitContainer(IContainerBox* box);
  /// "data" of any indicator.
  virtual void visitData(IDataBox* box);
  /// "mean" and "name".
  virtual void visitTag(ITagBox* box);
  /// The 3GPP asset boxes with a text.
  virtual void visitAsset(IThreeGPPAssetMetaBox* box);
  /// Any other box without children.
  virtual void visitLeaf(IBox* box);

private:
  void visitGroup(IContainerBox* box) { visitContainer(box); }
  void visitGroup(IDataBox* box) { visitData(box); }
  void visitGroup(ITagBox* box) { visitTag(box); }
  void visitGroup(IThreeGPPAssetMetaBox* box) { visitAsset(box); }
  void visitGroup(IBox* box) { visitLeaf(box); }
};

} // namespace fileutil
