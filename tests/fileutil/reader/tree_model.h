// What holds of every tree that was read, whatever the bytes were.
#pragma once

#include "qv/mp4/boxes.h"

#include <map>
#include <sstream>
#include <string>

namespace fileutil_test {

using namespace fileutil;

/// Bytes of the tables and texts that boxes keep.
class KeptBytes : public BoxVisitor {
public:
  using BoxVisitor::visit;
  void visit(FileTypeBox* box) override { add(box->compatibleBrands); }
  void visit(MovieHeaderBox* box) override { add(box->payload); }
  void visit(TrackHeaderBox* box) override { add(box->payload); }
  void visit(MediaHeaderBox* box) override { add(box->payload); }
  void visit(MediaHandlerReferenceBox* box) override { add(box->name); }
  void visit(UrlBox* box) override { add(box->location); }
  void visit(PNGSampleEntryBox* box) override { add(box->payload); }
  void visit(TimeToSampleBox* box) override { add(box->entries); }
  void visit(SampleToChunkBox* box) override { add(box->entries); }
  void visit(SampleSizeBox* box) override { add(box->sizes); }
  void visit(ChunkOffsetBox* box) override { add(box->offsets); }
  void visit(ChunkLargeOffsetBox* box) override { add(box->offsets); }
  void visit(RecordingYearBox* box) override { add(box->payload); }
  void visit(ID3v2MetaBox* box) override {
    if (box->tag == nullptr) return;
    for (const auto& frame : box->tag->frames)
      add(frame->bytes);
  }
  uint64_t bytes = 0; ///< as they lie in the file
  uint64_t room = 0;  ///< that was allocated for them

protected:
  void visitData(IDataBox* box) override { add(box->value); }
  void visitTag(ITagBox* box) override { add(box->text); }
  void visitAsset(IThreeGPPAssetMetaBox* box) override { add(box->text); }

private:
  template <class Item>
  void add(const std::vector<Item>& items) {
    bytes += items.size() * sizeof(Item);
    room += items.capacity() * sizeof(Item);
  }
};

/// Looks through a tree, and keeps the first thing that cannot be. `available` are the bytes that the source really
/// has.
class TreeModel {
public:
  TreeModel(const Boxes& boxes, uint64_t available) : available_(available) {
    level(boxes, 0, 0);
    KeptBytes kept;
    for (IBox* box : boxes)
      box->accept(&kept);
    if (kept.bytes > available) say("more is kept than there was", kept.bytes);
    // Vectors grow by doubling, and the first step may be 64 KiB where a length lies.
    if (kept.room > 2 * available + 65536) say("more is allocated than in proportion", kept.room);
  }
  /// Empty where all is well.
  const std::string& fault() const { return fault_; }
  /// Boxes without children that end at `end` or before, by position, each with type and size.
  std::map<uint64_t, std::pair<FourCC, uint64_t>> leavesUpTo(uint64_t end) const {
    return {leaves_.begin(), leaves_.lower_bound(end)};
  }
  uint64_t boxCount() const { return boxCount_; }

private:
  void level(const Boxes& boxes, uint64_t begin, uint32_t depth) {
    if (depth > 32) say("too deep", depth);
    for (IBox* box : boxes) {
      ++boxCount_;
      if (box->position() < begin || (box != boxes.front() && box->position() != begin)) say("a gap", box->position());
      if (box->size() < box->headerSize() || box->bytesRead() > box->size()) say("a size", box->position());
      if (box->sizeInHeader() < box->size() && box->sizeInHeader() != 0) say("a claim", box->position());
      if (box->position() + box->headerSize() > available_) say("a header that is not there", box->position());
      begin = box->position() + box->size();
      if (const auto* const container = dynamic_cast<IContainerBox*>(box)) {
        const Boxes& children = container->children();
        const uint64_t used = children.empty() ? 0 : children.back()->position() + children.back()->size();
        level(children, box->position() + box->headerSize(), depth + 1);
        if (!children.empty() && used > begin) say("a child past its parent's end", box->position());
        if (!children.empty() && used + children.tailSize > begin) say("a tail past the end", box->position());
      } else
        leaves_[box->position()] = {box->type(), box->size()};
    }
  }
  void say(const char* what, uint64_t where) {
    if (!fault_.empty()) return;
    fault_ = std::string(what) + " " + std::to_string(where);
  }

  uint64_t available_;
  uint64_t boxCount_ = 0;
  std::string fault_;
  std::map<uint64_t, std::pair<FourCC, uint64_t>> leaves_;
};

} // namespace fileutil_test
