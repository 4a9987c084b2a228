// Where formatted text goes: a buffer of known size that is never overrun.
#pragma once

#include "qv/win32.h"

#include <algorithm>
#include <cstddef>

namespace qv::kernel {

class Sink {
public:
  /// `room` characters may be written, and the terminator after them.
  Sink(WCHAR* text, size_t room) : text_(text), room_(room) {}

  size_t left() const { return room_ - count_; }
  bool is_full() const { return count_ == room_; }

  /// Where `count` characters may be written, to be followed by advance; null when there is less room.
  WCHAR* room_for(size_t count) { return left() >= count ? text_ + count_ : nullptr; }
  void advance(size_t count) { count_ += count; }

  void put(WCHAR character) {
    if (!is_full()) text_[count_++] = character;
  }

  void fill(WCHAR character, size_t count) {
    count = std::min(count, left());
    std::fill_n(text_ + count_, count, character);
    count_ += count;
  }

  /// Writes UTF-16 or ASCII characters, as many as fit.
  template <class Character>
  void write(const Character* source, size_t count) {
    count = std::min(count, left());
    std::copy_n(source, count, text_ + count_);
    count_ += count;
  }

  void write_terminated(const WCHAR* source) {
    for (; *source != 0 && !is_full(); ++source)
      text_[count_++] = *source;
  }

  /// Terminates the text and returns its length.
  int finish() {
    text_[count_] = 0;
    return static_cast<int>(count_);
  }

private:
  WCHAR* text_;
  size_t room_;
  size_t count_ = 0;
};

} // namespace qv::kernel
