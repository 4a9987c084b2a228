#include "qv/mp4/box.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace fileutil {

Boxes::iterator Boxes::insert(const_iterator before, IBox* box) {
  std::unique_ptr<IBox> owned(box);
  if (size_ >= kMaxLength) throw std::length_error("list too long");
  IBox* const next = before.box_;
  IBox* const previous = next == nullptr ? last_ : next->previous_;
  box->previous_ = previous;
  box->next_ = next;
  (previous == nullptr ? first_ : previous->next_) = box;
  (next == nullptr ? last_ : next->previous_) = box;
  ++size_;
  return {this, owned.release()};
}

Boxes::iterator Boxes::erase(const_iterator at) {
  const iterator next = std::next(at);
  delete release(at);
  return next;
}

IBox* Boxes::release(const_iterator at) {
  IBox* const box = at.box_;
  (box->previous_ == nullptr ? first_ : box->previous_->next_) = box->next_;
  (box->next_ == nullptr ? last_ : box->next_->previous_) = box->previous_;
  box->previous_ = box->next_ = nullptr;
  --size_;
  return box;
}

void Boxes::clear() {
  for (const IBox* box = first_; box != nullptr;) {
    const IBox* const next = box->next_;
    delete box;
    box = next;
  }
  first_ = last_ = nullptr;
  size_ = 0;
}

IBox* Boxes::find(FourCC type) const {
  const auto found = std::find_if(begin(), end(), [=](const IBox* box) { return box->type() == type; });
  return *found;
}

} // namespace fileutil
