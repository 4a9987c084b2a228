#include "qv/mp4/prepare_write.h"

namespace fileutil {

PrepareWrite::PrepareWrite(Boxes* root) : root_(root) {}

PrepareWrite::~PrepareWrite() = default;

void PrepareWrite::doIt() { walk(root_); }

void PrepareWrite::walk(Boxes* list) {
  push(list);
  previous_ = nullptr;
  for (IBox* box : *list) {
    box->accept(this);
    previous_ = box;
  }
  pop();
}

int64_t PrepareWrite::getMediaDataOffset() const {
  return media_ == nullptr ? 0 : static_cast<int64_t>(media_->plannedPosition() - media_->position());
}

uint64_t PrepareWrite::headerLength(const IBox* /*box*/) const { return 8; }

void PrepareWrite::advance(uint64_t bytes) {
  currentSize_ += bytes;
  currentPos_ += bytes;
}

void PrepareWrite::planLeaf(IBox* box, uint64_t payload) {
  box->setPlannedPosition(currentPos_);
  box->setPlannedSize(headerLength(box) + payload);
  advance(box->plannedSize());
}

void PrepareWrite::planContainer(IContainerBox* box, uint64_t fields) {
  const uint64_t before = currentSize_;
  box->setPlannedPosition(currentPos_);
  advance(headerLength(box) + fields);
  walk(&box->children());
  box->setPlannedSize(currentSize_ - before);
}

void PrepareWrite::visitContainer(IContainerBox* box) { planContainer(box, 0); }

// ---- payloads that are in the source alone -------------------------------------------------------------------------

void PrepareWrite::visitSourcePayload(IBox* box) {
  box->setPlannedPosition(currentPos_);
  box->setPlannedSize(box->size());
  advance(box->size());
  if (box->plannedPosition() != box->position()) mustCopy_ = true;
}

void PrepareWrite::visit(UnknownGuidBox* box) { visitSourcePayload(box); }
void PrepareWrite::visit(UnknownBox* box) { visitSourcePayload(box); }

void PrepareWrite::visit(FreeBox* box) {
  box->setPlannedPosition(currentPos_);
  box->setPlannedSize(box->size());
  advance(box->size());
  freeBoxes_.push_back(box);
}

void PrepareWrite::visit(MediaDataBox* box) {
  media_ = box;
  if (box->mustCopy) {
    mustCopy_ = true;
  } else {
    FreeBox* const room = getPrevFreeBox(box);
    mustCopy_ = room == nullptr || !updateFreeSize(room, box) || box->position() != currentPos_;
    box->mustCopy = mustCopy_;
  }
  box->setPlannedPosition(currentPos_);
  box->setPlannedSize(box->size());
  advance(box->size());
}

/// The box directly in front of the media, where it is one of the "free" boxes met: the last one then.
FreeBox* PrepareWrite::getPrevFreeBox(MediaDataBox* /*media*/) {
  return freeBoxes_.empty() || freeBoxes_.back() != previous_ ? nullptr : freeBoxes_.back();
}

/// Makes it end where the media begins; false where not even its header fits.
bool PrepareWrite::updateFreeSize(FreeBox* room, const MediaDataBox* media) {
  if (room->plannedPosition() + 8 > media->position()) return false;
  const uint64_t size = media->position() - room->plannedPosition();
  advance(size - room->plannedSize()); // modulo 2^64: it may shrink
  room->setPlannedSize(size);
  return true;
}

} // namespace fileutil
