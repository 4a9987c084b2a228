#include "tests/fileutil/bytes.h"
#include "tests/fileutil/track/track_file.h"

#include "qv/mp4/track_writer.h"
#include "qv/result.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>

using namespace fileutil;
using fileutil_test::Beginning;
using fileutil_test::find;
using fileutil_test::hex;

namespace {

const Bytes kConfig = {0x12, 0x10}; // AAC LC, 44.1 kHz, stereo

std::unique_ptr<Boxes> tree_for(uint32_t rate, OffsetWidth width = OffsetWidth::k32) {
  return std::unique_ptr<Boxes>(makeAudioTree(rate, 2, kConfig, width));
}

/// A writer to a file of which the beginning is kept.
struct Track {
  explicit Track(std::unique_ptr<Boxes> of, uint64_t reserve) : tree(std::move(of)), writer(tree.get(), out, reserve) {
    file.serve(out);
    is_ready = writer.init();
  }
  void add(size_t bytes, uint32_t duration) {
    ASSERT_EQ(writer.writeSamples(std::vector<char>(bytes, 'x'), duration), S_OK);
  }
  template <class Box>
  Box& box() {
    return *find<Box>(*tree);
  }
  HRESULT finish() {
    writer.close();
    std::fstream head;
    file.serve(head);
    return finishTrack(head, tree.get());
  }

  Beginning file;
  std::ofstream out;
  std::unique_ptr<Boxes> tree;
  TrackWriter writer;
  bool is_ready = false;
};

TEST(MakeAudioTree, IsLaidOutAsPublished) {
  Track track(tree_for(44100), 1000);
  track.add(3, 1024);
  ASSERT_EQ(track.finish(), S_OK);
  const std::string matrix = "00010000 00000000 00000000 00000000 00010000 00000000 00000000 00000000 40000000";
  const std::string head = hex(
      "0000001C 'ftypM4A ' 00000000 'M4A isommp42'"
      "0000022C 'moov'"
      "0000006C 'mvhd' 00000000 00000000 00000000 00000258 0000000D 00010000 0100 0000 00000000 00000000" +
      matrix +
      "  00000000 00000000 00000000 00000000 00000000 00000000 00000002"
      "000001B8 'trak'"
      "0000005C 'tkhd' 00000003 00000000 00000000 00000001 00000000 0000000D 00000000 00000000 0000 0000 0100 0000" +
      matrix +
      "00000000 00000000"
      "00000154 'mdia'"
      "00000020 'mdhd' 00000000 00000000 00000000 0000AC44 00000400 55C4 0000"
      "0000002D 'hdlr' 00000000 00000000 'soun' 00000000 00000000 00000000 'SoundHandler' 00"
      "000000FF 'minf'"
      "00000010 'smhd' 00000000 0000 0000"
      "00000024 'dinf' 0000001C 'dref' 00000000 00000001 0000000C 'url ' 00000001"
      "000000C3 'stbl'"
      "0000005B 'stsd' 00000000 00000001"
      "0000004B 'mp4a' 000000000000 0001 0000000000000000 0002 0010 0000 0000 AC440000"
      "00000027 'esds' 00000000 03 19 0000 00 04 11 40 15 000003 0000040A 0000040A 05 02 1210 06 01 02" // 3 x 8 x 44100
                                                                                                        // / 1024
      "00000018 'stts' 00000000 00000001 00000001 00000400"
      "0000001C 'stsc' 00000000 00000001 00000001 00000001 00000001"
      "00000018 'stsz' 00000000 00000000 00000001 00000003"
      "00000014 'stco' 00000000 00000001 000003E8"
      "00000198 'free'");
  EXPECT_EQ(track.file.bytes(), head + std::string(400, '\0') + hex("0000000B 'mdatxxx'"));
}

TEST(TrackWriter, WritesNothingWhereABoxIsMissing) {
  const FourCC needed[] = {QvFourCC("mvhd"), QvFourCC("trak"), QvFourCC("tkhd"), QvFourCC("mdhd"),
                           QvFourCC("mp4a"), QvFourCC("esds"), QvFourCC("stts"), QvFourCC("stsc"),
                           QvFourCC("stsz"), QvFourCC("stco"), QvFourCC("mdat")};
  const std::function<bool(Boxes&, FourCC)> remove = [&](Boxes& from, FourCC type) {
    for (auto at = from.begin(); at != from.end(); ++at) {
      if ((*at)->type() == type) return from.erase(at), true;
      auto* const container = dynamic_cast<IContainerBox*>(*at);
      if (container && remove(container->children(), type)) return true;
    }
    return false;
  };
  for (const FourCC type : needed) {
    auto tree = tree_for(44100);
    ASSERT_TRUE(remove(*tree, type));
    const Track track(std::move(tree), 100);
    EXPECT_FALSE(track.is_ready) << std::string(reinterpret_cast<const char*>(&type), 4);
    EXPECT_EQ(track.file.length(), 0u);
  }
  EXPECT_TRUE(Track(tree_for(44100, OffsetWidth::k64), 100).is_ready) << "co64 does as well";

  auto tree = tree_for(44100);
  auto* const other = new TrackBox;
  other->children().push_back(new MediaHeaderBox);
  find<MovieBox>(*tree)->children().push_back(other);
  Track track(std::move(tree), 100);
  track.writer.close();
  EXPECT_EQ(find<MediaHeaderBox>(other->children())->timescale, 0u) << "another track's";
}

TEST(TrackWriter, FillsTheTables) {
  Track track(tree_for(44100), 5000);
  EXPECT_EQ(track.file.bytes(), std::string(5000, '\0'));
  const struct {
    size_t bytes;
    uint32_t duration;
  } samples[] = {{10, 1024}, {0, 1024}, {300, 1024}, {7, 960}, {8, 1024}, {9, 1024}};
  for (const auto& sample : samples)
    track.add(sample.bytes, sample.duration);
  EXPECT_EQ(track.box<SampleSizeBox>().sizes, (std::vector<uint32_t>{10, 0, 300, 7, 8, 9}));
  EXPECT_EQ(track.box<SampleSizeBox>().sampleCount, 6u);
  EXPECT_EQ(track.box<ChunkOffsetBox>().offsets, (std::vector<uint32_t>{5000, 5010, 5010, 5310, 5317, 5325}));
  std::vector<std::pair<uint32_t, uint32_t>> times;
  for (const auto& entry : track.box<TimeToSampleBox>().entries)
    times.emplace_back(entry.sampleCount, entry.sampleDelta);
  EXPECT_EQ(times, (std::vector<std::pair<uint32_t, uint32_t>>{{3, 1024}, {1, 960}, {2, 1024}}));
  const auto& chunks = track.box<SampleToChunkBox>().entries;
  ASSERT_EQ(chunks.size(), 1u);
  EXPECT_EQ(chunks[0].firstChunk, 1u);
  EXPECT_EQ(chunks[0].samplesPerChunk, 1u);
  EXPECT_EQ(chunks[0].sampleDescriptionIndex, 1u);

  // A write that fails leaves them as they are.
  track.out.setstate(std::ios::badbit);
  EXPECT_EQ(static_cast<uint32_t>(track.writer.writeSamples({'a'}, 77)), 0x8004E009u);
  EXPECT_EQ(track.box<SampleSizeBox>().sizes.size(), 6u);
  EXPECT_EQ(track.box<SampleSizeBox>().sampleCount, 6u);
  EXPECT_EQ(track.box<ChunkOffsetBox>().offsets.size(), 6u);
  EXPECT_EQ(track.box<TimeToSampleBox>().entries.size(), 3u);
  EXPECT_EQ(track.box<MediaDataBox>().payloadEnd, 5334u);
}

TEST(TrackWriter, SetsDurationsAndTimescales) {
  const struct {
    uint32_t tree_rate, entry_rate; // Hz; 0 is left alone
    uint32_t samples, duration;
    uint32_t timescale, media, movie;
  } rows[] = {
      {44100, 44100, 100, 1024, 44100, 102400, 1393},           // 102400 x 600 / 44100 = 1393.19...
      {96000, 0, 75, 1024, 96000, 76800, 480},                  // too fast for "mp4a"
      {1000, 8000, 8, 1000, 8000, 8000, 600},                   // the entry's rate decides
      {8000, 8000, 3, 0x60000000, 8000, 0xFFFFFFFF, 362387865}, // 3 x 0x60000000 x 600 / 8000 = 362387865.6
      {0, 0, 1, 1024, 0, 1024, 0},
      {8000, 8000, 0, 0, 8000, 0, 0},
  };
  for (const auto& row : rows) {
    Track track(tree_for(row.tree_rate), 0);
    track.box<Mpeg4AudioSampleEntry>().sampleRate = row.entry_rate << 16;
    track.box<TrackHeaderBox>().trackId = 9;
    track.box<MovieHeaderBox>().timescale = 1;
    for (uint32_t k = 0; k < row.samples; ++k)
      track.add(1, row.duration);
    track.writer.close();
    EXPECT_EQ(track.box<MediaHeaderBox>().timescale, row.timescale);
    EXPECT_EQ(track.box<MediaHeaderBox>().duration, row.media);
    EXPECT_EQ(track.box<MediaHeaderBox>().version(), row.media == UINT32_MAX ? 1 : 0);
    EXPECT_EQ(track.box<MovieHeaderBox>().timescale, 600u);
    EXPECT_EQ(track.box<MovieHeaderBox>().duration, row.movie);
    EXPECT_EQ(track.box<TrackHeaderBox>().duration, row.movie);
    EXPECT_EQ(track.box<TrackHeaderBox>().trackId, 1u);
  }
}

TEST(TrackWriter, ALongDurationHasAHeaderOfVersion1) {
  Track track(tree_for(8000), 2000);
  track.box<MediaHeaderBox>().creationTime = 0x01020304;
  for (int k = 0; k < 3; ++k)
    track.add(1, 0x60000000);
  ASSERT_EQ(track.finish(), S_OK);
  const std::string& file = track.file.bytes();
  const size_t at = file.find("mdhd");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(file.substr(at - 4, 44), hex("0000002C 'mdhd' 01000000 0000000001020304 0000000000000000"
                                         "00001F40 0000000120000000 55C4 0000"));
}

TEST(TrackWriter, DescribesTheStream) {
  // Four samples a second for three seconds, the middle second dense: 100 bytes, or 500.
  Track track(tree_for(1000), 0);
  const size_t sizes[] = {100, 100, 100, 100, 500, 500, 500, 500, 100, 100, 100, 100};
  for (const size_t size : sizes)
    track.add(size, 250);
  track.writer.close();
  const auto* const stream = track.box<ElementaryStreamDescriptorBox>().descriptor.get();
  auto* const config = stream->child<esds::DecoderConfigDescriptor>();
  EXPECT_EQ(config->bufferSize, 500u);
  EXPECT_EQ(config->maximumBitRate, 2000u * 8);
  EXPECT_EQ(config->averageBitRate, 2800u * 8 / 3 + 1); // 7466.67
  config->bufferSize = 1;
  config->maximumBitRate = 2;
  config->averageBitRate = 3;
  track.writer.close();
  EXPECT_EQ(config->bufferSize, 1u) << "what the tree says stays";
  EXPECT_EQ(config->maximumBitRate, 2u);
  EXPECT_EQ(config->averageBitRate, 3u);

  Track sparse(tree_for(1000), 0); // samples longer than a second
  for (const uint32_t duration : {4000, 4000})
    sparse.add(1000, duration);
  sparse.writer.close();
  const auto& rates = *sparse.box<ElementaryStreamDescriptorBox>().descriptor->child<esds::DecoderConfigDescriptor>();
  EXPECT_EQ(rates.averageBitRate, 2000u);
  EXPECT_EQ(rates.maximumBitRate, 8000u);
}

// ---- past 4 GiB ----------------------------------------------------------------------------------------------------

constexpr uint64_t kFourGiB = uint64_t{1} << 32;

TEST(TrackWriter, NoSampleBeginsWhereItsTableCannotReach) {
  for (const OffsetWidth width : {OffsetWidth::k32, OffsetWidth::k64}) {
    Track track(tree_for(44100, width), kFourGiB - 1);
    EXPECT_EQ(track.writer.writeSamples({'a'}, 1), S_OK);
    EXPECT_EQ(track.writer.writeSamples({'a'}, 1), width == OffsetWidth::k64 ? S_OK : QVERR_RIFF_WRITE);
  }
}

TEST(FinishTrack, ALongTrackHasALongHeader) {
  constexpr size_t kBlock = size_t{1} << 28;
  std::vector<char> block(kBlock);
  const struct {
    uint64_t payload;
    bool is_long;
  } rows[] = {
      {kFourGiB - 9, false}, {kFourGiB - 8, true}, {kFourGiB - 1, true}, {kFourGiB, true}, {kFourGiB + 1, true}};
  for (const auto& row : rows) {
    Track track(tree_for(44100, OffsetWidth::k64), 2000);
    for (uint64_t left = row.payload; left != 0; left -= block.size()) {
      block.resize(std::min<uint64_t>(left, kBlock));
      ASSERT_EQ(track.writer.writeSamples(block, 1024), S_OK);
    }
    track.writer.close();
    EXPECT_EQ(track.box<MediaDataBox>().headerSize(), row.payload < kFourGiB ? 8u : 16u);
    EXPECT_EQ(track.box<MediaDataBox>().position(), row.payload < kFourGiB ? 1992u : 1984u);
    ASSERT_EQ(track.finish(), S_OK);
    EXPECT_EQ(track.file.length(), 2000 + row.payload);
    const std::string& head = track.file.bytes();
    std::istringstream in(head);
    const std::unique_ptr<Boxes> read(BoxReader(in, 2000 + row.payload).readFile());
    const auto* const media = find<MediaDataBox>(*read);
    ASSERT_TRUE(media);
    EXPECT_EQ(media->payloadStart, 2000u);
    EXPECT_EQ(media->payloadEnd, 2000 + row.payload);
    EXPECT_EQ(media->headerSize(), row.is_long ? 16u : 8u);
    EXPECT_EQ(find<ChunkLargeOffsetBox>(*read)->offsets[1], 2000 + kBlock);
  }
}

// ---- the tree over the reserve -------------------------------------------------------------------------------------

class FinishTrackFile : public testing::Test {
protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("qv-track-" + std::to_string(std::random_device()()));
    std::filesystem::create_directory(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  /// Writes samples "a", "bb", "ccc", ... and gives the file.
  std::string write(uint64_t reserve, OffsetWidth width) {
    const std::filesystem::path path = folder_ / "track.m4a";
    const auto tree = tree_for(44100, width);
    std::ofstream out(path, std::ios::binary);
    TrackWriter writer(tree.get(), out, reserve);
    EXPECT_TRUE(writer.init());
    for (uint32_t k = 1; k <= 20; ++k)
      EXPECT_EQ(writer.writeSamples(std::vector<char>(k, static_cast<char>('a' + k - 1)), 1024), S_OK);
    writer.close();
    out.close();
    EXPECT_EQ(finishTrack(path.string<WCHAR>().c_str(), tree.get()), S_OK);
    const auto files = std::distance(std::filesystem::directory_iterator(folder_), {});
    EXPECT_EQ(files, 1) << "nothing is left beside it";
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  std::filesystem::path folder_;
};

/// Each sample's bytes are where the tables say.
void expect_samples(const std::string& file) {
  const auto tree = fileutil_test::tree_of(file);
  uint64_t end = 0;
  for (const IBox* box : *tree) {
    EXPECT_EQ(box->position(), end);
    end += box->size();
  }
  EXPECT_EQ(end, file.size());
  const auto* const offsets = find<IChunkOffsetBox>(*tree);
  const auto& sizes = find<SampleSizeBox>(*tree)->sizes;
  ASSERT_EQ(offsets->offsetCount(), 20u);
  ASSERT_EQ(sizes.size(), 20u);
  for (size_t k = 0; k < 20; ++k)
    EXPECT_EQ(file.substr(offsets->offset(k), sizes[k]), std::string(k + 1, static_cast<char>('a' + k)));
  EXPECT_EQ(find<MediaDataBox>(*tree)->payloadStart, offsets->offset(0));
}

TEST_F(FinishTrackFile, KeepsTheMediaWhereTheTreeFitsAndMovesItElse) {
  constexpr uint64_t kMedia = 20 * 21 / 2;
  for (const OffsetWidth width : {OffsetWidth::k32, OffsetWidth::k64}) {
    const uint64_t least = write(0, width).size() - kMedia; // tree, a "free" of 8 bytes, header of "mdat"
    for (const uint64_t reserve : {uint64_t{0}, uint64_t{7}, uint64_t{8}, uint64_t{15}, uint64_t{16}, least - 9,
                                   least - 8, least - 1, least, least + 1, least + 8, least + 5000}) {
      SCOPED_TRACE(std::to_string(reserve) + " of " + std::to_string(least));
      const std::string file = write(reserve, width);
      expect_samples(file);
      EXPECT_EQ(file.size(), std::max(reserve, least) + kMedia);
    }
  }
}

TEST_F(FinishTrackFile, RefusesWhatItCannotDo) {
  Track track(tree_for(44100), 0);
  track.add(1, 1);
  track.box<ChunkOffsetBox>().offsets[0] = UINT32_MAX - 100; // the tree is longer
  track.writer.close();
  std::istringstream source("x");
  std::fstream target;
  Beginning copy;
  copy.serve(target);
  EXPECT_EQ(copyTrack(source, target, track.tree.get()), QVERR_MP4_OFFSETS);
  EXPECT_EQ(copy.length(), 0u);

  track.box<ChunkOffsetBox>().offsets[0] = 0;
  std::istringstream cut;
  EXPECT_EQ(copyTrack(cut, target, track.tree.get()), QVERR_RIFF_WRITE) << "a source without the media";
  Boxes empty;
  EXPECT_EQ(finishTrack(target, &empty), E_INVALIDARG);
  EXPECT_EQ(copyTrack(source, target, &empty), E_INVALIDARG);
  EXPECT_EQ(finishTrack((folder_ / "none").string<WCHAR>().c_str(), track.tree.get()), QVERR_FILE_OPEN);
}

} // namespace
