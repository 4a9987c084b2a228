#include "qv/mp4/track_writer.h"

#include "fileutil/track/bit_rate.h"

#include "qv/result.h"

#include <algorithm>
#include <array>

namespace fileutil {
namespace {

constexpr uint32_t kMovieTimescale = 600;

uint32_t in_32_bits(uint64_t duration) { return static_cast<uint32_t>(std::min<uint64_t>(duration, UINT32_MAX)); }

/// Makes it one of version 1, whose times have 64 bits (ISO/IEC 14496-12, clause 8.4.2).
void widen(MediaHeaderBox& header, uint64_t duration) {
  header.versionFlags[0] = 1;
  header.payload.clear();
  const auto append = [&](uint64_t value, unsigned bytes) {
    while (bytes-- != 0)
      header.payload.push_back(static_cast<uint8_t>(value >> 8 * bytes & 0xFF));
  };
  append(header.creationTime, 8);
  append(header.modificationTime, 8);
  append(header.timescale, 4);
  append(duration, 8);
  append(header.language, 2);
  append(header.preDefined, 2);
}

} // namespace

TrackWriter::TrackWriter(Boxes* tree, std::ofstream& out, uint64_t headerReserve)
    : tree_(tree), out_(out), headerReserve_(headerReserve) {}

TrackWriter::~TrackWriter() = default;

// ---- what the tree has ---------------------------------------------------------------------------------------------

void TrackWriter::visit(TrackBox* box) {
  if (trackBox) return; // other tracks are none of ours
  trackBox = box;
  BoxVisitor::visit(box);
}

void TrackWriter::visit(Mpeg4AudioSampleEntry* box) {
  mpeg4AudioSampleEntry = box;
  BoxVisitor::visit(box);
}

void TrackWriter::visit(ElementaryStreamDescriptorBox* box) {
  elementaryStreamDescriptorBox = box;
  if (box->descriptor) decoderConfigDescriptor = box->descriptor->child<esds::DecoderConfigDescriptor>();
  if (decoderConfigDescriptor) decoderSpecificInfo = decoderConfigDescriptor->child<esds::DecoderSpecificInfo>();
}

void TrackWriter::visit(MovieHeaderBox* box) { movieHeaderBox = box; }
void TrackWriter::visit(TrackHeaderBox* box) { trackHeaderBox = box; }
void TrackWriter::visit(MediaHeaderBox* box) { mediaHeaderBox = box; }
void TrackWriter::visit(TimeToSampleBox* box) { timeToSampleBox = box; }
void TrackWriter::visit(SampleToChunkBox* box) { sampleToChunkBox = box; }
void TrackWriter::visit(SampleSizeBox* box) { sampleSizeBox = box; }
void TrackWriter::visit(ChunkOffsetBox* box) { chunkOffsetBox = box; }
void TrackWriter::visit(ChunkLargeOffsetBox* box) { chunkLargeOffsetBox = box; }
void TrackWriter::visit(MediaDataBox* box) { mediaDataBox = box; }

bool TrackWriter::hasEveryBox() const {
  return movieHeaderBox && trackBox && trackHeaderBox && mediaHeaderBox && mpeg4AudioSampleEntry &&
         elementaryStreamDescriptorBox && timeToSampleBox && sampleToChunkBox && sampleSizeBox && chunkOffsets() &&
         mediaDataBox;
}

IChunkOffsetBox* TrackWriter::chunkOffsets() const {
  if (chunkOffsetBox) return chunkOffsetBox;
  return chunkLargeOffsetBox;
}

// ---- samples -------------------------------------------------------------------------------------------------------

bool TrackWriter::init() {
  for (IBox* box : *tree_)
    box->accept(this);
  if (!hasEveryBox()) return false;
  sampleToChunkBox->entries.push_back({1, 1, 1});
  writeReserve();
  mediaDataBox->payloadStart = mediaDataBox->payloadEnd = position_ = headerReserve_;
  return true;
}

void TrackWriter::writeReserve() {
  static constexpr std::array<char, 4096> kZeros{};
  for (uint64_t left = headerReserve_; left != 0 && out_;) {
    const uint64_t part = std::min<uint64_t>(left, kZeros.size());
    out_.write(kZeros.data(), static_cast<std::streamsize>(part));
    left -= part;
  }
}

HRESULT TrackWriter::writeSamples(const std::vector<char>& bytes, uint32_t duration) {
  totalDuration_ += duration;
  if (bytes.size() > UINT32_MAX || (chunkOffsetBox && position_ > UINT32_MAX)) return QVERR_RIFF_WRITE;
  out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out_) return QVERR_RIFF_WRITE;

  auto& times = timeToSampleBox->entries;
  if (!times.empty() && times.back().sampleDelta == duration)
    ++times.back().sampleCount;
  else
    times.push_back({1, duration});
  sampleSizeBox->sizes.push_back(static_cast<uint32_t>(bytes.size()));
  ++sampleSizeBox->sampleCount;
  mediaDataBox->payloadEnd += bytes.size();
  chunkOffsets()->appendOffset(position_);
  position_ += bytes.size();
  return S_OK;
}

// ---- the end -------------------------------------------------------------------------------------------------------

void TrackWriter::close() {
  placeMedia();
  setDurations();
  describeStream();
}

void TrackWriter::placeMedia() {
  const uint64_t payload = mediaDataBox->payloadEnd - mediaDataBox->payloadStart;
  const uint32_t header = payload <= UINT32_MAX ? 8 : 16;
  mediaDataBox->setHeaderSize(header);
  mediaDataBox->setPosition(mediaDataBox->payloadStart - header);
  mediaDataBox->setSize(payload + header);
}

void TrackWriter::setDurations() {
  // "mp4a" has no room for more than 65,535 Hz: the tree's timescale says it then.
  const uint32_t rate = mpeg4AudioSampleEntry->sampleRate >> 16;
  if (rate != 0) mediaHeaderBox->timescale = rate;
  mediaHeaderBox->duration = in_32_bits(totalDuration_);
  if (totalDuration_ > UINT32_MAX) widen(*mediaHeaderBox, totalDuration_);

  movieHeaderBox->timescale = kMovieTimescale;
  const uint64_t timescale = mediaHeaderBox->timescale;
  movieHeaderBox->duration = timescale == 0 ? 0 : in_32_bits(totalDuration_ * kMovieTimescale / timescale);
  trackHeaderBox->duration = movieHeaderBox->duration;
  trackHeaderBox->trackId = 1;
}

void TrackWriter::describeStream() {
  if (!decoderConfigDescriptor) return;
  const BitRates rates = bit_rates(*sampleSizeBox, *timeToSampleBox, mediaHeaderBox->timescale);
  const auto set = [](uint32_t& field, uint32_t value) {
    if (field == 0) field = value;
  };
  set(decoderConfigDescriptor->bufferSize, std::min(rates.largest_sample, (1u << 24) - 1));
  set(decoderConfigDescriptor->maximumBitRate, rates.maximum);
  set(decoderConfigDescriptor->averageBitRate, rates.average);
}

} // namespace fileutil
