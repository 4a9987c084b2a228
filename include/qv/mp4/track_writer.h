// Writing a new file with one track of sound, sample by sample:
//
//     const std::unique_ptr<fileutil::Boxes> tree(fileutil::makeAudioTree(44100, 2, config));
//     std::ofstream out(path, std::ios::binary);
//     fileutil::TrackWriter writer(tree.get(), out, 4096);
//     writer.init();
//     writer.writeSamples(accessUnit, 1024); // for each
//     writer.close();
//     out.close();
//     fileutil::finishTrack(path, tree.get());
//
// Media is written at once, the tree at the end, in front of it. What grows with the number of samples are the tables
// of the tree: 8 bytes for each, 12 with "co64". Nothing here has a lock: a writer and its tree belong to one thread.
#pragma once

#include "qv/mp4/boxes.h"

#include <fstream>
#include <istream>

namespace fileutil {

class QV_API ITrackWriter {
public:
  virtual ~ITrackWriter() = default;
  virtual bool init() = 0;
  virtual HRESULT writeSamples(const std::vector<char>& bytes, uint32_t duration) = 0;
  virtual void close() = 0;
};

/// How wide the positions of samples in a file are: which of the boxes "stco" and "co64" a track has.
enum class OffsetWidth {
  k32, ///< "stco": no sample begins past 4 GiB
  k64  ///< "co64"
};

/// A tree for one track of AAC: "ftyp" with the brands of M4A, "moov", "free" and "mdat", every table empty.
/// `sampleRate` is in Hz; one above 65,535, for which "mp4a" has no room, is the media's timescale alone.
/// `decoderSpecificInfo` is an AudioSpecificConfig (ISO/IEC 14496-3, clause 1.6.2.1). The caller owns the tree.
QV_API Boxes* makeAudioTree(uint32_t sampleRate, uint16_t channels, const Bytes& decoderSpecificInfo,
                            OffsetWidth width = OffsetWidth::k32);

/// Writes the samples of a track, each as a chunk of its own, and fills the tables of the first track of a tree.
class QV_API TrackWriter : public BoxVisitor, public ITrackWriter {
public:
  /// Tree and stream stay the caller's, and must outlive the writer. The stream stands at the beginning of a new file,
  /// whose first `headerReserve` bytes are kept for the tree.
  TrackWriter(Boxes* tree, std::ofstream& out, uint64_t headerReserve);
  ~TrackWriter() override;

  /// Looks for the boxes of the track, and writes the reserve as zeros. False, with nothing written, where the tree
  /// lacks one of them: "mvhd", "trak", "tkhd", "mdhd", "mp4a", "esds", "stts", "stsc", "stsz", "stco" or "co64",
  /// "mdat".
  bool init() override;
  /// Writes one sample of `duration` units of the media's timescale. Returns 0, or QVERR_RIFF_WRITE (0x8004E009) where
  /// the stream failed, the sample has more than 2^32 - 1 bytes, or "stco" cannot hold its position: the tables are
  /// then as they were. The duration counts in close() all the same.
  HRESULT writeSamples(const std::vector<char>& bytes, uint32_t duration) override;
  /// Sets what depends on all samples: sizes, durations, timescales. Where the DecoderConfigDescriptor has no bit rates
  /// or buffer size, they are those of the samples. A duration of 2^32 or more makes "mdhd" one of version 1, whose
  /// payload has it; a movie that long, of 82 days, has all ones: unknown.
  void close() override;

  using BoxVisitor::visit;
  void visit(MovieHeaderBox* box) override;
  void visit(TrackBox* box) override;
  void visit(TrackHeaderBox* box) override;
  void visit(MediaHeaderBox* box) override;
  void visit(Mpeg4AudioSampleEntry* box) override;
  void visit(ElementaryStreamDescriptorBox* box) override;
  void visit(TimeToSampleBox* box) override;
  void visit(SampleToChunkBox* box) override;
  void visit(SampleSizeBox* box) override;
  void visit(ChunkOffsetBox* box) override;
  void visit(ChunkLargeOffsetBox* box) override;
  void visit(MediaDataBox* box) override;

protected:
  /// What init() has found; null before, and where the tree has none.
  MovieHeaderBox* movieHeaderBox = nullptr;
  TrackBox* trackBox = nullptr;
  TrackHeaderBox* trackHeaderBox = nullptr;
  MediaHeaderBox* mediaHeaderBox = nullptr;
  Mpeg4AudioSampleEntry* mpeg4AudioSampleEntry = nullptr;
  ElementaryStreamDescriptorBox* elementaryStreamDescriptorBox = nullptr;
  esds::DecoderConfigDescriptor* decoderConfigDescriptor = nullptr;
  esds::DecoderSpecificInfo* decoderSpecificInfo = nullptr;
  TimeToSampleBox* timeToSampleBox = nullptr;
  SampleToChunkBox* sampleToChunkBox = nullptr;
  SampleSizeBox* sampleSizeBox = nullptr;
  ChunkOffsetBox* chunkOffsetBox = nullptr;
  ChunkLargeOffsetBox* chunkLargeOffsetBox = nullptr;
  MediaDataBox* mediaDataBox = nullptr;

private:
  bool hasEveryBox() const;
  IChunkOffsetBox* chunkOffsets() const;
  void writeReserve();
  void placeMedia();
  void setDurations();
  void describeStream();

  Boxes* tree_;
  std::ofstream& out_;
  uint64_t headerReserve_;
  uint64_t totalDuration_ = 0; ///< in the media's units
  uint64_t position_ = 0;      ///< of the next sample
};

/// Writes the tree of a closed track into the reserve, a "free" box filling it up to the media; the tree gets one where
/// it has none there. Returns S_OK; S_FALSE with nothing written where the tree does not fit; QVERR_RIFF_WRITE;
/// E_INVALIDARG for a tree without media. Any stream buffer will do, as with BoxWriter.
QV_API HRESULT finishTrack(std::fstream& file, Boxes* tree);

/// Writes a whole new file through BoxCopy: the tree of a closed track, and its media from `source`, which is what
/// TrackWriter has written. The tree's chunk offsets are then those of the new file. Returns S_OK; QVERR_RIFF_WRITE;
/// QVERR_MP4_OFFSETS where "stco" cannot hold them, with nothing written; E_INVALIDARG for a tree without media.
QV_API HRESULT copyTrack(std::istream& source, std::fstream& target, Boxes* tree);

/// Finishes the file at `path`, in its reserve, or, where the tree does not fit, by a copy beside it, `path` with
/// ".tmp" behind it, which then takes its place. Returns S_OK, QVERR_FILE_OPEN or what the two above do. No one else
/// may have the file open.
QV_API HRESULT finishTrack(const WCHAR* path, Boxes* tree);

} // namespace fileutil
