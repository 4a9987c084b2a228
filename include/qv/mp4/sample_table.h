// The boxes of "stbl": what the samples of a track are, and where. ISO/IEC 14496-12, clauses 8.5 to 8.7, and for "mp4a"
// and "esds" ISO/IEC 14496-14.
#pragma once

#include "qv/mp4/box.h"
#include "qv/mp4/descriptor.h"

#include <memory>

namespace fileutil {

class QV_API TimeToSampleBox : public BoxOf<TimeToSampleBox, FullBox, QvFourCC("stts")> {
public:
  struct Entry {
    uint32_t sampleCount;
    uint32_t sampleDelta; ///< in units of the media's timescale
  };
  std::vector<Entry> entries;
};

class QV_API SampleToChunkBox : public BoxOf<SampleToChunkBox, FullBox, QvFourCC("stsc")> {
public:
  struct Entry {
    uint32_t firstChunk; ///< from 1
    uint32_t samplesPerChunk;
    uint32_t sampleDescriptionIndex; ///< from 1
  };
  std::vector<Entry> entries;
};

class QV_API SampleSizeBox : public BoxOf<SampleSizeBox, FullBox, QvFourCC("stsz")> {
public:
  uint32_t commonSize = 0; ///< 0: each sample has its own
  uint32_t sampleCount = 0;
  std::vector<uint32_t> sizes;
};

/// Where chunks begin: positions in the file.
class QV_API IChunkOffsetBox : public FullBox {
public:
  virtual size_t offsetCount() const = 0;
  virtual uint64_t offset(size_t index) const = 0;
  /// An offset that the table's width cannot hold loses its high bits.
  virtual void setOffset(size_t index, uint64_t offset) = 0;
  virtual void appendOffset(uint64_t offset) = 0;
  /// False where the file's count did not agree with the table's length, or the table could not be read to its end:
  /// `offsets` then holds as many zeros as the count says and the box has room for, or what was read.
  bool isComplete = true;
};

/// What "stco" and "co64" share: a table of offsets of one width.
template <class Offset>
class ChunkOffsets : public IChunkOffsetBox {
public:
  size_t offsetCount() const override { return offsets.size(); }
  uint64_t offset(size_t index) const override { return offsets[index]; }
  void setOffset(size_t index, uint64_t offset) override { offsets[index] = static_cast<Offset>(offset); }
  void appendOffset(uint64_t offset) override { offsets.push_back(static_cast<Offset>(offset)); }
  std::vector<Offset> offsets;
};

class QV_API ChunkOffsetBox : public BoxOf<ChunkOffsetBox, ChunkOffsets<uint32_t>, QvFourCC("stco")> {};
class QV_API ChunkLargeOffsetBox : public BoxOf<ChunkLargeOffsetBox, ChunkOffsets<uint64_t>, QvFourCC("co64")> {};

// ---- sample entries ------------------------------------------------------------------------------------------------

class QV_API SampleEntry : public IContainerBox {
public:
  std::array<uint8_t, 6> reserved{};
  uint16_t dataReferenceIndex = 1;
};

class QV_API AudioSampleEntry : public SampleEntry {
public:
  std::array<uint8_t, 8> reservedForSound{};
  uint16_t channelCount = 2;
  uint16_t sampleSize = 16; ///< bits
  uint16_t preDefined = 0;
  uint16_t reservedAfterSize = 0;
  uint32_t sampleRate = 0; ///< Hz, 16.16
  Bytes quickTimeFields;   ///< what a QuickTime sound description of version 1 (16 bytes) or 2 (36) has more
};

/// 28 bytes, then children, of which "esds" is one.
class QV_API Mpeg4AudioSampleEntry : public BoxOf<Mpeg4AudioSampleEntry, AudioSampleEntry, QvFourCC("mp4a")> {};

/// A sample entry for pictures: what follows the data reference index, as bytes.
class QV_API VisualSampleEntry : public SampleEntry {
public:
  Bytes payload;
};

class QV_API PNGSampleEntryBox : public BoxOf<PNGSampleEntryBox, VisualSampleEntry, QvFourCC("PNG ")> {};

/// A box with a tree of descriptors. Where they do not fill the payload, or cannot be read, what was read is kept.
class QV_API DescriptorBox : public FullBox {
public:
  std::unique_ptr<esds::Descriptor> descriptor; ///< null where there is none
};

class QV_API ElementaryStreamDescriptorBox
    : public BoxOf<ElementaryStreamDescriptorBox, DescriptorBox, QvFourCC("esds")> {};
class QV_API InitialObjectDescriptorBox : public BoxOf<InitialObjectDescriptorBox, DescriptorBox, QvFourCC("iods")> {};

} // namespace fileutil
