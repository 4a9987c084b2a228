// Files of one track for tests: streams that keep what is written at their beginning, and trees read back.
#pragma once

#include "qv/mp4/box_reader.h"
#include "qv/mp4/track_writer.h"

#include <algorithm>
#include <sstream>
#include <streambuf>
#include <string>

namespace fileutil_test {

/// A file as long as one likes, of which the first bytes are kept.
class Beginning : public std::streambuf {
public:
  explicit Beginning(size_t kept = 1 << 16) : kept_(kept) {}

  template <class Stream>
  void serve(Stream& stream) {
    static_cast<std::ios&>(stream).rdbuf(this);
  }
  const std::string& bytes() const { return bytes_; }
  uint64_t length() const { return length_; }

protected:
  std::streamsize xsputn(const char* from, std::streamsize count) override {
    if (position_ < kept_) {
      const auto part = std::min<size_t>(kept_ - position_, static_cast<size_t>(count));
      bytes_.resize(std::max<size_t>(bytes_.size(), position_ + part));
      std::copy_n(from, part, bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
    }
    position_ += static_cast<uint64_t>(count);
    length_ = std::max(length_, position_);
    return count;
  }
  int_type overflow(int_type byte) override {
    const char one = traits_type::to_char_type(byte);
    return xsputn(&one, 1), byte;
  }
  pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override {
    return seekpos(offset + (from == std::ios::cur ? static_cast<off_type>(position_) : 0), which);
  }
  pos_type seekpos(pos_type position, std::ios::openmode /*which*/) override {
    position_ = static_cast<uint64_t>(off_type(position));
    return position;
  }

private:
  size_t kept_;
  std::string bytes_;
  uint64_t position_ = 0;
  uint64_t length_ = 0;
};

inline std::unique_ptr<fileutil::Boxes> tree_of(const std::string& file) {
  std::istringstream in(file);
  return std::unique_ptr<fileutil::Boxes>(fileutil::BoxReader(in, file.size()).readFile());
}

/// The first box of a class in a tree, children after their parents, or null.
template <class Box>
Box* find(const fileutil::Boxes& boxes) {
  for (fileutil::IBox* const box : boxes) {
    if (auto* const found = dynamic_cast<Box*>(box)) return found;
    const auto* const container = dynamic_cast<fileutil::IContainerBox*>(box);
    if (auto* const found = container ? find<Box>(container->children()) : nullptr) return found;
  }
  return nullptr;
}

} // namespace fileutil_test
