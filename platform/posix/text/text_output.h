// The text that a Win32 function hands back: counted in full, written as far as the caller's capacity reaches.
#pragma once

#include "platform/posix/last_error.h"

#include "qv/win32.h"

#include <climits>
#include <cstddef>

namespace qv::platform {

template <class Character>
class TextOutput {
public:
  TextOutput(Character* text, int capacity) : text_(text), capacity_(static_cast<size_t>(capacity)) {}

  void put(Character character) {
    if (count_ < capacity_) text_[count_] = character;
    ++count_;
  }

  /// The length, or with a capacity of 0 the capacity needed; 0 with an error where the capacity was too small.
  int finish() const {
    if (count_ > INT_MAX) return fail_with(ERROR_INVALID_PARAMETER);
    if (capacity_ != 0 && count_ > capacity_) return fail_with(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<int>(count_);
  }

private:
  Character* text_;
  size_t capacity_;
  size_t count_ = 0;
};

} // namespace qv::platform
