#include "fileutil/plan/tree_record.h"

#include "fileutil/plan/field_writer.h"
#include "fileutil/plan/refusal.h"

#include "qv/mp4/boxes.h"

#include <algorithm>

namespace fileutil {

namespace {

/// The levels that lead to the sample tables: what they hold must be known.
bool isStructural(FourCC type) {
  static constexpr FourCC kTypes[] = {QvFourCC("moov"), QvFourCC("trak"), QvFourCC("mdia"), QvFourCC("minf"),
                                      QvFourCC("stbl")};
  return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

bool holdsZeros(const ByteSource& file, uint64_t position, uint64_t length) {
  std::array<uint8_t, 4096> block{};
  for (uint64_t left = length; left > 0;) {
    const std::span part = std::span(block).first(static_cast<size_t>(std::min<uint64_t>(left, block.size())));
    file.read(position + (length - left), part);
    if (std::any_of(part.begin(), part.end(), [](uint8_t byte) { return byte != 0; })) return false;
    left -= part.size();
  }
  return true;
}

} // namespace

class TreeRecord::Recorder : public BoxVisitor {
public:
  explicit Recorder(TreeRecord& to) : to_(to) {}

  using BoxVisitor::visit;
  void visit(ChunkOffsetBox* box) override { recordOffsets(box); }
  void visit(ChunkLargeOffsetBox* box) override { recordOffsets(box); }

protected:
  void visitData(IDataBox* box) override { record(box); }
  void visitTag(ITagBox* box) override { record(box); }
  void visitAsset(IThreeGPPAssetMetaBox* box) override { record(box); }
  void visitLeaf(IBox* box) override { record(box); }

  void visitContainer(IContainerBox* box) override {
    BoxRecord& known = record(box);
    known.childrenBegin = std::min(known.position + known.headerSize + known.fields.size(), known.end());
    known.childrenEnd = known.childrenBegin;
    if (!box->children().empty())
      known.childrenEnd = box->children().back()->position() + box->children().back()->size();
    if (isStructural(known.type)) requireWhole(known, box->children());
    BoxVisitor::visitContainer(box);
  }

private:
  BoxRecord& record(IBox* box) {
    BoxRecord& known = recordPlace(box);
    known.fields = fields_.fieldsOf(box);
    return known;
  }

  BoxRecord& recordPlace(const IBox* box) {
    BoxRecord& known = to_.records_[box];
    known.type = box->type();
    known.position = box->position();
    known.size = box->size();
    known.headerSize = box->headerSize();
    known.isOpenEnded = box->sizeInHeader() != box->size();
    return known;
  }

  template <class OffsetBox>
  void recordOffsets(const OffsetBox* box) {
    if (!box->isComplete) refuse(QVERR_MP4_UNSAFE);
    recordPlace(box); // the table may be large: it is compared with the file
  }

  /// Fewer than 8 bytes behind the last child hold no box, and zeros none either: some makers end a list with a zero.
  void requireWhole(const BoxRecord& known, const Boxes& children) {
    const uint64_t behind = known.end() - known.childrenEnd;
    if (behind >= 8 && !holdsZeros(to_.file_, known.childrenEnd, behind)) refuse(QVERR_MP4_UNSAFE);
    if (children.isLimited || known.isOpenEnded) refuse(QVERR_MP4_UNSAFE);
  }

  TreeRecord& to_;
  FieldWriter fields_;
};

TreeRecord::TreeRecord(Boxes& tree, const ByteSource& file) : file_(file) {
  if (tree.isLimited) refuse(QVERR_MP4_UNSAFE);
  if (tree.find(QvFourCC("moov")) == nullptr && tree.find(QvFourCC("meta")) == nullptr) refuse(QVERR_MP4_UNSAFE);
  Recorder recorder(*this);
  for (IBox* box : tree) {
    box->accept(&recorder);
    BoxRecord top = records_.at(box);
    top.fields.clear();
    top_.push_back(std::move(top));
  }
}

const BoxRecord* TreeRecord::find(const IBox* box) const {
  const auto found = records_.find(box);
  if (found == records_.end()) return nullptr;
  // A box that the change has made may lie where one lay that it has destroyed.
  const BoxRecord& known = found->second;
  const bool isIt = known.position == box->position() && known.size == box->size() && known.type == box->type();
  return isIt ? &known : nullptr;
}

template <class Offset>
bool TreeRecord::isTableAsRead(const BoxRecord& known, const std::vector<Offset>& offsets) const {
  constexpr uint64_t kCount = 8; // bytes of version, flags and count, in front of the table
  if (known.size != known.headerSize + kCount + offsets.size() * sizeof(Offset)) return false;
  std::array<Offset, 4096> block;
  for (size_t first = 0; first < offsets.size(); first += block.size()) {
    const size_t count = std::min(block.size(), offsets.size() - first);
    const std::span bytes(reinterpret_cast<uint8_t*>(block.data()), count * sizeof(Offset));
    file_.read(known.position + known.headerSize + kCount + first * sizeof(Offset), bytes);
    const auto isSame = [](Offset field, Offset offset) { return bigEndian(field) == offset; };
    if (!std::equal(block.begin(), block.begin() + count, offsets.begin() + static_cast<ptrdiff_t>(first), isSame))
      return false;
  }
  return true;
}

bool TreeRecord::isAsRead(const BoxRecord& known, const ChunkOffsetBox& box) const {
  return isTableAsRead(known, box.offsets);
}

bool TreeRecord::isAsRead(const BoxRecord& known, const ChunkLargeOffsetBox& box) const {
  return isTableAsRead(known, box.offsets);
}

} // namespace fileutil
