#include "fileutil/plan/file_layout.h"

#include "fileutil/plan/refusal.h"

#include <utility>

namespace fileutil {

FileLayout::FileLayout(Boxes& tree, const TreeRecord& record, uint64_t fileLength)
    : tree_(tree), record_(record), fileLength_(fileLength), composer_(record) {}

SegmentList FileLayout::compose(uint64_t padding) {
  padding_ = padding;
  hasMedia_ = hasFragment_ = false;
  placed_.clear();
  for (auto box = tree_.begin(); box != tree_.end(); ++box) {
    place(*box);
    if (std::next(box) != tree_.end()) composer_.requireClosed(*box);
  }
  SegmentList all;
  for (Placed& each : placed_)
    all.add(std::move(each.segments));
  all.addOld(record_.topEnd(), fileLength_ - record_.topEnd());
  return all;
}

uint64_t FileLayout::position() const {
  return placed_.empty() ? 0 : placed_.back().position + placed_.back().segments.length();
}

void FileLayout::put(SegmentList&& segments, const FreeBox* room) {
  placed_.push_back({position(), room, std::move(segments)});
}

void FileLayout::resizeRoom(uint64_t size) {
  placed_.back().segments = composer_.composeRoom(placed_.back().room, size);
}

void FileLayout::place(IBox* box) {
  const auto* const media = dynamic_cast<const MediaDataBox*>(box);
  const bool isFragment = box->type() == QvFourCC("moof");
  if (media != nullptr && !hasFragment_) placeMedia(media);
  if (isFragment && !hasFragment_ && !hasMedia_ && padding_ > 0) put(composer_.composeRoom(nullptr, padding_), nullptr);
  put(composer_.compose(box), dynamic_cast<const FreeBox*>(box));
  hasMedia_ = hasMedia_ || media != nullptr;
  hasFragment_ = hasFragment_ || isFragment;
}

/// Sees to the room in front of it.
void FileLayout::placeMedia(const MediaDataBox* box) {
  const bool hasRoom = !placed_.empty() && placed_.back().room != nullptr;
  if (padding_ > 0 && !hasMedia_) {
    if (!hasRoom) return put(composer_.composeRoom(nullptr, padding_), nullptr);
    return resizeRoom(padding_);
  }
  if (hasRoom && placed_.back().position + 8 <= box->position()) resizeRoom(box->position() - placed_.back().position);
}

} // namespace fileutil
