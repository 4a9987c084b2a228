#include "tools/qv/mp4/mp4_file.h"

#include "tools/qv/failure.h"

#include "qv/mp4/box_reader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <streambuf>

namespace qv::tool {

namespace {

/// Of the tree. An honest file has headers and texts, which are a small part of this; one of nothing but empty boxes
/// would fill the memory with them.
constexpr uint64_t kMostTreeBytes = 2 << 20;
/// Of the value of a "data" box: longer ones are no texts.
constexpr uint64_t kMostTextBytes = 64 << 10;

/// A file as a stream that can be moved in, and that ends when enough was taken from it.
class BoundedBuffer final : public std::streambuf {
public:
  BoundedBuffer(const Mp4File& file, uint64_t limit) : file_(file), left_(limit) {}
  bool is_exhausted() const { return left_ == 0; }

protected:
  std::streamsize xsgetn(char* to, std::streamsize count) override {
    uint64_t done = 0;
    const uint64_t wanted = std::min(static_cast<uint64_t>(count), left_);
    while (done < wanted && is_held()) {
      const uint64_t inside = position_ - block_at_;
      const uint64_t part = std::min(wanted - done, block_.size() - inside);
      std::memcpy(to + done, block_.data() + inside, static_cast<size_t>(part));
      done += part;
      position_ += part;
    }
    left_ -= done;
    return static_cast<std::streamsize>(done);
  }
  int_type uflow() override {
    char byte = 0;
    return xsgetn(&byte, 1) == 1 ? traits_type::to_int_type(byte) : traits_type::eof();
  }
  int_type underflow() override {
    return left_ > 0 && is_held() ? traits_type::to_int_type(block_[static_cast<size_t>(position_ - block_at_)])
                                  : traits_type::eof();
  }
  pos_type seekoff(off_type by, std::ios_base::seekdir from, std::ios_base::openmode) override {
    const uint64_t base = from == std::ios_base::beg ? 0 : from == std::ios_base::cur ? position_ : file_.size();
    const uint64_t to = base + static_cast<uint64_t>(by); // wraps below 0
    if (to > file_.size()) return pos_type(off_type(-1));
    position_ = to;
    return pos_type(static_cast<off_type>(to));
  }
  pos_type seekpos(pos_type to, std::ios_base::openmode which) override {
    return seekoff(off_type(to), std::ios_base::beg, which);
  }

private:
  /// Whether the byte at the position is in the block, which is read where it is not.
  bool is_held() {
    constexpr uint64_t kBlock = 4096;
    if (position_ < block_at_ || position_ - block_at_ >= block_.size()) {
      block_ = file_.bytes_at(position_, kBlock);
      block_at_ = position_;
    }
    return !block_.empty();
  }

  const Mp4File& file_;
  uint64_t left_;
  uint64_t position_ = 0;
  uint64_t block_at_ = 0;
  std::string block_;
};

/// Leaves out what grows with the file.
class SkeletonReader final : public fileutil::BoxReader {
public:
  using BoxReader::BoxReader;
  using BoxReader::visit;
  void visit(fileutil::SampleDescriptionBox*) override {}
  void visit(fileutil::TimeToSampleBox*) override {}
  void visit(fileutil::SampleToChunkBox*) override {}
  void visit(fileutil::SampleSizeBox*) override {}
  void visit(fileutil::ChunkOffsetBox*) override {}
  void visit(fileutil::ChunkLargeOffsetBox*) override {}
  void visit(fileutil::ID3v2MetaBox*) override {}

protected:
  void visitData(fileutil::IDataBox* box) override {
    if (box->size() <= kMostTextBytes) BoxReader::visitData(box);
  }
};

/// What files of boxes begin with: ISO/IEC 14496-12, and QuickTime files, which need no "ftyp".
constexpr const char* kFirstTypes[] = {"ftyp", "styp", "moov", "moof", "mdat", "free", "skip", "wide", "pnot", "sidx"};

} // namespace

Mp4File::Mp4File(const std::string& name)
    : name_(name), file_(open_existing(name, GENERIC_READ, FILE_ATTRIBUTE_NORMAL)), size_(size_of(file_)) {}

std::string Mp4File::bytes_at(uint64_t position, uint64_t count) const {
  if (position >= size_) return {};
  std::string bytes(static_cast<size_t>(std::min(count, size_ - position)), '\0');
  DWORD done = 0;
  if (!move_to(file_, position) || !ReadFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr))
    throw Failure(name_, system_error_text(GetLastError()));
  bytes.resize(done);
  return bytes;
}

std::string Mp4File::payload(const fileutil::IBox& box, uint64_t limit) const {
  const uint64_t size = box.size() - std::min<uint64_t>(box.size(), box.headerSize());
  return bytes_at(box.position() + box.headerSize(), std::min(size, limit));
}

Mp4File::Tree Mp4File::read_tree() const {
  BoundedBuffer buffer(*this, kMostTreeBytes);
  std::istream stream(&buffer);
  SkeletonReader reader(stream, size_);
  Tree tree;
  tree.boxes.reset(reader.readFile());
  if (!tree.boxes) throw std::bad_alloc();
  tree.is_whole = !buffer.is_exhausted();
  return tree;
}

bool is_box_file_start(std::string_view start) {
  return start.size() >= 8 && std::any_of(
                                  std::begin(kFirstTypes), std::end(kFirstTypes),
                                  [&](const char* type) { return start.substr(4, 4) == type; });
}

bool is_box_file(const std::string& name) { return is_box_file_start(Mp4File(name).bytes_at(0, 8)); }

} // namespace qv::tool
