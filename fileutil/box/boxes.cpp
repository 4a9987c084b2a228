#include "qv/mp4/box.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace fileutil {

Boxes::iterator Boxes::insert(const_iterator before, IBox* box) {
  std::unique_ptr<IBox> owned(box);
  if (boxes_.size() >= kMaxLength) throw std::length_error("list too long");
  const iterator at = boxes_.insert(before, box);
  owned.release();
  return at;
}

Boxes::iterator Boxes::erase(const_iterator at) {
  delete *at;
  return boxes_.erase(at);
}

IBox* Boxes::release(const_iterator at) {
  IBox* const box = *at;
  boxes_.erase(at);
  return box;
}

void Boxes::clear() {
  for (const IBox* box : boxes_)
    delete box;
  boxes_.clear();
}

IBox* Boxes::find(FourCC type) const {
  const auto found = std::find_if(boxes_.begin(), boxes_.end(), [=](const IBox* box) { return box->type() == type; });
  return found == boxes_.end() ? nullptr : *found;
}

} // namespace fileutil
