// Writing a tree of boxes: BoxWriter from their fields, BoxCopy with the payloads that only a source holds.
//
// Both write into each header the planned size of its box. A tree that was read or changed is planned first:
//
//     fileutil::PrepareWrite plan(boxes);
//     plan.doIt();
//     fileutil::BoxCopy copy(out, source, boxes, plan.getMediaDataOffset());
//     copy.doIt();
//
// Nothing is thrown and no result is returned: a stream that fails shows it, as streams do (`copy.out().fail()`). Tree
// and streams stay the caller's; a writer belongs to one thread at a time.
#pragma once

#include "qv/mp4/boxes.h"

#include <fstream>
#include <istream>
#include <span>
#include <vector>

namespace fileutil {

/// Writes boxes from their fields, numbers big-endian, from the position at which `out` stands. Payloads that are not
/// in memory ("mdat", unknown boxes, "uuid" of unknown extended type) are passed over: the stream moves forward by
/// the planned size less 8, and what is there stays. That is how a file is changed in place.
///
/// Descriptors and ID3v2 tags are written with the sizes that PrepareWrite has set.
///
/// "MTSM", "MTHD", "MTDF", "MDST", "MTDT", "PNG " and MetaDataSampleData get their header and nothing else: a tree that
/// holds one as its own class cannot be written.
///
/// A derived class may lay boxes out differently: writeBox() is the header, visitContainer() whatever stands behind the
/// fields of a box with children, visitSourcePayload() a payload that is in the source alone.
class QV_API BoxWriter : public BoxVisitor {
public:
  using BoxVisitor::visit;

  /// `chunkOffsetShift` is added to every offset of "stco" (modulo 2^32) and "co64" as it is written, in the box
  /// itself: afterwards the tree holds the new offsets, and writing it again shifts them again. Any stream buffer will
  /// do: set another one by `static_cast<std::ios&>(out).rdbuf(...)`.
  BoxWriter(std::fstream& out, Boxes* root, int64_t chunkOffsetShift);
  ~BoxWriter() override;

  /// Writes the whole tree. Returns the bytes written, those passed over included.
  uint64_t doIt();
  /// Writes a list at the stream's position, and returns the same for it.
  uint64_t writeBoxes(Boxes* list);
  /// Writes the header alone, by type and planned size. Returns its length.
  virtual uint64_t writeBox(IBox* box);
  uint64_t writeHeader(uint64_t size, FourCC type);
  /// Size and type in 8 bytes, or in 16 where the size is above 0xFFFFFFFF. Returns how many.
  static uint64_t WriteHeader(std::ostream& out, uint64_t size, FourCC type);
  std::fstream& out() { return out_; }

  void visit(ContainerBox<QvFourCC("MTSM")>* box) override;
  void visit(FileTypeBox* box) override;
  void visit(MovieHeaderBox* box) override;
  void visit(TrackHeaderBox* box) override;
  void visit(MediaHeaderBox* box) override;
  void visit(MediaHandlerReferenceBox* box) override;
  void visit(SoundMediaInfoHeaderBox* box) override;
  void visit(DataReferenceBox* box) override;
  void visit(UrlBox* box) override;
  /// Sets the entry count to the number of children first.
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
  /// Zeros.
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
  /// "mdat", unknown boxes and "uuid" of unknown extended type, behind the header: moves `out` forward by the planned
  /// size less 8 and counts that as written.
  virtual void visitSourcePayload(IBox* box);

  /// To the innermost list's count; lost outside writeBoxes().
  void addBytesWritten(uint64_t bytes);
  /// Writes bytes and counts them.
  void writeBytes(std::span<const uint8_t> bytes);
  void writeZeros(uint64_t count);
  int64_t chunkOffsetShift() const { return chunkOffsetShift_; }

private:
  void writeDescriptors(DescriptorBox* box);

  std::fstream& out_;
  Boxes* root_;
  int64_t chunkOffsetShift_;
  std::vector<uint64_t> bytesWritten_; // one per list that is being written, innermost last
};

/// A BoxWriter that takes from a source the payloads that are not in the tree.
///
/// The source is read strictly forwards, from where it stands, which counts as position 0: boxes must be in the order
/// of their positions as read. One that is not, and a source that ends too early, set failbit on `out`. Every box
/// counts as one with a header of 8 bytes: where it has 16, what is copied begins with the 64-bit size.
class QV_API BoxCopy : public BoxWriter {
public:
  BoxCopy(std::fstream& out, std::istream& source, Boxes* root, int64_t chunkOffsetShift);
  ~BoxCopy() override;

  std::istream& in() { return in_; }

protected:
  /// Copies the planned size less 8 bytes from 8 bytes behind the position as read.
  void visitSourcePayload(IBox* box) override;

private:
  void skipTo(uint64_t position);
  uint64_t copyBytes(uint64_t count);

  std::istream& in_;
  uint64_t cursor_ = 0; // bytes of the source that are behind us
};

} // namespace fileutil
