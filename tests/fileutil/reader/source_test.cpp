// The sources of a reader: files, file streams, and streams that can do little.
#include "platform/posix/seams.h"
#include "tests/fileutil/reader/box_bytes.h"
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>

using namespace fileutil_test;

namespace {

/// A stream that only goes forward.
class Pipe : public std::streambuf {
public:
  explicit Pipe(std::string bytes) : bytes_(std::move(bytes)) {
    setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
  }

private:
  std::string bytes_;
};

std::string counted(size_t bytes) {
  std::string text(bytes, 0);
  for (size_t k = 0; k < bytes; ++k)
    text[k] = static_cast<char>(k * 7 + k / 251);
  return text;
}

TEST(FileStream, ReadsWhatItHas) {
  const std::string bytes = counted(60000);
  const ScratchPath path("stream");
  path.write(bytes);
  ifstream in(path.text().c_str());
  ASSERT_TRUE(in.is_open());
  EXPECT_EQ(in.length(), bytes.size());
  uint64_t at = 0;
  // Reads below and above the buffer's size, and seeks of every kind and distance.
  for (const int step : {1, 4095, 10, 4096, 7, 5000, -4000, 2, -9000, 9000, 4097, 0, -3, 100}) {
    std::string got(static_cast<size_t>(std::abs(step)) / 2 + 1, 0);
    at += static_cast<uint64_t>(step);
    in.seekg(step, std::ios::cur);
    EXPECT_EQ(static_cast<uint64_t>(in.tellg()), at);
    in.read(got.data(), static_cast<std::streamsize>(got.size()));
    EXPECT_EQ(got, bytes.substr(at, got.size())) << step;
    at += got.size();
  }
  in.seekg(-5, std::ios::end);
  std::string rest{std::istreambuf_iterator<char>(in), {}};
  EXPECT_EQ(rest, bytes.substr(bytes.size() - 5));
  in.clear();
  in.seekg(3);
  EXPECT_EQ(in.get(), static_cast<unsigned char>(bytes[3]));
  in.seekg(-10, std::ios::cur);
  EXPECT_TRUE(in.fail());
}

TEST(FileStream, SaysWhatItCannotOpen) {
  const ScratchPath missing("missing");
  ifstream in;
  EXPECT_FALSE(in.is_open());
  EXPECT_EQ(in.length(), kUnknown);
  EXPECT_EQ(in.get(), EOF);
  in.open(missing.text().c_str());
  EXPECT_TRUE(in.fail());
  in.open(nullptr);
  EXPECT_TRUE(in.fail());
  missing.write("ab");
  in.open(missing.text().c_str());
  EXPECT_EQ(in.get(), 'a');
  const ScratchPath other("other");
  other.write("cd");
  in.open(other.text().c_str());
  EXPECT_EQ(in.get(), 'c');
  in.close();
  EXPECT_FALSE(in.is_open());
  EXPECT_EQ(in.get(), EOF);
}

/// Every handler gives the same tree; where length and position can be told, the same of them.
TEST(DataHandler, AllGiveTheSame) {
  const std::string bytes = box("moov", box("udta", full("titl", be16(0) + counted(9000)))) +
                            box("mdat", counted(20000)) + box("free", counted(5000)) + box("moov");
  const std::string expected = described(bytes, kMeta);
  const ScratchPath path("handlers");
  path.write("xyz" + bytes);
  std::ifstream file(path.path(), std::ios::binary);
  file.seekg(3);
  std::istringstream memory(bytes);
  Pipe pipe(bytes);
  std::istream piped(&pipe);
  Pipe endless(bytes);
  std::istream lengthless(&endless);
  BoxReader readers[] = {BoxReader(file), BoxReader(memory, bytes.size()), BoxReader(piped, bytes.size()),
                         BoxReader(lengthless, kUnknown)};
  for (BoxReader& reader : readers) {
    const std::unique_ptr<Boxes> boxes(reader.readMeta());
    EXPECT_EQ(Describe::list(*boxes), expected);
    EXPECT_FALSE(reader.isCutShort());
  }
  EXPECT_EQ(readers[0].in().length(), bytes.size());
  EXPECT_EQ(readers[3].in().length(), kUnknown);
  EXPECT_TRUE(readers[0].in().rewind());
  EXPECT_EQ(file.tellg(), 3);
  EXPECT_FALSE(readers[2].in().rewind());
  EXPECT_TRUE(std::unique_ptr<Boxes>(readers[2].readFile())->empty()); // it has been read
}

/// Forward in any steps, and never behind the end.
TEST(DataHandler, SkipsAsFarAsTheSourceGoes) {
  const std::string bytes = counted(20000);
  const ScratchPath path("skips");
  path.write(bytes);
  for (const uint64_t step : {1u, 100u, 4095u, 4096u, 4097u, 9000u, 19999u, 20000u, 20001u, 0xFFFFFFFFu}) {
    std::ifstream file(path.path(), std::ios::binary);
    std::istringstream memory(bytes);
    Pipe pipe(bytes);
    std::istream piped(&pipe);
    FileHandler owned(path.text().c_str());
    FileStreamHandler fileStream(file);
    StreamHandler stream(memory, 5); // the length is the reader's affair
    StreamHandler oneWay(piped, ~0ull);
    for (DataHandler* source : {static_cast<DataHandler*>(&owned), static_cast<DataHandler*>(&fileStream),
                                static_cast<DataHandler*>(&stream), static_cast<DataHandler*>(&oneWay)}) {
      uint64_t at = 0;
      while (at < bytes.size()) {
        const uint64_t come = std::min<uint64_t>(step, bytes.size() - at);
        ASSERT_EQ(source->skip(step), come);
        at += come;
        if (at < bytes.size()) {
          ASSERT_EQ(source->in().get(), static_cast<unsigned char>(bytes[at]));
          ++at;
        }
      }
      EXPECT_EQ(source->skip(1), 0u);
      EXPECT_EQ(source->in().get(), EOF);
      EXPECT_EQ(source->rewind(), source != &oneWay);
      if (source != &oneWay) EXPECT_EQ(source->in().get(), static_cast<unsigned char>(bytes[0]));
    }
  }
}

TEST(BoxReader, ReadsNothingFromNoFile) {
  const ScratchPath missing("nothing");
  BoxReader reader(missing.text().c_str());
  EXPECT_FALSE(reader.in().in());
  for (const ReadMode& mode : kModes)
    EXPECT_TRUE(std::unique_ptr<Boxes>((reader.*mode.read)())->empty());
}

} // namespace
