// An output in memory for writers of boxes: takes any position, and knows which bytes were written.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <string>

namespace sparse_stream {

class Buffer : public std::streambuf {
public:
  /// What was written from a position on; a byte that never was is a '.'.
  std::string bytes(uint64_t from, uint64_t length) const {
    std::string text(length, '.');
    for (auto at = written_.lower_bound(from); at != written_.end() && at->first < from + length; ++at)
      text[at->first - from] = at->second;
    return text;
  }
  uint64_t position() const { return position_; }

protected:
  int_type overflow(int_type byte) override {
    written_[position_++] = traits_type::to_char_type(byte);
    return byte;
  }
  pos_type seekoff(off_type by, std::ios::seekdir from, std::ios::openmode /*mode*/) override {
    position_ = static_cast<uint64_t>(by) + (from == std::ios::cur ? position_ : 0);
    return static_cast<off_type>(position_);
  }

private:
  std::map<uint64_t, char> written_;
  uint64_t position_ = 0;
};

/// The stream over such a buffer, of the type that writers take.
class Stream {
public:
  Stream() { static_cast<std::ios&>(stream).rdbuf(&buffer); }
  /// All from the beginning to where it stands.
  std::string bytes() const { return buffer.bytes(0, buffer.position()); }
  Buffer buffer;
  std::fstream stream;
};

} // namespace sparse_stream
