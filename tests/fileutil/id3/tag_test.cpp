#include "tests/fileutil/bytes.h"

#include "qv/mp4/id3.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace id3meta;
using fileutil_test::hex;
using fileutil_test::string_of;

namespace {

/// Reads a tag that begins with "ID3"; of its box, `behind` bytes follow what is given.
std::unique_ptr<Header> read(const std::string& bytes, uint64_t& consumed, uint64_t behind = 0) {
  std::istringstream in(bytes);
  in.ignore(3);
  std::unique_ptr<Header> tag = readTag(in, bytes.size() + behind, consumed);
  EXPECT_LE(consumed + 3, bytes.size());
  return tag;
}

std::string write(const Header& tag) {
  std::ostringstream out;
  const uint64_t written = writeTag(out, tag);
  EXPECT_EQ(written, out.str().size());
  EXPECT_EQ(out.str().size(), 10 + frameBytes(tag));
  return out.str();
}

std::string frames_of(const Header& tag) {
  std::string text;
  for (const auto& frame : tag.frames)
    text += std::string(reinterpret_cast<const char*>(&frame->id), 4) + "=" + string_of(frame->bytes) + ";";
  return text;
}

const std::string kTitle = hex("'TIT2' 00000004 0000 00 'abc'");

TEST(Id3Tag, LosslessOnesAreWrittenAsTheyWereRead) {
  const std::string long_text(200, 'x');
  const struct {
    std::string bytes, frames;
  } rows[] = {
      {hex("'ID3' 03 00 00 0000000E") + kTitle, std::string("TIT2=\0abc;", 10)},
      {hex("'ID3' 04 00 00 0000000E") + kTitle, std::string("TIT2=\0abc;", 10)},
      {hex("'ID3' 03 00 20 0000015C 'TALB' 000000C8 1234") + long_text, "TALB=" + long_text + ";"},
      {hex("'ID3' 04 00 80 0000015C 'TALB' 00000148 1234") + long_text, "TALB=" + long_text + ";"},
      {hex("'ID3' 03 01 00 00000014 'WXXX' 00000000 C0E0 'A1B2' 00000000 0000"), "WXXX=;A1B2=;"},
      {hex("'ID3' 03 00 00 00000000"), ""},
  };
  for (auto row : rows) {
    if (row.bytes.size() > 200) { // 210 bytes of frames: 1 x 128 + 82
      row.bytes[8] = 1;
      row.bytes[9] = 82;
    }
    uint64_t consumed = 0;
    const auto tag = read(row.bytes, consumed);
    ASSERT_TRUE(tag);
    EXPECT_EQ(consumed, row.bytes.size() - 3);
    EXPECT_TRUE(tag->isLossless);
    EXPECT_EQ(frames_of(*tag), row.frames);
    EXPECT_EQ(write(*tag), row.bytes);
    EXPECT_EQ(frameBytes(*tag), tag->size);
  }
}

TEST(Id3Tag, OthersSayThatTheyAreNot) {
  const std::string title("TIT2=\0abc;", 10);
  const struct {
    const char* what;
    std::string bytes, frames;
    uint64_t consumed; // behind "ID3"
    unsigned flags;
  } rows[] = {
      {"padding", hex("'ID3' 03 00 00 00000018") + kTitle + std::string(10, '\0'), title, 31, 0},
      {"less padding than a frame header", hex("'ID3' 03 00 00 00000010") + kTitle + hex("0000"), title, 23, 0},
      {"a size that is not that of the frames", hex("'ID3' 03 00 00 0000000D") + kTitle, title, 21, 0},
      {"a size that is not syncsafe", hex("'ID3' 03 00 00 8000000E") + kTitle, title, 21, 0},
      {"extended header of 2.3", hex("'ID3' 03 00 60 00000018 00000006 0000 00000000") + kTitle, title, 31, 0x20},
      {"extended header of 2.4", hex("'ID3' 04 00 40 00000014 00000006 01 00") + kTitle, title, 27, 0},
      {"footer", hex("'ID3' 04 00 10 0000000E") + kTitle + hex("'3DI' 04 00 10 0000000E"), title, 31, 0},
      {"a footer that is not there", hex("'ID3' 04 00 10 0000000E") + kTitle, title, 21, 0},
      {"unsynchronised", hex("'ID3' 03 00 80 00000013 'PRIV' 00000006 0000 FF 00 E0 FF 00 00 FF 00 41"),
       "PRIV=" + hex("FF E0 FF 00 FF 41") + ";", 26, 0},
      {"a frame that claims too much", hex("'ID3' 03 00 00 0000001C") + kTitle + hex("'TALB' 00000005 0000 'abcd'"),
       title, 31, 0},
      {"a size in 2.4 that is not syncsafe", hex("'ID3' 04 00 00 00000018") + kTitle + hex("'TALB' 00000080 0000"),
       title, 31, 0},
      {"the same where so many bytes are there",
       hex("'ID3' 04 00 00 0000011C 'TALB' 00000084 0000") + std::string(132, 'x'), "", 17, 0},
      {"an id of small letters", hex("'ID3' 03 00 00 00000019") + kTitle + hex("'tags' 00000001 0000 00"), title, 31,
       0},
      {"version 2.2", hex("'ID3' 02 00 00 0000000A 'TT2' 000004 00 'abc'"), "", 7, 0},
      {"version 2.5", hex("'ID3' 05 00 80 0000000E") + kTitle, "", 7, 0x80},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    uint64_t consumed = 0;
    const auto tag = read(row.bytes, consumed);
    ASSERT_TRUE(tag);
    EXPECT_FALSE(tag->isLossless);
    EXPECT_EQ(frames_of(*tag), row.frames);
    EXPECT_EQ(consumed, row.consumed);
    EXPECT_EQ(tag->flags, row.flags);

    // What is written has the frames, and is lossless but for its foreign versions.
    tag->size = static_cast<uint32_t>(frameBytes(*tag));
    const std::string written = write(*tag);
    const auto again = read(written, consumed);
    EXPECT_EQ(frames_of(*again), row.frames);
    EXPECT_EQ(again->isLossless, tag->version.major == 3 || tag->version.major == 4);
  }
}

TEST(Id3Tag, EndsWhereItIsCut) {
  const std::string whole = hex("'ID3' 03 00 00 0000001C") + kTitle + kTitle;
  for (size_t length = 3; length < whole.size(); ++length)
    for (const bool by_stream : {true, false}) {
      uint64_t consumed = 0;
      const auto tag = read(whole.substr(0, length), consumed, by_stream ? 1u << 30 : 0);
      ASSERT_EQ(tag != nullptr, length >= 10);
      if (!tag) continue;
      EXPECT_FALSE(tag->isLossless);
      EXPECT_EQ(tag->frames.size(), length >= 24 ? 1u : 0u);
    }
}

TEST(Id3Tag, FramesAreBounded) {
  const std::string empty_frame = hex("'TIT2' 00000000 0000");
  std::string bytes = hex("'ID3' 03 00 00 00280000"); // 40 x 2^14: as many as are read
  for (size_t k = 0; k <= Header::kMaxFrames; ++k)
    bytes += empty_frame;
  uint64_t consumed = 0;
  const auto tag = read(bytes, consumed);
  EXPECT_EQ(tag->frames.size(), size_t{Header::kMaxFrames});
  EXPECT_FALSE(tag->isLossless);
}

TEST(Id3Tag, NumbersThatDoNotFitAreNotWritten) {
  const auto fails = [](const Header& tag) {
    std::ostringstream out;
    writeTag(out, tag);
    return out.fail();
  };
  Header_2_4_0 tag;
  tag.size = Header::kMaxSize;
  EXPECT_FALSE(fails(tag));
  ++tag.size;
  EXPECT_TRUE(fails(tag));
}

} // namespace
