#include "fileutil/plan/tree_composer.h"

#include "fileutil/plan/refusal.h"

#include "qv/mp4/prepare_write.h"

#include <algorithm>
#include <utility>

namespace fileutil {

namespace {

constexpr uint64_t kLongestShort = 0xFFFFFFFF; // size that a header of 8 bytes holds

unsigned headerFor(uint64_t payload) { return payload + 8 <= kLongestShort ? 8 : 16; }

} // namespace

SegmentList TreeComposer::compose(IBox* box) {
  result_ = {};
  box->accept(this);
  return std::exchange(result_, {});
}

void TreeComposer::requireClosed(const IBox* box) const {
  const BoxRecord* const known = record_.find(box);
  if (known != nullptr && known->isOpenEnded) refuse(QVERR_MP4_UNSAFE);
}

void TreeComposer::putOld(const BoxRecord& known) { result_.addOld(known.position, known.size); }

void TreeComposer::putHeader(FourCC type, uint64_t size, unsigned headerSize) {
  if (headerSize == 8 && size > kLongestShort) refuse(QVERR_MP4_UNSAFE);
  result_.addBytes(headerSize == 8 ? fieldBytes(static_cast<uint32_t>(size), Code(type))
                                   : fieldBytes(uint32_t{1}, Code(type), size));
}

// ---- boxes without children ----------------------------------------------------------------------------------------

const BoxRecord& TreeComposer::composeFromFile(const IBox* box) {
  const BoxRecord* const known = record_.find(box);
  if (known == nullptr) refuse(QVERR_MP4_UNSAFE);
  putOld(*known);
  return *known;
}

template <class OffsetBox>
void TreeComposer::composeOffsets(const OffsetBox* box) {
  if (!record_.isAsRead(composeFromFile(box), *box)) refuse(QVERR_MP4_UNSAFE);
}

void TreeComposer::composeFields(IBox* box) {
  const BoxRecord* const known = record_.find(box);
  if (known != nullptr && fields_.fieldsOf(box) == known->fields) return putOld(*known);
  PrepareWrite plan(nullptr); // some classes have sizes among their fields
  box->accept(&plan);
  const Bytes fields = fields_.fieldsOf(box);
  const unsigned headerSize = headerFor(fields.size());
  // A class that nothing writes has no size planned for it.
  if (box->plannedSize() != 8 + fields.size()) refuse(QVERR_MP4_UNSAFE);
  putHeader(box->type(), headerSize + fields.size(), headerSize);
  result_.addBytes(fields);
}

void TreeComposer::visit(ID3v2MetaBox* box) {
  const BoxRecord* const known = record_.find(box);
  const bool isChanged = known == nullptr || fields_.fieldsOf(box) != known->fields;
  if (isChanged && box->tag != nullptr && !box->tag->isLossless) refuse(QVERR_MP4_UNSAFE);
  composeFields(box);
}

void TreeComposer::visit(FreeBox* box) {
  if (const BoxRecord* const known = record_.find(box)) return putOld(*known);
  result_ = composeRoom(nullptr, std::max<uint64_t>(box->size(), 8));
}

SegmentList TreeComposer::composeRoom(const FreeBox* box, uint64_t size) {
  const BoxRecord* const known = box == nullptr ? nullptr : record_.find(box);
  result_ = {};
  if (known != nullptr && known->size == size) {
    putOld(*known);
  } else {
    const unsigned headerSize = headerFor(size - 8);
    const uint64_t payload = size - headerSize;
    const uint64_t kept = known == nullptr ? 0 : std::min(payload, known->size - known->headerSize);
    putHeader(QvFourCC("free"), size, headerSize);
    result_.addZeros(payload - kept);
    if (kept > 0) result_.addOld(known->end() - kept, kept);
  }
  return std::exchange(result_, {});
}

// ---- boxes with children -------------------------------------------------------------------------------------------

void TreeComposer::visitContainer(IContainerBox* box) {
  const BoxRecord* const known = record_.find(box);
  SegmentList content = composeContent(box, known);
  result_ = {};
  if (known != nullptr && content.isOld(known->position + known->headerSize, known->size - known->headerSize))
    return putOld(*known);
  const unsigned headerSize = known == nullptr ? headerFor(content.length()) : known->headerSize;
  putHeader(box->type(), headerSize + content.length(), headerSize);
  result_.add(std::move(content));
}

/// Fields, children, and bytes behind them.
SegmentList TreeComposer::composeContent(IContainerBox* box, const BoxRecord* known) {
  SegmentList content;
  const Bytes fields = fields_.fieldsOf(box);
  const uint64_t payload = known == nullptr ? 0 : known->position + known->headerSize;
  if (known != nullptr && fields == known->fields)
    content.addOld(payload, known->childrenBegin - payload);
  else
    content.addBytes(fields);
  for (auto child = box->children().begin(); child != box->children().end(); ++child) {
    content.add(compose(*child));
    if (std::next(child) != box->children().end()) requireClosed(*child);
  }
  if (known != nullptr) content.addOld(known->childrenEnd, known->end() - known->childrenEnd);
  return content;
}

} // namespace fileutil
