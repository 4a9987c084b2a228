// What a reader takes from the system: how often, how much, and what it makes of a read that fails.
#include "platform/posix/seams.h"
#include "tests/fileutil/reader/box_bytes.h"
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>
#include <limits>

using namespace fileutil_test;

namespace {

struct ReadCounts {
  int calls = 0;
  size_t bytes = 0;
};
ReadCounts counts;

ssize_t countedRead(int descriptor, void* buffer, size_t bytes, int64_t position) {
  const ssize_t got = qv::platform::kSystemFileCalls.read(descriptor, buffer, bytes, position);
  ++counts.calls;
  counts.bytes += got > 0 ? static_cast<size_t>(got) : 0;
  return got;
}

/// A file of `samples` samples with its tags behind them, and its media in front or at the end.
std::string song(size_t samples, size_t media, bool mediaFirst) {
  const std::string tables = full("stsz", be32(0) + be32(samples) + counting(static_cast<int>(samples), 4)) +
                             full("stco", be32(samples) + counting(static_cast<int>(samples), 4));
  const std::string trak =
      box("trak", full("tkhd", std::string(80, 0)) + box("mdia", box("minf", box("stbl", tables))));
  std::string items;
  for (const char* type : {"\251nam", "\251ART", "\251alb", "\251day", "\251gen", "trkn", "\251too", "abcd"})
    items += box(type, box("data", be64(0x100000000) + std::string(30, 'x')));
  const std::string meta = full("meta", full("hdlr", be32(0) + "mdir" + std::string(13, 0)) + box("ilst", items));
  const std::string moov = box("moov", full("mvhd", std::string(96, 0)) + trak + box("udta", meta));
  const std::string mdat = box("mdat", std::string(media, 'm'));
  return box("ftyp", "M4A " + be32(0) + "M4A isom") + (mediaFirst ? mdat + moov : moov + box("free", "pad") + mdat);
}

/// What readMeta() takes from the system does not grow with media or tables.
TEST(BoxReader, ReadsFewBytesForMetadata) {
  qv::platform::FileCalls calls = qv::platform::kSystemFileCalls;
  calls.read = countedRead;
  for (const size_t samples : {10u, 100000u})
    for (const size_t media : {1000u, 5000000u})
      for (const bool mediaFirst : {false, true}) {
        const ScratchPath path("song");
        path.write(song(samples, media, mediaFirst));
        qv::platform::set_file_calls(&calls);
        qv::platform::fail_io(std::numeric_limits<int>::max()); // counts
        counts = {};
        {
          BoxReader reader(path.text().c_str());
          const std::unique_ptr<Boxes> boxes(reader.readMeta());
          EXPECT_NE(Describe::list(*boxes).find("abcd"), std::string::npos);
          EXPECT_FALSE(reader.isCutShort());
        }
        qv::platform::set_file_calls(nullptr);
        EXPECT_LE(counts.calls, 4) << samples << " " << media << " " << mediaFirst;
        EXPECT_LE(counts.bytes, 4u * 4096);
        EXPECT_LE(qv::platform::io_calls(), 8); // reads and seeks
        qv::platform::fail_io(0);
        EXPECT_GE(counts.calls, 1);
      }
}

/// The file's reads fail one after the other: what was read is kept, and the reader says so.
TEST(BoxReader, KeepsWhatAFailingFileGave) {
  const ScratchPath path("failing");
  path.write(song(5000, 50000, true));
  size_t before = 0;
  for (int nth = 1; nth < 100; ++nth) {
    BoxReader reader(path.text().c_str());
    qv::platform::fail_io(nth);
    const std::unique_ptr<Boxes> boxes(reader.readFile());
    const bool failed = qv::platform::io_calls() >= nth;
    qv::platform::fail_io(0);
    EXPECT_EQ(reader.isCutShort(), failed) << nth;
    const size_t length = Describe::list(*boxes).size();
    EXPECT_GE(length, before);
    before = length;
    if (!failed) return;
  }
  FAIL() << "more calls than a file of this size takes";
}

} // namespace
