// Planning where every box of a tree is written, and whether the media can stay where it is.
#pragma once

#include "qv/mp4/boxes.h"

#include <vector>

namespace fileutil {

/// Sets the planned position and size of every box, as BoxWriter writes them: one behind the other from position 0,
/// each header of 8 bytes, whatever its box was read with. The tree stays the caller's.
///
/// A "free" box directly in front of "mdat" grows or shrinks by what has changed before it, down to its header alone,
/// so that the media stays where it is. Where it cannot, mustCopy() says so, and all of the media moves by
/// getMediaDataOffset(). The last "mdat" met decides, also over an unknown box in front of it that has moved: who
/// updates files with such boxes looks at their planned positions.
///
/// "MTSM", "MTHD", "MTDF", "MDST", "MTDT", "PNG " and MetaDataSampleData are passed over, as nothing writes them: they
/// keep what was planned before, and take no room.
///
/// A derived class may lay boxes out differently: headerLength() is what a box has in front of its payload,
/// visitContainer() plans whatever stands behind the fields of a box with children.
class QV_API PrepareWrite : public BoxVisitor {
public:
  using BoxVisitor::visit;

  explicit PrepareWrite(Boxes* root);
  ~PrepareWrite() override;

  /// Once for each PrepareWrite.
  void doIt();
  /// Whether a box whose payload is in the source alone moves: the file cannot be written in place.
  bool mustCopy() const { return mustCopy_; }
  /// The planned position of "mdat" minus that as read, which chunk offsets are to be shifted by; 0 without one.
  int64_t getMediaDataOffset() const;

  /// The lists that are being walked, innermost last.
  void push(Boxes* list) { lists_.push_back(list); }
  void pop() { lists_.pop_back(); }
  /// The innermost list, or null.
  Boxes* back() const { return lists_.empty() ? nullptr : lists_.back(); }
  /// Bytes planned so far.
  uint64_t& currentSize() { return currentSize_; }
  /// Where the next box goes.
  uint64_t& currentPos() { return currentPos_; }

  void visit(ContainerBox<QvFourCC("MTSM")>* box) override;
  void visit(FileTypeBox* box) override;
  void visit(MovieHeaderBox* box) override;
  void visit(TrackHeaderBox* box) override;
  void visit(MediaHeaderBox* box) override;
  void visit(MediaHandlerReferenceBox* box) override;
  void visit(SoundMediaInfoHeaderBox* box) override;
  void visit(DataReferenceBox* box) override;
  void visit(UrlBox* box) override;
  void visit(SampleDescriptionBox* box) override;
  void visit(Mpeg4AudioSampleEntry* box) override;
  void visit(PNGSampleEntryBox* box) override;
  void visit(ElementaryStreamDescriptorBox* box) override;
  void visit(InitialObjectDescriptorBox* box) override;
  void visit(TimeToSampleBox* box) override;
  void visit(SampleToChunkBox* box) override;
  void visit(SampleSizeBox* box) override;
  void visit(ChunkOffsetBox* box) override;
  void visit(ChunkLargeOffsetBox* box) override;
  void visit(MediaDataBox* box) override;
  void visit(FreeBox* box) override;
  void visit(MetaBox* box) override;
  void visit(ID3v2MetaBox* box) override;
  void visit(RecordingYearBox* box) override;
  void visit(UserSpecificMetaData* box) override;
  void visit(MetaDataContainerBox* box) override;
  void visit(ID3v23MetaDataBox* box) override;
  void visit(UnknownGuidBox* box) override;
  void visit(UnknownBox* box) override;

protected:
  void visitContainer(IContainerBox* box) override;
  void visitData(IDataBox* box) override;
  void visitTag(ITagBox* box) override;
  void visitAsset(IThreeGPPAssetMetaBox* box) override;
  /// Unknown boxes and "uuid" of unknown extended type: their size stays.
  virtual void visitSourcePayload(IBox* box);

  /// Bytes of a box in front of its payload.
  virtual uint64_t headerLength(const IBox* box) const;
  /// A box without children whose payload has that length.
  void planLeaf(IBox* box, uint64_t payload);
  /// A box with children behind fields of that length.
  void planContainer(IContainerBox* box, uint64_t fields);
  /// Moves the running size and position on.
  void advance(uint64_t bytes);
  void setMustCopy(bool mustCopy) { mustCopy_ = mustCopy; }
  /// "free" boxes in the order in which they were met.
  const std::vector<FreeBox*>& freeBoxes() const { return freeBoxes_; }

private:
  void walk(Boxes* list);
  FreeBox* getPrevFreeBox(MediaDataBox* media);
  bool updateFreeSize(FreeBox* room, const MediaDataBox* media);

  Boxes* root_;
  std::vector<Boxes*> lists_;
  const IBox* previous_ = nullptr; // in the innermost list; null at its beginning
  std::vector<FreeBox*> freeBoxes_;
  uint64_t currentSize_ = 0;
  uint64_t currentPos_ = 0;
  MediaDataBox* media_ = nullptr;
  bool mustCopy_ = false;
};

} // namespace fileutil
