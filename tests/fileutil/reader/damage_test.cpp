// Files that end anywhere, sources that fail anywhere, and numbers that lie anywhere.
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/reader/box_bytes.h"
#include "tests/fileutil/reader/tree_model.h"

#include <gtest/gtest.h>
#include <limits>

using namespace fileutil_test;

namespace {

/// Every kind of payload once.
std::string everything() {
  const std::string esds = full("esds", hex("03 16 0001 00 04 0E 40 15 000000 00000000 00000000 05 02 1210 06 01 02"));
  const std::string mp4a = box("mp4a", std::string(7, 0) + be(1, 1) + std::string(20, 0) + esds);
  const std::string stbl =
      box("stbl", full("stsd", be32(1) + mp4a) + full("stts", be32(2) + counting(4, 4)) +
                      full("stsc", be32(2) + counting(6, 4)) + full("stsz", be32(0) + be32(3) + counting(3, 4)) +
                      full("stco", be32(3) + counting(3, 4)) + full("co64", be32(2) + counting(2, 8)));
  const std::string minf =
      box("minf", full("smhd", be32(0)) + box("dinf", full("dref", be32(1) + box("url ", be32(1)))) + stbl);
  const std::string trak =
      box("trak", full("tkhd", std::string(80, 0)) +
                      box("mdia", full("mdhd", std::string(20, 0)) + full("hdlr", std::string(21, 0)) + minf));
  const std::string frame = hex("'TIT2' 00000004 0000 00 'abc'");
  const std::string udta =
      box("udta", full("titl", be16(1) + "title") + full("ID32", be16(1) + hex("'ID3' 03 00 00 0000000E") + frame) +
                      box("uuid", counting(16, 1) + "x") + full("yrrc", be16(1999)) + be32(0));
  const auto data = [](const std::string& value) { return box("data", be32(1) + be32(0) + value); };
  const std::string meta =
      full("meta", full("hdlr", std::string(21, 0)) +
                       box("ilst", box("\251nam", data("name")) +
                                       box("----", full("mean", "a") + full("name", "b") + data("c")) +
                                       box("covr", data("d") + data("e"))));
  return box("ftyp", "M4A " + be32(0) + "isom") +
         box("moov", full("mvhd", std::string(96, 0)) + full("iods", hex("10 07 004F FFFFFFFFFF")) + trak + udta +
                         box("meta", full("hdlr", std::string(20, 0))) + box("udta", meta)) +
         box("free", "room") + largeBox("mdat", "media") +
         box("uuid", hex("BA91547A D233 4774 AC94 9B6C0F04595C") + be64(0)) + box("MTSM", full("MTHD", "x"));
}

/// Gives bytes in pieces, only forwards, and fails at one of its calls, with an exception or as at its end.
class Pieces : public std::streambuf {
public:
  Pieces(std::string bytes, int failing, bool throws) : bytes_(std::move(bytes)), failing_(failing), throws_(throws) {}
  bool hasFailed() const { return calls_ >= failing_; }
  /// How many bytes it has given.
  uint64_t given() const { return given_; }

protected:
  int_type underflow() override {
    if (++calls_ >= failing_) {
      if (throws_) throw std::runtime_error("the source fails");
      return traits_type::eof();
    }
    const size_t count = std::min<size_t>(11, bytes_.size() - given_);
    if (count == 0) return traits_type::eof();
    setg(&bytes_[given_], &bytes_[given_], &bytes_[given_] + count);
    given_ += count;
    return traits_type::to_int_type(*gptr());
  }

private:
  std::string bytes_;
  size_t given_ = 0;
  int calls_ = 0;
  int failing_;
  bool throws_;
};

class Damage : public testing::TestWithParam<ReadMode> {
protected:
  std::unique_ptr<Boxes> read(BoxReader& reader) const { return std::unique_ptr<Boxes>((reader.*GetParam().read)()); }
  TreeModel model(const std::string& bytes) const {
    std::istringstream in(bytes);
    BoxReader reader(in, bytes.size());
    return TreeModel(*read(reader), bytes.size());
  }
  const std::string whole_ = everything();
  const TreeModel wholeModel_ = model(whole_);

public:
  /// What lies in front of the damage is as it was.
  void expectSane(const TreeModel& tree, uint64_t intact, const std::string& what) const {
    ASSERT_EQ(tree.fault(), "") << what;
    const auto found = tree.leavesUpTo(intact);
    for (const auto& [position, leaf] : wholeModel_.leavesUpTo(intact)) {
      if (position + leaf.second > intact) continue;
      const auto same = found.find(position);
      ASSERT_TRUE(same != found.end() && same->second == leaf) << what << ": lost the box at " << position;
    }
  }
};

TEST_P(Damage, FilesMayEndAnywhere) {
  ASSERT_EQ(wholeModel_.fault(), "");
  std::vector<uint64_t> ends = {0};
  std::istringstream all(whole_);
  BoxReader allReader(all, whole_.size());
  const std::unique_ptr<Boxes> allBoxes = read(allReader);
  for (const IBox* box : *allBoxes)
    ends.push_back(box->position() + box->size());
  for (size_t length = 0; length <= whole_.size(); ++length) {
    const std::string cut = whole_.substr(0, length);
    for (const uint64_t claimed : {uint64_t{length}, uint64_t{whole_.size()}, kUnknown}) {
      std::istringstream in(cut);
      Pieces pieces(cut, std::numeric_limits<int>::max(), false);
      std::istream piped(&pieces);
      BoxReader reader(claimed == length ? in : piped, claimed);
      const std::unique_ptr<Boxes> boxes = read(reader);
      const std::string what = std::to_string(length) + " of " + std::to_string(claimed);
      expectSane(TreeModel(*boxes, length), length, what);
      const bool betweenBoxes = std::find(ends.begin(), ends.end(), length) != ends.end();
      ASSERT_EQ(reader.isCutShort(), claimed == whole_.size() ? length < claimed : claimed != length && !betweenBoxes)
          << what;
      if (claimed == kUnknown && !boxes->empty())
        ASSERT_LE(boxes->back()->position() + boxes->back()->size(), length) << what;
    }
  }
}

TEST_P(Damage, SourcesMayFailAnywhere) {
  for (const bool throws : {false, true})
    for (const std::ios::iostate exceptions :
         {std::ios::goodbit, std::ios::badbit | std::ios::failbit | std::ios::eofbit})
      for (int failing = 1;; ++failing) {
        Pieces pieces(whole_, failing, throws);
        std::istream in(&pieces);
        in.exceptions(exceptions);
        BoxReader reader(in, whole_.size());
        const std::unique_ptr<Boxes> boxes = read(reader);
        // A stream may look one byte too far, and what fails there is not missed.
        if (!reader.isCutShort()) ASSERT_EQ(Describe::list(*boxes), described(whole_, GetParam()));
        if (!pieces.hasFailed()) {
          EXPECT_GT(failing, 50);
          break;
        }
        expectSane(TreeModel(*boxes, whole_.size()), pieces.given(), std::to_string(failing));
        ASSERT_TRUE(reader.isCutShort() || pieces.given() == whole_.size()) << failing;
        ASSERT_TRUE(std::unique_ptr<Boxes>((reader.*GetParam().read)())->empty());
      }
}

TEST_P(Damage, NumbersMayLieAnywhere) {
  for (size_t at = 0; at + 4 <= whole_.size(); ++at)
    for (const uint32_t lie : {0u, 1u, 7u, 9u, 16u, 300u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
      std::string bytes = whole_;
      bytes.replace(at, 4, be32(lie));
      for (const bool lengthIsKnown : {true, false}) {
        std::istringstream in(bytes);
        BoxReader reader(in, lengthIsKnown ? bytes.size() : uint64_t{1} << 62);
        const std::unique_ptr<Boxes> boxes = read(reader);
        expectSane(TreeModel(*boxes, bytes.size()), at, std::to_string(at) + " says " + std::to_string(lie));
        if (lengthIsKnown) ASSERT_FALSE(reader.isCutShort());
      }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, Damage, testing::ValuesIn(kModes), [](const auto& mode) { return mode.param.name; });

/// Every header claims everything behind it: 33 of them are boxes, the last of which is skipped.
TEST(DeepClaims, AreReadOnce) {
  std::string bytes;
  for (int k = 0; k < 200000; ++k)
    bytes += lying("moov", 0xFFFFFFFF);
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  const std::unique_ptr<Boxes> boxes(reader.readFile());
  const TreeModel tree(*boxes, bytes.size());
  EXPECT_EQ(tree.fault(), "");
  EXPECT_EQ(tree.boxCount(), 33u);
}

} // namespace
