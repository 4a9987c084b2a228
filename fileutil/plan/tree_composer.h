// From boxes to the bytes of the new file.
#pragma once

#include "fileutil/plan/field_writer.h"
#include "fileutil/plan/segment_list.h"
#include "fileutil/plan/tree_record.h"

namespace fileutil {

/// Composes boxes of a changed tree. One that is as it was read is a range of the old file, header and all, and so is
/// what a changed box has kept: its header's form, fields, children, and the bytes behind them.
class TreeComposer : private BoxVisitor {
public:
  explicit TreeComposer(const TreeRecord& record) : record_(record) {}

  /// Refuses a box that cannot be written, and one that would not be read again as it is.
  SegmentList compose(IBox* box);
  /// Room of that many bytes, at least 8, in the place of a "free" box: the end of its payload stays, as far as there
  /// is room for it. Null is no such box.
  SegmentList composeRoom(const FreeBox* box, uint64_t size);
  /// Refuses what follows a box in a list that would become part of it.
  void requireClosed(const IBox* box) const;

private:
  using BoxVisitor::visit;
  void visit(FreeBox* box) override;
  void visit(MediaDataBox* box) override { composeFromFile(box); }
  void visit(UnknownBox* box) override { composeFromFile(box); }
  void visit(UnknownGuidBox* box) override { composeFromFile(box); }
  void visit(ChunkOffsetBox* box) override { composeOffsets(box); }
  void visit(ChunkLargeOffsetBox* box) override { composeOffsets(box); }
  void visit(ID3v2MetaBox* box) override;
  void visitContainer(IContainerBox* box) override;
  void visitData(IDataBox* box) override { composeFields(box); }
  void visitTag(ITagBox* box) override { composeFields(box); }
  void visitAsset(IThreeGPPAssetMetaBox* box) override { composeFields(box); }
  void visitLeaf(IBox* box) override { composeFields(box); }

  const BoxRecord& composeFromFile(const IBox* box);
  /// Tables of offsets into the file are shifted afterwards, in their places.
  template <class OffsetBox>
  void composeOffsets(const OffsetBox* box);
  void composeFields(IBox* box);
  SegmentList composeContent(IContainerBox* box, const BoxRecord* known);
  void putOld(const BoxRecord& known);
  void putHeader(FourCC type, uint64_t size, unsigned headerSize);

  const TreeRecord& record_;
  FieldWriter fields_;
  SegmentList result_; // of the box that is being composed
};

} // namespace fileutil
