#include "tests/fileutil/writer/sparse_stream.h"

#include "qv/mp4/box_writer.h"
#include "qv/mp4/prepare_write.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace fileutil;

namespace {

/// A source that can only be read.
class Pipe : public std::stringbuf {
public:
  using std::stringbuf::stringbuf;

protected:
  pos_type seekoff(off_type /*by*/, std::ios::seekdir /*from*/, std::ios::openmode /*mode*/) override { return -1; }
};

template <class Box>
Box* at(uint64_t position, uint64_t size, uint32_t header = 8) {
  auto* const box = new Box;
  box->setPosition(position);
  box->setSize(size);
  box->setHeaderSize(header);
  return box;
}

struct Copied {
  std::string bytes;
  uint64_t count;
  bool failed;
};

Copied copied(Boxes& boxes, std::streambuf& source) {
  sparse_stream::Stream out;
  std::istream in(&source);
  BoxCopy copy(out.stream, in, &boxes, 0);
  EXPECT_EQ(&copy.in(), &in);
  const uint64_t count = copy.doIt();
  return {out.bytes(), count, out.stream.fail()};
}

const std::string kSource = std::string("....free....", 12) + std::string("\0\0\0\016wide", 8) + "abcdef" +
                            std::string("\0\0\0\x1auuid", 8) + "GUIDGUIDGUIDGUIDxy" +
                            std::string("\0\0\0\001mdat\0\0\0\0\0\0\0\024", 16) + "WXYZ";

TEST(BoxCopy, TakesPayloadsFromTheSource) {
  for (const bool canSeek : {true, false}) {
    Boxes boxes;
    auto* const unknown = at<UnknownBox>(12, 14);
    unknown->setType(QvFourCC("wide"));
    boxes.push_back(unknown);
    boxes.push_back(new UrlBox); // of no source
    boxes.push_back(at<UnknownGuidBox>(26, 26));
    boxes.push_back(at<MediaDataBox>(52, 20, 16));
    PrepareWrite(&boxes).doIt();
    std::stringbuf file(kSource);
    Pipe pipe(kSource);
    const Copied out = copied(boxes, canSeek ? file : pipe);
    EXPECT_FALSE(out.failed);
    // "mdat" had 16 bytes of header; 8 are written, and what is copied begins with the 64-bit size.
    EXPECT_EQ(out.bytes, kSource.substr(12, 14) + std::string("\0\0\0\014url \0\0\0\0", 12) + kSource.substr(26, 26) +
                             std::string("\0\0\0\024mdat", 8) + kSource.substr(60, 12));
    EXPECT_EQ(out.count, out.bytes.size());
  }
}

TEST(BoxCopy, ShowsABoxThatItCannotGet) {
  struct {
    const char* what;
    uint64_t first, second;
  } const rows[] = {{"behind another", 26, 12}, {"cut", 12, 50}, {"past the end", 12, 5000}};
  for (const auto& row : rows) {
    Boxes boxes;
    boxes.push_back(at<UnknownGuidBox>(row.first, 26));
    boxes.push_back(at<UnknownGuidBox>(row.second, 26));
    std::stringbuf file(kSource);
    EXPECT_TRUE(copied(boxes, file).failed) << row.what;
  }
}

} // namespace
