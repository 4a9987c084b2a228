// Boxes made by hand, for tables of cases.
#pragma once

#include "qv/mp4/boxes.h"

#include <functional>

namespace fileutil_test {

/// A box with its fields set, or children put in. The caller owns it.
template <class Box>
Box* made(const std::function<void(Box&)>& set) {
  auto* const box = new Box;
  set(*box);
  return box;
}

} // namespace fileutil_test
